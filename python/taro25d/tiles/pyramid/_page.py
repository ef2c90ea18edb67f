"""The files beside the tiles: the description of the pyramid, and a page that shows it."""

from __future__ import annotations

import html
import json
from collections import defaultdict
from collections.abc import Iterable
from typing import Any

from ... import _engine
from ..._geometry import FloatArray
from ...crs import normalise
from ._scheme import Cell, Scheme

_PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>{title}</title>
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; script-src 'unsafe-inline'; style-src 'unsafe-inline'; \
img-src data: blob:; connect-src 'self'">
<link rel="icon" href="data:,">
</head>
<body>
<noscript>This page shows a surface in three dimensions with JavaScript, which is switched off.</noscript>
<script>
{script}
</script>
<script type="application/json" id="scene">
{description}
</script>
</body>
</html>
"""


def describe(scheme: Scheme, box: FloatArray, cells: Iterable[Cell], first: int, title: str) -> dict[str, Any]:
    """Make the description: TileJSON as readers of such tiles know it, and additions for the page.

    The box has x, y and z of the low and the high corner of all points; ``first`` is the first level with the surface.
    """
    by_level: dict[int, list[Cell]] = defaultdict(list)
    for cell in cells:
        by_level[cell.z].append(cell)
    return {
        "tilejson": "2.1.0",
        "name": title,
        "version": "1.0.0",
        "format": "quantized-mesh-1.0",
        "scheme": "tms",
        "projection": "EPSG:4326" if scheme.crs else "none",
        "tiles": ["{z}/{x}/{y}.terrain"],
        "bounds": [*box[0, :2].tolist(), *box[1, :2].tolist()],
        "minzoom": min(by_level),
        "maxzoom": max(by_level),
        "available": [_to_rectangles(by_level[level]) for level in range(max(by_level) + 1)],
        "taro25d": {
            "first": first,
            "origin": [scheme.west, scheme.south],
            "size": scheme.size,
            "metres": scheme.metres,
            "heights": box[:, 2].tolist(),
            "crs": normalise(scheme.crs).name if scheme.crs else None,
        },
    }


def _to_rectangles(cells: list[Cell]) -> list[dict[str, int]]:
    """Cover cells with rectangles: rows without gaps, and rows above each other that are alike."""
    columns: dict[tuple[int, int], list[int]] = defaultdict(list)  # the rows of a run from one column to another
    for y in sorted({cell.y for cell in cells}):
        xs = sorted(cell.x for cell in cells if cell.y == y)
        starts = [x for x in xs if x - 1 not in set(xs)]
        ends = [x for x in xs if x + 1 not in set(xs)]
        for run in zip(starts, ends, strict=True):
            columns[run].append(y)
    rectangles = []
    for (start, end), rows in columns.items():
        for y in (y for y in rows if y - 1 not in rows):
            top = y
            while top + 1 in rows:
                top += 1
            rectangles.append({"startX": start, "startY": y, "endX": end, "endY": top})
    return rectangles


def make_page(title: str, heights: list[float]) -> str:
    """Make the page, which loads the tiles beside it."""
    ramp = {"low": heights[0], "high": heights[1], "stops": _engine.terrain_colors()}
    description = {
        "title": title,
        "exaggeration": 1,
        "bytes": 0,
        "layers": ["surface"],
        "ramps": {"terrain": ramp},
        "surfaces": [],
        "lines": [],
        "labels": [],
        "pyramid": "layer.json",
    }
    text = json.dumps(description, indent=1).replace("<", "\\u003c")
    return _PAGE.format(title=html.escape(title), script=_engine.viewer_script(), description=text)
