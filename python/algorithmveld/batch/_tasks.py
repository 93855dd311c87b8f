"""What a worker does: the steps of one scan, each a task of its own."""

from __future__ import annotations

import hashlib
import json
import os
import socket
import tempfile
import time
from collections.abc import Callable
from contextlib import suppress
from dataclasses import dataclass, replace
from functools import wraps
from pathlib import Path
from typing import Any

import numpy as np

import algorithmveld as veld

from .._calls import gathering_warnings
from ._places import RECORD, Places, read_json, write_json
from ._scans import RUN_RECORD, Scan, content_of

THUMBNAIL = "thumbnail.jpg"
SHRINK = 4  # the pictures of a run are 800 by 600


@dataclass(frozen=True)
class Job:
    """What the tasks of a scan have to know."""

    scan: Scan
    out: str
    recipe: dict[str, Any]
    pictures: bool
    threads: int
    batch: str
    """Tells this batch from others."""
    version: str
    """That of the package that began it."""

    @property
    def steps(self) -> list[str]:
        """The names of the steps."""
        return [str(step["step"]) for step in self.recipe["steps"]]

    @property
    def with_photos(self) -> bool:
        """Whether photographs make a difference."""
        return "texture" in self.steps


@dataclass(frozen=True)
class State:
    """How far a scan has come. What one task gives to the next."""

    key: str = ""
    """The name of the result."""
    is_there: bool = False
    """Whether the result is whole."""
    reason: str = ""
    """Why the scan failed; empty where it did not."""
    may_do_elsewhere: bool = False
    """Whether another worker may do better: not where the scan or the recipe is wrong."""
    worker: str = ""
    """The address of the worker on which it failed."""

    @property
    def has_ended(self) -> bool:
        """Whether nothing is left to do."""
        return self.is_there or bool(self.reason)


def version() -> str:
    """That of the package on a worker."""
    return veld.__version__


def look(job: Job) -> State:
    """Finds out what the result is called, and whether it is there already."""
    return _look(State(), job)


def take_step(state: State, job: Job, number: int) -> State:
    """Takes a scan through its first `number` steps, of which those before have been taken."""
    return state if state.has_ended else _take_step(state, job, number)


def _noting_failure(task: Callable[..., State]) -> Callable[..., State]:
    """A task that gives the reason on where it cannot go on, so that no scan stops the others."""

    @wraps(task)
    def guarded(state: State, job: Job, *arguments: Any) -> State:
        try:
            return task(state, job, *arguments)
        except veld.InputError as error:
            return replace(state, reason=str(error), worker=address())
        except Exception as error:
            reason = reason_of(error)
            return replace(state, reason=reason, may_do_elsewhere=True, worker=address())

    return guarded


def reason_of(error: Exception) -> str:
    """In words for people."""
    if isinstance(error, MemoryError):
        return "there is not enough memory"
    if isinstance(error, OSError) and error.filename:
        return f"{error.filename}: {error.strerror}"
    if isinstance(error, veld.Error):
        return str(error)
    return f"{type(error).__name__}: {error}"


def address() -> str:
    """That of the worker."""
    from distributed import get_worker

    try:
        return str(get_worker().address)
    except ValueError:  # called outside of a worker
        return ""


@_noting_failure
def _look(state: State, job: Job) -> State:
    check_version(job.version)
    if job.scan.trouble:
        raise veld.InputError(job.scan.trouble)
    if not Path(job.scan.source).exists():
        raise veld.InputError(f"{job.scan.source}: no such file or folder")
    given = json.dumps(
        [veld.__version__, job.recipe, job.pictures, content_of(job.scan, job.with_photos)],
        sort_keys=True,
    )
    content = hashlib.blake2b(given.encode(), digest_size=8).hexdigest()
    key = f"{job.scan.name}-{content}"
    places = Places(job.out)
    places.make()
    return replace(state, key=key, is_there=places.is_there(key))


def check_version(wanted: str) -> None:
    """A worker may come when a batch is at work already."""
    if wanted != veld.__version__:
        raise veld.OperationError(
            f"the worker {address()} has algorithmveld {veld.__version__}, and the batch {wanted}"
        )


@_noting_failure
def _take_step(state: State, job: Job, number: int) -> State:
    check_version(job.version)
    places = Places(job.out)
    is_last = number == len(job.steps)
    with places.lock(state.key):
        if places.is_there(state.key):
            return replace(state, is_there=True)
        if not is_last and _steps_taken(places.work(state.key)) >= number:
            return state
        _run_until(number, state, job)
        if is_last:
            _finish(state, job)
    return replace(state, is_there=is_last)


def _steps_taken(work: Path) -> int:
    return len(read_json(work / RUN_RECORD).get("steps", []))


def _run_until(number: int, state: State, job: Job) -> None:
    """A run that ends behind a step goes on from there when it is called again."""
    places = Places(job.out)
    places.work(state.key).mkdir(parents=True, exist_ok=True)
    cancel = veld.Cancel()
    lines: list[str] = []

    def tell(line: str) -> None:
        lines.append(line)
        if len(lines) > 1 and not line.endswith(", from before"):
            places.log(f"{socket.gethostname()}:{os.getpid()} {state.key} {line}")
        if len(lines) == number + 1 and number < len(job.steps):  # the first is on the scan itself
            cancel.cancel()

    with gathering_warnings(), suppress(veld.Cancelled):  # they are in the record
        veld.run(
            job.scan.source,
            places.work(state.key),
            markers=job.scan.markers,
            photos=job.scan.photos,
            recipe=job.recipe,
            pictures=job.pictures,
            tell=tell,
            cancel=cancel,
            threads=job.threads,
        )


def _finish(state: State, job: Job) -> None:
    places = Places(job.out)
    work = places.work(state.key)
    _make_thumbnail(work)
    write_json(
        work / RECORD,
        {
            "name": job.scan.name,
            "source": job.scan.source,
            "batch": job.batch,
            "finished": time.strftime("%Y-%m-%dT%H:%M:%S%z"),
        },
    )
    places.put_in_place(state.key)


def _make_thumbnail(work: Path) -> None:
    """The picture of the last step that has one, smaller."""
    record = read_json(work / RUN_RECORD)
    pictures = [step.get("picture") for step in record.get("steps", [])]
    named = [name for name in pictures if name and (work / name).is_file()]
    if named:
        image = _read_picture(work / named[-1])
        rows, columns = (size // SHRINK for size in image.shape[:2])
        whole = image[: rows * SHRINK, : columns * SHRINK]
        blocks = whole.reshape(rows, SHRINK, columns, SHRINK, 3)
        veld.save(blocks.mean(axis=(1, 3)).astype(np.uint8).view(veld.Picture), work / THUMBNAIL)


def _read_picture(path: Path) -> np.ndarray[Any, np.dtype[np.uint8]]:
    """As the photograph of a camera, which is what the library reads pictures for."""
    with path.open("rb") as file:
        head = file.read(24)  # the size stands at its end
    width, height = (int.from_bytes(head[i : i + 4], "big") for i in (16, 20))
    view = {
        "image": "picture.png",
        "width": width, "height": height, "fx": 1.0, "fy": 1.0, "cx": 0.0, "cy": 0.0,
        "R": np.eye(3).tolist(), "t": [0.0, 0.0, 0.0],
    }  # fmt: skip
    with tempfile.TemporaryDirectory() as folder:
        Path(folder, "picture.png").symlink_to(path.resolve())
        Path(folder, "cameras.json").write_text(json.dumps({"views": [view]}), encoding="utf-8")
        return veld.load_photos(folder)[0].image
