"""What a worker does of a scan in tiles: one step of one tile."""

from __future__ import annotations

import os
import socket
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

import algorithmveld as veld

from .._calls import gathering_warnings
from ._places import Places
from ._tasks import address, check_version, reason_of


@dataclass(frozen=True)
class TileJob:
    """What all steps have to know. Paths are absolute, for a worker has its own folder."""

    source: str
    folder: str
    output: str
    division: dict[str, Any]
    """Settings of `plan_tiles`."""
    threads: int
    version: str
    """That of the package that began it."""


@dataclass(frozen=True)
class Answer:
    """What a step gave, or why it gave nothing."""

    values: dict[str, Any] = field(default_factory=dict)
    warnings: list[veld.VeldWarning] = field(default_factory=list)
    error: veld.Error | None = None
    worker: str = ""
    """The address of the worker on which it failed."""

    @property
    def may_do_elsewhere(self) -> bool:
        """Whether another worker may do better: not where the scan or a setting is wrong."""
        return self.error is not None and not isinstance(self.error, veld.InputError)


def _plan(job: TileJob, tile: int) -> veld.Result:
    return veld.plan_tiles(job.source, job.folder, threads=job.threads, **job.division)


def _thin(job: TileJob, tile: int) -> veld.Result:
    return veld.thin_tile(job.folder, tile, threads=job.threads)


def _merge(job: TileJob, tile: int) -> veld.Result:
    return veld.merge_tile(job.folder, tile, threads=job.threads)


def _join(job: TileJob, tile: int) -> veld.Result:
    return veld.join_tiles(job.folder, job.output, threads=job.threads)


STEPS: dict[str, Callable[[TileJob, int], veld.Result]] = {
    "plan": _plan,
    "thin": _thin,
    "merge": _merge,
    "join": _join,
}


def take_tile_step(job: TileJob, step: str, tile: int) -> Answer:
    """Takes a step. What is there of it already is not made again."""
    with gathering_warnings() as told:
        try:
            return Answer(_take(job, step, tile), told)
        except veld.Error as error:
            return Answer(warnings=told, error=error, worker=address())
        except Exception as error:
            reason = reason_of(error)
            return Answer(warnings=told, error=veld.OperationError(reason), worker=address())


def _take(job: TileJob, step: str, tile: int) -> dict[str, Any]:
    check_version(job.version)
    places = Places(job.folder)
    places.make()
    name = f"{step}-{tile:05}"
    with places.lock(name):  # a worker that was held to be lost may still be at work
        values = STEPS[step](job, tile).to_dict()
    if not values.get("found"):
        who = f"{socket.gethostname()}:{os.getpid()}"
        places.log(f"{who} {name} {values['seconds']:.2f} s")
    return values
