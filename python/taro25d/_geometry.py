"""Coordinates from objects of several kinds: arrays, shapely and GeoPandas geometries, objects of this package."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, TypeAlias

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .crs import Crs, normalise
from .errors import InvalidInputError

FloatArray: TypeAlias = NDArray[np.float64]
#: A line: (k, 2) or (k, 3) numbers, a shapely line, a GeoSeries or GeoDataFrame of lines.
LineLike: TypeAlias = Any
#: A polygon: the corners, a shapely polygon, a GeoSeries or GeoDataFrame of polygons.
PolygonLike: TypeAlias = Any


def crs_of(source: Any) -> Crs:
    """Return the reference system of an object, or None if it has none."""
    return normalise(getattr(source, "crs", None))


def as_points(points: ArrayLike | Any, name: str = "points", *, maybe_one: bool = False) -> FloatArray:
    """Convert points to a float64 array (n, 3); an array of that form is returned as it is."""
    if _is_geographic_table(points) or _is_geometry(points):
        return _points_of_geometries(_geometries(points), name)
    array = _numbers(points, name)
    if maybe_one and array.shape == (3,):
        array = array[np.newaxis]
    if array.size == 0:
        return np.empty((0, 3))
    if array.ndim != 2 or array.shape[1] != 3:
        raise InvalidInputError(f"{name}: (n, 3) numbers are expected, not the shape {array.shape}")
    return np.ascontiguousarray(array)


def as_lines(line: LineLike, name: str = "points") -> list[FloatArray]:
    """Make a list of (k, 2) or (k, 3) float64 of a line or of lines."""
    if _is_geographic_table(line) or _is_geometry(line):
        parts = [part for geometry in _geometries(line) for part in _parts(geometry)]
        return [_coordinates(part, ("LineString", "LinearRing"), name) for part in parts]
    if isinstance(line, Sequence) and line and all(_is_geometry(part) for part in line):
        return [array for part in line for array in as_lines(part, name)]
    return [_path(line, name)]


def as_rings(polygon: PolygonLike, name: str = "polygon") -> list[list[FloatArray]]:
    """Make polygons, each a list of rings (k, 2): the outer one, then the holes."""
    if _is_geographic_table(polygon) or _is_geometry(polygon):
        parts = [part for geometry in _geometries(polygon) for part in _parts(geometry)]
        return [_rings(part, name) for part in parts]
    return [[_ring(_path(polygon, name), name)]]


def as_segments(lines: list[FloatArray], closed: bool, name: str) -> FloatArray:
    """Make (m, 2, 3) of the pieces of lines of (k, 3); pieces without length are left out."""
    pieces = []
    for line in lines:
        path = np.concatenate([line, line[:1]]) if closed and not np.array_equal(line[0], line[-1]) else line
        piece = np.stack([path[:-1], path[1:]], axis=1)
        pieces.append(piece[np.any(piece[:, 0, :2] != piece[:, 1, :2], axis=1)])
    segments = np.concatenate(pieces) if pieces else np.empty((0, 2, 3))
    if not len(segments):
        raise InvalidInputError(f"{name}: a line needs two different points")
    return np.ascontiguousarray(segments)


def check_finite(array: FloatArray, name: str) -> None:
    """Refuse NaN and infinity, for which the library would refuse the whole list."""
    if not np.isfinite(array).all():
        row = int(np.argwhere(~np.isfinite(array))[0][0])
        raise InvalidInputError(f"{name}: row {row} has a number that is not finite")


def _numbers(values: Any, name: str) -> FloatArray:
    try:
        if np.iscomplexobj(values):
            raise TypeError("complex ones have no order")
        if isinstance(values, np.ma.MaskedArray):
            values = np.ma.filled(values.astype(np.float64), np.nan)
        return np.asarray(values, dtype=np.float64)
    except (TypeError, ValueError, OverflowError) as error:
        raise InvalidInputError(f"{name}: these are no numbers: {error}") from error


def _path(line: Any, name: str) -> FloatArray:
    array = _numbers(line, name)
    if array.ndim != 2 or array.shape[1] not in (2, 3):
        raise InvalidInputError(f"{name}: (k, 2) or (k, 3) numbers are expected, not the shape {array.shape}")
    check_finite(array, name)
    return array


def _ring(path: FloatArray, name: str) -> FloatArray:
    ring = path[:-1, :2] if len(path) > 1 and np.array_equal(path[0, :2], path[-1, :2]) else path[:, :2]
    if len(ring) < 3:
        raise InvalidInputError(f"{name}: a polygon needs three corners")
    return ring


def _is_geometry(source: Any) -> bool:
    return hasattr(source, "geom_type") and not _is_geographic_table(source)


def _is_geographic_table(source: Any) -> bool:
    return hasattr(source, "geometry") and hasattr(source, "to_crs") and not hasattr(source, "attributes")


def _geometries(source: Any) -> list[Any]:
    return [g for g in source.geometry if g is not None] if _is_geographic_table(source) else [source]


def _parts(geometry: Any) -> list[Any]:
    return [part for part in getattr(geometry, "geoms", [geometry]) if not part.is_empty]


def _coordinates(geometry: Any, kinds: tuple[str, ...], name: str) -> FloatArray:
    if geometry.geom_type not in kinds:
        raise InvalidInputError(f"{name}: a {kinds[0]} is expected, not a {geometry.geom_type}")
    return _path(np.asarray(geometry.coords), name)


def _rings(geometry: Any, name: str) -> list[FloatArray]:
    if geometry.geom_type != "Polygon":
        raise InvalidInputError(f"{name}: a Polygon is expected, not a {geometry.geom_type}")
    return [_ring(_path(np.asarray(ring.coords), name), name) for ring in (geometry.exterior, *geometry.interiors)]


def _points_of_geometries(geometries: list[Any], name: str) -> FloatArray:
    parts = [part for geometry in geometries for part in _parts(geometry)]
    if not all(part.geom_type == "Point" and part.has_z for part in parts):
        raise InvalidInputError(f"{name}: points with heights are expected")
    return np.array([part.coords[0] for part in parts], dtype=np.float64).reshape(-1, 3)
