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
        known["border"] = _find_border(tin, tin._part.rows()).tolist()
    if tin._canonical == tin._surface.version():
        known["canonical"] = True
    return json.dumps(known)


def _find_border(tin: Triangulation, rows: NDArray[np.int32]) -> NDArray[np.int64]:
    """Find the edges between the surface, on their left, and the triangles that fill its bays and holes, as ids.

    They are constraints, and so in the loaded mesh too; triangles may have other diagonals there.
    """
    inside = np.zeros(len(tin.triangles), dtype=bool)
    inside[rows] = True
    faces, sides = np.nonzero(inside[:, None] & (tin.neighbors >= 0) & ~inside[tin.neighbors])
    corners = tin.ids[tin.triangles]
    return np.column_stack([corners[faces, (sides + 1) % 3], corners[faces, (sides + 2) % 3]])


def _find_fill(tin: Triangulation, border: NDArray[np.int64]) -> NDArray[np.bool_]:
    """Find the triangles on the right of such edges, and all that are connected with them without crossing one."""
    corners, neighbors = tin.ids[tin.triangles], tin.neighbors
    starts, ends = corners[:, [1, 2, 0]], corners[:, [2, 0, 1]]
    factor = int(tin.ids.max()) + 1
    known = border[:, 0] * factor + border[:, 1]
    is_left, is_right = np.isin(starts * factor + ends, known), np.isin(ends * factor + starts, known)
    front = np.nonzero(is_right)[0]
    fill = np.zeros(len(corners), dtype=bool)
    fill[front] = True
    while len(front):
        following = neighbors[front][~(is_left | is_right)[front]]
        front = np.unique(following[(following >= 0) & ~fill[following]])
        fill[front] = True
    return fill


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
    if len(known["border"]):
        fill = _find_fill(tin, known["border"])
        tin._part = _engine.Zone.of_rows(tin._surface, np.flatnonzero(~fill).tolist())
    if known["canonical"]:
        tin.canonicalize()


def _parse(text: str) -> dict[str, Any]:
    """Parse the text; a file of a C++ program has none, and all its graphs become breaklines."""
    try:
        known = json.loads(text)
        positions = [int(position) for position in known["breaklines"] if position >= 0]
        return {
            "crs": known["crs"],
            "next_id": int(known["next_id"]),
            "breaklines": positions,
            "border": np.array(known.get("border", []), dtype=np.int64).reshape(-1, 2),
            "canonical": bool(known.get("canonical", False)),
        }
    except (ValueError, TypeError, KeyError, OverflowError):
        return {"crs": None, "next_id": -1, "breaklines": list(range(1_000_000)), "border": [], "canonical": False}


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
