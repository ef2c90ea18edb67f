"""The volume of a heap: ``python stockpile.py FOLDER``.

A surveyor walks around the foot of the heap, and measures the heap itself. Nobody
knows the ground below: the triangulation of the foot alone is taken for it. The
heap here is a summit of the package's terrain, its foot a contour.
"""

import sys
from pathlib import Path

import matplotlib as mpl
import numpy as np
import shapely

import taro25d

mpl.use("Agg")
from matplotlib import pyplot as plt

SUMMIT, LEVEL = (15_400.0, 12_250.0), 940.0


def survey_foot(tin: taro25d.Triangulation) -> np.ndarray:
    """Measure the contour around the summit, as a closed line."""
    around = [
        line.coords
        for line in tin.contours(levels=[LEVEL])
        if (line.coords[0] == line.coords[-1]).all()
    ]
    return next(
        coords
        for coords in around
        if shapely.contains_xy(shapely.Polygon(coords), *SUMMIT)
    )


def draw(
    tin: taro25d.Triangulation,
    base: taro25d.Triangulation,
    foot: np.ndarray,
    path: Path,
) -> None:
    """Draw how high the heap is, with contours, and a section from west to east."""
    (west, south), (east, north) = (
        foot[:, :2].min(axis=0) - 300,
        foot[:, :2].max(axis=0) + 300,
    )
    window = (west, south, east, north)
    height = (
        tin.rasterize(10, window).values
        - base.rasterize(10, window, zone=base.zone(polygon=foot)).values
    )
    figure, (map_axes, section) = plt.subplots(
        1, 2, figsize=(11, 5), layout="constrained"
    )
    extent = (west, east, south, north)
    image = map_axes.imshow(height, extent=extent, cmap="YlOrBr", vmin=0)
    figure.colorbar(image, ax=map_axes, label="height above the base (m)")
    for _, coords in tin.contours(interval=10):
        map_axes.plot(*coords[:, :2].T, color="gray", linewidth=0.4)
    map_axes.plot(*foot[:, :2].T, color="black")
    map_axes.set(
        xlim=extent[:2],
        ylim=extent[2:],
        xlabel="east (m)",
        ylabel="north (m)",
        title="The heap",
        aspect="equal",
    )
    line = [[west, SUMMIT[1]], [east, SUMMIT[1]]]
    distance, top = tin.profile(line)
    bottom = base.heights(west + distance, SUMMIT[1])
    section.fill_between(
        distance, top, bottom, where=~np.isnan(bottom), color="tan"
    )
    section.plot(distance, top, color="saddlebrown", label="heap")
    section.plot(distance, bottom, color="black", linestyle="--", label="base")
    section.set(
        xlabel="distance (m)",
        ylabel="height (m)",
        title="Section from west to east",
    )
    section.legend()
    figure.savefig(path, dpi=90)
    plt.close(figure)


def main(folder: Path) -> None:
    """Make everything."""
    tin = taro25d.Triangulation(taro25d.datasets.jacksboro())
    foot = survey_foot(tin)
    base = taro25d.Triangulation(foot)
    volume = base.volume(tin, polygon=foot)
    print(
        f"above the base: {volume.fill / 1e6:.2f} million cubic metres"
        f" on {volume.fill_area / 1e4:.0f} hectares"
    )
    draw(tin, base, foot, folder / "stockpile.png")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
