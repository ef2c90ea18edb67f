"""Scenes in space, by the library itself."""

from __future__ import annotations

import tempfile
import webbrowser
from pathlib import Path
from typing import TYPE_CHECKING

from .. import _engine
from .._messages import warn
from .._progress import Progress
from ..errors import InvalidInputError
from . import write

if TYPE_CHECKING:
    from ..triangulation import Triangulation
    from ..zone import Zone


def write_glb(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write binary glTF 2.0, in colours of the heights."""
    _write(tin, path, zone, page=False)


def write_html(tin: Triangulation, path: Path, zone: Zone | None = None) -> None:
    """Write a page that shows the surface in a browser, without a network."""
    _write(tin, path, zone, page=True)


def view(tin: Triangulation, path: Path | None, zone: Zone | None, browser: bool, progress: Progress) -> Path:
    """Write a page and open it."""
    if path is None:
        path = Path(tempfile.mkdtemp(prefix="taro25d-")) / "surface.html"
    elif path.suffix.lower() != ".html":
        raise InvalidInputError(f"{path}: a page has the ending .html")
    write(tin, path, zone, progress=progress)
    if browser and not webbrowser.open(path.absolute().as_uri()):
        warn(f"no browser was found; the page is {path}")
    return path


def _write(tin: Triangulation, path: Path, zone: Zone | None, page: bool) -> None:
    _engine.write_scene(tin._surface, tin._engine_zone(zone), str(path), path.stem, page)
