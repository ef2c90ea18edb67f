"""Parts of a surface."""

from __future__ import annotations

from collections.abc import Sequence
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from . import _engine
from ._geometry import FloatArray, PolygonLike, as_rings, as_segments
from ._rings import join_rings
from .breakline import Breakline
from .errors import InvalidInputError

if TYPE_CHECKING:
    from ._mesh import Mesh


class Zone:
    """A set of triangles of one triangulation, given by a rule; made by ``Triangulation.zone``.

    It follows the changes of the surface: each query finds its triangles again. ``&``, ``|``, ``-`` and ``^``
    make new zones of two.
    """

    def __init__(self, tin: Mesh, engine: _engine.Zone) -> None:
        self._tin = tin
        self._engine = engine

    def __repr__(self) -> str:
        return f"<Zone: {len(self.triangles)} triangles>"

    def __reduce__(self) -> tuple[object, ...]:
        raise TypeError("a zone cannot be pickled: pickle its triangulation, and make the zone again")

    @property
    def triangulation(self) -> Mesh:
        """The triangulation that it is a part of."""
        return self._tin

    @property
    def area(self) -> float:
        """The area in the plane."""
        return self._engine.areas()[0]

    @property
    def area_3d(self) -> float:
        """The area of the surface in space."""
        return self._engine.areas()[1]

    @property
    def triangles(self) -> NDArray[np.int32]:
        """The rows of ``Triangulation.triangles`` that belong to it."""
        return self._engine.rows()

    def border(self) -> list[FloatArray]:
        """Return the border as closed rings (k, 3), the first point again at the end, with the zone on their left."""
        return join_rings(self._engine.border())

    def _combine(self, other: object, operation: int) -> Zone:
        if not isinstance(other, Zone):
            return NotImplemented  # type: ignore[no-any-return]
        if other._tin is not self._tin:
            raise InvalidInputError("the zones belong to different triangulations")
        return Zone(self._tin, _engine.Zone.combine(self._engine, other._engine, operation))

    def __and__(self, other: Zone) -> Zone:
        return self._combine(other, 0)

    def __or__(self, other: Zone) -> Zone:
        return self._combine(other, 1)

    def __sub__(self, other: Zone) -> Zone:
        return self._combine(other, 2)

    def __xor__(self, other: Zone) -> Zone:
        return self._combine(other, 3)


def zone_of_polygon(tin: Mesh, polygon: PolygonLike) -> Zone:
    """Make the zone inside a polygon or polygons, without their holes."""
    whole: Zone | None = None
    for rings in as_rings(polygon):
        outer, *holes = (_zone_of_ring(tin, ring) for ring in rings)
        for hole in holes:
            outer = outer - hole
        whole = outer if whole is None else whole | outer
    if whole is None:
        raise InvalidInputError("polygon: there is none")
    return whole


def zone_of_breaklines(tin: Mesh, breaklines: Breakline | Sequence[Breakline], inside: bool) -> Zone:
    """Make the zone inside or outside closed breaklines."""
    lines = [breaklines] if isinstance(breaklines, Breakline) else list(breaklines)
    if not lines or not all(isinstance(line, Breakline) and line.triangulation is tin for line in lines):
        raise InvalidInputError("breaklines: breaklines of this triangulation are expected")
    return Zone(tin, _engine.Zone.of_breaklines(tin._surface, [line._number for line in lines], inside))


def zone_of_all(tin: Mesh) -> Zone:
    """Make the zone of the whole surface."""
    return Zone(tin, tin._part if tin._part is not None else _engine.Zone.all(tin._surface))


def _zone_of_ring(tin: Mesh, ring: FloatArray) -> Zone:
    corners = np.column_stack([ring, np.zeros(len(ring))])
    return Zone(tin, _engine.Zone.of_polygon(tin._surface, as_segments([corners], True, "polygon")))
