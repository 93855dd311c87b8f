"""Errors and warnings, as the library gives them."""

from __future__ import annotations


class Error(Exception):
    """A step that cannot go on. Its input is as it was, and nothing is written."""

    def __init__(self, reason: str, setting: str = "") -> None:
        super().__init__(reason, setting)
        self.reason = reason
        """One sentence that names the file or the element."""
        self.setting = setting
        """The setting with which another try may do better; empty if none."""

    def __str__(self) -> str:
        """The reason, and the setting that may help."""
        return f"{self.reason} (see '{self.setting}')" if self.setting else self.reason


class InputError(Error, ValueError):
    """The input or the settings are wrong: others may do."""


class OperationError(Error, RuntimeError):
    """The work failed on an input that looked right."""


class Cancelled(Exception):  # noqa: N818 - it is no error
    """A step that was asked to end, by `Cancel.cancel`."""


class VeldWarning(UserWarning):
    """Something that a person should know of a result that is there all the same."""

    def __init__(self, code: str, about: str, text: str, setting: str = "") -> None:
        super().__init__(code, about, text, setting)
        self.code = code
        """What it is of, such as "FACES_LEFT_OUT"."""
        self.about = about
        """The file, frame or hole."""
        self.text = text
        """A sentence."""
        self.setting = setting
        """The setting with which another try may do better; empty if none."""

    def __str__(self) -> str:
        """What it is about, the sentence, and the code."""
        hint = f" (see '{self.setting}')" if self.setting else ""
        return f"{self.about}: {self.text}{hint} [{self.code}]"
