"""Coordinate reference systems, as pyproj has them. Without one, coordinates are numbers of one unit."""

from __future__ import annotations

from typing import Any, TypeAlias

from ._optional import require
from .errors import CrsError, InvalidInputError

#: A pyproj.CRS; where one is given, whatever pyproj makes one of: "EPSG:32616", 32616, WKT.
Crs: TypeAlias = Any

_ADVICE = "reproject first, for instance with Points.to_crs(..) to the UTM zone of the data"


def normalise(crs: Crs) -> Crs:
    """Make a pyproj.CRS of what the user gave; None stays None."""
    if crs is None:
        return None
    pyproj = require("pyproj")
    try:
        return pyproj.CRS.from_user_input(crs)
    except pyproj.exceptions.CRSError as error:
        raise InvalidInputError(f"crs: {crs!r} is no coordinate reference system") from error


def check_plane(crs: Crs) -> None:
    """Refuse a system in which lengths, areas and slopes would have no meaning."""
    if crs is None:
        return
    if crs.is_geographic or crs.is_geocentric:
        kind = "longitude and latitude" if crs.is_geographic else "geocentric coordinates"
        raise CrsError(f"{crs.name}: {kind} are no plane with one unit; {_ADVICE}")
    units = [axis.unit_conversion_factor for axis in crs.axis_info]
    names = [axis.unit_name for axis in crs.axis_info]
    if len(units) > 2 and abs(units[2] - units[0]) > 1e-9 * units[0]:
        raise CrsError(
            f"{crs.name}: x and y are in {names[0]} and heights in {names[2]}; convert the heights first, "
            f"for instance with Points.scale_heights({units[2] / units[0]:.10g}, crs=..)"
        )


def merge(first: Crs, second: Crs, name: str) -> Crs:
    """Return the common system of two inputs; the system of one may be unknown."""
    if first is None or second is None:
        return second if first is None else first
    if not _same_plane(first, second):
        raise CrsError(f"{name}: the system is {second.name}, not {first.name}; reproject first")
    return first


def _same_plane(first: Crs, second: Crs) -> bool:
    if first == second or first.equals(second, ignore_axis_order=True):
        return True
    flat_first, flat_second = (
        crs.to_2d() if crs.is_compound is False else crs.sub_crs_list[0] for crs in (first, second)
    )
    return bool(flat_first.equals(flat_second, ignore_axis_order=True))
