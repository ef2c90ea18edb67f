"""What all tests share."""

import signal

import numpy as np
import pytest

import taro25d

# A shell that starts the tests in the background has Ctrl-C ignored, in the programs that the tests start, too.
signal.signal(signal.SIGINT, signal.default_int_handler)


def make_hills(num: int, seed: int = 1) -> np.ndarray:
    """Points on smooth hills."""
    rng = np.random.default_rng(seed)
    xy = rng.uniform(0, 1000, (num, 2))
    return np.column_stack([xy, 20 * np.sin(xy[:, 0] / 150) + 10 * np.cos(xy[:, 1] / 90)])


@pytest.fixture
def hills() -> taro25d.Triangulation:
    return taro25d.Triangulation(make_hills(2000))


@pytest.fixture
def square() -> taro25d.Triangulation:
    """A square of 10 by 10 whose height is x."""
    return taro25d.Triangulation([[0, 0, 0], [10, 0, 10], [10, 10, 10], [0, 10, 0]])
