"""Errors and warnings, each with one base class.

Each error is also the built-in one that a caller would expect, so that ``except ValueError`` and ``except taro25d.Error``
both work.
"""

from __future__ import annotations


class Error(Exception):
    """The root of all errors of this package."""


class Warning(UserWarning):
    """A remark of the library about a call that succeeded, such as points that were left out."""


class InvalidInputError(Error, ValueError):
    """An argument that cannot be used; the text names it."""


class RefusedError(Error, ValueError):
    """A call that the library refused, with its reason. Nothing was changed."""


class GoneError(Error, KeyError):
    """An id or an object that no longer exists."""

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""


class InternalError(Error, RuntimeError):
    """A fault inside the library. Please report it, with the steps that led to it."""


class FileError(Error, OSError):
    """A file that cannot be read or written; the text names it."""


class FormatError(FileError, ValueError):
    """A file whose contents cannot be used: broken, empty, or of another format than its ending says."""


class CrsError(Error, ValueError):
    """A coordinate reference system that cannot be used, or two that differ."""


class MissingExtraError(Error, ImportError):
    """A package is missing that belongs to an optional extra; the text names both."""
