"""What the commands have in common: the options of a cluster, and the exit status."""

from __future__ import annotations

import argparse
import json
import logging
import sys
from collections.abc import Callable
from typing import Any

from .._errors import InputError, OperationError
from .._results import Result
from ._results import BatchResult


def parser_of(program: str, description: str, example: str) -> argparse.ArgumentParser:
    """For a module that is called with `python -m`."""
    return argparse.ArgumentParser(
        prog=f"python -m {program}",
        description=description,
        epilog=example,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )


def add_common(parser: argparse.ArgumentParser) -> None:
    """Adds the options that all commands have."""
    add = parser.add_argument
    add("--scheduler", metavar="ADDRESS", help="of Dask (default: a cluster on this machine)")
    add("--workers", metavar="N", type=int, help="processes of that cluster (default: one a core)")
    add(
        "--memory-limit", metavar="SIZE",
        help="of each of them, as 4GB (default: an equal share of all)",
    )  # fmt: skip
    add("--json", action="store_true", help="the result as one JSON object on standard output")


def cluster_of(given: argparse.Namespace) -> dict[str, Any]:
    """Where the tasks run, as the functions take it."""
    return {name: getattr(given, name) for name in ("scheduler", "workers", "memory_limit")}


def carry_out(
    parser: argparse.ArgumentParser,
    arguments: list[str] | None,
    work: Callable[[argparse.Namespace], int],
    name: str,
) -> int:
    """Gives the exit status: that of the work, or that of what ended it."""
    try:
        given = parser.parse_args(arguments)
    except SystemExit as end:  # 2 of argparse is 1 here: the arguments are wrong
        return 1 if end.code else 0
    if given.scheduler and (given.workers or given.memory_limit):
        return _fail("--workers and --memory-limit are for a cluster on this machine", 1)
    try:
        return work(given)
    except (InputError, ImportError, OSError) as error:
        return _fail(str(error), 1)
    except OperationError as error:
        return _fail(str(error), 2)
    except KeyboardInterrupt:
        return _fail(f"stopped; {name} that is started again goes on", 130)


def say(line: str) -> None:
    """Prints what goes on."""
    print(line, file=sys.stderr, flush=True)


def show(given: argparse.Namespace, result: BatchResult | Result) -> None:
    """Prints a result, where that is asked for."""
    if given.json:
        print(json.dumps(result.to_dict(), indent=2))


def start(main: Callable[[], int]) -> None:
    """Ends this process with the status of a command."""
    logging.disable(logging.ERROR)  # of Dask; one line tells the reason
    sys.exit(main())


def _fail(reason: str, status: int) -> int:
    say(f"error: {reason}")
    return status
