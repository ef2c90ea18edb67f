"""Simulates what 16,384 tiles of a flight exchange, and draws it: ``python exchange.py [PICTURE.png]``.

The ground is 45 km wide, flown in strips of 600 m that overlap by a fifth, with a cross strip, towns (half as many points
again), lakes and a river without returns: 2 * 10^10 points. The tiles are cut by the code that does it for real. Two numbers
follow for each tile: the points within four spacings of it, which it gets first, from the densities; and the tiles that the
circles of its triangles reach, from a triangulation of one point in some thousands. Thinning makes circles in open ground
larger than they are, and leaves those over water as they are. Only the seed decides about the result.
"""

from __future__ import annotations

import sys
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

import taro25d
from taro25d.tiles._plan import Counts, Plan

SEED = 7
CELLS, WIDTH = 1800, 25.0  # cells in each direction, and metres
PER_METRE = 8.0  # points on a square metre of one strip
MOST = 2_000_000  # points of a tile
SAMPLE = 2_000_000
SPACINGS = 4.0  # as far as points of others come first
DIRECTIONS = 16

FloatArray = NDArray[np.float64]
IntArray = NDArray[np.int64]


class Tiles(NamedTuple):
    """What the tiles are: the label of each cell, the boxes in cells, and the points."""

    labels: IntArray
    boxes: FloatArray
    numbers: FloatArray


def make_density(rng: np.random.Generator) -> FloatArray:
    """Make the points of each cell."""
    x, y = np.meshgrid(np.arange(CELLS) * WIDTH, np.arange(CELLS) * WIDTH, indexing="ij")
    across = 0.97 * x + 0.24 * y
    strips = 1.0 + (np.mod(across, 480.0) < 120) + (np.abs(y - 20_000) < 300)
    for east, north in rng.uniform(0, CELLS * WIDTH, (25, 2)):
        strips[np.hypot(x - east, y - north) < rng.uniform(500, 2500)] *= 1.5
    for east, north in rng.uniform(0, CELLS * WIDTH, (60, 2)):
        size, angle = 250 * rng.pareto(1.3) + 150, rng.uniform(0, np.pi)
        along = np.cos(angle) * (x - east) + np.sin(angle) * (y - north)
        aside = np.cos(angle) * (y - north) - np.sin(angle) * (x - east)
        strips[np.hypot(along / min(size, 6000.0), aside / min(0.4 * size, 2000.0)) < 1] = 0
    strips[np.abs(y - 9000 - 2500 * np.sin(x / 4000)) < 120] = 0
    return rng.poisson(strips * PER_METRE * WIDTH**2).astype(np.float64)


def cut(numbers: FloatArray) -> Tiles:
    """Cut cells into tiles as a run does."""
    cells = np.argwhere(numbers > 0)
    plan = Plan()
    plan.start(Counts(0, cells, numbers[numbers > 0].astype(np.int64)), MOST, -1)
    plan.cut(MOST)
    labels = np.full((CELLS, CELLS), -1)
    places = np.argwhere(np.ones((CELLS, CELLS), dtype=bool))
    labels[tuple(places.T)] = plan.get_tiles(places + 0.5)
    filled = labels[tuple(cells.T)]
    low, high = np.full((plan.num_tiles, 2), CELLS), np.zeros((plan.num_tiles, 2), dtype=np.int64)
    np.minimum.at(low, filled, cells)
    np.maximum.at(high, filled, cells + 1)
    points = np.bincount(filled, weights=numbers[tuple(cells.T)], minlength=plan.num_tiles)
    return Tiles(labels, np.column_stack([low, high]).astype(np.float64), points)


def count_halo(numbers: FloatArray, tiles: Tiles) -> FloatArray:
    """Count the points of others within some spacings of each tile, as shares of cells."""
    sums = np.zeros((CELLS + 1, CELLS + 1))
    sums[1:, 1:] = numbers.cumsum(axis=0).cumsum(axis=1)

    def count(boxes: FloatArray) -> FloatArray:
        at = np.clip(boxes, 0, CELLS)
        total = np.zeros(len(boxes))
        for i, j, sign in ((2, 3, 1), (0, 3, -1), (2, 1, -1), (0, 1, 1)):
            x, y = at[:, i], at[:, j]
            row, column = np.minimum(x.astype(int), CELLS - 1), np.minimum(y.astype(int), CELLS - 1)
            s, t = x - row, y - column
            total += sign * (
                (1 - s) * (1 - t) * sums[row, column] + s * (1 - t) * sums[row + 1, column]
                + (1 - s) * t * sums[row, column + 1] + s * t * sums[row + 1, column + 1]
            )  # fmt: skip
        return total

    extent = tiles.boxes[:, 2:] - tiles.boxes[:, :2]
    width = SPACINGS * np.sqrt(extent.prod(axis=1) / tiles.numbers)[:, np.newaxis]
    return count(tiles.boxes + np.column_stack([-width, -width, width, width])) - count(tiles.boxes)


