"""Counts what tiles cost: points exchanged, rounds, bytes and tasks, for several numbers of points and sizes of tiles.

    python tile_counts.py FOLDER NUM_POINTS:POINTS_PER_TILE...

Prints a row for each run. Counts do not depend on the machine and what else it does; seconds do.
"""

from __future__ import annotations

import json
import shutil
import sys
import time
from pathlib import Path

import distributed
import numpy as np
from pyarrow import parquet

import taro25d

_ROWS = 1_000_000


def write_points(num: int, path: Path) -> None:
    """Write random points, one in the mean on each square of 1 m, with heights of hills."""
    side = np.sqrt(num)
    file = np.lib.format.open_memmap(path, mode="w+", dtype=np.float64, shape=(num, 3))
    for start in range(0, num, _ROWS):
        rng = np.random.default_rng([1, start])
        rows = file[start : start + _ROWS]
        rows[:, :2] = np.round(rng.uniform(0, side, (len(rows), 2)), 3)
        rows[:, 2] = np.round(20 * np.sin(rows[:, 0] / 150) + 10 * np.cos(rows[:, 1] / 90), 3)
    file.flush()


def measure(num: int, points_per_tile: int, folder: Path) -> dict[str, float]:
    """Make tiles, and sum up what the tasks have noted."""
    source, target = folder / "points.npy", folder / "tiles"
    shutil.rmtree(target, ignore_errors=True)
    write_points(num, source)
    tasks: dict[str, int] = {}

    def count(phase: str, fraction: float) -> None:
        tasks[phase] = tasks.get(phase, 0) + 1

    with distributed.Client(processes=False, n_workers=1, threads_per_worker=1, dashboard_address=":0") as client:
        begin = time.monotonic()
        taro25d.tiles.triangulate(source, target, points_per_tile, client, progress=count)
        seconds = time.monotonic() - begin
    made = [
        json.loads(parquet.read_schema(path).metadata[b"taro25d"]) for path in sorted((target / "triangles").iterdir())
    ]
    sizes = {name: sum(path.stat().st_size for path in (target / name).iterdir()) for name in ("points", "triangles")}
    return {
        "points": num,
        "points_per_tile": points_per_tile,
        "tiles": len(made),
        "mean": round(num / len(made)),
        "inserted": round(sum(tile["inserted"] for tile in made) / len(made)),
        "read": round(sum(tile["read"] for tile in made) / len(made)),
        "rounds": max(tile["rounds"] for tile in made),
        "tasks": sum(tasks.values()),
        "bytes_per_point": round(sum(sizes.values()) / num, 1),
        "seconds": round(seconds, 1),
        "core_seconds": round(sum(tile["seconds"] for tile in made), 1),
    }


def main() -> None:
    """Measure what the command line asks for."""
    folder = Path(sys.argv[1])
    folder.mkdir(exist_ok=True)
    for run in sys.argv[2:]:
        num, points_per_tile = map(int, run.split(":"))
        print(json.dumps(measure(num, points_per_tile, folder)), flush=True)


if __name__ == "__main__":
    main()
