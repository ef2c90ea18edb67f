"""Compares the package with others, NumPy to NumPy, in one run: ``python bench/compare.py [NUMBER OF POINTS]``.

Prints seconds (the best of three), and how many times as long the others take. Packages that are not installed are left
out: scipy, startinpy, triangle.
"""

from __future__ import annotations

import importlib
import sys
import threading
import time
from collections.abc import Callable
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
