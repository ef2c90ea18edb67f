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
