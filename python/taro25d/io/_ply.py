"""PLY: points and faces as text or as bytes of either order."""

from __future__ import annotations

from pathlib import Path
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from ..errors import FormatError
from ._numbers import Cursor
from ._polygons import split

_KINDS = {
    "char": "i1", "uchar": "u1", "short": "i2", "ushort": "u2", "int": "i4", "uint": "u4", "float": "f4", "double": "f8",
    "int8": "i1", "uint8": "u1", "int16": "i2", "uint16": "u2", "int32": "i4", "uint32": "u4", "int64": "i8",
    "uint64": "u8", "float32": "f4", "float64": "f8",
}  # fmt: skip
_ORDERS = {"ascii": "", "binary_little_endian": "<", "binary_big_endian": ">"}
_ROW_NAMES = ("vertex_indices", "vertex_index")


class _Property(NamedTuple):
    name: str
    kind: str
    kind_of_count: str = ""  # of lists


class _Element(NamedTuple):
    name: str
    num: int
    properties: list[_Property]


def read_ply(path: Path) -> tuple[FloatArray, NDArray[np.int64]]:
    """Return points and triangles."""
    cursor = Cursor(path.read_bytes())
    found: dict[str, dict[str, Any]] = {}
    for element in _read_head(cursor):
        found[element.name] = _read_columns(cursor, element)
    vertices, faces = found.get("vertex", {}), found.get("face", {})
    rows: Any = next((faces[name] for name in _ROW_NAMES if name in faces), [])
    if not {"x", "y", "z"} <= set(vertices):
        raise FormatError("the points have no x, y and z")
    points = np.column_stack([vertices[name] for name in "xyz"]).astype(np.float64)
    return points, split(points, rows)


def _read_head(cursor: Cursor) -> list[_Element]:
    if cursor.line() != "ply":
        raise FormatError("this is no PLY file")
    elements: list[_Element] = []
    while (line := cursor.line()) != "end_header":
        words = line.split() or [""]
        if words[0] == "format":
            cursor.order = _look_up(_ORDERS, words[1:2], line)
        elif words[0] == "element" and len(words) == 3 and words[2].isdecimal() and len(words[2]) < 19:
            elements.append(_Element(words[1], int(words[2]), []))
        elif words[0] == "property" and elements:
            *kinds, name = words[1:] if words[1:2] != ["list"] else words[2:]
            found = [_look_up(_KINDS, [kind], line) for kind in reversed(kinds)]
            if len(found) != (1 if words[1] != "list" else 2):
                raise FormatError(f"the head is broken at {line[:40]!r}")
            elements[-1].properties.append(_Property(name, *found))
        elif words[0] not in ("comment", "obj_info"):
            raise FormatError(f"the head is broken at {line[:40]!r}")
    return elements


def _look_up(table: dict[str, str], words: list[str], line: str) -> str:
    if not words or words[0] not in table:
        raise FormatError(f"the head is broken at {line[:40]!r}")
    return table[words[0]]


def _read_columns(cursor: Cursor, element: _Element) -> dict[str, Any]:
    if not any(p.kind_of_count for p in element.properties):
        return _read_plain(cursor, element)
    if cursor.order and element.num:
        columns = _read_alike(cursor, element)
        if columns is not None:
            return columns
    columns = {p.name: [] for p in element.properties}
    for _ in range(element.num):
        for p in element.properties:
            num = int(cursor.array(1, p.kind_of_count)[0]) if p.kind_of_count else 1
            columns[p.name].append(cursor.array(num, p.kind).tolist())
    return columns


def _read_plain(cursor: Cursor, element: _Element) -> dict[str, Any]:
    if cursor.order:
        kind = np.dtype([(p.name, cursor.order + p.kind) for p in element.properties])
        table = cursor.rows(element.num, kind) if element.properties else np.empty(0, dtype=kind)
        return {p.name: table[p.name] for p in element.properties}
    width = len(element.properties)
    numbers = cursor.array(element.num * width, "f8").reshape(element.num, width)
    return {p.name: numbers[:, k] for k, p in enumerate(element.properties)}


def _read_alike(cursor: Cursor, element: _Element) -> dict[str, Any] | None:
    """Read records whose lists are all as long as those of the first; None, without having read, where they are not."""
    start = cursor.mark()
    lengths = {}
    for p in element.properties:
        if p.kind_of_count:
            lengths[p.name] = int(cursor.array(1, p.kind_of_count)[0])
        cursor.array(lengths.get(p.name, 1), p.kind)
    cursor.reset(start)
    fields: list[Any] = []
    for p in element.properties:
        if p.kind_of_count:
            fields.append((f"#{p.name}", cursor.order + p.kind_of_count))
        fields.append((p.name, cursor.order + p.kind, (lengths.get(p.name, 1),)))
    kind = np.dtype(fields)
    if not cursor.holds(element.num, kind):
        return None
    table = cursor.rows(element.num, kind)
    if all((table[f"#{name}"] == length).all() for name, length in lengths.items()):
        return {p.name: table[p.name] for p in element.properties}
    cursor.reset(start)
    return None
