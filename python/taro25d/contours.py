"""Lines of equal height."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import ArrayLike

from . import _engine
from ._geometry import FloatArray
from ._optional import require
from .errors import InvalidInputError

if TYPE_CHECKING:
    from .triangulation import Triangulation
    from .zone import Zone

_MOST_LEVELS = 1_000_000


class Contour(NamedTuple):
    """One whole line: closed if its first point comes again at the end, otherwise it ends where the surface ends."""

    level: float
    coords: FloatArray


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


def get_levels(interval: float | None, levels: ArrayLike | None, base: float, low: float, high: float) -> FloatArray:
    """Get the levels that were asked for, or the multiples of the interval, from base, that the surface has."""
    if (interval is None) == (levels is None):
        raise InvalidInputError("interval, levels: exactly one of the two is expected")
    if levels is not None:
        given = np.atleast_1d(np.asarray(levels, dtype=np.float64))
        if given.ndim != 1 or not np.isfinite(given).all():
            raise InvalidInputError("levels: finite numbers are expected")
        return given
    assert interval is not None
    if not (np.isfinite(interval) and interval > 0 and np.isfinite(base)):
        raise InvalidInputError(f"interval: a number above 0 is expected, not {interval}")
    if not low <= high:
        return np.empty(0)
    first, last = np.ceil((low - base) / interval), np.floor((high - base) / interval)
    if last - first > _MOST_LEVELS:
        raise InvalidInputError(f"interval: {interval} would make {last - first:.0f} levels between {low} and {high}")
    return base + interval * np.arange(first, last + 1)


def make_contours(tin: Triangulation, levels: FloatArray, zone: Zone | None) -> Contours:
    """Ask the engine for contours."""
    engine_zone = None if zone is None else zone._engine
    coords, starts, positions = _engine.contours(tin._surface, engine_zone, levels.tolist())
    parts = np.split(coords, starts[1:-1]) if len(positions) else []
    return Contours((Contour(float(levels[k]), part) for k, part in zip(positions, parts, strict=True)), tin.crs)
