"""Simplification: surfaces of a few chosen points."""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from . import _engine
from . import crs as crs_module
from ._geometry import FloatArray, LineLike, as_lines, as_points, as_segments, crs_of
from ._progress import Progress, showing
from .breakline import Breakline
from .errors import InvalidInputError
from .triangulation import Triangulation


def simplify(
    points: ArrayLike | Any,
    max_error: float,
    breaklines: LineLike | Sequence[LineLike] = (),
    certified: bool = False,
    *,
    crs: Any = None,
    threads: int = 0,
    progress: Progress = False,
) -> Triangulation:
    """Make a surface of few of the points that stays within a distance of all of them.

    Points are chosen greedily (Garland and Heckbert 1995) and taken out again where the limit holds without them. Points at
    the place of an earlier one or of a breakline, and points that are not finite, are left out with a warning.

    Parameters
    ----------
    points
        As for ``Triangulation``. A vertex at the place of point k has the id k.
    max_error
        The largest vertical distance of a point from the surface.
    breaklines
        Lines that stay, with their own heights; a line without heights lies on the surface of all points. Each becomes a
        breakline of the result. Breaklines of a triangulation are such lines too.
    certified
        Whether the limit holds everywhere between the surface of all points and the result, also inside triangles.
    crs, threads, progress
        As for ``Triangulation``.

    Examples
    --------
    >>> import taro25d
    >>> tin = taro25d.simplify([[x, y, x] for x in range(10) for y in range(10)], max_error=0.1)
    >>> tin.ids
    array([ 0,  9, 90, 99])
    """
    if not (math.isfinite(max_error) and max_error >= 0):
        raise InvalidInputError(f"max_error: 0 or more is expected, not {max_error}")
    system = crs_module.merge(crs_module.normalise(crs), crs_of(points), "points")
    lines = _as_list(breaklines)
    for line in lines:
        system = crs_module.merge(system, crs_of(line), "breaklines")
    tin = Triangulation(crs=system, threads=threads)
    array = as_points(points)
    segments = _as_segments(lines, array, threads)
    with showing(progress) as show:
        _engine.simplify(tin._surface, array, segments, max_error, certified, threads, show)
    tin._surface.set_threads(threads)
    return tin


def _as_list(breaklines: Any) -> list[Any]:
    """Make a list of lines of one line, a table of lines, or several of them."""
    single = hasattr(breaklines, "geom_type") or hasattr(breaklines, "geometry")
    if single or (isinstance(breaklines, np.ndarray) and breaklines.ndim == 2):
        return [breaklines]
    return list(breaklines)


def _as_segments(lines: list[Any], points: FloatArray, threads: int) -> list[FloatArray]:
    paths = [
        path for line in lines for path in ([line] if isinstance(line, Breakline) else as_lines(line, "breaklines"))
    ]
    if any(isinstance(path, np.ndarray) and path.shape[1] == 2 for path in paths):
        whole = Triangulation(points, threads=threads)
        paths = [path if isinstance(path, Breakline) else whole._with_heights(path) for path in paths]
    return [path.edges if isinstance(path, Breakline) else as_segments([path], False, "breaklines") for path in paths]
