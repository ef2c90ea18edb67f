"""Opening files, and writing them completely or not at all."""

from __future__ import annotations

import contextlib
import os
import shutil
import tempfile
import threading
import warnings
from collections.abc import Iterator
from pathlib import Path

from ..errors import CrsError, Error, FileError, FormatError, MissingExtraError, Warning


@contextlib.contextmanager
def reading(path: Path) -> Iterator[None]:
    """Turn any exception while a file is read into an error that names the file."""
    try:
        if not path.exists():
            raise FileError(f"{path}: there is no such file")
        if path.is_dir():
            raise FileError(f"{path}: this is a folder")
        with _quiet:
            yield
    except MissingExtraError:
        raise
    except CrsError as error:
        raise CrsError(f"{path}: {error}") from error
    except FileError as error:
        raise type(error)(_named(path, str(error))) from error
    except Error as error:
        raise FormatError(f"{path}: {error}") from error
    except MemoryError as error:
        raise FormatError(f"{path}: this needs more memory than there is") from error
    except OSError as error:
        kind = FormatError if error.errno is None else FileError  # one that the system did not raise
        raise kind(_named(path, error.strerror or str(error))) from error
    except Exception as error:
        raise FormatError(f"{path}: {_reason(error)}") from error
    except BaseException as error:
        if type(error).__name__ != "PanicException":  # raised by readers written in Rust
            raise
        raise FormatError(f"{path}: the file is broken") from error


class _Quiet:
    """Hides warnings of other packages from users, who have not called these; warnings of this package stay.

    Filters are those of the process, so that several threads set them once together.
    """

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._depth = 0
        self._filters = warnings.catch_warnings()

    def __enter__(self) -> None:
        with self._lock:
            self._depth += 1
            if self._depth == 1:
                self._filters = warnings.catch_warnings()
                self._filters.__enter__()
                warnings.simplefilter("ignore")
                warnings.simplefilter("always", Warning)

    def __exit__(self, *exception: object) -> None:
        with self._lock:
            self._depth -= 1
            if self._depth == 0:
                self._filters.__exit__(None, None, None)


_quiet = _Quiet()


def _named(path: Path, reason: str) -> str:
    return reason if str(path) in reason else f"{path}: {reason}"


def _reason(error: BaseException) -> str:
    text = " ".join(str(error).split())
    return text or type(error).__name__


@contextlib.contextmanager
def writing(path: Path) -> Iterator[Path]:
    """Yield a path in a folder beside the target; at the end all files of that folder move to the folder of the target.

    After a failure nothing is left, and a former file stays.
    """
    if path.is_dir():
        raise FileError(f"{path}: this is a folder")
    try:
        folder = Path(tempfile.mkdtemp(prefix=f".{path.name}.", dir=path.parent))
    except OSError as error:
        raise FileError(f"{path}: {error.strerror}") from error
    try:
        with _quiet:
            yield folder / path.name
        made = sorted(folder.iterdir(), key=lambda file: file.name == path.name)
        for file in made:
            _take_mode(file, path)
            file.replace(path.parent / file.name)
    except (MissingExtraError, FileError):
        raise
    except Error as error:
        raise type(error)(f"{path}: {error}") from error
    except OSError as error:
        raise FileError(f"{path}: {error.strerror or error}") from error
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def _take_mode(file: Path, target: Path) -> None:
    """Give a file the access rights of the one that it replaces."""
    if target.exists():
        file.chmod(target.stat().st_mode & 0o777)
    else:
        mask = os.umask(0)
        os.umask(mask)
        file.chmod(0o666 & ~mask)
