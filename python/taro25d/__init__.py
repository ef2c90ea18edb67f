"""Triangulates points with heights: terrain, survey data, surfaces.

>>> import taro25d
>>> tin = taro25d.Triangulation([[0, 0, 1], [10, 0, 1], [10, 10, 3], [0, 10, 1], [5, 5, 8]])
>>> tin.heights(4, 2.5)
4.5
"""

from __future__ import annotations

from . import _messages as _messages
from . import datasets, tiles
from ._engine import version as __version__
from ._file import load
from ._mesh import Conflict
from ._simplify import simplify
from .breakline import Breakline
from .contours import Band, Bands, Contour, Contours
from .errors import (
    CrsError,
    Error,
    FileError,
    FormatError,
    GoneError,
    InternalError,
    InvalidInputError,
    MissingExtraError,
    RefusedError,
    Warning,
)
from .io import read
from .points import Points
from .raster import Raster
from .triangulation import Triangulation
from .volume import Component, Volume
from .zone import Zone

__all__ = [
    "Band",
    "Bands",
    "Breakline",
    "Component",
    "Conflict",
    "Contour",
    "Contours",
    "CrsError",
    "Error",
    "FileError",
    "FormatError",
    "GoneError",
    "InternalError",
    "InvalidInputError",
    "MissingExtraError",
    "Points",
    "Raster",
    "RefusedError",
    "Triangulation",
    "Volume",
    "Warning",
    "Zone",
    "__version__",
    "datasets",
    "load",
    "read",
    "simplify",
    "tiles",
]
