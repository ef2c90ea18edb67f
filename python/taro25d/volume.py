"""Earth that was taken away, and earth that was put."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple

from . import _engine
from ._geometry import FloatArray
from ._progress import Progress, showing
from ._rings import join_rings

if TYPE_CHECKING:
    from .triangulation import Triangulation

_KINDS = ("unchanged", "cut", "fill")


class Component(NamedTuple):
    """A connected piece of ground that was lowered (``cut``), raised (``fill``) or left as it was (``unchanged``)."""

    kind: str
    volume: float
    area: float
    rings: list[FloatArray]


class Volume(NamedTuple):
    """What lies between two surfaces, where there are both.

    Attributes
    ----------
    cut, fill
        The volumes, in cubic units of the coordinates.
    cut_area, fill_area
        The areas in the plane where ground was lowered or raised.
    components
        The connected pieces of ground.
    """

    cut: float
    fill: float
    cut_area: float
    fill_area: float
    components: list[Component]


def compare(
    before: Triangulation, zone: _engine.Zone | None, after: Triangulation, threshold: float, progress: Progress
) -> Volume:
    """Compare two surfaces."""
    with showing(progress) as show:
        found = _engine.components(before._surface, zone, after._surface, None, threshold, show)
    components = [Component(_KINDS[kind], volume, area, join_rings(border)) for kind, volume, area, border in found]
    cut = [c for c in components if c.kind == "cut"]
    fill = [c for c in components if c.kind == "fill"]
    return Volume(
        sum(c.volume for c in cut),
        sum(c.volume for c in fill),
        sum(c.area for c in cut),
        sum(c.area for c in fill),
        components,
    )
