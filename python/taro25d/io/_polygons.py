"""Polygons of files become triangles."""

from __future__ import annotations

import itertools
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from ..errors import FormatError

#: Above this number of corners a polygon is no face of a surface any more.
_MOST_CORNERS = 1000


def split(points: FloatArray, polygons: Any) -> NDArray[np.int64]:
    """Make triangles (m, 3) of polygons of row numbers, all around a corner of each that sees all others."""
    try:
        table = np.asarray(polygons, dtype=np.int64)
    except ValueError:  # of different lengths
        table = np.empty((0, 0), dtype=np.int64)
    if table.ndim == 2 and table.shape[1] == 3:
        _check_rows(table, len(points))
        return table
    triangles: list[tuple[int, int, int]] = []
    for polygon in polygons:
        triangles += _fan(points, [int(row) for row in polygon])
    return np.array(triangles, dtype=np.int64).reshape(-1, 3)


def _check_rows(rows: NDArray[np.int64], num_points: int) -> None:
    if rows.size and not 0 <= rows.min() <= rows.max() < num_points:
        raise FormatError(f"a face has a corner that is not there: there are {num_points} points")


def _fan(points: FloatArray, polygon: list[int]) -> list[tuple[int, int, int]]:
    if not 3 <= len(polygon) <= _MOST_CORNERS:
        raise FormatError(f"a face has {len(polygon)} corners")
    _check_rows(np.array(polygon), len(points))
    fan: list[tuple[int, int, int]] = []
    for start in range(len(polygon) if len(polygon) > 3 else 1):
        first, *others = polygon[start:] + polygon[:start]
        fan = [(first, second, third) for second, third in itertools.pairwise(others)]
        if len(polygon) == 3 or _turn_alike(points, fan):
            return fan
    raise FormatError(
        f"a face with {len(polygon)} corners has a shape that cannot be divided: divide it into triangles first"
    )


def _turn_alike(points: FloatArray, triangles: list[tuple[int, int, int]]) -> bool:
    a, b, c = (points[list(corners), :2] for corners in zip(*triangles, strict=True))
    turns = (b - a)[:, 0] * (c - a)[:, 1] - (b - a)[:, 1] * (c - a)[:, 0]
    return bool((turns > 0).all() or (turns < 0).all())
