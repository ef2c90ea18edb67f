"""GeoPackage, Shapefile and GeoJSON, by GeoPandas."""

from __future__ import annotations

import json
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

_CHUNK = 10_000  # rows that are written at a time
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
    if path.suffix.lower() not in APPENDABLE:
        _write_geojson(tin, path, zone, progress)
        return
    table = tin.to_geodataframe(zone)
    with showing(progress) as show:
        for start in counting("write triangles", range(0, max(1, len(table)), _CHUNK), show):
            append_table(table.iloc[start : start + _CHUNK], path, "triangles")


def _write_geojson(tin: Triangulation, path: Path, zone: Zone | None, progress: Progress) -> None:
    """Write the triangles as text, with as many digits as it takes; GDAL takes longer, and cannot tell how far it is."""
    authority = None if tin.crs is None else tin.crs.to_authority()
    head: dict[str, Any] = {"type": "FeatureCollection", "name": "triangles"}
    if authority is not None:
        name = "urn:ogc:def:crs:{}::{}".format(*authority)
        head["crs"] = {"type": "name", "properties": {"name": name}}
    points, triangles = tin.faces(zone)
    rings = points[triangles[:, [0, 1, 2, 0]]]
    with path.open("w", encoding="ascii") as file, showing(progress) as show:
        file.write(json.dumps(head)[:-1] + ', "features": [')
        for start in counting("write triangles", range(0, len(rings), _CHUNK), show):
            separator = "\n" if start == 0 else ",\n"
            file.write(separator + ",\n".join(map(_make_feature, rings[start : start + _CHUNK].tolist())))
        file.write("\n]}\n")


def _make_feature(ring: list[list[float]]) -> str:
    return f'{{"type": "Feature", "properties": {{}}, "geometry": {{"type": "Polygon", "coordinates": [{ring}]}}}}'
