"""What a batch gives."""

from __future__ import annotations

import os
from dataclasses import asdict, dataclass, field
from pathlib import Path
from typing import Any, TypeVar

from .._results import RunResult
from ._places import RECORD, Places, read_json
from ._scans import RUN_RECORD

Kind = TypeVar("Kind")


@dataclass(frozen=True)
class ScanResult:
    """What became of a scan."""

    name: str
    source: str
    state: str
    """"made" by this batch, "there" before it, or "failed"."""
    directory: str | None = None
    """The folder of the result; None where the scan failed."""
    steps: list[dict[str, Any]] = field(default_factory=list)
    """For each step its `name` and `seconds`."""
    seconds: float = 0.0
    """Of all steps, whenever they were taken."""
    warnings: list[str] = field(default_factory=list)
    reason: str | None = None
    """Why the scan failed."""

    @property
    def result(self) -> RunResult:
        """What its run gave. Read at each call."""
        if self.directory is None:
            raise ValueError(f"{self.name} failed: {self.reason}")
        values = read_json(Path(self.directory) / RUN_RECORD)
        return RunResult(values, directory=self.directory)


@dataclass(frozen=True)
class BatchResult:
    """What became of all scans, in the order of their names."""

    directory: str
    scans: list[ScanResult]

    @property
    def page(self) -> str:
        """The summary."""
        return os.fspath(Path(self.directory) / "index.html")

    @property
    def failed(self) -> list[ScanResult]:
        """The scans that failed."""
        return [scan for scan in self.scans if scan.state == "failed"]

    @property
    def summary(self) -> str:
        """In one line."""
        states = [scan.state for scan in self.scans]
        parts = [f"{states.count('made')} made"]
        if "there" in states:
            parts.append(f"{states.count('there')} there already")
        if "failed" in states:
            parts.append(f"{states.count('failed')} failed")
        return f"{len(states)} {'scan' if len(states) == 1 else 'scans'}: {', '.join(parts)}"

    def to_dict(self) -> dict[str, Any]:
        """The same as values for JSON."""
        return {"directory": self.directory, "scans": [asdict(scan) for scan in self.scans]}


def result_at(places: Places, key: str, batch: str) -> ScanResult:
    """What lies in the folder of a result. What its records lack is left out."""
    folder = places.result(key)
    record = read_json(folder / RECORD)
    known = _list_of(dict, read_json(folder / RUN_RECORD).get("steps"))
    steps = [
        {"name": str(step.get("name", "?")), "seconds": _number(step.get("seconds"))}
        for step in known
    ]
    return ScanResult(
        name=str(record.get("name", key)),
        source=str(record.get("source", "")),
        state="made" if record.get("batch") == batch else "there",
        directory=os.fspath(folder),
        steps=steps,
        seconds=sum(_number(step["seconds"]) for step in steps),
        warnings=[text for step in known for text in _list_of(str, step.get("warnings"))],
    )


def _list_of(kind: type[Kind], values: Any) -> list[Kind]:
    return (
        [value for value in values if isinstance(value, kind)] if isinstance(values, list) else []
    )


def _number(value: Any) -> float:
    return value if isinstance(value, (int, float)) else 0.0
