"""The settings of steps, where people and tools look for them."""

from __future__ import annotations

import inspect
from collections.abc import Callable
from typing import TYPE_CHECKING, Any, TypeVar

from . import _core
from ._calls import CALL_OPTIONS

if TYPE_CHECKING:
    from ._settings import SETTINGS  # noqa: F401

Step = TypeVar("Step", bound=Callable[..., Any])


def defaults(step: str) -> dict[str, Any]:
    """The settings of a step with their defaults. Those that are not there are measured, or none.

    Args:
        step: "merge", "fill" and so on.

    """
    known: dict[str, dict[str, Any]] = _core.defaults()
    if step not in known:
        raise KeyError(f"no step '{step}' has settings (known: {' '.join(known)})")
    return known[step]


def with_settings(step: str) -> Callable[[Step], Step]:
    """Gives a step the signature with all its settings, and adds them to what it says of itself."""

    def decorate(function: Step) -> Step:
        from ._settings import SETTINGS

        values = defaults(step)
        own = inspect.signature(function)
        parameters = [p for p in own.parameters.values() if p.kind is not p.VAR_KEYWORD]
        lines = []
        for name, text in SETTINGS.get(step, {}).items():
            default = values.get(name)
            parameters.append(
                inspect.Parameter(name, inspect.Parameter.KEYWORD_ONLY, default=default)
            )
            lines.append(f"        {name}: {text} (default: {default!r})")
        for name, value in zip(CALL_OPTIONS, (None, None, 0), strict=True):
            parameters.append(
                inspect.Parameter(name, inspect.Parameter.KEYWORD_ONLY, default=value)
            )
        function.__signature__ = own.replace(parameters=parameters)  # type: ignore[attr-defined]
        text = inspect.cleandoc(function.__doc__ or "")
        function.__doc__ = text + "\n\nSettings:\n" + "\n".join(line[4:] for line in lines)
        return function

    return decorate
