"""A mesh for a solver: ``python solver_mesh.py FOLDER``.

Streams become edges of the mesh, and angles are at least 25 degrees except where
that would take edges below 20 m; no edge is longer than 250 m. The heights are
those of the package's terrain. The mesh goes to a VTK file, which meshio turns into
the formats of solvers.
"""

import sys
from pathlib import Path

import matplotlib as mpl
import numpy as np
import shapely

import taro25d

mpl.use("Agg")
from matplotlib import pyplot as plt

WINDOW = shapely.box(5_000, 3_000, 13_000, 10_000)
# Vertices that split an edge of the border or of a stream lie on it. These lines
# follow the ground at this step.
STEP = 100


def make_mesh(
    terrain: taro25d.Triangulation,
) -> tuple[taro25d.Triangulation, taro25d.Zone]:
    """Triangulate the border and the streams of the window, and refine."""
    border = np.array(shapely.segmentize(WINDOW, STEP).exterior.coords)[:-1]
    mesh = taro25d.Triangulation(
        np.column_stack([border, terrain.heights(*border.T)]), crs=terrain.crs
    )
    streams = (
        taro25d.datasets.jacksboro_streams()
        .clip(WINDOW.buffer(-300))
        .geometry.simplify(60)
    )
    for line in streams.explode():
        path = np.array(shapely.segmentize(line, STEP).coords)
        mesh.add_breakline(
            np.column_stack([path, terrain.heights(*path.T)]), name="stream"
        )
    zone = mesh.zone(polygon=WINDOW)
    mesh.refine(zone, min_angle=25, max_edge=250, min_edge=20, guide=terrain)
    return mesh, zone


def measure_angles(points: np.ndarray, triangles: np.ndarray) -> np.ndarray:
    """Return the smallest angle of each triangle, in space."""
    corners = points[triangles]
    angles = []
    for k in range(3):
        one, other = (
            corners[:, (k + 1) % 3] - corners[:, k],
            corners[:, (k + 2) % 3] - corners[:, k],
        )
        cosine = (
            (one * other).sum(axis=1)
            / np.linalg.norm(one, axis=1)
            / np.linalg.norm(other, axis=1)
        )
        angles.append(np.degrees(np.arccos(cosine)))
    return np.min(angles, axis=0)


def draw(
    mesh: taro25d.Triangulation, zone: taro25d.Zone, angles: np.ndarray, path: Path
) -> None:
    """Draw the mesh in colours of heights, and a histogram of its angles."""
    points, triangles = mesh.faces(zone)
    figure, (map_axes, chart) = plt.subplots(
        1,
        2,
        figsize=(12, 6),
        layout="constrained",
        gridspec_kw={"width_ratios": [3, 2]},
    )
    colours = map_axes.tripcolor(
        *points[:, :2].T, triangles, points[:, 2], cmap="YlOrBr_r", shading="flat"
    )
    figure.colorbar(colours, ax=map_axes, label="height (m)")
    map_axes.triplot(*points[:, :2].T, triangles, color="black", linewidth=0.2)
    for start, end in (
        edge for line in mesh.breaklines for edge in line.edges[..., :2]
    ):
        map_axes.plot(*np.transpose([start, end]), color="blue", linewidth=1.5)
    map_axes.set(
        title=f"{len(triangles)} triangles",
        xlabel="east (m)",
        ylabel="north (m)",
        aspect="equal",
    )
    chart.hist(angles, bins=np.arange(0, 61, 2), color="steelblue")
    chart.set(title="Smallest angles", xlabel="degrees", ylabel="triangles")
    figure.savefig(path, dpi=90)
    plt.close(figure)


def main(folder: Path) -> None:
    """Make everything."""
    mesh, zone = make_mesh(taro25d.Triangulation(taro25d.datasets.jacksboro()))
    points, triangles = mesh.faces(zone)
    angles = measure_angles(points, triangles)
    print(
        f"{len(points)} points, {len(triangles)} triangles;"
        f" {(angles < 25).sum()} with an angle below 25 degrees"
    )
    mesh.write(folder / "mesh.vtk", zone=zone)
    draw(mesh, zone, angles, folder / "solver_mesh.png")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
