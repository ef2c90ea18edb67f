"""From a grid of heights to a map: ``python terrain.py FOLDER`` triangulates the ground around the Jacksboro fault.

Writes a picture of the shaded ground with its contours and streams, the contours as a GeoPackage, the slopes as a GeoTIFF,
and tells how much water a lake behind a dam would hold.
"""

from __future__ import annotations

import sys
from pathlib import Path
from typing import Any

import matplotlib as mpl
import numpy as np

import taro25d

mpl.use("Agg")
from matplotlib import pyplot as plt

INTERVAL = 50.0
LAKE = 300.0


def draw(tin: taro25d.Triangulation, streams: Any, path: Path) -> None:
    """Draw the shaded ground, the contours and the streams."""
    shade = tin.rasterize(100, method="hillshade")
    west, south, east, north = shade.bounds
    figure, axes = plt.subplots(figsize=(9, 9.5), layout="constrained")
    axes.imshow(shade.values, extent=(west, east, south, north), cmap="gray", vmin=0, vmax=255)
    for level, coords in tin.contours(interval=INTERVAL):
        axes.plot(*coords[:, :2].T, color="saddlebrown", linewidth=0.8 if level % (4 * INTERVAL) == 0 else 0.25)
    streams.plot(ax=axes, color="steelblue", linewidth=1.2)
    axes.set(title="Jacksboro fault, contours every 50 m", xlabel="east (m)", ylabel="north (m)", aspect="equal")
    axes.set(xlim=(west, east), ylim=(south, north))
    figure.savefig(path, dpi=100)
    plt.close(figure)


def main(folder: Path) -> None:
    """Make everything."""
    folder.mkdir(parents=True, exist_ok=True)
    tin = taro25d.Triangulation(taro25d.datasets.jacksboro())
    print(tin)
    streams = taro25d.datasets.jacksboro_streams()
    draw(tin, streams, folder / "python_terrain.png")
    taro25d.io.write_contours(tin.contours(interval=INTERVAL), folder / "python_contours.gpkg")
    tin.rasterize(100, method="slope").write(folder / "python_slopes.tif")
    west, south, east, north = tin.bounds
    lake = taro25d.Triangulation([(x, y, LAKE) for x in (west, east) for y in (south, north)], crs=tin.crs)
    water = tin.volume(lake)
    print(
        f"below {LAKE:g} m: {water.fill / 1e9:.3f} cubic kilometres over {water.fill_area / 1e6:.1f} square kilometres"
    )
    print(f"steepest: {np.nanmax(tin.rasterize(100, method='slope').values):.0f} degrees")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
