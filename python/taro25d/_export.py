"""Conversion of surfaces to objects of other packages."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from ._optional import require

if TYPE_CHECKING:
    from .triangulation import Triangulation
    from .zone import Zone


def to_geodataframe(tin: Triangulation, zone: Zone | None) -> Any:
    """Make polygons of triangles."""
    geopandas, shapely = require("geopandas"), require("shapely")
    points, triangles = tin.faces(zone)
    rings = points[triangles[:, [0, 1, 2, 0]]]
    polygons = shapely.polygons(shapely.linearrings(rings)) if len(rings) else []
    return geopandas.GeoDataFrame(geometry=polygons, crs=tin.crs)


def to_meshio(tin: Triangulation, zone: Zone | None) -> Any:
    """Make a mesh of meshio."""
    meshio = require("meshio")
    points, triangles = tin.faces(zone)
    return meshio.Mesh(points, [("triangle", triangles)])


def to_pyvista(tin: Triangulation, zone: Zone | None) -> Any:
    """Make a mesh of PyVista."""
    pyvista = require("pyvista", "plot")
    points, triangles = tin.faces(zone)
    faces = np.column_stack([np.full(len(triangles), 3, dtype=np.int64), triangles])
    return pyvista.PolyData(points, faces.ravel())


def plot(tin: Triangulation, ax: Any, colors: Any) -> Any:
    """Draw the surface in colours of its heights, with its breaklines, seen from above."""
    pyplot = require("matplotlib.pyplot", "plot")
    axes = pyplot.gca() if ax is None else ax
    points, triangles = tin.faces()
    if len(triangles):
        drawn = axes.tripcolor(*points[:, :2].T, triangles, points[:, 2], shading="gouraud", cmap=colors)
        axes.figure.colorbar(drawn, ax=axes, label="height")
    for edge in tin.edges_constrained:
        axes.plot(*tin.points[edge, :2].T, color="black", linewidth=0.8)
    axes.set_aspect("equal")
    return axes
