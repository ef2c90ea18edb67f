"""Conversion of surfaces to objects of other packages."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

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


def plot(tin: Triangulation, ax: Any, colors: Any, zone: Zone | None) -> Any:
    """Draw the surface in colours of its heights, with the edges of its breaklines, seen from above."""
    pyplot, collections = require("matplotlib.pyplot", "plot"), require("matplotlib.collections", "plot")
    axes = pyplot.gca() if ax is None else ax
    points, triangles = tin.faces(zone)
    if len(triangles):
        drawn = axes.tripcolor(*points[:, :2].T, triangles, points[:, 2], shading="gouraud", cmap=colors)
        axes.figure.colorbar(drawn, ax=axes, label="height")
    lines = tin.points[_constrained_edges(tin, zone), :2]
    axes.add_collection(collections.LineCollection(lines, colors="black", linewidths=0.8))
    axes.autoscale_view()
    axes.set_aspect("equal")
    axes.locator_params(axis="x", nbins=5)  # numbers of projected systems are long
    return axes


def _constrained_edges(tin: Triangulation, zone: Zone | None) -> NDArray[np.int32]:
    """Return the constrained edges of the surface, or those of the triangles of a zone, as rows of points."""
    edges = tin.edges_constrained
    if zone is None:
        return edges
    sides = tin.triangles[zone.triangles][:, [[0, 1], [1, 2], [2, 0]]].reshape(-1, 2)
    known = {tuple(side) for side in np.sort(sides, axis=1).tolist()}
    return edges[[tuple(edge) in known for edge in np.sort(edges, axis=1).tolist()]]