def find_circles(numbers: FloatArray, rng: np.random.Generator) -> tuple[FloatArray, FloatArray, FloatArray]:
    """Triangulate a sample: the corners, in cells, the centres and the radii of all triangles."""
    flat = rng.choice(CELLS * CELLS, SAMPLE, p=numbers.ravel() / numbers.sum())
    places = np.column_stack(np.unravel_index(flat, numbers.shape)) + rng.uniform(0, 1, (SAMPLE, 2))
    tin = taro25d.Triangulation(np.column_stack([places, np.zeros(SAMPLE)]))
    corners = tin.points[tin.triangles][..., :2]
    b, c = corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0]
    area = 2 * (b[:, 0] * c[:, 1] - b[:, 1] * c[:, 0])
    square_b, square_c = (b**2).sum(axis=1), (c**2).sum(axis=1)
    offset = np.column_stack([c[:, 1] * square_b - b[:, 1] * square_c, b[:, 0] * square_c - c[:, 0] * square_b])
    offset /= area[:, np.newaxis]
    inside = (np.abs(corners[:, 0] + offset - CELLS / 2) < CELLS / 2).all(axis=1)  # the hull has circles without end
    return corners[inside], (corners[:, 0] + offset)[inside], np.hypot(*offset[inside].T)


def find_reached(tiles: Tiles, corners: FloatArray, centres: FloatArray, radii: FloatArray) -> IntArray:
    """Count, for each tile, the others that the circles at its points reach."""
    own = tiles.labels[tuple(np.moveaxis(corners, 2, 0).astype(int))]
    angles = 2 * np.pi * np.arange(DIRECTIONS) / DIRECTIONS
    pairs = [np.empty(0, dtype=np.int64)]
    num = len(tiles.numbers)
    extent = np.sqrt(np.median((tiles.boxes[:, 2:] - tiles.boxes[:, :2]).prod(axis=1)))
    small = radii < extent / 4
    for dx, dy in zip(np.cos(angles), np.sin(angles), strict=True):
        at = np.clip(centres[small] + radii[small, np.newaxis] * [dx, dy], 0, CELLS - 1e-9).astype(int)
        other = tiles.labels[tuple(at.T)]
        pairs += [np.unique((own[small, k] * num + other)[(other >= 0) & (other != own[small, k])]) for k in range(3)]
    for corner, centre, radius in zip(own[~small], centres[~small], radii[~small], strict=True):
        nearest = np.clip(centre, tiles.boxes[:, :2], tiles.boxes[:, 2:])
        reached = np.flatnonzero(np.hypot(*(nearest - centre).T) <= radius)
        pairs += [tile * num + reached[reached != tile] for tile in np.unique(corner)]
    found: IntArray = np.bincount(np.unique(np.concatenate(pairs)) // num, minlength=num)
    return found


def draw(path: str, numbers: FloatArray, tiles: Tiles, reached: IntArray) -> None:
    """Draw the densities and the tiles that each tile reaches."""
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(1, 2, figsize=(11, 5.2), layout="constrained")
    size = CELLS * WIDTH / 1000
    panels: list[tuple[Any, FloatArray, str, str, dict[str, float]]] = [
        (axes[0], numbers / WIDTH**2, "points on a square metre", "viridis", {"vmin": 0.0, "vmax": 24.0}),
        (
            axes[1], np.where(tiles.labels < 0, np.nan, reached[tiles.labels].astype(float)),
            "tiles that a tile reaches", "magma_r", {"vmin": 0.0, "vmax": 30.0},
        ),
    ]  # fmt: skip
    for ax, values, title, colors, limits in panels:
        image = ax.imshow(
            values.T, origin="lower", extent=(0, size, 0, size), cmap=colors, interpolation="none", **limits
        )
        figure.colorbar(image, ax=ax, shrink=0.8)
        ax.set(title=title, xlabel="km", ylabel="km")
    figure.savefig(path, dpi=80)


def main() -> None:
    """Print the figures, and draw where a picture is asked for."""
    rng = np.random.default_rng(SEED)
    numbers = make_density(rng)
    tiles = cut(numbers)
    halo = count_halo(numbers, tiles)
    reached = find_reached(tiles, *find_circles(numbers, rng))
    print(f"{numbers.sum():.3g} points, {len(tiles.numbers)} tiles of {tiles.numbers.mean():.3g}")
    for name, values in (
        ("points of a tile", tiles.numbers),
        ("points around it", halo),
        ("share of its own", halo / tiles.numbers),
        ("extreme points of the others", np.full(len(halo), 4.0 * (len(halo) - 1))),
        ("tiles reached", reached),
    ):
        low, middle, high, most = np.quantile(values, [0.05, 0.5, 0.95, 1])
        print(f"{name}: 5 % {low:.4g}, median {middle:.4g}, 95 % {high:.4g}, most {most:.4g}, sum {values.sum():.4g}")
    print(f"more than 12 tiles reached: {(reached > 12).sum()}")
    if len(sys.argv) > 1:
        draw(sys.argv[1], numbers, tiles, reached)


if __name__ == "__main__":
    main()
