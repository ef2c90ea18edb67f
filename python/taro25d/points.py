"""Points of files: coordinates, a reference system, and further attributes."""

from __future__ import annotations

from collections.abc import Mapping
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import crs as crs_module
from ._geometry import FloatArray, as_points
from ._optional import require
from .errors import CrsError, InvalidInputError


class Points:
    """Points with heights; ``Triangulation`` takes them as they are.

    Attributes
    ----------
    points
        (n, 3) float64.
    crs
        A ``pyproj.CRS``, or None where it is not known.
    attributes
        Further arrays of n values by name, such as ``classification`` of a LAS file.
    """

    def __init__(
        self, points: ArrayLike, crs: Any = None, attributes: Mapping[str, NDArray[Any]] | None = None
    ) -> None:
        self.points: FloatArray = as_points(points)
        self.crs = crs_module.normalise(crs)
        self.attributes: dict[str, NDArray[Any]] = dict(attributes or {})
        for name, values in self.attributes.items():
            if len(values) != len(self.points):
                raise InvalidInputError(f"attributes: {name} has {len(values)} values for {len(self.points)} points")

    def __len__(self) -> int:
        return len(self.points)

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> NDArray[Any]:
        return np.array(self.points, dtype=dtype) if copy else np.asarray(self.points, dtype=dtype)

    def __repr__(self) -> str:
        system = "" if self.crs is None else f", {self.crs.name}"
        return f"<Points: {len(self)}{system}>"

    def select(self, rows: ArrayLike) -> Points:
        """Return some of the points, by row numbers or by a mask."""
        chosen = np.asarray(rows)
        return Points(self.points[chosen], self.crs, {name: v[chosen] for name, v in self.attributes.items()})

    def to_crs(self, crs: Any) -> Points:
        """Reproject to another system; heights change only if both systems have a height of their own."""
        if self.crs is None:
            raise CrsError("the system of these points is not known: set .crs first")
        pyproj = require("pyproj")
        target = crs_module.normalise(crs)
        transformer = pyproj.Transformer.from_crs(self.crs, target, always_xy=True)
        return Points(np.column_stack(transformer.transform(*self.points.T)), target, self.attributes)

    def scale_heights(self, factor: float, crs: Any = None) -> Points:
        """Multiply the heights, from feet to metres for instance; ``crs`` is the system of the result."""
        return Points(self.points * [1.0, 1.0, factor], crs, self.attributes)
