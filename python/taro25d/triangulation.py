"""The surface: points, triangles between them, and queries."""

from __future__ import annotations

from collections.abc import Sequence
from os import PathLike
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _engine, _export
from . import crs as crs_module
from ._geometry import FloatArray, LineLike, PolygonLike, as_lines, as_points, check_finite, crs_of
from ._mesh import Conflict, Mesh
from ._progress import Progress, showing
from .breakline import Breakline
from .contours import Bands, Contours, get_levels, make_bands, make_contours, make_profile
from .errors import InvalidInputError, RefusedError
from .raster import Raster, find_frame, make_raster
from .volume import Volume
from .zone import Zone, zone_of_all, zone_of_breaklines, zone_of_polygon


class Triangulation(Mesh):
    """A surface over the plane: the Delaunay triangulation of points in x and y, with their heights.

    Every decision is exact, so any finite points give a consistent mesh: grids, duplicates, points on one line, large
    coordinates. Points that are all on one line have no triangles; points that are not finite are left out with a warning.

    Vertices have ids, which are never used again. Point k of the constructor has the id k; of points at one place the first
    stays, and the others share its id. Arrays are read-only copies, which do not change
    when the mesh changes.

    Objects may be used by several threads; calls that only read run together.

    Parameters
    ----------
    points
        Anything that NumPy converts to (n, 3); contiguous float64 is read in place. Points of this package, and
        shapely or GeoPandas points with heights, bring their reference system along.
    crs
        The coordinate reference system, as pyproj takes it.
    threads
        How many threads insert points; 0 for as many as the machine has.
    height_rule
        Which height a vertex takes where several meet: ``"first"``, ``"last"``, ``"mean"``, ``"min"`` or ``"max"``.
    progress
        True for a bar on standard error, or a function of a phase and the fraction of it that is done.

    Examples
    --------
    >>> tin = Triangulation([[0, 0, 1], [10, 0, 1], [10, 10, 3], [0, 10, 1]])
    >>> tin.triangles.shape
    (2, 3)
    """

    def zone(
        self,
        polygon: PolygonLike | None = None,
        breaklines: Breakline | Sequence[Breakline] | None = None,
        inside: bool = True,
    ) -> Zone:
        """Make a zone: the ground inside (or outside) a polygon or closed breaklines; without either, the whole surface.

        A polygon cuts the triangles along its sides, which does not change the surface. Polygons may have holes.
        """
        if polygon is not None and breaklines is not None:
            raise InvalidInputError("polygon, breaklines: one of the two is expected")
        if breaklines is not None:
            within = zone_of_breaklines(self, breaklines, inside)
        elif polygon is None:
            return zone_of_all(self)
        else:
            crs_module.merge(self.crs, crs_of(polygon), "polygon")
            within = zone_of_polygon(self, polygon)
            if not inside:
                return zone_of_all(self) - within
        return within if self._part is None else within & zone_of_all(self)

    def contours(
        self,
        interval: float | None = None,
        levels: ArrayLike | None = None,
        *,
        base: float = 0.0,
        zone: Zone | None = None,
        progress: Progress = False,
    ) -> Contours:
        """Return lines of equal height, at all multiples of the interval (from ``base``) or at some levels.

        Each line is whole, with higher ground on its left. At the height of a vertex a line is not well defined: it is
        then computed at a level that is a few rounding errors higher.
        """
        heights = self.points[:, 2]
        low, high = (heights.min(), heights.max()) if len(heights) else (0.0, -1.0)
        return make_contours(self, get_levels(interval, levels, base, low, high), zone, progress)

    def rasterize(
        self,
        resolution: float | tuple[float, float] | None = None,
        bounds: tuple[float, float, float, float] | None = None,
        like: Any = None,
        method: str = "linear",
        *,
        zone: Zone | None = None,
        progress: Progress = False,
    ) -> Raster:
        """Make a raster of the surface.

        Parameters
        ----------
        resolution
            The size of the cells, or their width and height.
        bounds
            West, south, east and north; those of the points, widened to multiples of the resolution, without it.
        like
            A ``Raster``, a raster file or a rasterio dataset whose cells the result has, in place of a resolution.
        method
            ``"linear"`` and ``"natural"`` (natural neighbours) give heights, ``"slope"`` and ``"aspect"`` degrees,
            ``"hillshade"`` a brightness from 1 to 255.
        """
        return make_raster(
            self, find_frame(resolution, bounds, like, self.bounds), method, self._engine_zone(zone), progress
        )

    def volume(
        self,
        after: Triangulation,
        polygon: PolygonLike | None = None,
        threshold: float = 0.0,
        *,
        zone: Zone | None = None,
        progress: Progress = False,
    ) -> Volume:
        """Compare this surface with a later one: how much was cut (this one is higher) and filled.

        Only ground under both surfaces is compared and, if given, only inside a polygon or a zone of this surface. Where
        heights differ by at most the threshold, the ground is unchanged. Neither surface changes: a polygon cuts a copy.
        """
        if not isinstance(after, Triangulation):
            raise InvalidInputError(f"after: a triangulation is expected, not {after!r}")
        crs_module.merge(self.crs, after.crs, "after")
        if not len(self.triangles) or not len(after.triangles):
            raise InvalidInputError("after: one of both surfaces has no triangles")
        if not threshold >= 0:
            raise InvalidInputError(f"threshold: 0 or more is expected, not {threshold}")
        if polygon is None:
            return Volume(self, after, zone, threshold, progress)
        if zone is not None:
            raise InvalidInputError("polygon, zone: one of the two is expected")
        before = self.copy()
        return Volume(before, after, before.zone(polygon=polygon), threshold, progress)

    def conflicts(self, tolerance: float = 0.0) -> list[Conflict]:
        """Return where points or breaklines met whose heights differ by more than the tolerance, in order of time."""
        crossings = self._surface.conflicts(tolerance)
        return [Conflict(int(id_), float(kept), float(other)) for id_, kept, other in zip(*crossings, strict=True)]

    def bands(self, levels: ArrayLike, *, zone: Zone | None = None, progress: Progress = False) -> Bands:
        """Return the ground between levels as polygons: below the first, between consecutive ones, above the last.

        Ground exactly at a level belongs to the band above; bands without ground are left out.
        """
        return make_bands(self, levels, zone, progress)

    def profile(self, line: LineLike) -> tuple[FloatArray, FloatArray]:
        """Return distances along a line and the heights there, wherever the line crosses an edge of the surface.

        Where the surface is interrupted, the height is NaN between the pieces. Heights of the line do not count.
        """
        crs_module.merge(self.crs, crs_of(line), "line")
        return make_profile(self, as_lines(line, "line"))

    def check(self) -> bool:
        """Check the whole structure of the mesh by exact tests."""
        return self._surface.check()

    # ---- Handing it on ----

    @classmethod
    def from_triangles(
        cls,
        points: ArrayLike | Any,
        triangles: ArrayLike | None = None,
        repair: bool = False,
        *,
        crs: Any = None,
        progress: Progress = False,
    ) -> Triangulation:
        """Make a triangulation of given triangles. They are imported unchanged, and edges that are not Delaunay are kept.

        The ids are new. A mesh is convex, so the ground between the given triangles and their hull is filled with others,
        without new points. Those are in ``triangles``, and belong neither to the surface nor to any zone: ``faces()`` and
        files do not contain them, and heights there are NaN.

        Parameters
        ----------
        points
            The corners (m, 3, 3) of the triangles; or points (n, 3), of which ``triangles`` has rows.
        triangles
            (m, 3) rows of ``points``, in either direction.
        repair
            Whether triangles that are degenerate, or lie over earlier ones, are left out with a warning; otherwise they
            are refused.
        """
        corners = np.asarray(points, dtype=np.float64)
        if triangles is not None:
            rows = np.asarray(triangles)
            if rows.ndim != 2 or rows.shape[1] != 3 or not np.issubdtype(rows.dtype, np.integer):
                raise InvalidInputError(f"triangles: (m, 3) whole numbers are expected, not the shape {rows.shape}")
            if rows.size and not 0 <= rows.min() <= rows.max() < len(corners):
                raise InvalidInputError(f"triangles: rows from 0 to {len(corners) - 1} are expected")
            corners = as_points(points)[rows]
        if corners.ndim != 3 or corners.shape[1:] != (3, 3):
            raise InvalidInputError(f"points: corners (m, 3, 3) are expected, not the shape {corners.shape}")
        check_finite(corners.reshape(-1, 3), "points")
        tin = cls(crs=crs_module.merge(crs_module.normalise(crs), crs_of(points), "points"))
        try:
            with showing(progress) as show:
                _engine.import_triangles(tin._surface, np.ascontiguousarray(corners.reshape(-1, 3)), repair, show)
        except RefusedError as error:
            raise RefusedError(
                f"{error}" + ("" if repair else "; with repair=True such triangles are left out")
            ) from error
        tin._part = _engine.Zone.imported(tin._surface)
        return tin

    def copy(self) -> Triangulation:
        """Make another triangulation with the same ids, triangles and breaklines, and without zones."""
        other = type(self)(crs=self.crs, threads=self._threads, height_rule=self._height_rule)
        other._surface = self._surface.copy()
        if self._part is not None:
            other._part = _engine.Zone.of_rows(other._surface, self._part.rows().tolist())
        if self._canonical == self._surface.version():
            other._canonical = other._surface.version()
        return other

    def __copy__(self) -> Triangulation:
        return self.copy()

    def __deepcopy__(self, memo: dict[int, Any]) -> Triangulation:
        return self.copy()

    def faces(self, zone: Zone | None = None) -> tuple[FloatArray, NDArray[np.int32]]:
        """Return the points and triangles of a zone, or of the whole surface; triangles hold rows of these points."""
        part = self._engine_zone(zone)
        if part is None:
            return self.points, self.triangles
        used, rows = np.unique(self.triangles[part.rows()], return_inverse=True)
        return self.points[used], rows.reshape(-1, 3).astype(np.int32)

    def write(
        self,
        path: str | PathLike[str],
        resolution: float | tuple[float, float] | None = None,
        *,
        zone: Zone | None = None,
        progress: Progress = False,
    ) -> None:
        """Write a file, in the format of its ending: the points, or the triangles where the format has them.

        Formats of rasters need a resolution. A failure leaves no file.
        """
        from . import io

        io.write(self, path, zone, resolution, progress)

    def save(self, path: str | PathLike[str]) -> None:
        """Write a ``.taro`` file, which keeps everything except zones: ids, breaklines, and the reference system.

        Where four points lie on one circle, as in a raster, the loaded mesh may have the other diagonal, and with it other
        heights between the points. It has the same triangles where ``canonicalize`` is called before ``save``.
        """
        from ._file import save

        save(self, Path(path))

    def __getstate__(self) -> dict[str, Any]:
        from ._file import get_state

        return get_state(self)

    def __setstate__(self, state: dict[str, Any]) -> None:
        from ._file import set_state

        set_state(self, state)

    def to_geodataframe(self, zone: Zone | None = None) -> Any:
        """Make a GeoDataFrame of the triangles, as polygons with heights."""
        return _export.to_geodataframe(self, zone)

    def to_meshio(self, zone: Zone | None = None) -> Any:
        """Make a ``meshio.Mesh``."""
        return _export.to_meshio(self, zone)

    def to_pyvista(self, zone: Zone | None = None) -> Any:
        """Make a ``pyvista.PolyData``."""
        return _export.to_pyvista(self, zone)

    def view(
        self,
        path: str | PathLike[str] | None = None,
        *,
        zone: Zone | None = None,
        browser: bool = True,
        progress: Progress = False,
    ) -> Path:
        """Write a page that shows the surface in space, open it in a browser, and get its path.

        The page needs no network. Without a path it is a temporary file, which stays.
        """
        from .io import scene

        return scene.view(self, None if path is None else Path(path), zone, browser, progress)

    def plot(self, ax: Any = None, *, colors: Any = "terrain", zone: Zone | None = None) -> Any:
        """Draw the surface, or a zone, from above with matplotlib, with its breaklines, and get the axes."""
        return _export.plot(self, ax, colors, zone)
