"""Triangulations of more points than a machine has memory for, in tiles, on Dask.

The tiles together are the canonical Delaunay triangulation of all points, triangle for triangle, for any division into tiles
and any number of workers.

>>> import taro25d, tempfile
>>> points = [[x, y, x * y] for x in range(30) for y in range(30)]
>>> result = taro25d.tiles.triangulate(points, tempfile.mkdtemp(), points_per_tile=200)
>>> sum(len(result.triangles(tile)) for tile in result.tiles)
1682
"""

from __future__ import annotations

from collections.abc import Sequence
from os import PathLike
from pathlib import Path
from typing import Any

from .._progress import Progress
from ._result import Tiling
from ._settings import Settings

__all__ = ["Tiling", "open", "triangulate"]


def triangulate(
    source: Any,
    folder: str | PathLike[str],
    points_per_tile: int = 2_000_000,
    client: Any = None,
    *,
    crs: Any = None,
    classes: Sequence[int] | None = None,
    progress: Progress = False,
) -> Tiling:
    """Triangulate points tile by tile, into a folder.

    A run that was interrupted continues when it is started again with equal source and settings.
    Points that are not finite are left out with a warning; of points at one place the first stays, in the order of the files,
    then of the rows.

    Parameters
    ----------
    source
        A path, a pattern such as ``"flight/*.laz"``, a list of these, or an array of (n, 3).
    folder
        Where the tiles go: an empty or new folder, or that of a former run. All workers must reach it under this name.
    points_per_tile
        The most points that a tile has. A worker needs about 800 bytes for each.
    client
        A ``dask.distributed.Client``; without one that which Dask has, or threads of this process.
    crs
        The coordinate reference system, if the source does not tell it.
    classes
        For LAS and LAZ: the classes to keep, such as ``[2]`` for ground.
    progress
        True for a bar on standard error, or a function of a phase and the fraction of it that is done.

    Raises
    ------
    RefusedError
        If the folder holds a tiling of another source or with other settings, or other files.
    FileError
        If a file cannot be read or written, because the disk is full for example.
    """
    from ._run import run

    run(source, Path(folder), client, Settings.of(points_per_tile, classes, crs), progress)
    return open(folder)


def open(folder: str | PathLike[str]) -> Tiling:
    """Open the tiling in a folder; no points are read.

    Raises
    ------
    FileError
        If there is no tiling, or one that is not finished.
    """
    return Tiling(Path(folder))
