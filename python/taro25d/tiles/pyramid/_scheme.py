"""Where the tiles of a pyramid are, and in which coordinates.

Rows are counted from the south. A line between tiles is a whole multiple of the width of a tile, which is halved from level
to level; that is exact, so that all tiles beside a line, of whatever level, have the same number for it.
"""

from __future__ import annotations

from typing import Any, NamedTuple

import numpy as np

from ... import crs as crs_module
from ..._geometry import FloatArray
from ..._optional import require
from ...errors import CrsError

METRES_PER_DEGREE = 6378137 * np.pi / 180
_RADII = np.array([6378137.0, 6378137.0, 6356752.3142451793])
_GLOBE = (-180.0, -90.0, 180.0)


class Cell(NamedTuple):
    """A tile: its level, column and row."""

    z: int
    x: int
    y: int

    def parent(self, rise: int = 1) -> Cell:
        """Return the cell that holds this one, some levels up."""
        return Cell(self.z - rise, self.x >> rise, self.y >> rise)

    def children(self) -> list[Cell]:
        """Return the cells that this one is divided into: west before east, then south before north."""
        return [Cell(self.z + 1, 2 * self.x + i, 2 * self.y + j) for i in (0, 1) for j in (0, 1)]


class Scheme(NamedTuple):
    """The cells of all levels; ``crs`` (WKT) where the coordinates become longitude and latitude."""

    west: float
    south: float
    size: float  # of a cell of level 0
    crs: str | None

    @classmethod
    def of(cls, crs: Any, bounds: tuple[float, float, float, float]) -> Scheme:
        """Return the scheme of the globe for a known reference system, and one that begins with the bounds otherwise."""
        if crs is not None:
            return cls(*_GLOBE, crs.to_wkt())
        west, south, east, north = bounds
        return cls(west, south, max(east - west, north - south), None)

    @property
    def metres(self) -> float:
        """How many units of height a unit of y is."""
        return METRES_PER_DEGREE if self.crs else 1.0

    def width(self, level: int) -> float:
        """Return the width of a cell."""
        return float(np.ldexp(self.size, -level))

    def low(self, cell: Cell) -> FloatArray:
        """Return the south-western corner of a cell."""
        return np.array([self.line(0, cell.z, cell.x), self.line(1, cell.z, cell.y)])

    def high(self, cell: Cell) -> FloatArray:
        """Return the north-eastern corner of a cell."""
        return np.array([self.line(0, cell.z, cell.x + 1), self.line(1, cell.z, cell.y + 1)])

    def line(self, axis: int, level: int, number: int) -> float:
        """Return the x (axis 0) or y (axis 1) of a line between cells."""
        return (self.west, self.south)[axis] + number * self.width(level)

    def cells(self, level: int, low: FloatArray, high: FloatArray) -> list[Cell]:
        """Return the cells whose interior meets that of a box."""
        origin, width = np.array([self.west, self.south]), self.width(level)
        limit = np.array([2 if self.crs else 1, 1]) * 2**level - 1
        first = np.clip(np.floor((low - origin) / width).astype(np.int64), 0, limit)
        last = np.clip(np.ceil((high - origin) / width).astype(np.int64) - 1, first, limit)
        return [Cell(level, x, y) for x in range(first[0], last[0] + 1) for y in range(first[1], last[1] + 1)]

    def project(self, points: FloatArray) -> FloatArray:
        """Take points of the survey into the coordinates of the scheme, with heights in metres for the globe."""
        if self.crs is None:
            return points
        transformer, factor = _transformer(self.crs)
        longitude, latitude = transformer.transform(points[:, 0], points[:, 1])
        if not (np.isfinite(longitude).all() and np.isfinite(latitude).all()):
            raise CrsError("some points are outside the area of the coordinate reference system")
        if len(points) and np.ptp(longitude) > 180:
            raise CrsError("the points lie on both sides of the meridian of 180 degrees")
        return np.column_stack([longitude, latitude, points[:, 2] * factor])

    def to_space(self, points: FloatArray) -> FloatArray:
        """Return places in space: geocentric ones on the globe, the coordinates themselves otherwise."""
        if self.crs is None:
            return points
        longitude, latitude = np.radians(points[:, :2]).T
        normal = np.column_stack(
            [np.cos(latitude) * np.cos(longitude), np.cos(latitude) * np.sin(longitude), np.sin(latitude)]
        )
        scaled = normal * _RADII**2
        places: FloatArray = scaled / np.sqrt((normal * scaled).sum(axis=1))[:, np.newaxis] + normal * points[:, 2:]
        return places

    def find_horizon(self, centre: FloatArray, places: FloatArray) -> FloatArray:
        """Return the point, with the globe scaled to a sphere of radius 1, that is below the horizon only if all places are.

        On the line from the middle of the globe through the centre each place asks for a height of which the largest counts
        (Cozzi and Ring 2011). Without a globe nothing is hidden, and the point is the centre.
        """
        if self.crs is None:
            return centre
        scaled = places / _RADII
        size = np.maximum(1.0, np.linalg.norm(scaled, axis=1))
        towards = centre / _RADII
        towards = towards / np.linalg.norm(towards)
        cosine = np.clip(scaled @ towards / np.linalg.norm(scaled, axis=1), -1, 1)
        reach = cosine / size - np.sqrt(1 - cosine**2) * np.sqrt(size**2 - 1) / size
        point: FloatArray = towards / max(float(reach.min()), 1e-3)
        return point


_cache: dict[str, tuple[Any, float]] = {}


def _transformer(wkt: str) -> tuple[Any, float]:
    if wkt not in _cache:
        pyproj = require("pyproj")
        crs = crs_module.normalise(wkt)
        plane = crs.sub_crs_list[0] if crs.is_compound else crs.to_2d()
        factor = float(crs.axis_info[0].unit_conversion_factor)
        _cache[wkt] = pyproj.Transformer.from_crs(plane, "EPSG:4326", always_xy=True), factor
    return _cache[wkt]
