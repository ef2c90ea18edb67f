"""Compares the package with others, NumPy to NumPy, in one run: ``python bench/compare.py [NUMBER OF POINTS [ARCHIVE]]``.

Prints seconds and seconds of processors of both, each the least of some rounds in turn, and their quotients. Packages that
are not installed are left out: scipy, startinpy, triangle. With the archive of the library, ``libtaro25d.a``, a C++ program
does the same.
"""

from __future__ import annotations

import importlib
import subprocess
import sys
import tempfile
import threading
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np

import taro25d


class Times(NamedTuple):
    """Seconds, and seconds of processors."""

    wall: float
    processor: float


def measure(*works: Callable[[], Any], rounds: int = 5) -> list[Times]:
    """Measure works in turn; of each the shortest of some rounds."""
    found: list[list[Times]] = [[] for _ in works]
    for _ in range(rounds):
        for work, times in zip(works, found, strict=True):
            wall, processor = time.perf_counter(), time.process_time()
            work()
            times.append(Times(time.perf_counter() - wall, time.process_time() - processor))
    return [Times(min(t.wall for t in times), min(t.processor for t in times)) for times in found]


def report(title: str, own: Times, other: Times | None = None, package: str = "") -> None:
    """Print one line."""
    line = f"{title:32} {own.wall:7.3f} s {own.processor:7.3f} s"
    if other is not None:
        line += f"   {package:8} {other.wall:7.3f} s {other.processor:7.3f} s"
        line += f"   {own.wall / other.wall:5.3f} {own.processor / other.processor:5.3f}"
    print(line, flush=True)


def triangulate(points: Any, threads: int = 0) -> Any:
    """Triangulate an array of points into an array of triangles."""
    return taro25d.Triangulation(points, threads=threads).triangles


def with_startinpy(package: Any, points: Any) -> Any:
    """Do the same with startinpy."""
    other = package.DT()
    other.insert(points)
    return other.triangles


def start_library(points: Any, archive: str, folder: str) -> Callable[[], list[Times]]:
    """Compile a C++ program for the same points; the result measures it: with the array of triangles, and without."""
    here = Path(__file__).resolve().parent
    program, data = Path(folder, "library"), Path(folder, "points")
    sources = [here / "library.cpp", archive, "-lgmpxx", "-lgmp", "-pthread"]
    subprocess.run(
        ["c++", "-std=c++17", "-O2", f"-I{here.parent.parent / 'include'}", *sources, "-o", program], check=True
    )
    points.tofile(data)

    def run() -> list[Times]:
        numbers = list(map(float, subprocess.check_output([program, data], text=True).split()))
        return [Times(*numbers[:2]), Times(*numbers[2:])]

    return run


def compare_with_library(points: Any, archive: str) -> None:
    """Tell how much longer the package takes than the library, in pairs of runs."""
    with tempfile.TemporaryDirectory() as folder:
        library = start_library(points, archive, folder)
        names = ("triangulation, C++ library", "  with the array of triangles")
        rounds = [
            (measure(lambda: taro25d.Triangulation(points), lambda: triangulate(points), rounds=1), library())
            for _ in range(7)
        ]
        for k, name in enumerate(names):
            own, other = ([Times(*np.min([side[k] for side in sides], axis=0))] for sides in zip(*rounds, strict=True))
            report(name, own[0], other[0], "C++")


def compare_with_packages(points: Any, others: dict[str, Callable[[Any], Any]]) -> None:
    """Triangulate on one thread in turn with each package that is installed."""
    for name, work in others.items():
        try:
            package = importlib.import_module(name)
        except ImportError:
            continue
        own, other = measure(
            lambda: triangulate(points, 1), lambda package=package, work=work: work(package), rounds=3
        )  # fmt: skip
        report("triangulation, one thread", own, other, name)


def compare_heights(points: Any, x: Any, y: Any) -> None:
    """Interpolate heights, against SciPy where it is installed."""
    tin = taro25d.Triangulation(points)
    try:
        surface = importlib.import_module("scipy.interpolate").LinearNDInterpolator(points[:, :2], points[:, 2])
    except ImportError:
        report("heights in row order", measure(lambda: tin.heights(x, y))[0])
        return
    report("heights in row order", *measure(lambda: tin.heights(x, y), lambda: surface(x, y), rounds=3), "SciPy")


def compare_threads(points: Any) -> None:
    """Triangulate in two Python threads, and one after the other."""

    def both() -> None:
        threads = [threading.Thread(target=triangulate, args=(points, 1)) for _ in range(2)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    one, two = measure(lambda: triangulate(points, 1), both)
    print(f"two threads on two objects do {2 * one.wall / two.wall:.2f} times the work of one")


def main() -> None:
    """Measure everything."""
    num = int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000
    rng = np.random.default_rng(1)
    points = rng.uniform(0, 1000, (num, 3))
    side = int(np.sqrt(num))
    x, y = (part.ravel() for part in np.meshgrid(np.linspace(100, 900, side), np.linspace(100, 900, side)))
    print("seconds and seconds of processors; those of the other; both as a share of the other's")
    if len(sys.argv) > 2:
        compare_with_library(points, sys.argv[2])
    compare_with_packages(
        points,
        {
            "scipy.spatial": lambda package: package.Delaunay(points[:, :2]).simplices,
            "startinpy": lambda package: with_startinpy(package, points),
            "triangle": lambda package: package.triangulate({"vertices": points[:, :2]})["triangles"],
        },
    )
    compare_heights(points, x, y)
    compare_threads(points)


if __name__ == "__main__":
    main()
