"""A finished tiling, and its queries."""

from __future__ import annotations

from collections.abc import Iterator
from os import PathLike
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .. import crs as crs_module
from .._geometry import FloatArray, PolygonLike, crs_of
from .._optional import require
from .._progress import Progress
from ..contours import Contours, get_levels
from ..errors import FileError, GoneError, InvalidInputError
from ..raster import Raster, find_frame
from ..triangulation import Triangulation
from ..volume import Volume
from . import _check, _contours, _parquet, _rasters, _settings
from ._parts import crew_for, open_part
from ._simplify import simplify
from ._store import Store
from ._volumes import make_volume


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
        """Return the points of a tile, (n, 3), in no particular order."""
        return self._store.points(self._check(tile)).read()

    def triangles(self, tile: str) -> FloatArray:
        """Return the corners (k, 3, 3) of the triangles that a tile owns: those whose smallest corner, by x, then y, it has."""
        points, rows = self.faces(tile)
        return points[rows]

    def faces(self, tile: str) -> tuple[FloatArray, NDArray[np.int32]]:
        """Return the points of a tile, then those of other tiles that it needs, and its triangles as rows of these."""
        self._check(tile)
        points = np.concatenate([self.points(tile), self._store.read_halo(tile)])
        return points, self._store.read_triangles(tile)

    def open(self, tile: str) -> Triangulation:
        """Make a triangulation of the points of a tile and those of other tiles around it.

        All triangles at points of the tile are those of the whole; farther away they need not be.
        """
        tin = open_part(self._store, self._check(tile), threads=0).tin
        tin.crs = self.crs
        return tin

    # ---- Through the tiles ----
    #
    # Each call takes a ``client`` and ``progress`` as ``triangulate`` does: the tiles are tasks for Dask's workers.

    def contours(
        self,
        interval: float | None = None,
        levels: ArrayLike | None = None,
        *,
        base: float = 0.0,
        path: str | PathLike[str] | None = None,
        client: Any = None,
        progress: Progress = False,
    ) -> Contours | None:
        """Return lines of equal height as a ``Triangulation`` does, joined across the borders of tiles.

        With a path they are written to a file, by its ending, and the result is None. A GeoPackage or Shapefile grows line
        by line; only lines that still wait for a tile are in memory.
        """
        heights = self._store.index.heights
        low, high = (heights[:, 0].min(), heights[:, 1].max()) if len(heights) else (0.0, -1.0)
        chosen = get_levels(interval, levels, base, float(low), float(high))
        with crew_for(self, client, progress) as crew:
            if path is None:
                return _contours.make_contours(self, crew, chosen)
            _contours.write_contours(self, crew, chosen, Path(path))
            return None

    def rasterize(
        self,
        resolution: float | tuple[float, float] | None = None,
        bounds: tuple[float, float, float, float] | None = None,
        like: Any = None,
        method: str = "linear",
        *,
        path: str | PathLike[str] | None = None,
        client: Any = None,
        progress: Progress = False,
    ) -> Raster | None:
        """Make a raster as a ``Triangulation`` does.

        With a path it is written to a GeoTIFF tile by tile, and never in memory as a whole; the result is None then.
        For natural neighbours the points that the neighbours of cells need are fetched from other tiles.
        """
        frame = find_frame(resolution, bounds, like, self.bounds)
        with crew_for(self, client, progress) as crew:
            if path is None:
                return _rasters.make_raster(self, crew, frame, method)
            _rasters.write_raster(self, crew, frame, method, Path(path))
            return None

    def volume(
        self,
        after: Tiling,
        polygon: PolygonLike | None = None,
        threshold: float = 0.0,
        *,
        path: str | PathLike[str] | None = None,
        client: Any = None,
        progress: Progress = False,
    ) -> Volume:
        """Compare this surface with a later one in tiles, as a ``Triangulation`` does; the tiles need not be alike.

        With a path a table is written too, by its ending (.csv .parquet .gpkg .geojson), with a row for each tile of this
        surface. ``Volume.components`` compares both in one piece on first use, and needs the memory for that.
        """
        if not isinstance(after, Tiling):
            raise InvalidInputError(f"after: another surface in tiles is expected, not {type(after).__name__}")
        crs_module.merge(self.crs, after.crs, "after")
        if polygon is not None:
            crs_module.merge(self.crs, crs_of(polygon), "polygon")
        if not threshold >= 0:
            raise InvalidInputError(f"threshold: 0 or more is expected, not {threshold}")
        with crew_for(self, client, progress) as crew:
            return make_volume(self, after, crew, polygon, threshold, path=None if path is None else Path(path))

    def simplify(
        self,
        folder: str | PathLike[str],
        max_error: float,
        points_per_tile: int = 2_000_000,
        *,
        client: Any = None,
        progress: Progress = False,
    ) -> Tiling:
        """Make a surface of fewer points, in tiles in another folder, that is nowhere farther from this one than a limit.

        The limit holds everywhere, also inside triangles, as with ``taro25d.simplify(..., certified=True)``. Points on the
        borders of tiles stay, so that tiles of many points give the best result. A run that was stopped goes on.

        Parameters
        ----------
        folder
            Where the tiles of the result go: an empty or new folder, or that of a former run.
        max_error
            The largest vertical distance between the surfaces.
        points_per_tile
            The most points that a tile of the result has.
        """
        if not (np.isfinite(max_error) and max_error >= 0):
            raise InvalidInputError(f"max_error: 0 or more is expected, not {max_error}")
        target = Path(folder).resolve()
        simplify(self, target, float(max_error), points_per_tile, client=client, progress=progress)
        return Tiling(Path(folder))

    def write_terrain(
        self,
        folder: str | PathLike[str],
        points_per_tile: int = 8192,
        *,
        geographic: bool | None = None,
        title: str | None = None,
        compress: bool = False,
        client: Any = None,
        progress: Progress = False,
    ) -> None:
        """Write terrain tiles for the web: a pyramid of quantized meshes (quantized-mesh 1.0), and a page that shows it.

        The finest tiles have the triangles of the surface, each coarser one a simplification of the four below it. On
        the border between two tiles of one level both have the same vertices. Places are rounded to 1/32767 of the
        width of a tile, heights to a power of two that is at most 1/8192 of the range of heights of the tile or of
        those around it, or 2^-22 of the largest height. On the globe the levels that are too coarse for the surface
        have the globe alone, at the height 0; in the others there is nothing around the surface. A run that was stopped
        goes on when it is started again. The folder has ``layer.json``, the tiles as ``{z}/{x}/{y}.terrain`` with rows
        from the south, and ``index.html``, which a web server has to hand out, for example ``python3 -m http.server
        --directory FOLDER``.

        Parameters
        ----------
        folder
            A new or empty folder, or that of a former run. All workers must reach it under this name.
        points_per_tile
            About how many points the finest tiles have; 8192 load fast and are drawn fast.
        geographic
            Whether the tiles are those of the globe, in longitude and latitude (WGS 84) and with heights in metres above the
            zero of the survey; otherwise they divide a square in the plane of the coordinates. Without it they are those of
            the globe if the reference system is known.
        title
            What the page is called; the name of the folder without it.
        compress
            Whether files are packed with gzip, for servers that say so by ``Content-Encoding``; the page reads both.
        client, progress
            As for ``triangulate``.

        Raises
        ------
        RefusedError
            If the folder holds other files, or a pyramid of another tiling or with other settings.
        CrsError
            If points have no longitude and latitude.
        """
        from . import pyramid

        wishes = pyramid.Wishes(points_per_tile, geographic, title, compress)
        pyramid.make(self, Path(folder), client, wishes, progress)

    def check(self, *, client: Any = None, progress: Progress = False) -> bool:
        """Make the triangles of all tiles anew, compare them with the files, and see that they fit together.

        Raises
        ------
        Error
            If they are not those of the points, or do not fit together; the text names the file.
        """
        with crew_for(self, client, progress) as crew:
            _check.check(self, crew)
        return True

    # ---- Handing it on ----

    def write(self, path: str | PathLike[str]) -> None:
        """Write all triangles to one GeoParquet file (.parquet), as polygons with heights and the names of their tiles."""
        _parquet.write(self, Path(path))

    def to_geodataframe(self, tile: str) -> Any:
        """Make a GeoDataFrame of the triangles that a tile owns, as polygons with heights."""
        geopandas, shapely = require("geopandas"), require("shapely")
        corners = self.triangles(tile)
        polygons = shapely.polygons(shapely.linearrings(corners[:, [0, 1, 2, 0]])) if len(corners) else []
        return geopandas.GeoDataFrame({"tile": [tile] * len(corners)}, geometry=polygons, crs=self.crs)

    def _check(self, tile: str) -> str:
        if tile not in self.tiles:
            raise GoneError(f"there is no tile {tile!r}")
        return tile

    def __iter__(self) -> Iterator[str]:
        return iter(self.tiles)
