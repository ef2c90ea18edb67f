"""Optional packages: they are imported where they are used; if one is missing, an error tells how to install it."""

from __future__ import annotations

import importlib
from typing import Any

from .errors import MissingExtraError


def require(module: str, extra: str = "io") -> Any:
    """Import a module of an optional extra."""
    try:
        return importlib.import_module(module)
    except ImportError as error:
        package = module.partition(".")[0]
        text = f"this needs the package {package}: pip install 'taro25d[{extra}]'"
        raise MissingExtraError(text, name=package) from error
