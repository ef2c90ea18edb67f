"""The mesh of a tile: on the whole numbers that its file can hold, so that it is valid as it will be read.

The finest tiles have the triangles of the surface. The others are made of the vertices of the four below them: first each side
by itself, as a line over its length (Douglas and Peucker 1973), then the inside, with the sides as breaklines. Two tiles of one
level that share a side have so the same vertices on it.
"""

from __future__ import annotations

from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..._geometry import FloatArray
from ..._messages import expecting_warnings
from ..._simplify import simplify
from ...triangulation import Triangulation
from ._cut import Faces, Pieces
from ._scheme import Cell, Scheme

STEPS = 32767
_ERROR = 1 / 1024  # of the width of a tile; twice that, together with the errors of the levels below
_MOST = 30_000  # vertices of a tile above the finest level, unless its sides have more

Grid = NDArray[np.int64]


class Mesh(NamedTuple):
    """Vertices (n, 3) in the coordinates of the scheme, where they are in the tile (n, 2), and triangles."""

    points: FloatArray
    places: Grid
    faces: Faces


def make_finest(pieces: Pieces, scheme: Scheme, cell: Cell) -> Mesh | None:
    """Make the mesh of the triangles that lie in a tile; None if nothing is left of them."""
    points, places, rows = _snap(pieces.points, scheme, cell)
    faces = rows[pieces.faces]
    faces = faces[(faces != np.roll(faces, 1, axis=1)).all(axis=1)]
    if not len(faces):
        return None
    lifted = _lift(places, points)
    with expecting_warnings():  # triangles that rounding has turned over are replaced by others
        tin = Triangulation.from_triangles(lifted, faces, repair=True)
        tin.insert(lifted[((places == 0) | (places == STEPS)).any(axis=1)])  # vertices on the sides are never left out
    return _look_up(tin, points, places)


def make_coarse(children: list[FloatArray], scheme: Scheme, cell: Cell) -> Mesh | None:
    """Make a mesh of the vertices of the tiles of the next level; None if nothing is left of them."""
    points, places, _ = _snap(np.concatenate(children), scheme, cell)
    limit = scheme.width(cell.z) * scheme.metres * _ERROR
    kept, sides = _simplify_sides(points, places, limit)
    points, places = points[kept], places[kept]
    lifted = _lift(places, points)
    numbers = np.cumsum(kept) - 1
    lines = [lifted[numbers[side]] for side in sides if len(side) > 1]
    with expecting_warnings():  # vertices of the sides are among the points, too
        tin = simplify(lifted, limit, lines, certified=True, threads=1)
        while len(tin.points) > _MOST + sum(map(len, lines)):
            limit *= 2
            tin = simplify(tin.points, limit, lines, certified=True, threads=1)
    return _look_up(tin, points, places)


def _snap(points: FloatArray, scheme: Scheme, cell: Cell) -> tuple[FloatArray, Grid, Grid]:
    """Round points to the whole numbers of a tile, one to a place.

    Returns these points, their places, and the row of each given point among them.

    Only points on a side are rounded to it, so that both tiles at a side have the same vertices there.
    """
    low, high = scheme.low(cell), scheme.high(cell)
    inner = np.clip(np.rint((points[:, :2] - low) / scheme.width(cell.z) * STEPS).astype(np.int64), 1, STEPS - 1)
    places = np.where(points[:, :2] <= low, 0, np.where(points[:, :2] >= high, STEPS, inner))
    order = np.lexsort((points[:, 2], points[:, 1], points[:, 0], places[:, 1], places[:, 0]))
    first = np.ones(len(points), dtype=bool)
    first[1:] = (np.diff(places[order], axis=0) != 0).any(axis=1)
    rows = np.empty(len(points), dtype=np.int64)
    rows[order] = np.cumsum(first) - 1
    chosen = order[first]
    return points[chosen], places[chosen], rows


def _simplify_sides(points: FloatArray, places: Grid, limit: float) -> tuple[NDArray[np.bool_], list[Grid]]:
    """Simplify the sides: which vertices stay, and those of each side in their order."""
    kept = np.ones(len(points), dtype=bool)
    sides = []
    for axis in (0, 1):
        for end in (0, STEPS):
            side = np.flatnonzero(places[:, axis] == end)
            side = side[np.argsort(places[side, 1 - axis])]
            stays = simplify_line(points[side][:, [1 - axis, 2]], limit)
            kept[side[~stays]] = False
            sides.append(side[stays])
    return kept, sides


def simplify_line(line: FloatArray, limit: float) -> NDArray[np.bool_]:
    """Find the points of a line (n, 2) over its first coordinate from which the others differ by no more than the limit."""
    stays = np.zeros(len(line), dtype=bool)
    stays[[0, -1] if len(line) else []] = True
    stack = [(0, len(line) - 1)]
    while stack:
        first, last = stack.pop()
        if last - first < 2:
            continue
        part = line[first : last + 1]
        share = (part[:, 0] - part[0, 0]) / (part[-1, 0] - part[0, 0])
        distance = np.abs(part[0, 1] + share * (part[-1, 1] - part[0, 1]) - part[:, 1])
        worst = int(distance[1:-1].argmax()) + 1
        if distance[worst] > limit:
            stays[first + worst] = True
            stack += [(first, first + worst), (first + worst, last)]
    return stays


def _lift(places: Grid, points: FloatArray) -> FloatArray:
    return np.column_stack([places.astype(np.float64), points[:, 2]])


def _look_up(tin: Triangulation, points: FloatArray, places: Grid) -> Mesh | None:
    """Return the mesh with the vertices as they were before they came to whole numbers."""
    found = tin.points[:, :2].astype(np.int64)
    keys = places[:, 0] * (STEPS + 1) + places[:, 1]  # in ascending order, since points are sorted by places
    rows = np.searchsorted(keys, found[:, 0] * (STEPS + 1) + found[:, 1])
    if not len(tin.triangles):
        return None
    return Mesh(points[rows], places[rows], tin.triangles.astype(np.int64))
