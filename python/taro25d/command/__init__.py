"""The command ``taro25d``, a shell around the functions of this package."""

from __future__ import annotations

import signal
import sys
from typing import NoReturn

_TERMINATED = 128 + signal.SIGTERM


def _end(*_: object) -> NoReturn:
    """End by an exception, so that unfinished files are removed."""
    sys.exit(_TERMINATED)


def main() -> None:
    """Run the command; the entry point of the package."""
    signal.signal(signal.SIGTERM, _end)
    try:
        from .program import run
    except ImportError as error:
        print(f"taro25d: the command needs the package {error.name}: pip install 'taro25d[io]'", file=sys.stderr)
        sys.exit(1)
    except KeyboardInterrupt:
        sys.exit(130)
    sys.exit(run())
