"""Triangles cut along the lines between tiles.

All triangles beside a line are cut by it at once, in the order of the levels, first by x, then by y. A tile and its neighbour
therefore compute the points on their common border by equal operations on equal numbers: the points are equal to the last
bit, in corners too.
"""

from __future__ import annotations

from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..._geometry import FloatArray
from ._scheme import Cell, Scheme

Faces = NDArray[np.int64]


class Pieces(NamedTuple):
    """Points (n, 3), which may repeat, and counterclockwise triangles (m, 3) of these."""

    points: FloatArray
    faces: Faces

    def only(self, chosen: NDArray[np.bool_]) -> Pieces:
        """Return some of the triangles, with their points."""
        used, rows = np.unique(self.faces[chosen], return_inverse=True)
        return Pieces(self.points[used], rows.reshape(-1, 3))


def join(parts: list[Pieces]) -> Pieces:
    """Put triangles together."""
    starts = np.cumsum([0, *(len(part.points) for part in parts)])
    points = [np.empty((0, 3)), *(part.points for part in parts)]
    faces = [part.faces + start for part, start in zip(parts, starts, strict=False)]
    return Pieces(np.concatenate(points), np.concatenate([np.empty((0, 3), dtype=np.int64), *faces]))


def cut_out(pieces: Pieces, scheme: Scheme, cell: Cell) -> Pieces:
    """Return the part of the triangles that lies in a cell, cut by the lines of all cells that contain it."""
    low, high = scheme.low(cell), scheme.high(cell)
    corners = pieces.points[pieces.faces][..., :2]
    near = ((corners.min(axis=1) < high) & (corners.max(axis=1) > low)).all(axis=1)
    pieces = pieces.only(near)
    if scheme.crs is not None:
        pieces = divide(pieces, 0, scheme.line(0, 0, 1))[int(cell.x >> cell.z)]
    for rise in range(cell.z, 0, -1):
        around, within = cell.parent(rise), cell.parent(rise - 1)
        for axis in (0, 1):
            line = scheme.line(axis, within.z, 2 * around[1 + axis] + 1)
            pieces = divide(pieces, axis, line)[within[1 + axis] & 1]
    return pieces


def divide_cell(pieces: Pieces, scheme: Scheme, cell: Cell) -> list[Pieces]:
    """Divide the triangles of a cell among its children."""
    halves = divide(pieces, 0, scheme.line(0, cell.z + 1, 2 * cell.x + 1))
    return [part for half in halves for part in divide(half, 1, scheme.line(1, cell.z + 1, 2 * cell.y + 1))]


def divide(pieces: Pieces, axis: int, line: float) -> tuple[Pieces, Pieces]:
    """Cut triangles along a line, and return the parts below it and above it."""
    sides = np.sign(pieces.points[:, axis] - line).astype(np.int8)[pieces.faces]
    lowest, highest = sides.min(axis=1), sides.max(axis=1)
    crossing = (lowest < 0) & (highest > 0)
    points, below, above = _cut(pieces, np.flatnonzero(crossing), sides, (axis, line))
    low = np.concatenate([pieces.faces[(highest <= 0) & (lowest < 0)], below])
    high = np.concatenate([pieces.faces[(lowest >= 0) & (highest > 0)], above])
    return tuple(Pieces(points, faces).only(np.ones(len(faces), dtype=bool)) for faces in (low, high))  # type: ignore[return-value]


def _cut(
    pieces: Pieces, rows: NDArray[np.int64], sides: NDArray[np.int8], where: tuple[int, float]
) -> tuple[FloatArray, Faces, Faces]:
    """Cut triangles that have corners on both sides; return all points, old and new, and the parts on either side."""
    sides = sides[rows]
    through = (sides == 0).any(axis=1)  # a corner lies on the line
    # The first corner becomes the one on the line, or the one that is alone on its side.
    alone = np.where(through[:, np.newaxis], sides == 0, sides == -np.sign(sides.sum(axis=1))[:, np.newaxis])
    order = (alone.argmax(axis=1)[:, np.newaxis] + np.arange(3)) % 3
    faces = np.take_along_axis(pieces.faces[rows], order, axis=1)
    sides = np.take_along_axis(sides, order, axis=1)
    a, b, c = faces[through].T
    first, second, third = faces[~through].T
    n, num_through, num_alone = len(pieces.points), len(a), len(first)
    points = np.concatenate(
        [
            pieces.points,
            _cross(pieces.points, b, c, where),
            _cross(pieces.points, first, second, where),
            _cross(pieces.points, first, third, where),
        ]
    )
    p = n + np.arange(num_through)
    q = n + num_through + np.arange(num_alone)
    r = q + num_alone
    parts = [
        (np.column_stack([a, b, p]), sides[through, 1]),
        (np.column_stack([a, p, c]), sides[through, 2]),
        (np.column_stack([first, q, r]), sides[~through, 0]),
        (np.column_stack([q, second, third]), sides[~through, 1]),
        (np.column_stack([q, third, r]), sides[~through, 1]),
    ]
    made, side = np.concatenate([part for part, _ in parts]), np.concatenate([part for _, part in parts])
    return points, made[side < 0], made[side > 0]


def _cross(points: FloatArray, src: NDArray[np.int64], trg: NDArray[np.int64], where: tuple[int, float]) -> FloatArray:
    """Return the crossings of edges and the line. The order of the ends does not matter."""
    axis, line = where
    ends = np.stack([points[src], points[trg]], axis=1)
    low = np.where((ends[:, :1, axis] < ends[:, 1:, axis]), ends[:, 0], ends[:, 1])
    high = np.where((ends[:, :1, axis] < ends[:, 1:, axis]), ends[:, 1], ends[:, 0])
    share = (line - low[:, axis]) / (high[:, axis] - low[:, axis])
    crossings: FloatArray = low + share[:, np.newaxis] * (high - low)
    crossings[:, axis] = line
    return crossings
