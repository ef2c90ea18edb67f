"""A tiling that is done: what can be asked of it."""

from __future__ import annotations

from collections.abc import Iterator
from os import PathLike
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .. import crs as crs_module
from .. import io
from .._geometry import FloatArray
from ..contours import Contours, get_levels
from ..errors import FileError, GoneError
from ..raster import Raster, find_frame
from ..triangulation import Triangulation
from . import _check, _settings, _through
from ._store import Store


class Tiling:
    """A surface in tiles.

    Attributes
    ----------
    folder
        Where the tiles are.
    tiles
        The names of the tiles that have points.
    crs
        The coordinate reference system, None where it is not known.
    """

    def __init__(self, folder: Path) -> None:
        self.folder = folder
        settings = _settings.read(folder)
        self._store = Store(str(folder))
        if not self._store.index_path.exists():
            raise FileError(f"{folder}: the tiling is not finished; the same call goes on with it")
        self.tiles: list[str] = self._store.index.names
        missing = sum(not self._store.triangles_path(name).exists() for name in self.tiles)
        if missing:
            raise FileError(f"{folder}: {missing} of {len(self.tiles)} tiles are not finished; the same call goes on")
        self.crs = crs_module.normalise(settings["crs"])

    def __repr__(self) -> str:
        return f"<Tiling: {len(self)} points in {len(self.tiles)} tiles>"

    def __len__(self) -> int:
        return int(self._store.index.counts.sum())

    @property
    def bounds(self) -> tuple[float, float, float, float]:
        """West, south, east and north; NaN without points."""
        boxes = self._store.index.boxes
        if not len(boxes):
            return (np.nan,) * 4
        low, high = boxes[:, :2].min(axis=0), boxes[:, 2:].max(axis=0)
        return float(low[0]), float(low[1]), float(high[0]), float(high[1])

    def points(self, tile: str) -> FloatArray:
        """Get the points of a tile, (n, 3), in no particular order."""
        return self._store.points(self._check(tile)).read()

    def triangles(self, tile: str) -> FloatArray:
        """Get the corners (k, 3, 3) of the triangles that a tile owns: those whose smallest corner, by x, then y, it has."""
        points, rows = self.faces(tile)
        return points[rows]

    def faces(self, tile: str) -> tuple[FloatArray, NDArray[np.int32]]:
        """Get the points of a tile, with those of other tiles that it needs after them, and its triangles as rows of these."""
        self._check(tile)
        points = np.concatenate([self.points(tile), self._store.read_halo(tile)])
        return points, self._store.read_triangles(tile)

    def open(self, tile: str) -> Triangulation:
        """Make a triangulation of the points of a tile and those of other tiles around it.

        All triangles at points of the tile are those of the whole; farther away they need not be.
        """
        return self._open(tile)[0]

    def _open(self, tile: str) -> tuple[Triangulation, int]:
        own = self.points(tile)
        tin = Triangulation(np.concatenate([own, self._store.read_halo(tile)]), self.crs)
        tin.canonicalize()
        return tin, len(own)

    def contours(
        self,
        interval: float | None = None,
        levels: ArrayLike | None = None,
        *,
        base: float = 0.0,
        path: str | PathLike[str] | None = None,
    ) -> Contours:
        """Get lines of equal height as a ``Triangulation`` does, joined across the borders of tiles.

        With a path they are written to a file too, by its ending.
        """
        heights = [points[[points[:, 2].argmin(), points[:, 2].argmax()], 2] for points in map(self.points, self.tiles)]
        low, high = (np.min(heights), np.max(heights)) if heights else (0.0, -1.0)
        lines = _through.make_contours(self, get_levels(interval, levels, base, float(low), float(high)))
        if path is not None:
            io.write_contours(lines, Path(path))
        return lines

    def rasterize(
        self,
        resolution: float | tuple[float, float] | None = None,
        bounds: tuple[float, float, float, float] | None = None,
        like: Any = None,
        method: str = "linear",
        *,
        path: str | PathLike[str] | None = None,
    ) -> Raster | None:
        """Make a raster as a ``Triangulation`` does, except by natural neighbours.

        With a path it is written to a GeoTIFF tile by tile, and never in memory as a whole; the result is None then.
        """
        frame = find_frame(resolution, bounds, like, self.bounds)
        return _through.make_raster(self, frame, method, None if path is None else Path(path))

    def check(self) -> bool:
        """Make the triangles of all tiles anew, compare them with the files, and see that they fit together.

        Raises
        ------
        Error
            If they are not those of the points, or do not fit together; the text names the file.
        """
        _check.check(self)
        return True

    def _check(self, tile: str) -> str:
        if tile not in self.tiles:
            raise GoneError(f"there is no tile {tile!r}")
        return tile

    def __iter__(self) -> Iterator[str]:
        return iter(self.tiles)
