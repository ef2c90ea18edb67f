"""GeoPackage, Shapefile and GeoJSON, by GeoPandas."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .._geometry import FloatArray
from .._optional import require
from .._progress import Progress, counting, showing
from ..errors import FormatError
from ..points import Points

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone

_CHUNK = 50_000  # rows that are written at a time
_HEIGHT_COLUMNS = ("z", "height", "elevation", "elev", "altitude")
#: Formats to which rows can be added.
APPENDABLE = (".gpkg", ".shp")
_DRIVERS = {".gpkg": "GPKG", ".shp": "ESRI Shapefile", ".geojson": "GeoJSON", ".json": "GeoJSON"}


def read_table(path: Path, layer: str | None = None) -> Any:
    """Read a layer as a GeoDataFrame; the first one if none is named."""
    require("pyogrio")
    geopandas = require("geopandas")
    table = geopandas.read_file(path, engine="pyogrio", **({} if layer is None else {"layer": layer}))
    if not hasattr(table, "geometry") or table.geometry.is_empty.all():
        raise FormatError("there are no geometries")
    return table[~(table.geometry.isna() | table.geometry.is_empty)]


def read(
    path: Path, layer: str | None = None, repair: bool = False, progress: Progress = False
) -> Points | Triangulation:
    """Read points; of lines and polygons their vertices, and of triangles the surface."""
    table = read_table(path, layer)
    kinds = set(table.geom_type)
    corners = _corners_of_triangles(table) if kinds <= {"Polygon", "MultiPolygon"} else None
    if corners is not None:
        from ..triangulation import Triangulation

        return Triangulation.from_triangles(corners, repair=repair, crs=table.crs, progress=progress)
    if kinds <= {"Point"} and not table.has_z.all():
        return _read_flat(table)
    if not table.has_z.all():
        raise FormatError("the geometries have no heights")
    shapely = require("shapely")
    return Points(shapely.get_coordinates(table.geometry.to_numpy(), include_z=True), table.crs)


def _corners_of_triangles(table: Any) -> FloatArray | None:
    """Return (m, 3, 3) where all polygons are triangles with heights."""
    shapely = require("shapely")
    polygons = shapely.get_parts(table.geometry.to_numpy())
    corners, owners = shapely.get_coordinates(polygons, include_z=True, return_index=True)
    if not shapely.has_z(polygons).all() or (np.bincount(owners, minlength=len(polygons)) != 4).any():
        return None
    return corners.reshape(-1, 4, 3)[:, :3]  # type: ignore[no-any-return]


def _read_flat(table: Any) -> Points:
    column = next((name for name in table.columns if str(name).lower() in _HEIGHT_COLUMNS), None)
    if column is None:
        raise FormatError(f"the points have no heights, and no column is called {', '.join(_HEIGHT_COLUMNS)}")
    heights = table[column].to_numpy(dtype=np.float64)
    return Points(np.column_stack([table.geometry.x, table.geometry.y, heights]), table.crs)


def write_table(table: Any, path: Path, layer: str | None = None) -> None:
    """Write a GeoDataFrame, in the format of the ending."""
    require("pyogrio")
    driver = _DRIVERS[path.suffix.lower()]
    options: dict[str, Any] = {"layer": layer} if driver == "GPKG" and layer else {}
    if driver == "GeoJSON":
        options["COORDINATE_PRECISION"] = 15
    table.to_file(path, driver=driver, engine="pyogrio", **options)


def append_table(table: Any, path: Path, layer: str) -> None:
    """Write a GeoDataFrame behind what is in a GeoPackage or Shapefile; the first one makes the file."""
    if not path.exists():
        write_table(table, path, layer)
    elif len(table):
        options = {"layer": layer} if path.suffix.lower() == ".gpkg" else {}
        table.to_file(path, driver=_DRIVERS[path.suffix.lower()], engine="pyogrio", mode="a", **options)


def write(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write the triangles as polygons with heights."""
    table = tin.to_geodataframe(zone)
    if path.suffix.lower() not in APPENDABLE:
        write_table(table, path, "triangles")
        return
    with showing(progress) as show:
        for start in counting("write triangles", range(0, max(1, len(table)), _CHUNK), show):
            append_table(table.iloc[start : start + _CHUNK], path, "triangles")
