"""Surfaces to try things on: the ground around the Jacksboro fault in Tennessee, in metres, and artificial ones.

An artificial surface is an array of ``(n, 3)`` numbers, the same on every machine for the same arguments; another seed gives
another one. A size that cannot be used is refused.
"""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt

from .. import _engine
from ..io import grid
from ..io.vector import read_table
from ..points import Points

_HERE = Path(__file__).parent


def jacksboro() -> Points:
    """Return 138,632 heights from 236 to 1076 m on a grid of 74.57 by 92.47 m; needs the extra ``io``."""
    return grid.read_cells(path())[1]


def jacksboro_streams() -> Any:
    """Return a GeoDataFrame of 26 streams without heights, in the system of the grid."""
    return read_table(_HERE / "jacksboro_streams.geojson").to_crs(jacksboro().crs)


def path() -> Path:
    """Return the place of the grid as a file, ESRI ASCII."""
    return _HERE / "jacksboro.asc"


def fractal_terrain(num: int, extent: float = 1000.0, *, seed: int = 0) -> npt.NDArray[np.float64]:
    """Make points at random places of a square, on ground with hills of all sizes, an eighth of its extent high."""
    return _engine.make_fractal_terrain(num, extent, seed)


def survey_lines(num: int, extent: float = 1000.0, *, seed: int = 0) -> npt.NDArray[np.float64]:
    """Make points of the same ground along lines that are 20 times as far apart as the points."""
    return _engine.make_survey_lines(num, extent, seed)


def stockpile(num: int, height: float = 10.0, *, seed: int = 0) -> npt.NDArray[np.float64]:
    """Make points on a cone of 16/27 pi times the cube of its height, and on level ground of height 0 around it."""
    return _engine.make_stockpile(num, height, seed)


def road(num: int, length: float = 1000.0, *, seed: int = 0) -> npt.NDArray[np.float64]:
    """Make cross sections of a road on the ground of ``fractal_terrain(..., length)``.

    A section has five points: left end, left edge, axis, right edge, right end. ``road(...)[1::5]`` is the left edge.
    """
    return _engine.make_road(num, length, seed)


def scanned_facade(num: int, noise: float = 0.01, *, seed: int = 0) -> npt.NDArray[np.float64]:
    """Make points of a wall of 24 by 12 with windows and ledges; z is out of the wall, with noise of this deviation."""
    return _engine.make_scanned_facade(num, noise, seed)
