"""Makes the parser of the table, and turns errors into messages and the exit status."""

from __future__ import annotations

import importlib
import logging
import math
import os
import sys
import warnings
from collections.abc import Callable, Sequence
from importlib import metadata
from pathlib import Path
from typing import Any

import click

from .. import errors
from .table import COMMANDS, Argument, Command, Option, list_endings

SUCCESS, FAILURE, WRONG_USAGE, INTERRUPTED = 0, 1, 2, 130


class _Number(click.ParamType):  # type: ignore[type-arg]
    def __init__(self, name: str, fits: Callable[[float], bool]) -> None:
        self.name = name
        self._fits = fits

    def convert(self, value: Any, param: Any, ctx: Any) -> float:
        """Make a finite number of a text, in the range."""
        number = float(click.FLOAT.convert(value, param, ctx))
        if not (math.isfinite(number) and self._fits(number)):
            self.fail(f"{value} is no {self.name}", param, ctx)
        return number


_FINITE = _Number("finite number", lambda number: True)


class _Numbers(click.ParamType):  # type: ignore[type-arg]
    name = "numbers"

    def convert(self, value: Any, param: Any, ctx: Any) -> list[float]:
        """Make numbers of a text with commas."""
        if isinstance(value, list):
            return value
        return [_FINITE.convert(part, param, ctx) for part in str(value).split(",")]


_TYPES: dict[str, Any] = {
    "file": click.Path(path_type=Path),
    "number": _FINITE,
    "limit": _Number("number from 0 up", lambda number: number >= 0),
    "positive": _Number("number above 0", lambda number: number > 0),
    "whole": click.INT,
    "numbers": _Numbers(),
}


def _make_argument(argument: Argument) -> click.Argument:
    return click.Argument(
        [argument.name.lower()],
        metavar=argument.name + "..."
        if argument.multiple
        else argument.name
        if argument.required
        else f"[{argument.name}]",
        type=_TYPES["file"],
        required=argument.required,
        nargs=-1 if argument.multiple else 1,
    )


def _make_option(option: Option) -> click.Option:
    names = [option.name, option.name.lstrip("-").replace("-", "_") + ("_" if option.name == "--class" else "")]
    if option.kind == "flag":
        return click.Option(names, is_flag=True, help=option.help)
    # A default of None would be a value, which a required option then has.
    default: dict[str, Any] = {} if option.default is None else {"default": option.default, "show_default": True}
    kind = _TYPES.get(option.kind) or click.Choice(option.kind.split("|"))
    return click.Option(
        names, type=kind, metavar=option.metavar, help=option.help, required=option.required, multiple=option.multiple,
        **default,
    )  # fmt: skip


def _make_command(command: Command) -> click.Command:
    module, _, function = command.run.partition(".")

    def callback(**arguments: Any) -> None:
        getattr(importlib.import_module(f".{module}", __package__), function)(**arguments)

    files = "\n".join(f"  {argument.name}: {argument.help}" for argument in command.arguments)
    return click.Command(
        command.name,
        callback=callback,
        params=[*map(_make_argument, command.arguments), *map(_make_option, command.options)],
        short_help=command.summary,
        help=f"{command.description}\n\n\b\n{files}",
        epilog=f"\b\nExample:\n  {command.example}",
    )


def make_parser() -> click.Group:
    """Make the parser of all commands."""
    group = click.Group(
        "taro25d",
        help="Triangulates terrain and other points with heights.",
        epilog="\n\n".join(f"{title}: {' '.join(known)}" for title, known in list_endings()),
        context_settings={"max_content_width": 120},
    )
    for command in COMMANDS:
        group.add_command(_make_command(command))
    group.params.append(
        click.Option(
            ["--completion"],
            type=click.Choice(["bash", "zsh", "fish"]),
            is_eager=True,
            expose_value=False,
            callback=_print_completion,
            help="Print a completion script for a shell.",
        )
    )
    return click.version_option(metadata.version("taro25d"), prog_name="taro25d")(group)


def _print_completion(ctx: click.Context, _: click.Parameter, shell: str | None) -> None:
    if shell:
        from click.shell_completion import get_completion_class

        kind = get_completion_class(shell)
        assert kind is not None
        click.echo(kind(ctx.command, {}, "taro25d", "_TARO25D_COMPLETE").source())
        ctx.exit()


def _say(kind: str, text: str) -> None:
    print(f"taro25d: {kind}: {text}", file=sys.stderr)


def run(arguments: Sequence[str] | None = None) -> int:
    """Run the command and get its exit status."""
    parser = make_parser()
    with warnings.catch_warnings():
        logging.getLogger().addHandler(logging.NullHandler())  # hides the log of other packages
        warnings.simplefilter("ignore")
        warnings.simplefilter("always", errors.Warning)
        warnings.showwarning = lambda message, *_, **__: _say("warning", str(message))
        try:
            result = parser.main(args=arguments, prog_name="taro25d", standalone_mode=False)
            sys.stdout.flush()
            return result if isinstance(result, int) else SUCCESS
        except click.ClickException as error:
            error.show()
            return error.exit_code
        except (click.Abort, KeyboardInterrupt) as error:
            _say("error", str(error.__cause__ or error) or "interrupted")
            return INTERRUPTED
        except BrokenPipeError:
            os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
            return SUCCESS
        except (errors.Error, OSError, MemoryError) as error:
            _say("error", str(error) or "there is not enough memory")
            return FAILURE
