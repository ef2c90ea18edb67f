"""Makes the pyramids that the tests of the page look at: ``plane`` and ``globe`` in a folder, of the same ground."""

import sys
from pathlib import Path

import numpy as np

import taro25d


def main(folder: Path) -> None:
    rng = np.random.default_rng(1)
    x, y = rng.uniform(0, 2000, (2, 60_000))
    heights = 300 + 60 * np.sin(x / 170) * np.cos(y / 130) + x / 20
    points = np.column_stack([500_000 + x, 5_400_000 + y, heights])
    tiling = taro25d.tiles.triangulate(points, folder / "tiles", points_per_tile=20_000, crs="EPSG:32632")
    tiling.write_terrain(folder / "plane", 2000, geographic=False, title="Hills <i>in</i> tiles")
    tiling.write_terrain(folder / "globe", 2000, compress=True)


if __name__ == "__main__":
    main(Path(sys.argv[1]))
