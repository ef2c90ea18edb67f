"""Runs the command: ``python -m taro25d``."""

from .command import main

main()
