"""Commands that print results."""

from __future__ import annotations

from collections.abc import Sequence
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .. import io
from .._geometry import FloatArray
from .._progress import Bar
from ..errors import CrsError, FormatError
from ..points import Points
from ..triangulation import Triangulation
from ._data import add_breaklines, check_target, find_zone, make_surface, need_triangles, read, read_surface, show


def info(file: Path, json: bool) -> None:
    """Print the contents of a file."""
    data = read(file)
    points = data.points
    result: dict[str, Any] = {
        "file": str(file),
        "format": io.find_format(file, for_reading=True).title,
        "points": len(points),
    }
    if isinstance(data, Triangulation):
        result |= {"triangles": len(data.faces()[1]), "breaklines": len(data.breaklines)}
    if isinstance(data, Points) and "classification" in data.attributes:
        classes, numbers = np.unique(data.attributes["classification"], return_counts=True)
        result["classes"] = {str(k): int(num) for k, num in zip(classes, numbers, strict=True)}
    finite = points[np.isfinite(points).all(axis=1)]
    if len(finite):
        result |= {"minimum": finite.min(axis=0).tolist(), "maximum": finite.max(axis=0).tolist()}
    result["crs"] = None if data.crs is None else data.crs.to_string() if json else data.crs.name
    show(result, json)


def volume(
    *,
    before: Path,
    after: Path,
    boundary: Path | None,
    threshold: float,
    components: Path | None,
    gaps: bool,
    json: bool,
) -> None:
    """Compare two surfaces."""
    if components is not None:
        check_target(components, io.TABLE_ENDINGS, "--components")
    first, second = (need_triangles(read_surface(path, gaps=gaps), path) for path in (before, after))
    zone = find_zone(first, boundary)
    try:
        found = first.volume(second, threshold=threshold, zone=zone, progress=Bar(delay=1.0))
    except CrsError as error:
        raise CrsError(f"{after}: {error}") from error
    if components is not None:
        io.write_components(found, components)
    show({name: getattr(found, name) for name in ("cut", "fill", "cut_area", "fill_area")}, json)


def profile(source: Path, line: Path, gaps: bool, json: bool) -> None:
    """Print heights along a line."""
    tin = need_triangles(read_surface(source, gaps=gaps), source)
    (path, _, _), *others = io.read_lines(line, tin.crs)
    if others:
        raise FormatError(f"{line}: one line is expected, and there are {1 + len(others)}")
    distances, heights = tin.profile(path)
    values = [None if np.isnan(height) else float(height) for height in heights]
    if json:
        show({"distance": distances.tolist(), "height": values}, True)
        return
    for distance, height in zip(distances.tolist(), values, strict=True):
        print(f"{distance:.3f}" if height is None else f"{distance:.3f} {height:.3f}")


def check(file: Path, breaklines: Path | None, tolerance: float, json: bool) -> None:
    """Look for faults."""
    data = read(file)
    points = data.points
    tin = make_surface(data, file)
    add_breaklines(tin, breaklines)
    result: dict[str, Any] = {"file": str(file), "points": len(points)}
    result["not_finite"] = int((~np.isfinite(points).all(axis=1)).sum())
    result["repeated"] = (
        len(points) - result["not_finite"] - len(np.unique(points[np.isfinite(points).all(axis=1), :2], axis=0))
    )
    result["spikes"], result["pits"] = (find.tolist() for find in _find_spikes(tin, tolerance))
    result |= _find_gaps(tin)
    result["conflicts"] = _list_conflicts(tin, tolerance)
    show(result, json)


def view(
    *,
    source: Path,
    target: Path | None,
    breaklines: Path | None,
    class_: Sequence[int],
    gaps: bool,
    no_browser: bool,
) -> None:
    """Write a page and open it."""
    if target is not None:
        check_target(target, (".html",))
    tin = read_surface(source, class_, gaps)
    add_breaklines(tin, breaklines)
    page = need_triangles(tin, source).view(target, browser=not no_browser, progress=Bar(delay=1.0))
    if target is None:
        print(page)


def _list_conflicts(tin: Triangulation, tolerance: float) -> list[dict[str, float]]:
    rows = {int(id_): row for row, id_ in enumerate(tin.ids)}
    conflicts = []
    for id_, kept, other in tin.conflicts(tolerance):
        x, y, _ = tin.points[rows[id_]].tolist()
        conflicts.append({"x": x, "y": y, "kept": kept, "other": other})
    return conflicts


def _edges(triangles: NDArray[np.int32]) -> tuple[Any, Any]:
    ends = np.concatenate([triangles[:, [0, 1]], triangles[:, [1, 2]], triangles[:, [2, 0]]])
    ends = np.unique(np.sort(ends, axis=1), axis=0)
    return np.concatenate([ends[:, 0], ends[:, 1]]), np.concatenate([ends[:, 1], ends[:, 0]])


def _find_spikes(tin: Triangulation, tolerance: float) -> tuple[FloatArray, FloatArray]:
    """Find vertices that stand far above, or far below, all their neighbours.

    Far is ten times the median height difference along edges, and more than the tolerance.
    """
    points, triangles = tin.faces()
    if not len(triangles):
        return np.empty((0, 3)), np.empty((0, 3))
    start, end = _edges(triangles)
    rise = points[start, 2] - points[end, 2]
    far = max(tolerance, 10 * float(np.median(np.abs(rise))))
    above, below = np.full(len(points), np.inf), np.full(len(points), np.inf)
    np.minimum.at(above, start, rise)
    np.minimum.at(below, start, -rise)
    return points[above > far], points[below > far]


def _find_gaps(tin: Triangulation) -> dict[str, Any]:
    """Find triangles that are ten times larger than usual in both directions."""
    points, triangles = tin.faces()
    corners = points[triangles][..., :2]
    if not len(corners):
        return {"gaps": 0, "gap_area": 0.0}
    sides = np.linalg.norm(corners - np.roll(corners, 1, axis=1), axis=2)
    (ax, ay), (bx, by) = (corners[:, 1] - corners[:, 0]).T, (corners[:, 2] - corners[:, 0]).T
    areas = np.abs(ax * by - ay * bx) / 2
    usual = float(np.median(sides))
    wide = (sides.max(axis=1) > 10 * usual) & (2 * areas > 10 * usual * usual)
    return {"gaps": int(wide.sum()), "gap_area": float(areas[wide].sum())}
