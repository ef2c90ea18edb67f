"""Measures tiles: ``python bench/tiles.py [NUMBER OF POINTS...] [--workers N] [--points-per-tile N] [--memory GiB]``.

For each number of points it makes a file of points as a flight has them, strips that overlap with a lake and a town, and
triangulates it in tiles on worker processes. It prints seconds, the memory of the largest worker, and what the tiles have
exchanged; then seconds and memory of the same points in one piece, by this library and, with ``--cgal`` and a compiler,
by CGAL, each in a process of its own, as far as ``--most-in-one-piece`` allows.
"""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import Any

import numpy as np

import taro25d

_CHUNK = 2_000_000
_STRIPS = 20


def make_points(path: Path, num: int) -> None:
    """Write ``num`` points, one per unit of area on average, with coordinates in centimetres, chunk by chunk."""
    rng = np.random.default_rng(1)
    size = np.sqrt(num)
    points = np.lib.format.open_memmap(path, mode="w+", dtype=np.float64, shape=(num, 3))
    width = size / _STRIPS
    for start in range(0, num, _CHUNK):
        count = min(_CHUNK, num - start)
        strip = (start + np.arange(count)) * _STRIPS // num
        x = (strip + rng.uniform(-0.15, 1.15, count)) * width
        y = rng.uniform(0, size, count)
        lake = np.hypot(x - 0.3 * size, y - 0.6 * size) < 0.08 * size
        y[lake] = rng.uniform(0.7 * size, 0.75 * size, int(lake.sum()))  # a town in place of a lake
        z = 30 * np.sin(x / 700) * np.cos(y / 900) + 3 * np.sin(x / 31 + y / 47) + rng.normal(0, 0.05, count)
        points[start : start + count] = np.round(np.column_stack([x + 350_000, y + 5_800_000, z]), 2)
    points.flush()


def get_usage() -> tuple[float, float]:
    """Return the seconds of processor that this process has had, and its largest memory in MB.

    The system's own count of a process starts with the memory of the process that started it.
    """
    status = Path("/proc/self/status").read_text()
    (kilobytes,) = (int(line.split()[1]) for line in status.splitlines() if line.startswith("VmHWM"))
    return time.process_time(), kilobytes * 1.024 / 1000


def measure_tiles(path: Path, folder: Path, options: argparse.Namespace) -> tuple[taro25d.tiles.Tiling, float]:
    """Triangulate in tiles; get the result and the seconds of processors."""
    import distributed

    with distributed.Client(
        n_workers=options.workers, threads_per_worker=1, memory_limit=f"{options.memory}GiB", dashboard_address=":0"
    ) as client:
        before = client.run(get_usage)
        phases: dict[str, float] = {}
        begin = last = time.perf_counter()

        def note(phase: str, fraction: float) -> None:
            nonlocal last
            now = time.perf_counter()
            phases[phase] = phases.get(phase, 0.0) + now - last
            last = now

        result = taro25d.tiles.triangulate(path, folder, options.points_per_tile, client, progress=note)
        seconds = time.perf_counter() - begin
        after = client.run(get_usage)
    used = sum(after[worker][0] - before.get(worker, (0.0, 0.0))[0] for worker in after)
    peak, base = max(part[1] for part in after.values()), max(part[1] for part in before.values())
    report("tiles", seconds, used, f"{peak:.0f} MB in a worker, {base:.0f} of them before the first task")
    made = [result._store.head_of_triangles(tile) for tile in result.tiles]
    numbers = {name: np.array([head[name] for head in made]) for name in ("points", "inserted", "read", "rounds")}
    own = numbers["points"].sum()
    print(f"    {len(made)} tiles, at most {numbers['points'].max():,} points each; in them 1 + "
          f"{numbers['inserted'].sum() / own:.3f} times the points, read 1 + {numbers['read'].sum() / own:.3f} times, "
          f"at most {numbers['rounds'].max()} rounds")  # fmt: skip
    print("    " + ", ".join(f"{phase} {spent:.1f} s" for phase, spent in phases.items()), flush=True)
    return result, used


def report(name: str, seconds: float, used: float, memory: str) -> None:
    """Print one line."""
    print(f"  {name:10} {seconds:8.1f} s, {used:8.1f} s of processors, {memory}", flush=True)


def in_one_piece(path: str) -> None:
    """Triangulate in this process and print the measures."""
    points = np.load(path)
    begin, used = time.perf_counter(), time.process_time()
    tin = taro25d.Triangulation(points)
    tin.canonicalize()
    print(json.dumps([time.perf_counter() - begin, time.process_time() - used, len(tin.triangles), get_usage()[1]]))


def measure_one_piece(path: Path, num_triangles: int, tiles: float) -> None:
    """Do the same in one piece, in a process of its own."""
    command = [sys.executable, __file__, "--one-piece", str(path)]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode:
        print(f"  one piece: {done.stderr.strip().splitlines()[-1:]}")
        return
    seconds, used, num, peak = json.loads(done.stdout)
    report("one piece", seconds, used, f"{peak:.0f} MB; the tiles took {tiles / used:.2f} times the processors")
    if num != num_triangles:
        raise SystemExit(f"one piece has {num} triangles, the tiles {num_triangles}")


def measure_cgal(path: Path, folder: Path) -> None:
    """Compile the program beside this one, and run it."""
    program, raw = folder / "cgal_points", folder / "points.f64"
    source = Path(__file__).with_name("cgal_points.cpp")
    subprocess.run(["c++", "-O3", "-DNDEBUG", str(source), "-o", str(program), "-lgmp", "-lmpfr"], check=True)
    with raw.open("wb") as file:
        for start in range(0, len(points := np.load(path, mmap_mode="r")), _CHUNK):
            points[start : start + _CHUNK].tofile(file)
    done = subprocess.run([program, raw], capture_output=True, text=True, check=True)
    seconds, used = map(float, done.stdout.split()[:2])
    report("CGAL", seconds, used, "one thread")


def measure(num: int, options: argparse.Namespace) -> None:
    """Measure one number of points."""
    with tempfile.TemporaryDirectory(dir=options.folder) as name:
        folder = Path(name)
        path = folder / "points.npy"
        make_points(path, num)
        print(f"{num:,} points", flush=True)
        result, used = measure_tiles(path, folder / "tiles", options)
        num_triangles = sum(result._store.head_of_triangles(tile)["triangles"] for tile in result.tiles)
        size = sum(file.stat().st_size for file in (folder / "tiles").rglob("*") if file.is_file())
        print(f"    {num_triangles:,} triangles, {size / num:.0f} bytes for each point on the disk")
        if num <= options.most_in_one_piece:
            measure_one_piece(path, num_triangles, used)
            if options.cgal:
                measure_cgal(path, folder)


def main() -> None:
    """Read the command line."""
    parser: Any = argparse.ArgumentParser(description="Measure tiles.")
    parser.add_argument("numbers", nargs="*", type=int, default=[1_000_000, 10_000_000])
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--points-per-tile", type=int, default=2_000_000)
    parser.add_argument("--memory", type=float, default=3.0, help="GiB that Dask gives to a worker")
    parser.add_argument("--most-in-one-piece", type=int, default=20_000_000)
    parser.add_argument("--cgal", action="store_true", help="compile and run cgal_points.cpp, too")
    parser.add_argument("--folder", default=None, help="where the files go, for the time of the run")
    parser.add_argument("--one-piece", help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.one_piece:
        in_one_piece(options.one_piece)
        return
    for num in options.numbers:
        measure(num, options)


if __name__ == "__main__":
    main()
