"""Whether a tiling is what it promises."""

from __future__ import annotations

from typing import TYPE_CHECKING

import numpy as np

from .._geometry import FloatArray
from ..errors import Error
from ._work import Stars

if TYPE_CHECKING:
    from ._result import Tiling


def check(tiling: Tiling) -> None:
    """Make all triangles anew, compare, and see that they fit together."""
    num_triangles, inner = 0, 0
    borders = [np.empty((0, 4))]
    for tile in tiling.tiles:
        stars = Stars(tiling._store, tile)
        stars.complete()
        halo, triangles = stars.tile.owned()
        points, rows = tiling.faces(tile)
        if not (np.array_equal(points[len(stars.own) :], halo) and np.array_equal(rows, triangles)):
            raise Error(f"{tiling._store.triangles_path(tile)}: these are not the triangles of the points")
        border = find_border(points, rows)
        num_triangles += len(rows)
        inner += (3 * len(rows) - len(border)) // 2
        borders.append(border)
    edges = np.concatenate(borders)
    hull = find_unmatched(edges)
    num_edges = inner + (len(edges) - len(hull)) // 2 + len(hull)
    if num_triangles and len(tiling) - num_edges + num_triangles != 1:
        raise Error(f"{tiling.folder}: the triangles do not fit together")


def find_border(points: FloatArray, triangles: np.ndarray) -> FloatArray:
    """Get the directed edges (x, y, x, y) that have no other triangle of a tile behind them."""
    edges = np.concatenate([triangles[:, [0, 1]], triangles[:, [1, 2]], triangles[:, [2, 0]]]).astype(np.int64)
    keys = edges[:, 0] * len(points) + edges[:, 1]
    twins = edges[:, 1] * len(points) + edges[:, 0]
    alone = edges[~np.isin(keys, twins)]
    return np.column_stack([points[alone[:, 0], :2], points[alone[:, 1], :2]])


def find_unmatched(edges: FloatArray) -> FloatArray:
    """Get the directed edges whose opposite is not among them."""
    both = np.concatenate([edges, edges[:, [2, 3, 0, 1]]])
    _, names = np.unique(both, axis=0, return_inverse=True)
    forth, back = np.split(names.ravel(), 2)
    return edges[~np.isin(forth, back)]
