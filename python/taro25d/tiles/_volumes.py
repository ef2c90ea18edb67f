"""The volume between two surfaces in tiles: the sum over pairs of tiles, one of each surface, that overlap.

Each pair compares the triangles that its tiles own, exactly those of the two whole surfaces, so that the sums are the volumes
and areas of the surfaces in one piece, up to the rounding of the sums.
"""

from __future__ import annotations

import csv
import functools
import math
from collections.abc import Iterator
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .. import _engine
from .._geometry import FloatArray, PolygonLike, as_rings
from .._optional import require
from ..errors import InvalidInputError, RefusedError
from ..io._files import writing
from ..triangulation import Triangulation
from ..volume import Component, Volume
from ._crew import Crew
from ._parts import Part, open_part
from ._store import open_store
from ._work import Job

if TYPE_CHECKING:
    from ..zone import Zone
    from ._result import Tiling

_COLUMNS = ("cut", "fill", "cut_area", "fill_area", "unchanged_area")
_ENDINGS = (".csv", ".parquet", ".gpkg", ".geojson")


class Order(NamedTuple):
    """The settings of all pairs."""

    other: str  # the folder of the other surface
    polygon: PolygonLike | None
    threshold: float
    magnitude: float


class TiledVolume(Volume):
    """The volumes and areas between two surfaces in tiles."""

    def __init__(
        self, before: Tiling, after: Tiling, polygon: PolygonLike | None, threshold: float, totals: list[float]
    ) -> None:
        self.cut, self.fill, self.cut_area, self.fill_area, self.unchanged_area = totals
        self._order = (before, after, polygon, threshold)
        self._crs = before.crs
        self._components: list[Component] | None = None

    @property
    def components(self) -> list[Component]:
        """The connected pieces of ground; on first use both surfaces are compared in one piece, in memory."""
        if self._components is None:
            before, after, polygon, threshold = self._order
            self._components = _join(before).volume(_join(after), polygon, threshold).components
        return self._components


def _join(tiling: Tiling) -> Triangulation:
    points = np.concatenate([np.empty((0, 3)), *map(tiling.points, tiling.tiles)])
    tin = Triangulation(points, tiling.crs)
    tin.canonicalize()
    return tin


# ---- Tasks ----


def compare_tile(job: Job, task: tuple[str, list[str], Order]) -> list[float] | None:
    """Compare what a tile owns with what some tiles of the other surface own; None if nothing is inside the polygon."""
    name, others, order = task
    part = open_part(job.store, name)
    surface, mask = (part.tin, part.mask) if order.polygon is None else _cut(part, order.polygon)
    if not mask.any():
        return None
    sums = np.zeros(len(_COLUMNS))
    store = open_store(order.other, job.run)
    for other in others:
        after = open_part(store, other)
        sums += _engine.compare_parts(
            surface._surface, mask, after.tin._surface, after.mask, order.threshold, order.magnitude
        )
    return list(map(float, sums))


def _cut(part: Part, polygon: PolygonLike) -> tuple[Triangulation, NDArray[np.uint8]]:
    """Cut the surface of a tile by a polygon, and select the triangles inside that it owns."""
    surface = part.tin.copy()
    zone = None
    for outer, *holes in as_rings(polygon):
        inside = _find_inside(surface, outer)
        for hole in map(functools.partial(_find_inside, surface), holes):
            inside = inside if inside is None or hole is None else inside - hole
        zone = zone | inside if zone is not None and inside is not None else zone or inside
    mask = np.zeros(len(surface.triangles), dtype=np.uint8)
    if zone is not None:
        rows = zone.triangles
        centres = surface.points[surface.triangles[rows]].mean(axis=1)
        mask[rows[part.owns(centres[:, :2])]] = 1
    return surface, mask


def _find_inside(surface: Triangulation, ring: FloatArray) -> Zone | None:
    """Make the zone inside a ring; None where the surface of the tile has no part inside."""
    if not len(surface.triangles):
        return None
    try:
        return surface.zone(polygon=ring)
    except RefusedError:
        return None


# ---- The whole ----


def make_volume(
    before: Tiling, after: Tiling, crew: Crew, polygon: PolygonLike | None, threshold: float, *, path: Path | None
) -> Volume:
    """Add the volumes of all pairs."""
    if path is not None and path.suffix.lower() not in _ENDINGS:
        raise InvalidInputError(f"{path}: volumes of tiles go into {' '.join(_ENDINGS)}")
    magnitude = max((abs(x) for t in (before, after) for x in t.bounds if not math.isnan(x)), default=0.0)
    order = Order(str(after.folder.resolve()), polygon, threshold, magnitude)
    tasks = list(_list_pairs(before, after, order))
    found = crew.all("volume", compare_tile, tasks)
    if polygon is not None and all(part is None for part in found):
        raise RefusedError("the polygon does not enclose any part of the surface")
    sums = [[0.0] * len(_COLUMNS) if part is None else part for part in found]
    if path is not None:
        _write(before, [task[0] for task in tasks], sums, path)
    totals = [math.fsum(column) for column in zip(*sums, strict=True)] if sums else [0.0] * len(_COLUMNS)
    return TiledVolume(before, after, polygon, threshold, totals)


def _list_pairs(before: Tiling, after: Tiling, order: Order) -> Iterator[tuple[str, list[str], Order]]:
    """List the tiles, each with those of the other surface that it may overlap."""
    rings = [] if order.polygon is None else [rings[0] for rings in as_rings(order.polygon)]
    within = np.array([[*ring[:, :2].min(axis=0), *ring[:, :2].max(axis=0)] for ring in rings]).reshape(-1, 4)
    boxes = [(name, after._store.box_of_triangles(name)) for name in after.tiles]
    names = [name for name, box in boxes if box is not None]
    of_others = np.array([box for _, box in boxes if box is not None]).reshape(-1, 4)
    for name in before.tiles:
        box = before._store.box_of_triangles(name)
        if box is None or (rings and not _meet(within, box).any()):
            continue
        others = [names[k] for k in np.flatnonzero(_meet(of_others, box))]
        if others:
            yield name, others, order


def _meet(boxes: FloatArray, box: FloatArray) -> NDArray[np.bool_]:
    meeting: NDArray[np.bool_] = np.all((boxes[:, :2] <= box[2:]) & (boxes[:, 2:] >= box[:2]), axis=1)
    return meeting


def _write(before: Tiling, names: list[str], sums: list[list[float]], path: Path) -> None:
    """Write a row for each tile of the surface before, with the box of its triangles."""
    with writing(path) as temporary:
        if path.suffix.lower() == ".csv":
            with temporary.open("w", newline="", encoding="utf-8") as file:
                csv.writer(file).writerows(
                    [("tile", *_COLUMNS), *([n, *row] for n, row in zip(names, sums, strict=True))]
                )
            return
        table: Any = _tabulate(before, names, sums)
        if path.suffix.lower() == ".parquet":
            table.to_parquet(temporary)
        else:
            table.to_file(temporary, engine="pyogrio")


def _tabulate(before: Tiling, names: list[str], sums: list[list[float]]) -> Any:
    geopandas, shapely = require("geopandas"), require("shapely")
    boxes = [before._store.box_of_triangles(name) for name in names]
    columns = {"tile": names, **dict(zip(_COLUMNS, np.array(sums).reshape(-1, len(_COLUMNS)).T, strict=True))}
    return geopandas.GeoDataFrame(
        columns, geometry=[shapely.box(*box) for box in boxes if box is not None], crs=before.crs
    )
