"""Whole triangulations in files and pickles."""

from __future__ import annotations

import json
import tempfile
from os import PathLike
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from . import _engine, crs
from ._progress import Progress, showing
from .errors import FormatError, RefusedError
from .io._files import reading, writing

if TYPE_CHECKING:
    from .triangulation import Triangulation


def _make_text(tin: Triangulation) -> str:
    """Make the text that is stored in the file with the mesh."""
    positions, next_id = _engine.state(tin._surface)
    system = None if tin.crs is None else tin.crs.to_wkt()
    known = {"crs": system, "next_id": next_id, "breaklines": positions}
    if tin._part is not None:
        known["fill"] = tin.ids[np.delete(tin.triangles, tin._part.rows(), axis=0)].tolist()
    return json.dumps(known)


def save(tin: Triangulation, path: Path) -> None:
    """Write a file."""
    with writing(path) as temporary:
        _engine.save(tin._surface, str(temporary), _make_text(tin))


def load(path: str | PathLike[str], *, progress: Progress = False) -> Triangulation:
    """Read a file that ``Triangulation.save``, or the C++ library, has written.

    Vertices, breaklines and ids are restored; for a file of a C++ program the ids are new.
    """
    from .triangulation import Triangulation

    tin = Triangulation()
    with reading(Path(path)):
        _fill(tin, Path(path), progress)
    return tin


def _fill(tin: Triangulation, path: Path, progress: Progress = False) -> None:
    try:
        with showing(progress) as show:
            text = _engine.load(tin._surface, str(path), show)
    except RefusedError as error:
        raise FormatError(str(error)) from error
    known = _parse(text)
    _engine.restore(tin._surface, known["breaklines"], known["next_id"])
    tin.crs = crs.normalise(known["crs"])
    if len(known["fill"]):
        filled = _list_corners(tin.ids[tin.triangles])
        tin._part = _engine.Zone.of_rows(
            tin._surface, np.flatnonzero(~np.isin(filled, _list_corners(known["fill"]))).tolist()
        )


def _list_corners(triangles: NDArray[np.int64]) -> NDArray[Any]:
    """Make one value of each triangle, whatever the order of its corners."""
    return np.ascontiguousarray(np.sort(triangles, axis=1)).view([("", np.int64)] * 3).ravel()


def _parse(text: str) -> dict[str, Any]:
    """Parse the text; a file of a C++ program has none, and all its graphs become breaklines."""
    try:
        known = json.loads(text)
        positions = [int(position) for position in known["breaklines"] if position >= 0]
        fill = np.array(known.get("fill", []), dtype=np.int64).reshape(-1, 3)
        return {"crs": known["crs"], "next_id": int(known["next_id"]), "breaklines": positions, "fill": fill}
    except (ValueError, TypeError, KeyError, OverflowError):
        return {"crs": None, "next_id": -1, "breaklines": list(range(1_000_000)), "fill": []}


def get_state(tin: Triangulation) -> dict[str, Any]:
    """Return the state that a pickle stores."""
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "tin.taro"
        _engine.save(tin._surface, str(path), _make_text(tin))
        return {"file": path.read_bytes(), "threads": tin._threads, "height_rule": tin._height_rule}


def set_state(tin: Triangulation, state: dict[str, Any]) -> None:
    """Restore a triangulation from that state."""
    tin._set_up(state["threads"], state["height_rule"])
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "tin.taro"
        path.write_bytes(state["file"])
        _fill(tin, path)
