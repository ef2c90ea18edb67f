"""Volumes of cut and fill."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

from . import _engine
from ._geometry import FloatArray
from ._optional import require
from ._progress import Progress, showing
from ._rings import join_rings
from .errors import RefusedError

if TYPE_CHECKING:
    from .triangulation import Triangulation
    from .zone import Zone

_KINDS = ("unchanged", "cut", "fill")


class Component(NamedTuple):
    """A connected piece of ground that was lowered (``cut``), raised (``fill``) or left as it was (``unchanged``).

    The mean depth is ``volume / area``. The rings (k, 2) are its border: the outer one runs counterclockwise, holes clockwise.
    """

    kind: str
    volume: float
    area: float
    rings: list[FloatArray]
    max_depth: float  # the largest vertical distance between both surfaces


class Volume:
    """The volumes and areas between two surfaces, on the ground under both.

    Attributes
    ----------
    cut, fill
        The volumes, in cubic units of the coordinates; where ``before`` is higher, it was cut.
    cut_area, fill_area, unchanged_area
        The areas in the plane.
    """

    def __init__(
        self, before: Triangulation, after: Triangulation, zone: Zone | None, threshold: float, progress: Progress
    ) -> None:
        self._surfaces = (before, after, zone, threshold)
        self._progress = progress
        self._crs = before.crs
        self._versions = self._get_versions()
        with showing(progress) as show:
            totals = _engine.compare(*self._get_parts(), threshold, show)
        self.cut, self.fill, self.cut_area, self.fill_area, self.unchanged_area = totals
        self._components: list[Component] | None = None

    def __repr__(self) -> str:
        return f"<Volume: cut {self.cut:g}, fill {self.fill:g}>"

    def _get_parts(self) -> tuple[_engine.Surface, _engine.Zone | None, _engine.Surface, _engine.Zone | None]:
        before, after, zone, _ = self._surfaces
        return before._surface, before._engine_zone(zone), after._surface, after._engine_zone(None)

    def _get_versions(self) -> tuple[int, int]:
        before, after, _, _ = self._surfaces
        return before._surface.version(), after._surface.version()

    @property
    def components(self) -> list[Component]:
        """The connected pieces of ground, from a full comparison on first use.

        Raises
        ------
        RefusedError
            If a surface has changed since.
        """
        if self._components is None:
            if self._versions != self._get_versions():
                raise RefusedError("a surface has changed since the volume was computed: compute it again")
            with showing(self._progress) as show:
                found = _engine.components(*self._get_parts(), self._surfaces[-1], show)
            self._components = [
                Component(_KINDS[kind], vol, area, join_rings(rings), depth) for kind, vol, area, depth, rings in found
            ]
        return self._components

    def to_geodataframe(self) -> Any:
        """Make a GeoDataFrame of the components, with the columns ``kind``, ``volume``, ``area`` and both depths.

        ``max_depth`` is the largest vertical distance between both surfaces, and ``mean_depth`` is ``volume / area``.
        """
        geopandas, shapely = require("geopandas"), require("shapely")
        parts = self.components
        columns = {
            "kind": [part.kind for part in parts],
            "volume": [part.volume for part in parts],
            "area": [part.area for part in parts],
            "mean_depth": [part.volume / part.area for part in parts],
            "max_depth": [part.max_depth for part in parts],
        }
        shapes = [shapely.build_area(shapely.MultiLineString(part.rings)) for part in parts]
        return geopandas.GeoDataFrame(columns, geometry=shapes, crs=self._crs)
