"""DXF: faces, polylines and points of drawings."""

from __future__ import annotations

from collections.abc import Iterator
from pathlib import Path
from typing import TYPE_CHECKING, Any, TextIO

import numpy as np

from .._geometry import FloatArray
from .._optional import require
from .._progress import Progress, ProgressFunction, counting, showing
from ..errors import FormatError
from ._polygons import split

if TYPE_CHECKING:
    from ..contours import Contours
    from ..triangulation import Triangulation
    from ..zone import Zone


def read(path: Path, layer: str | None = None, repair: bool = False, progress: Progress = False) -> Triangulation:
    """Read faces (3DFACE, meshes, polyface meshes) as the surface; without any, points and lines, which become breaklines."""
    from ..triangulation import Triangulation

    entities = _select(_open(path), layer)
    corners = [triangle for entity in entities for face in _faces(entity) for triangle in face]
    if corners:
        return Triangulation.from_triangles(np.stack(corners), repair=repair, progress=progress)
    lines = _lines(entities)
    points = [tuple(entity.dxf.location) for entity in entities if entity.dxftype() == "POINT"]
    if not points and not lines:
        blocks = any(entity.dxftype() == "INSERT" for entity in entities)
        raise FormatError("there are no faces, points or lines" + ("; explode the blocks first" if blocks else ""))
    ends = [line for line, _, _ in lines]
    tin = Triangulation(np.concatenate([np.array(points).reshape(-1, 3), *ends]), progress=progress)
    for line, closed, name in lines:
        tin.add_breakline(line, closed=closed, name=name)
    return tin


def read_lines(path: Path) -> list[tuple[FloatArray, bool, str]]:
    """Read polylines and lines: points, whether closed, and the layer."""
    return _lines(_select(_open(path), None))


def _open(path: Path) -> Any:
    """Open a drawing; one with faults in its structure in a more patient way."""
    ezdxf = require("ezdxf")
    try:
        return ezdxf.readfile(path).modelspace()
    except ezdxf.DXFStructureError:
        document, _ = require("ezdxf.recover").readfile(path)
        return document.modelspace()


def _select(space: Any, layer: str | None) -> list[Any]:
    entities = [entity for entity in space if layer is None or entity.dxf.layer == layer]
    if layer is not None and not entities:
        raise FormatError(f"nothing is in the layer {layer}, but in {', '.join(sorted({e.dxf.layer for e in space}))}")
    return entities


def _faces(entity: Any) -> Iterator[FloatArray]:
    """Yield the triangles (k, 3, 3) of an entity that has faces."""
    kind = entity.dxftype()
    if kind == "3DFACE":
        yield _triangles([tuple(corner) for corner in entity.wcs_vertices()])
    elif kind == "MESH":
        points = np.array([tuple(vertex) for vertex in entity.vertices], dtype=np.float64)
        yield points[split(points, [list(face) for face in entity.faces])]
    elif kind == "POLYLINE" and entity.is_poly_face_mesh:
        for face in entity.faces():
            yield _triangles([tuple(vertex.dxf.location) for vertex in face[:-1]])
    elif kind == "POLYLINE" and entity.is_polygon_mesh:
        yield _grid(entity)


def _triangles(corners: list[tuple[float, float, float]]) -> FloatArray:
    """Divide a face; corners that are there twice count once."""
    ring = [corner for k, corner in enumerate(corners) if corner != corners[k - 1]]
    if len(ring) < 3:
        return np.empty((0, 3, 3))
    points = np.array(ring, dtype=np.float64)
    return points[split(points, [list(range(len(ring)))])]


def _grid(entity: Any) -> FloatArray:
    """Divide the cells of a mesh of rows and columns of vertices."""
    rows, columns = entity.dxf.m_count, entity.dxf.n_count
    points = np.array([tuple(vertex.dxf.location) for vertex in entity.vertices], dtype=np.float64).reshape(-1, 3)
    if rows * columns != len(points) or rows < 2 or columns < 2:
        raise FormatError(f"a mesh has {len(points)} vertices, not {rows} by {columns}")
    at = np.arange(rows * columns).reshape(rows, columns)
    if entity.is_m_closed:
        at = np.concatenate([at, at[:1]])
    if entity.is_n_closed:
        at = np.concatenate([at, at[:, :1]], axis=1)
    a, b, c, d = at[:-1, :-1].ravel(), at[1:, :-1].ravel(), at[1:, 1:].ravel(), at[:-1, 1:].ravel()
    triangles: FloatArray = points[np.concatenate([np.column_stack([a, b, c]), np.column_stack([a, c, d])])]
    return triangles


def _lines(entities: list[Any]) -> list[tuple[FloatArray, bool, str]]:
    lines = []
    for entity in entities:
        kind, closed, points = entity.dxftype(), False, []
        if kind == "LINE":
            points = [entity.dxf.start, entity.dxf.end]
        elif kind == "LWPOLYLINE":
            points, closed = list(entity.vertices_in_wcs()), bool(entity.closed)
        elif kind == "POLYLINE" and (entity.is_3d_polyline or entity.is_2d_polyline):
            points, closed = list(entity.points_in_wcs()), bool(entity.is_closed)
        if len(points) > 1:
            lines.append((np.array([tuple(p) for p in points], dtype=np.float64), closed, str(entity.dxf.layer)))
    return lines


def write(tin: Triangulation, path: Path, zone: Zone | None = None, progress: Progress = False) -> None:
    """Write triangles as 3DFACE in the layer TIN, edges of breaklines as LINE in the layer BREAKLINES."""
    ezdxf = require("ezdxf")
    drawing = ezdxf.new("R2010")
    space = drawing.modelspace()
    points, triangles = tin.faces(zone)
    for start, end in (edge for line in tin.breaklines for edge in line.edges.tolist()):
        space.add_line(start, end, dxfattribs={"layer": "BREAKLINES"})
    with showing(progress) as show:
        for corners in counting("draw triangles", points[triangles].tolist(), show):
            space.add_3dface([*corners, corners[2]], dxfattribs={"layer": "TIN"})
        _save(drawing, path, show)


class _CountingStream:
    """A text file that shows what share of the entities of a drawing have been written to it."""

    def __init__(self, file: TextIO, num: int, show: ProgressFunction | None) -> None:
        self._file = file
        self._num = num
        self._show = show
        self._done = 0

    def write(self, text: str) -> int:
        """Write tags; each entity has one that begins with its kind."""
        if text.startswith("  0\n"):
            self._done += 1
            if self._show is not None and self._done % 1000 == 0:
                self._show("write", min(1.0, self._done / self._num))
        return self._file.write(text)


def _save(drawing: Any, path: Path, show: ProgressFunction | None) -> None:
    with path.open("w", encoding=drawing.output_encoding, errors="dxfreplace") as file:
        drawing.write(_CountingStream(file, len(drawing.entitydb), show))


def write_contours(contours: Contours, path: Path) -> None:
    """Write contours as polylines in space, in a layer for each level."""
    ezdxf = require("ezdxf")
    drawing = ezdxf.new("R2010")
    space = drawing.modelspace()
    for level, coords in contours:
        space.add_polyline3d(coords.tolist(), dxfattribs={"layer": f"CONTOUR {level:g}"})
    drawing.saveas(path)
