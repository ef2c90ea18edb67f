"""DXF: faces, polylines and points of drawings."""

from __future__ import annotations

from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np

from .._geometry import FloatArray
from .._optional import require

if TYPE_CHECKING:
    from ..contours import Contours
    from ..triangulation import Triangulation
    from ..zone import Zone


def read_lines(path: Path) -> list[tuple[FloatArray, bool, str]]:
    """Read polylines and lines: points, whether closed, and the layer."""
    return _lines(_open(path))


def _open(path: Path) -> Any:
    ezdxf = require("ezdxf")
    return ezdxf.readfile(path).modelspace()


def _lines(space: Any) -> list[tuple[FloatArray, bool, str]]:
    lines = []
    for entity in space.query("POLYLINE LWPOLYLINE LINE"):
        kind, closed = entity.dxftype(), False
        if kind == "LINE":
            points = [entity.dxf.start.xyz, entity.dxf.end.xyz]
        elif kind == "LWPOLYLINE":
            points = [(x, y, entity.dxf.elevation) for x, y in entity.get_points("xy")]
            closed = bool(entity.closed)
        elif entity.is_3d_polyline or entity.is_2d_polyline:
            points = [vertex.dxf.location.xyz for vertex in entity.vertices]
            closed = bool(entity.is_closed)
        else:
            continue  # meshes made of polylines
        if len(points) > 1:
            lines.append((np.array(points, dtype=np.float64), closed, str(entity.dxf.layer)))
    return lines


def write(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write triangles as 3DFACE in the layer TIN, edges of breaklines as LINE in the layer BREAKLINES."""
    ezdxf = require("ezdxf")
    drawing = ezdxf.new("R2010")
    space = drawing.modelspace()
    points, triangles = tin.faces(zone)
    for corners in points[triangles].tolist():
        space.add_3dface([*corners, corners[2]], dxfattribs={"layer": "TIN"})
    for start, end in (edge for line in tin.breaklines for edge in line.edges.tolist()):
        space.add_line(start, end, dxfattribs={"layer": "BREAKLINES"})
    drawing.saveas(path)


def write_contours(contours: Contours, path: Path) -> None:
    """Write contours as polylines in space, in a layer for each level."""
    ezdxf = require("ezdxf")
    drawing = ezdxf.new("R2010")
    space = drawing.modelspace()
    for level, coords in contours:
        space.add_polyline3d(coords.tolist(), dxfattribs={"layer": f"CONTOUR {level:g}"})
    drawing.saveas(path)
