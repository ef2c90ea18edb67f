"""The part of a surface that can be changed: points, triangles and breaklines."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import _engine
from . import crs as crs_module
from ._geometry import FloatArray, LineLike, as_lines, as_points, as_segments, crs_of
from ._progress import Progress, showing
from .breakline import Breakline
from .errors import InvalidInputError

if TYPE_CHECKING:
    from .zone import Zone

_HEIGHT_RULES = ("first", "last", "mean", "min", "max")
_STRATEGIES = {"constrained": 1, "conforming": 0, "conforming-linear": 2}


class Conflict(NamedTuple):
    """A vertex at which two heights met: the height that it kept, and the other one."""

    id: int
    kept: float
    other: float


class Mesh:
    """The base class of ``Triangulation``: the mesh, and the methods that change it."""

    def __init__(
        self,
        points: ArrayLike | Any | None = None,
        crs: Any = None,
        threads: int = 0,
        *,
        height_rule: str = "first",
        progress: Progress = False,
    ) -> None:
        self.crs = crs_module.merge(crs_module.normalise(crs), crs_of(points), "points")
        crs_module.check_plane(self.crs)
        self._set_up(threads, height_rule)
        if points is not None:
            with showing(progress) as show:
                self._surface.insert_by_position(as_points(points), show)

    def _set_up(self, threads: int, height_rule: str) -> None:
        if not isinstance(threads, (int, np.integer)) or threads < 0:
            raise InvalidInputError(f"threads: 0 or more are expected, not {threads!r}")
        if height_rule not in _HEIGHT_RULES:
            raise InvalidInputError(f"height_rule: one of {', '.join(_HEIGHT_RULES)} is expected, not {height_rule!r}")
        self._threads, self._height_rule = threads, height_rule
        self._known: dict[str, tuple[Any, ...]] = {}  # arrays, each with the version of the mesh in front
        self._canonical = -1  # the version of the mesh that canonicalize() has made
        self._surface = _engine.Surface()
        self._part: _engine.Zone | None = None  # the surface, where the mesh, which is convex, is more than that
        self._surface.set_threads(min(threads, 1_000_000))
        self._surface.set_height_rule(_HEIGHT_RULES.index(height_rule))

    def __repr__(self) -> str:
        num_points, num_triangles = self._surface.counts()
        system = "" if self.crs is None else f", {self.crs.name}"
        return f"<Triangulation: {num_points} points, {num_triangles} triangles{system}>"

    # ---- The mesh ----

    def _arrays(self, kind: str) -> tuple[Any, ...]:
        """Return the version of the mesh and its arrays of one kind, which are made at the first use after a change."""
        known = self._known.get(kind)
        if known is None or known[0] != self._surface.version():
            known = getattr(self._surface, kind)()
            for array in known[1:]:
                array.flags.writeable = False
            self._known[kind] = known
        return known

    @property
    def points(self) -> FloatArray:
        """The vertices, (n, 3), in the order of their ids."""
        points: FloatArray = self._arrays("points")[1]
        return points

    @property
    def ids(self) -> NDArray[np.int64]:
        """The id of each row of ``points``, ascending."""
        ids: NDArray[np.int64] = self._arrays("ids")[1]
        return ids

    @property
    def triangles(self) -> NDArray[np.int32]:
        """The triangles, (m, 3) rows of ``points``, counterclockwise."""
        triangles: NDArray[np.int32] = self._arrays("triangles")[1]
        return triangles

    @property
    def neighbors(self) -> NDArray[np.int32]:
        """The triangle opposite each corner, (m, 3) rows of ``triangles``; -1 at the border."""
        neighbors: NDArray[np.int32] = self._arrays("triangles")[2]
        return neighbors

    @property
    def edges_constrained(self) -> NDArray[np.int32]:
        """The edges that are pieces of breaklines or borders, (k, 2) rows of ``points``."""
        edges: NDArray[np.int32] = self._arrays("triangles")[3]
        return edges

    @property
    def bounds(self) -> tuple[float, float, float, float]:
        """West, south, east and north; NaN without points."""
        if not len(self.points):
            return (np.nan,) * 4
        (west, south), (east, north) = self.points[:, :2].min(axis=0), self.points[:, :2].max(axis=0)
        return float(west), float(south), float(east), float(north)

    def __len__(self) -> int:
        return self._surface.counts()[0]

    # ---- Changing it ----

    def insert(self, points: ArrayLike | Any, *, progress: Progress = False) -> NDArray[np.int64]:
        """Insert points and get their ids.

        A point at the place of a vertex gets the id of that vertex. A point that is not finite is refused with a warning
        and gets -1.
        """
        array = as_points(points, maybe_one=True)
        crs_module.merge(self.crs, crs_of(points), "points")
        with showing(progress) as show:
            return self._surface.insert(array, show)

    def remove(self, ids: ArrayLike) -> None:
        """Remove vertices; the surface of the others stays Delaunay.

        Raises
        ------
        GoneError
            If an id is not there (any more); nothing is removed then.
        RefusedError
            If a vertex belongs to a breakline; nothing is removed then.
        """
        self._surface.remove(_as_ids(ids))

    def move(self, id: int, point: ArrayLike) -> None:
        """Move a vertex to another place and height; it keeps its id.

        Raises
        ------
        GoneError
            If the id is not there (any more).
        RefusedError
            If the vertex belongs to a breakline, or another one stands at that place.
        """
        target, ids = as_points(point, "point", maybe_one=True), _as_ids(id)
        if len(target) != 1 or len(ids) != 1:
            raise InvalidInputError("id, point: one id and (x, y, z) are expected")
        self._surface.move(int(ids[0]), *target[0].tolist())

    def canonicalize(self) -> None:
        """Choose the diagonals between points on one circle by their coordinates alone.

        Equal points and breaklines then have equal triangles, whatever their order and the number of threads.
        """
        self._surface.canonicalize()
        self._canonical = self._surface.version()

    def add_breakline(
        self,
        points: LineLike,
        closed: bool = False,
        name: str | None = None,
        *,
        strategy: str = "constrained",
        progress: Progress = False,
    ) -> Breakline:
        """Force a line into the mesh: its pieces become edges.

        Where it crosses earlier lines, those give the height. A line without heights lies on the surface at its points.

        Parameters
        ----------
        points
            (k, 3) or (k, 2) numbers, or shapely or GeoPandas lines, which make one breakline together.
        closed
            Whether an edge runs from the last point to the first.
        name
            The name of the breakline.
        strategy
            ``"constrained"`` adds no vertices except where lines cross; ``"conforming"`` splits pieces until all triangles are
            Delaunay, with the heights of the surface, and ``"conforming-linear"`` with those of the line.
        """
        if strategy not in _STRATEGIES:
            raise InvalidInputError(f"strategy: one of {', '.join(_STRATEGIES)} is expected, not {strategy!r}")
        crs_module.merge(self.crs, crs_of(points), "points")
        lines = [self._with_heights(line) for line in as_lines(points)]
        with showing(progress) as show:
            segments = as_segments(lines, closed, "points")
            number = _engine.add_breakline(self._surface, segments, _STRATEGIES[strategy], str(name or ""), show)
        return Breakline(self, number)

    @property
    def breaklines(self) -> list[Breakline]:
        """The breaklines, in the order in which they were added."""
        return [Breakline(self, number) for number in _engine.breaklines(self._surface)]

    def _with_heights(self, line: FloatArray) -> FloatArray:
        if line.shape[1] == 3:
            return line
        heights = self.heights(line[:, 0], line[:, 1])
        if np.isnan(heights).any():
            row = int(np.argwhere(np.isnan(heights))[0][0])
            raise InvalidInputError(f"points: row {row} has no height of its own and lies outside the surface")
        return np.column_stack([line, heights])

    def refine(
        self,
        zone: Zone | None = None,
        min_angle: float = 25,
        max_edge: float | None = None,
        min_edge: float = 0,
        guide: Mesh | None = None,
        *,
        max_area: float | None = None,
        growth: float | None = None,
        grid: float = 0,
        grid_direction: tuple[float, float] | None = None,
        split_breaklines: bool = True,
        max_vertices: int = 0,
        progress: Progress = False,
    ) -> None:
        """Insert vertices until triangles have good shapes and sizes.

        Lengths, areas and angles are those in space. The border of the zone becomes a constraint.

        Parameters
        ----------
        zone
            Where; None for everywhere.
        min_angle
            The smallest angle of a triangle, in degrees, at most 30.
        max_edge, min_edge
            The longest edge; and the length below which breaklines are not split.
        guide
            The surface that gives the heights of new vertices; None for the surface as it is.
        max_area, growth
            The largest area; and how many times larger than a neighbour a triangle may be.
        grid, grid_direction
            The spacing of a grid that is inserted before, and the direction of its rows.
        split_breaklines
            Whether breaklines may be split.
        max_vertices
            The most vertices to insert; 0 for 100 million.
        """
        if min_edge < 0 or grid < 0:
            raise InvalidInputError("min_edge, grid: 0 or more are expected")
        if guide is not None and not isinstance(guide, Mesh):
            raise InvalidInputError("guide: a triangulation is expected")
        if not 0 <= min_angle <= 30:
            raise InvalidInputError(f"min_angle: 0 to 30 degrees are expected, not {min_angle}")
        limits = _engine.Refinement()
        most = float(np.finfo(np.float64).max)
        limits.min_angle, limits.min_edge, limits.grid = min_angle, min_edge, grid
        limits.max_edge = most if max_edge is None else max_edge
        limits.max_area = most if max_area is None else max_area
        limits.growth = most if growth is None else growth
        limits.grid_x, limits.grid_y = grid_direction or (0.0, 0.0)
        limits.split, limits.max_vertices = split_breaklines, max_vertices
        guide_surface = None if guide is None else guide._surface
        with showing(progress) as show:
            _engine.refine(self._surface, self._engine_zone(zone), guide_surface, limits, show)

    def heights(self, x: ArrayLike, y: ArrayLike) -> Any:
        """Return the heights of the surface at places, NaN outside; a float for two numbers, otherwise an array."""
        xs, ys = np.broadcast_arrays(np.asarray(x, dtype=np.float64), np.asarray(y, dtype=np.float64))
        places = np.empty((*xs.shape, 2))
        places[..., 0], places[..., 1] = xs, ys
        asked = self._surface if self._part is None else self._part
        heights = asked.heights(places.reshape(-1, 2)).reshape(xs.shape)
        return heights if xs.shape else float(heights)

    def _engine_zone(self, zone: Zone | None) -> _engine.Zone | None:
        if zone is None:
            return self._part
        if getattr(zone, "triangulation", None) is not self:
            raise InvalidInputError("zone: a zone of this triangulation is expected")
        return zone._engine


def _as_ids(ids: ArrayLike) -> NDArray[np.int64]:
    array = np.atleast_1d(np.asarray(ids))
    if array.size and not np.issubdtype(array.dtype, np.integer):
        raise InvalidInputError(f"ids: whole numbers are expected, not {array.dtype}")
    return np.ascontiguousarray(array.ravel(), dtype=np.int64)
