"""Cut and fill of a road: ``python road.py FOLDER``.

The road is 12 m wide and rises and falls evenly; beside it slopes of 1 : 1.5 lead
to the ground. How much earth is taken away, and how much is put, comes from
comparing the ground with the design.
"""

import sys
from pathlib import Path

import matplotlib as mpl
import numpy as np
import shapely

import taro25d

mpl.use("Agg")
from matplotlib import pyplot as plt

STEP, HALF_WIDTH, REACH, SLOPE, EVEN = 10.0, 6.0, 46.0, 1.5, 600.0
OFFSETS = np.concatenate(
    [
        -np.arange(REACH, HALF_WIDTH, -2),
        [-HALF_WIDTH, HALF_WIDTH],
        np.arange(REACH, HALF_WIDTH, -2)[::-1],
    ]
)


def lay_out() -> tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Return distances along the road, its places, and the directions across it."""
    x = np.arange(17_900.0, 22_900.0, STEP)
    y = 18_300 + 500 * np.sin((x - 17_900) / 1_200)
    place = np.column_stack([x, y])
    along = np.gradient(place, axis=0)
    length = np.linalg.norm(along, axis=1)
    distance = np.concatenate(
        [[0], np.cumsum(np.linalg.norm(np.diff(place, axis=0), axis=1))]
    )
    return (
        distance,
        place,
        np.column_stack([-along[:, 1], along[:, 0]]) / length[:, None],
    )


def find_grade(distance: np.ndarray, ground: np.ndarray) -> np.ndarray:
    """Return heights that rise and fall evenly between places on the ground."""
    places = np.arange(0, distance[-1] + EVEN, EVEN)
    return np.interp(distance, places, np.interp(places, distance, ground))


def design(
    ground: taro25d.Triangulation,
    place: np.ndarray,
    across: np.ndarray,
    grade: np.ndarray,
) -> np.ndarray:
    """Return the points of the road, and of slopes that end at the ground."""
    x, y = (place[:, None] + OFFSETS[:, None] * across[:, None]).transpose(2, 0, 1)
    most = (np.abs(OFFSETS) - HALF_WIDTH) / SLOPE
    z = grade[:, None] + np.clip(ground.heights(x, y) - grade[:, None], -most, most)
    return np.stack([x, y, z], axis=-1)


def draw(
    volume: taro25d.Volume,
    distance: np.ndarray,
    heights: np.ndarray,
    grade: np.ndarray,
    path: Path,
) -> None:
    """Draw where is cut and fill, and the section along the road."""
    figure, (map_axes, section) = plt.subplots(
        2, 1, figsize=(11, 7), layout="constrained"
    )
    colours = {"cut": "firebrick", "fill": "royalblue", "unchanged": "lightgray"}
    for part in volume.components:
        outer, *holes = sorted(
            part.rings, key=lambda ring: shapely.Polygon(ring).area, reverse=True
        )
        map_axes.fill(*outer.T, color=colours[part.kind], linewidth=0)
        for hole in holes:
            map_axes.fill(*hole.T, color="white", linewidth=0)
    for kind, colour in colours.items():
        map_axes.fill([], [], color=colour, label=kind)
    map_axes.legend(loc="upper right")
    map_axes.set(
        title="From above", xlabel="east (m)", ylabel="north (m)", aspect="equal"
    )
    section.fill_between(
        distance,
        heights,
        grade,
        where=heights > grade,
        color="firebrick",
        alpha=0.5,
    )
    section.fill_between(
        distance,
        heights,
        grade,
        where=heights < grade,
        color="royalblue",
        alpha=0.5,
    )
    section.plot(distance, heights, color="saddlebrown", label="ground")
    section.plot(distance, grade, color="black", label="road")
    section.set(title="Along the road", xlabel="distance (m)", ylabel="height (m)")
    section.legend()
    figure.savefig(path, dpi=90)
    plt.close(figure)


def main(folder: Path) -> None:
    """Make everything."""
    ground = taro25d.Triangulation(taro25d.datasets.jacksboro())
    distance, place, across = lay_out()
    heights = ground.heights(*place.T)
    grade = find_grade(distance, heights)
    points = design(ground, place, across, grade)
    surface = taro25d.Triangulation(points.reshape(-1, 3), crs=ground.crs)
    border = np.concatenate(
        [points[0], points[1:, -1], points[-1, -2::-1], points[-2:0:-1, 0]]
    )
    volume = ground.volume(surface, polygon=border, threshold=0.25)
    print(
        f"{distance[-1] / 1000:.1f} km,"
        f" steepest {np.abs(np.gradient(grade, distance)).max():.1%}"
    )
    print(f"cut {volume.cut:.0f} and fill {volume.fill:.0f} cubic metres")
    draw(volume, distance, heights, grade, folder / "road.png")


if __name__ == "__main__":
    main(Path(sys.argv[1]))
