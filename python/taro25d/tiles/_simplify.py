"""Certified simplification, tile by tile.

A tile keeps all vertices on the border of the triangles that it owns, and simplifies between them. All edges of such a border
are Delaunay edges of the whole surface, hence of any of its points that hold both ends: a circle through the ends that is
empty of all points is empty of some; and of points on one circle the smallest stays the smallest. So the Delaunay
triangulation of the points that all tiles keep has these borders, and between them the triangles that each tile has
certified: nothing tears, and the limit holds everywhere.
"""

from __future__ import annotations

import hashlib
import json
import shutil
import warnings
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from .. import _engine
from .._geometry import FloatArray
from .._progress import Progress
from ..errors import FileError, Warning
from ..io._files import writing
from ..triangulation import Triangulation
from . import _settings
from ._check import find_border_rows
from ._parts import crew_for
from ._run import run
from ._settings import Settings
from ._work import Job

if TYPE_CHECKING:
    from ._result import Tiling


def simplify_tile(job: Job, task: tuple[str, float, str]) -> int:
    """Write the points that a tile keeps, and get how many."""
    name, max_error, target = task
    path = Path(target)
    if not path.exists():
        own, halo = job.store.points(name).read(), job.store.read_halo(name)
        kept = choose(np.concatenate([own, halo]), job.store.read_triangles(name), max_error)
        with writing(path) as temporary, temporary.open("wb") as file:
            np.save(file, kept)
    return len(np.load(path, mmap_mode="r"))


def choose(points: FloatArray, triangles: NDArray[np.int32], max_error: float) -> FloatArray:
    """Choose the points of a tile: those on the border of its triangles, and between them as few as the limit allows."""
    if not len(triangles):
        return np.empty((0, 3))
    border = find_border_rows(triangles)
    on_border = np.unique(border)
    inner = np.setdiff1d(triangles, on_border)
    tin = Triangulation(threads=1)
    edges = np.ascontiguousarray(points[border])
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", Warning)  # of points so near to the border that they are taken for a part of it
        _engine.simplify(tin._surface, np.ascontiguousarray(points[inner]), [edges], max_error, True, 1, None)
    if not _has_edges(tin, edges):
        return points[np.unique(triangles)]
    ids = tin.ids
    return np.concatenate([points[on_border], points[inner[ids[ids < len(inner)]]]])


def _has_edges(tin: Triangulation, edges: FloatArray) -> bool:
    """Return whether a border is in a model unchanged, which may not be so if points are rounding errors apart."""
    found = tin.points[tin.edges_constrained][..., :2].reshape(-1, 4)
    wanted = edges[..., :2].reshape(-1, 4)
    rows = {tuple(row) for row in np.concatenate([found, found[:, [2, 3, 0, 1]]]).tolist()}
    return len(found) == len(edges) and all(tuple(row) in rows for row in wanted.tolist())


def simplify(
    tiling: Tiling, folder: Path, max_error: float, points_per_tile: int, *, client: Any, progress: Progress
) -> None:
    """Make a tiling of as few of the points as the limit allows."""
    chosen = _chosen_folder(tiling, folder, max_error)
    try:
        chosen.mkdir(parents=True, exist_ok=True)
    except OSError as error:
        raise FileError(f"{chosen}: {error.strerror}") from error
    with crew_for(tiling, client, progress) as crew:
        paths = [chosen / f"{name}.npy" for name in tiling.tiles]
        tasks = ((name, max_error, str(path)) for name, path in zip(tiling.tiles, paths, strict=True))
        num = sum(crew.all("simplifying", simplify_tile, tasks))
        source = paths if num else _all_points(tiling, chosen)
        run(source, folder, crew.client, Settings.of(points_per_tile, None, tiling.crs), progress)
    shutil.rmtree(chosen, ignore_errors=True)


def _chosen_folder(tiling: Tiling, folder: Path, max_error: float) -> Path:
    """Return a folder for the points of all tiles, beside the target; another run with the same input finds it again."""
    order = [_settings.read(tiling.folder), max_error]
    digest = hashlib.blake2b(json.dumps(order, sort_keys=True).encode(), digest_size=8).hexdigest()
    return folder.parent / f".{folder.name}.{digest}"


def _all_points(tiling: Tiling, chosen: Path) -> list[Path]:
    """Take all points, which are on one line if there are no triangles."""
    paths = []
    for name in tiling.tiles:
        paths.append(chosen / f"{name}.all.npy")
        with writing(paths[-1]) as temporary, temporary.open("wb") as file:
            np.save(file, tiling.points(name))
    return paths
