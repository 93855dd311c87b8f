"""What the library logs."""

from __future__ import annotations

import atexit
import logging
from collections.abc import Callable
from typing import Any

from . import _core

LogTarget = Callable[[str], Any] | logging.Logger | None


class _Lines:
    """Makes lines of pieces of text, for a logger."""

    def __init__(self, logger: logging.Logger) -> None:
        self._logger = logger
        self._rest = ""

    def __call__(self, text: str) -> None:
        *lines, self._rest = (self._rest + text).split("\n")
        for line in lines:
            if line.strip():
                self._logger.debug("%s", line)


def set_log(target: LogTarget) -> None:
    """Sends the log of the library somewhere; it is off at first.

    Args:
        target: a function that gets pieces of text as they come, one thread at a time, or a
            `logging.Logger`, which gets lines at level DEBUG. It must not call a step. None
            switches the log off.

    """
    _core.set_log(_Lines(target) if isinstance(target, logging.Logger) else target)


# Functions of Python have to go before the interpreter does.
atexit.register(_core.set_log, None)
