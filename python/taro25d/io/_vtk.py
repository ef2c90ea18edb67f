"""VTK's older format: POLYDATA and UNSTRUCTURED_GRID, as text or as bytes."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from ..errors import FormatError
from ._numbers import Cursor
from ._polygons import split

_KINDS = {
    "float": "f4", "double": "f8", "int": "i4", "long": "i8", "unsigned_int": "u4", "unsigned_long": "u8",
    "vtktypeint64": "i8", "vtktypeint32": "i4", "vtkidtype": "i8",
}  # fmt: skip
_DATASETS = ("POLYDATA", "UNSTRUCTURED_GRID")
_CELLS = ("VERTICES", "LINES", "POLYGONS", "CELLS", "TRIANGLE_STRIPS")
_STRIP = 6
_FACES = (5, 7, 9)  # triangle, polygon, quadrilateral
_PIXEL = 8


def read_vtk(path: Path) -> tuple[FloatArray, NDArray[np.int64]]:
    """Return points and triangles."""
    cursor = Cursor(path.read_bytes())
    new = _read_head(cursor)
    points = np.empty((0, 3))
    faces: list[NDArray[np.int64]] = []
    types: NDArray[np.int64] | None = None
    while line := cursor.line():
        keyword, *words = line.split()
        keyword = keyword.upper()
        if keyword == "POINTS":
            points = _array(cursor, words, 3).reshape(-1, 3).astype(np.float64)
        elif keyword in _CELLS:
            cells = _read_cells(cursor, words, new)
            if keyword in ("POLYGONS", "CELLS"):
                faces = cells
            elif keyword == "TRIANGLE_STRIPS":
                faces += [triangle for strip in cells for triangle in _unroll(strip)]
        elif keyword == "CELL_TYPES":
            types = cursor.array(_number(words), "i4").astype(np.int64)
        elif keyword in ("POINT_DATA", "CELL_DATA"):
            break
        elif keyword == "FIELD":
            _skip_fields(cursor, _number(words, 1))
    return points, split(points, faces if types is None else _choose(faces, types))


def _read_head(cursor: Cursor) -> bool:
    """Read the first lines and get whether cells are written as from version 5 on."""
    first, _title = cursor.line(), cursor.line(may_be_empty=True)
    form, dataset = cursor.line(), cursor.line()
    if not first.lower().startswith("# vtk datafile version"):
        raise FormatError("this is no VTK file of the older format")
    if form.upper() not in ("ASCII", "BINARY"):
        raise FormatError(f"ASCII or BINARY is expected, not {form[:40]!r}")
    if dataset.upper().split() not in [["DATASET", name] for name in _DATASETS]:
        raise FormatError(f"{' or '.join(_DATASETS)} can be read, not {dataset[:40]!r}")
    cursor.order = ">" if form.upper() == "BINARY" else ""
    return first.split()[-1] >= "5"


def _number(words: list[str], position: int = 0) -> int:
    try:
        return int(words[position])
    except (ValueError, IndexError) as error:
        raise FormatError(f"a number is expected, not {' '.join(words)[:40]!r}") from error


def _array(cursor: Cursor, words: list[str], width: int = 1) -> NDArray[Any]:
    kind = _KINDS.get(words[-1].lower()) if words else None
    if kind is None:
        raise FormatError(f"numbers of the type {' '.join(words[-1:])[:40]!r} cannot be read")
    return cursor.array(width * _number(words), kind)


def _read_cells(cursor: Cursor, words: list[str], new: bool) -> list[NDArray[np.int64]]:
    """Return the row numbers of each cell."""
    if new:
        parts = []
        for position, name in enumerate(("OFFSETS", "CONNECTIVITY")):
            keyword, *kind = cursor.line().split() or [""]
            if keyword.upper() != name:
                raise FormatError(f"{name} is expected, not {keyword[:40]!r}")
            parts.append(_array(cursor, [words[position], *kind]).astype(np.int64))
        offsets, rows = parts
    else:
        table = cursor.array(_number(words, 1), "i4").astype(np.int64)
        offsets, rows = _find_offsets(table, _number(words))
    if len(offsets) and ((np.diff(offsets) < 0).any() or offsets[0] != 0 or offsets[-1] > len(rows)):
        raise FormatError("cells end before they begin")
    return np.split(rows, offsets[1:-1]) if len(offsets) > 1 else []


def _find_offsets(table: NDArray[np.int64], num: int) -> tuple[NDArray[np.int64], NDArray[np.int64]]:
    """Take the length in front of each cell out of a table."""
    starts = [0]
    for _ in range(num):
        if starts[-1] >= len(table) or table[starts[-1]] < 0:
            raise FormatError("the table of cells is cut short")
        starts.append(starts[-1] + 1 + int(table[starts[-1]]))
    return np.array(starts) - np.arange(num + 1), np.delete(table, starts[:-1])


def _skip_fields(cursor: Cursor, num: int) -> None:
    for _ in range(num):
        _, *words = cursor.line().split() or [""]
        _array(cursor, [str(_number(words)), *words[2:]], _number(words, 1))


def _choose(cells: list[NDArray[np.int64]], types: NDArray[np.int64]) -> list[NDArray[np.int64]]:
    """Return the faces among cells of many types."""
    if len(cells) != len(types):
        raise FormatError(f"there are {len(cells)} cells and {len(types)} types")
    faces: list[NDArray[np.int64]] = []
    for cell, kind in zip(cells, types.tolist(), strict=True):
        if kind in _FACES:
            faces.append(cell)
        elif kind == _PIXEL and len(cell) == 4:
            faces.append(cell[[0, 1, 3, 2]])
        elif kind == _STRIP:
            faces += _unroll(cell)
    return faces


def _unroll(strip: NDArray[np.int64]) -> list[NDArray[np.int64]]:
    return [strip[k : k + 3] for k in range(len(strip) - 2)]
