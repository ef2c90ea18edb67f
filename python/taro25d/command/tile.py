"""The command that makes tiles."""

from __future__ import annotations

import logging
from collections.abc import Sequence
from pathlib import Path

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
    distributed = require("distributed", "tiles")
    logging.getLogger("distributed").setLevel(logging.CRITICAL)
    with distributed.Client(
        n_workers=workers, threads_per_worker=1, dashboard_address=":0", set_as_default=False,
        silence_logs=logging.CRITICAL,
    ) as client:  # fmt: skip
        bar = Bar(delay=1.0)
        try:
            kept = list(class_) or None
            result = tiles.triangulate(list(source), folder, points_per_tile, client, classes=kept, progress=bar)
            if terrain is not None:
                result.write_terrain(terrain, client=client, progress=bar)
        except (CrsError, FormatError):
            raise
        except InvalidInputError as error:
            raise FormatError(f"{source[0]}: {error}") from error
        finally:
            bar.close()
