"""Breaklines: lines whose pieces are edges of the mesh."""

from __future__ import annotations

from typing import TYPE_CHECKING

from . import _engine
from ._geometry import FloatArray

if TYPE_CHECKING:
    from ._mesh import Mesh


class Breakline:
    """A line that a triangulation keeps as edges; made by ``Triangulation.add_breakline``."""

    def __init__(self, tin: Mesh, number: int) -> None:
        self._tin = tin
        self._number = number

    def __repr__(self) -> str:
        return f"<Breakline {self._number}>"

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Breakline) and (self._tin, self._number) == (other._tin, other._number)

    def __hash__(self) -> int:
        return hash((id(self._tin), self._number))

    def __reduce__(self) -> tuple[object, ...]:
        return _find, (self._tin, self._tin.breaklines.index(self))

    @property
    def triangulation(self) -> Mesh:
        """The triangulation that it belongs to."""
        return self._tin

    @property
    def name(self) -> str:
        """Its name; empty if it has none."""
        return _engine.breakline_name(self._tin._surface, self._number)

    @name.setter
    def name(self, name: str) -> None:
        _engine.set_breakline_name(self._tin._surface, self._number, name)

    @property
    def edges(self) -> FloatArray:
        """Its edges at present, (k, 2, 3) coordinates."""
        return _engine.breakline_pieces(self._tin._surface, self._number)

    def remove(self, *, vertices: bool = False) -> None:
        """Remove the breakline; the mesh is Delaunay there again.

        With ``vertices``, the vertices that were inserted only for it are removed too. A breakline that bounds a zone is
        refused.
        """
        _engine.remove_breakline(self._tin._surface, self._number, vertices)


def _find(tin: Mesh, position: int) -> Breakline:
    return tin.breaklines[position]
