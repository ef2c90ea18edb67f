"""The check of a finished tiling."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .._geometry import FloatArray
from ..errors import Error
from ._crew import Crew
from ._work import Job, Stars

if TYPE_CHECKING:
    from ._result import Tiling


class Checked(NamedTuple):
    """The results of one tile, which are added up over all tiles."""

    same: bool  # as those made anew
    triangles: int
    inner: int  # edges within the tile
    border: FloatArray  # directed edges (x, y, x, y) without another triangle of the tile behind them


def check_tile(job: Job, name: str) -> Checked:
    """Make the triangles of a tile anew, and compare."""
    store = job.store
    stars = Stars(store, name)
    stars.complete()
    halo, triangles = stars.tile.owned()
    known, rows = store.read_halo(name), store.read_triangles(name)
    same = np.array_equal(known, halo) and np.array_equal(rows, triangles)
    if not same:
        return Checked(False, 0, 0, np.empty((0, 4)))
    edges = find_border_rows(rows)
    border = np.concatenate([stars.own, known])[edges, :2].reshape(-1, 4)
    return Checked(True, len(rows), (3 * len(rows) - len(border)) // 2, border)


def check(tiling: Tiling, crew: Crew) -> None:
    """Check all tiles, and see that they fit together."""
    num_triangles, inner = 0, 0
    borders = [np.empty((0, 4))]
    for name, found in zip(tiling.tiles, crew.in_order("checking", check_tile, tiling.tiles), strict=True):
        if not found.same:
            raise Error(f"{tiling._store.triangles_path(name)}: these are not the triangles of the points")
        num_triangles += found.triangles
        inner += found.inner
        borders.append(found.border)
    edges = np.concatenate(borders)
    hull = find_unmatched(edges)
    num_edges = inner + (len(edges) - len(hull)) // 2 + len(hull)
    if num_triangles and len(tiling) - num_edges + num_triangles != 1:
        raise Error(f"{tiling.folder}: the triangles do not fit together")


def find_border_rows(triangles: NDArray[np.int32]) -> NDArray[np.int64]:
    """Return the directed edges (n, 2) that have no other triangle behind them."""
    edges = np.concatenate([triangles[:, [0, 1]], triangles[:, [1, 2]], triangles[:, [2, 0]]]).astype(np.int64)
    size = int(edges.max(initial=0)) + 1
    alone: NDArray[np.int64] = edges[~np.isin(edges[:, 0] * size + edges[:, 1], edges[:, 1] * size + edges[:, 0])]
    return alone


def find_unmatched(edges: FloatArray) -> FloatArray:
    """Return the directed edges whose opposite is not among them."""
    both = np.concatenate([edges, edges[:, [2, 3, 0, 1]]])
    _, names = np.unique(both, axis=0, return_inverse=True)
    forth, back = np.split(names.ravel(), 2)
    return edges[~np.isin(forth, back)]
