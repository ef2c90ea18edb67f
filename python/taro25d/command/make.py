"""Commands that write a file."""

from __future__ import annotations

import contextlib
import functools
import operator
from collections.abc import Sequence
from pathlib import Path
from typing import Any

import click

from .. import io
from .._geometry import FloatArray
from .._messages import expecting_warnings
from .._progress import Bar
from .._simplify import simplify as simplify_points
from ..errors import FormatError, InvalidInputError
from ..points import Points
from ..triangulation import Triangulation
from ._data import add_breaklines, check_target, find_lines, find_zone, need_triangles, read, read_surface


def build(
    *, source: Path, target: Path, breaklines: Path | None, boundary: Path | None, class_: Sequence[int], gaps: bool
) -> None:
    """Triangulate and write."""
    check_target(target)
    tin = _build(source, breaklines, class_, gaps)
    io.write(tin, target, find_zone(tin, boundary), progress=Bar(delay=1.0))


def _build(source: Path, breaklines: Path | None, classes: Sequence[int], gaps: bool) -> Triangulation:
    tin = read_surface(source, classes, gaps)
    add_breaklines(tin, breaklines)
    return need_triangles(tin, source)


def convert(source: Path, target: Path) -> None:
    """Read and write."""
    check_target(target)
    io.write(read_surface(source), target, progress=Bar(delay=1.0))


def contour(*, source: Path, target: Path, interval: float | None, levels: Sequence[float] | None, gaps: bool) -> None:
    """Write contour lines."""
    check_target(target, io.LINE_ENDINGS)
    if (interval is None) == (levels is None):
        raise click.UsageError("either --interval or --levels is needed")
    tin = need_triangles(read_surface(source, gaps=gaps), source)
    try:
        contours = tin.contours(interval=interval, levels=levels, progress=Bar(delay=1.0))
    except InvalidInputError as error:
        raise FormatError(f"{source}: {error}") from error
    io.write_contours(contours, target, Bar(delay=1.0))


def raster(*, source: Path, target: Path, resolution: float, method: str, breaklines: Path | None, gaps: bool) -> None:
    """Write a raster."""
    check_target(target, io.RASTER_ENDINGS)
    tin = _build(source, breaklines, (), gaps)
    try:
        cells = tin.rasterize(resolution, method=method, progress=Bar(delay=1.0))
    except InvalidInputError as error:
        raise FormatError(f"{source}: {error}") from error
    io.write_raster(cells, target, Bar(delay=1.0))


def simplify(
    *,
    source: Path,
    target: Path,
    max_error: float,
    certified: bool,
    breaklines: Path | None,
    class_: Sequence[int],
    gaps: bool,
) -> None:
    """Choose points and write."""
    check_target(target)
    data = read(source, class_, gaps)
    lines: list[tuple[Any, str]] = (
        [(line, line.name) for line in data.breaklines] if isinstance(data, Triangulation) else []
    )
    lines += find_lines(breaklines, data.crs)
    border = _find_border(data)
    try:
        paths = [line for line, _ in lines] + border
        # The points of the border are left out, since they are on the lines.
        with expecting_warnings() if border else contextlib.nullcontext():
            fewer = simplify_points(data.points, max_error, paths, certified, crs=data.crs, progress=Bar(delay=1.0))
    except ValueError as error:
        raise FormatError(f"{breaklines or source}: {error}") from error
    for line, (_, name) in zip(fewer.breaklines, lines, strict=False):
        line.name = name
    rings = [fewer.zone(polygon=ring) for ring in border]
    zone = functools.reduce(operator.xor, rings) if rings else None  # a ring may be a hole, or lie in one
    for line in fewer.breaklines[len(lines) :]:
        line.remove()
    io.write(need_triangles(fewer, source), target, zone, progress=Bar(delay=1.0))


def _find_border(data: Points | Triangulation) -> list[FloatArray]:
    """Find the rings around a surface that has bays or holes; of others the convex hull is the border."""
    if not isinstance(data, Triangulation) or len(data.faces()[1]) == len(data.triangles):
        return []
    return data.zone().border()


def mesh(
    *,
    source: Path,
    target: Path,
    max_edge: float | None,
    min_angle: float,
    breaklines: Path | None,
    boundary: Path | None,
    class_: Sequence[int],
    gaps: bool,
) -> None:
    """Refine and write."""
    check_target(target)
    if not 0 <= min_angle <= 30:
        raise click.BadParameter(f"{min_angle} is not between 0 and 30", param_hint="--min-angle")
    tin = _build(source, breaklines, class_, gaps)
    zone = find_zone(tin, boundary)
    try:
        tin.refine(zone, min_angle=min_angle, max_edge=max_edge, progress=Bar(delay=1.0))
    except ValueError as error:
        raise FormatError(f"{source}: {error}") from error
    io.write(tin, target, zone, progress=Bar(delay=1.0))
