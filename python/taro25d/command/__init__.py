"""The command ``taro25d``, a shell around the functions of this package."""

from __future__ import annotations

import sys


def main() -> None:
    """Run the command; the entry point of the package."""
    try:
        from .program import run
    except ImportError as error:
        print(f"taro25d: the command needs the package {error.name}: pip install 'taro25d[io]'", file=sys.stderr)
        sys.exit(1)
    except KeyboardInterrupt:
        sys.exit(130)
    sys.exit(run())
