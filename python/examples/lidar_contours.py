"""From a lidar cloud to contours: ``python lidar_contours.py FOLDER``.

The cloud is made of the terrain of the package, with trees on every third point,
and classified as clouds are: 2 for ground, 5 for high vegetation. The program keeps
the ground, chooses the points that are needed for an error of 5 m, and draws
contours.
"""

import sys
from pathlib import Path

import laspy
import matplotlib as mpl
import numpy as np

import taro25d

mpl.use("Agg")
from matplotlib import pyplot as plt

INTERVAL = 25.0


def make_cloud(path: Path) -> None:
    """Write a LAZ file of the ground and the trees."""
    ground = taro25d.datasets.jacksboro()
    trees = ground.points[::3] + [0, 0, 18]
    header = laspy.LasHeader(point_format=6, version="1.4")
    header.scales = [0.01] * 3
    header.add_crs(ground.crs)
    cloud = laspy.LasData(header)
    cloud.x, cloud.y, cloud.z = np.concatenate([ground.points, trees]).T
    cloud.classification = np.repeat([2, 5], [len(ground), len(trees)])
    cloud.write(path)


def draw(
    tin: taro25d.Triangulation, contours: taro25d.Contours, path: Path
) -> None:
    """Draw the contours on the shaded ground, every fourth one heavy."""
    shade = tin.rasterize(100, method="hillshade")
    west, south, east, north = shade.bounds
    figure, axes = plt.subplots(figsize=(8, 8.3), layout="constrained")
    axes.imshow(
        shade.values,
        extent=(west, east, south, north),
        cmap="gray",
        vmin=-100,
        vmax=255,
    )
    for level, coords in contours:
        axes.plot(
            *coords[:, :2].T,
            color="saddlebrown",
            linewidth=0.8 if level % (4 * INTERVAL) == 0 else 0.25,
        )
    axes.set(
        title=f"Contours every {INTERVAL:g} m",
        xlabel="east (m)",
        ylabel="north (m)",
    )
    axes.set(xlim=(west, east), ylim=(south, north), aspect="equal")
    figure.savefig(path, dpi=90)
    plt.close(figure)


def main(folder: Path) -> None:
    """Make everything."""
    make_cloud(folder / "cloud.laz")
    ground = taro25d.read(folder / "cloud.laz", classes=[2])
    tin = taro25d.simplify(ground, max_error=5.0)
    print(f"{len(tin)} of {len(ground)} points are enough for 5 m")
    contours = tin.contours(interval=INTERVAL)
    taro25d.io.write_contours(contours, folder / "contours.gpkg")
    print(
        f"{len(contours)} contours"
        f" from {contours[0].level:g} to {contours[-1].level:g} m"
    )
    draw(tin, contours, folder / "lidar_contours.png")
    tin.view(folder / "lidar_contours.html", browser=False)


if __name__ == "__main__":
    main(Path(sys.argv[1]))
