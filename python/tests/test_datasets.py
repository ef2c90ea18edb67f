"""Artificial surfaces."""

import numpy as np
import pytest

import taro25d
from taro25d import datasets

MAKERS = [
    datasets.fractal_terrain,
    datasets.survey_lines,
    datasets.stockpile,
    datasets.road,
    datasets.scanned_facade,
]


@pytest.mark.parametrize("make", MAKERS)
def test_the_same_seed_gives_the_same_points(make) -> None:
    points = make(1000, 100.0, seed=3)
    assert points.shape == (1000, 3)
    assert np.array_equal(points, make(1000, 100.0, seed=3))
    assert make(0).shape == (0, 3)
    with pytest.raises(taro25d.RefusedError):
        make(10, float("nan"))


# A point of each surface, with the numbers of the tests of the C++ library.
KNOWN = {
    datasets.fractal_terrain: (1000.0, "0x1.2ee9c64e1a2cbp+7 0x1.9fa2ffe8a689bp+9 0x1.2bb42bd0fae70p+5"),
    datasets.survey_lines: (1000.0, "0x1.171647b1dcc78p+9 0x1.894c36e7dc3b9p+9 -0x1.136e5883350b2p+5"),
    datasets.stockpile: (10.0, "-0x1.be22b448e5022p+3 0x1.a807add8b493ap+3 0x0p+0"),
    datasets.road: (1000.0, "0x1.85727e120292bp+9 0x1.93f053817b7a1p+8 -0x1.0ed4412f0b91ep+5"),
    datasets.scanned_facade: (0.01, "0x1.070a380da8b8cp+4 0x1.130339d4df7b5p+3 0x1.72756c8de681fp-7"),
}


@pytest.mark.parametrize("make", MAKERS)
def test_the_points_are_those_of_the_library(make) -> None:
    size, numbers = KNOWN[make]
    assert make(1000, size, seed=7)[777].tolist() == [float.fromhex(number) for number in numbers.split()]


def test_a_stockpile_has_its_volume() -> None:
    pile = taro25d.Triangulation(datasets.stockpile(100_000))
    level = taro25d.Triangulation([(-20, -20, 0), (20, -20, 0), (20, 20, 0), (-20, 20, 0)])
    assert pile.volume(level).cut == pytest.approx(16 / 27 * np.pi * 1000, rel=1e-3)


def test_the_edges_of_a_road_are_breaklines() -> None:
    road = datasets.road(500, seed=2)
    tin = taro25d.Triangulation(datasets.fractal_terrain(20_000, seed=2))
    for edge in (road[1::5], road[3::5]):
        tin.add_breakline(edge)
        assert tin.heights(edge[:, 0], edge[:, 1]) == pytest.approx(edge[:, 2])
