"""How deep the water would be: ``python flood.py FOLDER``.

A lake rises in a valley of the package's terrain. The program finds how much water
is in it at each level, and writes the depths at the highest one as a GeoTIFF.
"""

import sys
from pathlib import Path

import matplotlib as mpl
import numpy as np
import shapely

import taro25d

mpl.use("Agg")
from matplotlib import pyplot as plt

LEVELS = [280.0, 290.0, 300.0]


def make_lake(tin: taro25d.Triangulation, level: float) -> taro25d.Component:
    """Find the largest piece of ground below a level."""
    west, south, east, north = tin.bounds
    water = taro25d.Triangulation(
        [(x, y, level) for x in (west, east) for y in (south, north)], crs=tin.crs
    )
    flooded = [part for part in tin.volume(water).components if part.kind == "fill"]
    return max(flooded, key=lambda part: part.volume)


def draw(
    tin: taro25d.Triangulation,
    depth: taro25d.Raster,
    volumes: list[float],
    path: Path,
) -> None:
    """Draw the depths on the shaded ground, and the volume over the level."""
    rows, columns = np.nonzero(np.isfinite(depth.values))
    window = (
        depth.x[columns.min()],
        depth.y[rows.max()],
        depth.x[columns.max()],
        depth.y[rows.min()],
    )
    shade = tin.rasterize(like=depth, method="hillshade")
    west, south, east, north = shade.bounds
    figure, (map_axes, curve) = plt.subplots(
        1,
        2,
        figsize=(12, 6),
        layout="constrained",
        gridspec_kw={"width_ratios": [3, 2]},
    )
    map_axes.imshow(
        shade.values,
        extent=(west, east, south, north),
        cmap="gray",
        vmin=-60,
        vmax=255,
    )
    image = map_axes.imshow(
        depth.values, extent=(west, east, south, north), cmap="Blues", vmin=0
    )
    figure.colorbar(image, ax=map_axes, label="depth (m)")
    map_axes.set(
        title=f"Lake at {LEVELS[-1]:g} m", xlabel="east (m)", ylabel="north (m)"
    )
    map_axes.set(
        xlim=(window[0] - 800, window[2]), ylim=(window[1], window[3] + 800)
    )
    curve.plot(np.array(volumes) / 1e6, LEVELS, marker="o", color="steelblue")
    curve.set(
        title="What the lake holds",
        xlabel="volume (million cubic metres)",
        ylabel="level (m)",
    )
    curve.grid(alpha=0.3)
    figure.savefig(path, dpi=90)
    plt.close(figure)


def main(folder: Path) -> None:
    """Make everything."""
    tin = taro25d.Triangulation(taro25d.datasets.jacksboro())
    lakes = [make_lake(tin, level) for level in LEVELS]
    for level, lake in zip(LEVELS, lakes, strict=True):
        print(
            f"{level:g} m: {lake.volume / 1e6:.0f} million cubic metres"
            f" on {lake.area / 1e6:.1f} square kilometres"
        )
    depth = tin.rasterize(60)
    centres = np.meshgrid(depth.x, depth.y)
    outer, *islands = sorted(lakes[-1].rings, key=len, reverse=True)
    wet = shapely.contains_xy(shapely.Polygon(outer, islands), *centres)
    depth.values[:] = np.where(wet, LEVELS[-1] - depth.values, np.nan)
    depth.write(folder / "depth.tif")
    draw(tin, depth, [lake.volume for lake in lakes], folder / "flood.png")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
