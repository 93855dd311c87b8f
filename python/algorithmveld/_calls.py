"""How a step of the library is called: progress, cancel, threads, warnings."""

from __future__ import annotations

import warnings
from collections.abc import Callable
from contextlib import AbstractContextManager, nullcontext
from types import TracebackType
from typing import Any, TypedDict, TypeVar, Union

from . import _core
from ._errors import VeldWarning

Progress = Union[bool, Callable[[str, float], Any], None]
Answer = TypeVar("Answer")


class CallOptions(TypedDict, total=False):
    """What every step takes beside its settings."""

    progress: Progress
    """Gets what is being done and the fraction of the call that is done, which grows to 1. It is
    called by one thread at a time, not always by the one that called the step. True shows a bar."""
    cancel: _core.Cancel | None
    """Ends the step when it is cancelled, from any thread."""
    threads: int
    """How many; 0 leaves it to OpenMP. The result does not depend on it."""


CALL_OPTIONS = ("progress", "cancel", "threads")


class _Bar(AbstractContextManager["_Bar"]):
    """A bar of tqdm over the thousandths of a call."""

    def __init__(self) -> None:
        try:
            from tqdm.auto import tqdm
        except ImportError as error:
            raise ImportError("progress=True shows a bar of tqdm: pip install tqdm") from error
        self._bar = tqdm(total=1000, bar_format="{desc}: {percentage:3.0f}%|{bar}| {elapsed}")

    def __call__(self, step: str, fraction: float) -> None:
        self._bar.set_description_str(step, refresh=False)
        self._bar.update(round(1000 * fraction) - self._bar.n)

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self._bar.close()


def call(
    work: Callable[[_core.Call], Answer],
    *,
    progress: Progress = None,
    cancel: _core.Cancel | None = None,
    threads: int = 0,
    depth: int = 3,
) -> Answer:
    """Runs a function of the extension module, and gives on what it warned of.

    `depth` is how many functions stand between this one and the host's line, to which warnings
    belong.
    """
    bar: AbstractContextManager[Any] = _Bar() if progress is True else nullcontext()
    with bar as shown:
        listener = shown if progress is True else (progress or None)
        running = _core.Call(listener, cancel, threads)
        try:
            return work(running)
        finally:
            for warning in running.warnings:
                message = VeldWarning(warning.code, warning.about, warning.text, warning.setting)
                warnings.warn(message, stacklevel=depth)


def split(options: dict[str, Any]) -> tuple[dict[str, Any], dict[str, Any]]:
    """The settings of a step, and the options of its call."""
    chosen = {name: options.pop(name) for name in CALL_OPTIONS if name in options}
    return options, chosen
