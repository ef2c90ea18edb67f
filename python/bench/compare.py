"""Compares the package with others, NumPy to NumPy, in one run: ``python bench/compare.py [NUMBER OF POINTS [ARCHIVE]]``.

Prints seconds (the best of three), and how many times as long the others take. Packages that are not installed are left
out: scipy, startinpy, triangle. With the archive of the library, ``libtaro25d.a``, it also tells how much longer the package
takes than a C++ program does.
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
from typing import Any

import numpy as np

import taro25d


def best(work: Callable[[], Any], rounds: int = 3) -> float:
    """Measure the shortest of some rounds."""
    times = []
    for _ in range(rounds):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)


def report(title: str, own: float, other: float | None = None, package: str = "") -> None:
    """Print one line."""
    ratio = "" if other is None else f"   {package} {other:8.3f} s, {other / own:6.1f} times as long"
    print(f"{title:32} {own:8.3f} s{ratio}", flush=True)


def triangulate(points: Any) -> Any:
    """From an array to an array."""
    return taro25d.Triangulation(points).triangles


def with_startinpy(package: Any, points: Any) -> Any:
    """Do the same with startinpy."""
    other = package.DT()
    other.insert(points)
    return other.triangles


def measure_library(points: Any, archive: str) -> tuple[float, float]:
    """Return the seconds of a C++ program for the same points: with the array of triangles, and without."""
    here = Path(__file__).resolve().parent
    with tempfile.TemporaryDirectory() as folder:
        program, data = Path(folder, "library"), Path(folder, "points")
        sources = [here / "library.cpp", archive, "-lgmpxx", "-lgmp", "-pthread"]
        command = ["c++", "-std=c++17", "-O2", f"-I{here.parent.parent / 'include'}", *sources, "-o", program]
        subprocess.run(command, check=True)
        points.tofile(data)
        result = subprocess.run([program, data], check=True, capture_output=True, text=True)
    with_triangles, insertion = map(float, result.stdout.split())
    return with_triangles, insertion


def main() -> None:
    """Measure everything."""
    num = int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000
    rng = np.random.default_rng(1)
    points = rng.uniform(0, 1000, (num, 3))
    side = int(np.sqrt(num))
    x, y = (part.ravel() for part in np.meshgrid(np.linspace(100, 900, side), np.linspace(100, 900, side)))

    construct = best(lambda: taro25d.Triangulation(points))
    report("triangulation", construct)
    report("  on one thread", best(lambda: taro25d.Triangulation(points, threads=1)))
    own = best(lambda: triangulate(points))
    report("  with the array of triangles", own)
    if len(sys.argv) > 2:
        with_triangles, insertion = measure_library(points, sys.argv[2])
        print(
            f"the package takes {100 * (construct / insertion - 1):.0f} % longer than the library to triangulate, ",
            end="",
        )
        print(f"{100 * (own / with_triangles - 1):.0f} % with the triangles")
    tin = taro25d.Triangulation(points)
    heights = best(lambda: tin.heights(x, y))
    report("heights in row order", heights)

    def both() -> None:
        threads = [threading.Thread(target=lambda: taro25d.Triangulation(points, threads=1)) for _ in range(2)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    one, two = best(lambda: taro25d.Triangulation(points, threads=1)), best(both)
    print(f"two threads on two objects do {2 * one / two:.2f} times the work of one")

    others: dict[str, Callable[[Any], Any]] = {
        "scipy.spatial": lambda package: package.Delaunay(points[:, :2]).simplices,
        "startinpy": lambda package: with_startinpy(package, points),
        "triangle": lambda package: package.triangulate({"vertices": points[:, :2]})["triangles"],
    }
    for name, work in others.items():
        try:
            package = importlib.import_module(name)
        except ImportError:
            continue
        report("triangulation", own, best(lambda package=package, work=work: work(package), 1), name)
        if name == "scipy.spatial":
            interpolate = importlib.import_module("scipy.interpolate").LinearNDInterpolator
            surface = interpolate(package.Delaunay(points[:, :2]), points[:, 2])
            report("heights in row order", heights, best(lambda surface=surface: surface(x, y), 1), "scipy")


if __name__ == "__main__":
    main()
