"""Numbers in files that are text in one part and bytes in another."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from ..errors import FormatError


class Cursor:
    """Reads lines and arrays one after the other. Nothing is allocated for numbers that the file cannot hold."""

    def __init__(self, data: bytes) -> None:
        self._data = data
        self._position = 0
        self.order = ""  #: of the bytes: < or >, or empty for text

    def line(self, *, may_be_empty: bool = False) -> str:
        """Return the next line, stripped, usually the next that is not empty. At the end it is empty."""
        while self._position < len(self._data):
            end = self._data.find(b"\n", self._position)
            end = len(self._data) if end < 0 else end
            text = self._data[self._position : end].strip()
            self._position = end + 1
            if text or may_be_empty:
                return text[:1000].decode("utf-8", "replace")
        return ""

    def array(self, num: int, kind: str) -> NDArray[Any]:
        """Return numbers of one NumPy type."""
        self._check(num, np.dtype(kind).itemsize)
        if self.order:
            return self.rows(num, np.dtype(self.order + kind))
        words = self.words(num)
        return np.array(list(map(float if kind[0] == "f" else int, words)), dtype="f8" if kind[0] == "f" else "i8")

    def words(self, num: int) -> list[bytes]:
        """Return words of text."""
        self._check(num, 1)
        *words, rest = [*self._data[self._position :].split(None, num), b""][: num + 1]
        if len(words) < num or (num and not words[-1]):
            raise FormatError(f"the file is cut short: {num} numbers are expected")
        self._position = len(self._data) - len(rest)
        return words

    def rows(self, num: int, kind: np.dtype[Any]) -> NDArray[Any]:
        """Return records of bytes."""
        self._check(num, kind.itemsize)
        found = np.frombuffer(self._data, kind, num, self._position)
        self._position += num * kind.itemsize
        return found

    def mark(self) -> int:
        """Return the position, for ``reset``."""
        return self._position

    def reset(self, mark: int) -> None:
        """Go back."""
        self._position = mark

    def holds(self, num: int, kind: np.dtype[Any]) -> bool:
        """Return whether there are that many records of bytes."""
        return num * kind.itemsize <= len(self._data) - self._position

    def _check(self, num: int, size: int) -> None:
        left = max(0, len(self._data) - self._position)
        if num < 0 or num * (size if self.order else 1) > left:
            raise FormatError(f"the file is cut short: {num} numbers or records are expected, in {left} bytes")
