"""Real terrain to try things on: the ground around the Jacksboro fault in Tennessee, in metres."""

from __future__ import annotations

from pathlib import Path
from typing import Any

from ..io import grid
from ..io.vector import read_table
from ..points import Points

_HERE = Path(__file__).parent


def jacksboro() -> Points:
    """Get 138,632 heights from 236 to 1076 m on a grid of 74.57 by 92.47 m; needs the extra ``io``."""
    return grid.read(path())


def jacksboro_streams() -> Any:
    """Get a GeoDataFrame of 26 streams without heights, in the system of the grid."""
    return read_table(_HERE / "jacksboro_streams.geojson").to_crs(jacksboro().crs)


def path() -> Path:
    """Get the place of the grid as a file, ESRI ASCII."""
    return _HERE / "jacksboro.asc"
