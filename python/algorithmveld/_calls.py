"""How a step of the library is called: progress, cancel, threads, warnings."""

from __future__ import annotations

import os
import sys
import warnings
from collections.abc import Callable, Iterable, Iterator
from contextlib import AbstractContextManager, contextmanager, nullcontext
from contextvars import ContextVar
from types import FrameType, TracebackType
from typing import Any, TypedDict, TypeVar

from . import _core
from ._errors import VeldWarning

Progress = bool | Callable[[str, float], Any] | None
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
    work: Callable[..., Answer],
    *inputs: tuple[Callable[..., Any], Any],
    progress: Progress = None,
    cancel: _core.Cancel | None = None,
    threads: int = 0,
) -> Answer:
    """Runs a function of the extension module, and gives on what it warned of.

    `inputs` are what `work` gets besides, each with the function that makes it of what the host
    gave. Where that is a path, reading it is a part of the call.
    """
    bar: AbstractContextManager[Any] = _Bar() if progress is True else nullcontext()
    with bar as shown:
        listener = shown if progress is True else (progress or None)
        parts = 1 + sum(is_path(given) for _, given in inputs)
        part = 0
        made = []
        for make, given in inputs:
            if is_path(given):
                told = _part(listener, part, parts)
                made.append(make(given, progress=told, cancel=cancel, threads=threads))
                part += 1
            else:
                made.append(make(given))
        running = _core.Call(_part(listener, part, parts), cancel, threads)
        return _warning(running, lambda: work(running, *made))


def is_path(given: Any) -> bool:
    """Whether something has to be read from a file."""
    return isinstance(given, (str, os.PathLike))


def _part(listener: Any, part: int, parts: int) -> Any:
    """A listener for one of the calls that are one for the host. All of them tell to the end."""
    if listener is None or parts == 1:
        return listener
    return lambda step, fraction: listener(step, (part + fraction) / parts)


def _warning(running: _core.Call, work: Callable[[], Answer]) -> Answer:
    """Gives warnings on behind the work. One that the host makes an error replaces no other."""
    try:
        answer = work()
    except BaseException:
        _warn_of(running.warnings)
        raise
    first = _warn_of(running.warnings)
    if first is not None:
        raise first
    return answer


def _warn_of(raw: list[_core.RawWarning]) -> Exception | None:
    """Warns of all, and gives the first that was made an error."""
    return warn_of_all(
        VeldWarning(warning.code, warning.about, warning.text, warning.setting) for warning in raw
    )


_gathered: ContextVar[list[VeldWarning] | None] = ContextVar("gathered", default=None)


@contextmanager
def gathering_warnings() -> Iterator[list[VeldWarning]]:
    """Gives what the calls of this thread warn of meanwhile, in place of Python's warnings.

    These are of the whole process: what a thread asks of them, all others get.
    """
    gathered: list[VeldWarning] = []
    before = _gathered.set(gathered)
    try:
        yield gathered
    finally:
        _gathered.reset(before)


def warn_of_all(messages: Iterable[VeldWarning]) -> Exception | None:
    """Warns of all, and gives the first that was made an error."""
    errors = [error for message in messages if (error := warn(message))]
    return errors[0] if errors else None


def warn(message: VeldWarning) -> Exception | None:
    """Warns at the host's line. Gives what comes of it where the host makes warnings errors."""
    if (gathered := _gathered.get()) is not None:
        gathered.append(message)
        return None
    frame: FrameType | None = sys._getframe()
    level = 0
    while frame is not None and _is_own(frame):
        frame = frame.f_back
        level += 1
    try:
        warnings.warn(message, stacklevel=level + 1)
    except Exception as error:
        return error
    return None


def _is_own(frame: FrameType) -> bool:
    return str(frame.f_globals.get("__name__", "")).partition(".")[0] == __name__.partition(".")[0]


def split(options: dict[str, Any]) -> tuple[dict[str, Any], dict[str, Any]]:
    """The settings of a step, and the options of its call."""
    chosen = {name: options.pop(name) for name in CALL_OPTIONS if name in options}
    return options, chosen
