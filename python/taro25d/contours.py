"""Lines of equal height."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import ArrayLike

from . import _engine
from ._geometry import FloatArray, as_segments
from ._optional import require
from ._progress import Progress, showing
from .errors import InvalidInputError

if TYPE_CHECKING:
    from .triangulation import Triangulation
    from .zone import Zone

_MOST_LEVELS = 1_000_000


class Contour(NamedTuple):
    """One whole line: closed if its last point is its first, otherwise it ends at the border of the surface."""

    level: float
    coords: FloatArray


class Band(NamedTuple):
    """The ground between two levels: rings (k, 3), outer ones counterclockwise, each followed by its holes, clockwise."""

    low: float
    high: float
    rings: list[FloatArray]


class Contours(list[Contour]):
    """Contours by level, higher ground on the left of each."""

    def __init__(self, lines: Any = (), crs: Any = None) -> None:
        super().__init__(lines)
        self.crs = crs

    def to_geodataframe(self) -> Any:
        """Make a GeoDataFrame with the column ``level``."""
        geopandas, shapely = require("geopandas"), require("shapely")
        lines = [shapely.LineString(line.coords) for line in self]
        return geopandas.GeoDataFrame({"level": [line.level for line in self]}, geometry=lines, crs=self.crs)


class Bands(list[Band]):
    """Bands from the lowest to the highest; below the first level ``low`` is -inf, above the last ``high`` is inf."""

    def __init__(self, bands: Any = (), crs: Any = None) -> None:
        super().__init__(bands)
        self.crs = crs

    def to_geodataframe(self) -> Any:
        """Make a GeoDataFrame of a MultiPolygon for each band, with the columns ``low`` and ``high``."""
        geopandas, shapely = require("geopandas"), require("shapely")
        shapes = [shapely.MultiPolygon(_with_holes(band.rings)) for band in self]
        columns = {"low": [band.low for band in self], "high": [band.high for band in self]}
        return geopandas.GeoDataFrame(columns, geometry=shapes, crs=self.crs)


def _with_holes(rings: list[FloatArray]) -> list[tuple[FloatArray, list[FloatArray]]]:
    """Group each outer ring with the holes that follow it."""
    polygons: list[tuple[FloatArray, list[FloatArray]]] = []
    for ring in rings:
        (x, y), (following_x, following_y) = (ring[:-1, :2] - ring[0, :2]).T, (ring[1:, :2] - ring[0, :2]).T
        if (x * following_y - following_x * y).sum() > 0:
            polygons.append((ring, []))
        else:
            polygons[-1][1].append(ring)
    return polygons


def _as_levels(levels: ArrayLike) -> FloatArray:
    given = np.atleast_1d(np.asarray(levels, dtype=np.float64))
    if given.ndim != 1 or not np.isfinite(given).all():
        raise InvalidInputError("levels: finite numbers are expected")
    return given


def get_levels(interval: float | None, levels: ArrayLike | None, base: float, low: float, high: float) -> FloatArray:
    """Return the given levels or, counted from base, the multiples of the interval within the heights of the surface."""
    if (interval is None) == (levels is None):
        raise InvalidInputError("interval, levels: exactly one of the two is expected")
    if levels is not None:
        return _as_levels(levels)
    assert interval is not None
    if not (np.isfinite(interval) and interval > 0):
        raise InvalidInputError(f"interval: a number above 0 is expected, not {interval}")
    if not np.isfinite(base):
        raise InvalidInputError(f"base: a finite number is expected, not {base}")
    if not low <= high:
        return np.empty(0)
    first, last = np.ceil((low - base) / interval), np.floor((high - base) / interval)
    if last - first > _MOST_LEVELS:
        raise InvalidInputError(f"interval: {interval} would make {last - first:.0f} levels between {low} and {high}")
    return base + interval * np.arange(first, last + 1)


def make_contours(tin: Triangulation, levels: FloatArray, zone: Zone | None, progress: Progress) -> Contours:
    """Ask the engine for contours."""
    with showing(progress) as show:
        coords, starts, positions = _engine.contours(tin._surface, tin._engine_zone(zone), levels.tolist(), show)
    parts = np.split(coords, starts[1:-1]) if len(positions) else []
    return Contours((Contour(float(levels[k]), part) for k, part in zip(positions, parts, strict=True)), tin.crs)


def make_bands(tin: Triangulation, levels: ArrayLike, zone: Zone | None, progress: Progress) -> Bands:
    """Ask the engine for bands."""
    checked = _as_levels(levels)
    most = float(np.finfo(np.float64).max)
    with showing(progress) as show:
        found = _engine.bands(tin._surface, tin._engine_zone(zone), checked.tolist(), show)
    return Bands(
        (
            Band(-np.inf if low == -most else low, np.inf if high == most else high, np.split(coords, starts[1:-1]))
            for low, high, coords, starts in found
        ),
        tin.crs,
    )


def make_profile(tin: Triangulation, lines: list[FloatArray]) -> tuple[FloatArray, FloatArray]:
    """Return distance and height along a line, with NaN as height between pieces where there is no surface."""
    segments = as_segments([np.column_stack([line[:, :2], np.zeros(len(line))]) for line in lines], False, "line")
    pieces, owners = _engine.drape(tin._surface, segments)
    if tin._part is not None:
        inside = ~np.isnan(tin.heights(*pieces[..., :2].mean(axis=1).T))
        pieces, owners = pieces[inside], owners[inside]
    lengths = np.hypot(*(segments[:, 1] - segments[:, 0])[:, :2].T)
    before = np.concatenate([[0.0], np.cumsum(lengths)])[owners]
    starts = segments[owners, 0, :2]
    distances = before[:, None] + np.linalg.norm(pieces[..., :2] - starts[:, None], axis=2)
    along: list[float] = []
    heights: list[float] = []
    end = None
    for (src, trg), (first, last) in zip(pieces.tolist(), distances.tolist(), strict=True):
        if src != end:
            if end is not None:
                along.append((along[-1] + first) / 2)
                heights.append(np.nan)
            along.append(first)
            heights.append(src[2])
        along.append(last)
        heights.append(trg[2])
        end = trg
    return np.array(along), np.array(heights)
