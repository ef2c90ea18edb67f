"""The command that makes tiles."""

from __future__ import annotations

import contextlib
import logging
import signal
from collections.abc import Iterator, Sequence
from multiprocessing import resource_tracker
from pathlib import Path
from typing import Any

import click

from .. import tiles
from .._optional import require
from .._progress import Bar
from ..errors import CrsError, FormatError, InvalidInputError


def tile(
    source: Sequence[Path], folder: Path, *, points_per_tile: int, workers: int | None, terrain: Path | None,
    class_: Sequence[int],
) -> None:  # fmt: skip
    """Triangulate in tiles."""
    for value, name in ((points_per_tile, "--points-per-tile"), (workers, "--workers")):
        if value is not None and value < 1:
            raise click.BadParameter(f"{value} is no number above 0", param_hint=name)
    others = [path for path in source if not path.name.lower().endswith((".las", ".laz"))]
    if class_ and others:
        raise click.BadParameter(f"{others[0]} is no LAS file, and has no classes", param_hint="--class")
    with _working(workers) as client:
        bar = Bar(delay=1.0)
        try:
            kept = list(class_) or None
            result = tiles.triangulate(list(source), folder, points_per_tile, client, classes=kept, progress=bar)
            if terrain is not None:
                result.write_terrain(terrain, client=client, progress=bar)
        except (CrsError, FormatError):
            raise
        except KeyboardInterrupt as error:
            raise KeyboardInterrupt("interrupted; the same command goes on where it was") from error
        except InvalidInputError as error:
            raise FormatError(f"{source[0]}: {error}") from error
        finally:
            bar.close()


@contextlib.contextmanager
def _working(num: int | None) -> Iterator[Any]:
    """Start worker processes.

    A terminal sends Ctrl-C to them too. They must not act on it, because this process ends them. They inherit the mask of
    the thread that starts them, which is a thread that the client makes. The resource tracker must run before: its start
    would clear the mask.
    """
    distributed = require("distributed", "tiles")
    logging.getLogger("distributed").setLevel(logging.CRITICAL)
    resource_tracker.ensure_running()
    former = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        with distributed.Client(
            n_workers=num, threads_per_worker=1, dashboard_address=":0", set_as_default=False,
            silence_logs=logging.CRITICAL,
        ) as client:  # fmt: skip
            signal.pthread_sigmask(signal.SIG_SETMASK, former)
            yield client
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, former)
