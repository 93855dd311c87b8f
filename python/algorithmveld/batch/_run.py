"""A recipe over many scans."""

from __future__ import annotations

import math
import os
import time
import uuid
from collections import deque
from collections.abc import Callable
from dataclasses import asdict, dataclass, replace
from pathlib import Path
from typing import TYPE_CHECKING, Any

from .._core import VERSION
from .._errors import InputError
from .._run import RecipeLike, check_recipe
from ._page import write_summary
from ._places import Places, write_json
from ._results import BatchResult, ScanResult, result_at
from ._scans import PathLike, Scan, ScansLike, find_scans, sizes_of
from ._scheduler import MemoryLike, Scheduler, connected, lost, need_dask
from ._tasks import Job, State, look, take_step

if TYPE_CHECKING:
    from distributed import Future

PAUSE = 0.05  # seconds between two looks at what is done
RESTART = 20.0  # seconds that a worker that died may take to come again
AHEAD = 4  # scans for each thread of the workers that the scheduler knows of at a time
# What a step takes, by measuring: a part that is always taken, and so much for each byte of the
# input. Photographs are stored small.
LEAST_MEMORY = 200_000_000
SCAN_FACTOR = 25
PHOTO_FACTOR = 80


@dataclass(frozen=True)
class _Attempt:
    job: Job
    number: int
    """Of the scan."""
    scan_memory: int
    photo_memory: int
    """What a texture takes besides."""
    without: str = ""
    """The worker on which the scan failed."""
    allowed: frozenset[str] = frozenset()
    """Then the workers that were there beside it, for as long as one of them is."""
    was_lost: bool = False
    """Whether it was lost together with its worker, and now runs alone."""


def run(
    recipe: RecipeLike,
    scans: ScansLike,
    out: PathLike,
    *,
    scheduler: str | None = None,
    workers: int | None = None,
    memory_limit: MemoryLike = None,
    markers: PathLike | None = None,
    photos: PathLike | None = None,
    pictures: bool = True,
    tell: Callable[[str], Any] | None = None,
) -> BatchResult:
    """Takes all scans through a recipe. A scan that fails does not stop the others.

    `out` then has a folder for each scan, named after it and after a checksum of what it was made
    of, and the summary in `index.html` and `batch.json`. What is there already is not made again.

    Args:
        recipe: steps and settings, as a dictionary or the path of a JSON file.
        scans: a folder, in which and in whose folders scans are looked for; a file that lists the
            paths of scans, one a line; or a list of paths.
        out: the folder for all results. Several batches may share it.
        scheduler: the address of a scheduler of Dask, whose workers see the same folders and have
            this package. None: a cluster on this machine, for the time of the call.
        workers: how many processes that cluster has; None: one for each core.
        memory_limit: of each of them, as 4_000_000_000 or "4GB"; None: an equal share of all.
        markers: the file of the markers of each scan, with `{name}` for its name and `{folder}`
            for its folder; None: looked for beside each scan.
        photos: the same for its photographs.
        pictures: whether each step gets a picture, for the pages.
        tell: gets a line for each scan that is done.

    Raises:
        InputError: the recipe is wrong, or there is no scan.
        OperationError: the scheduler was lost. Called again it goes on.
        OSError: `out` cannot be written, or at the end its summary.

    """
    say = tell or (lambda line: None)
    steps = _checked(recipe)
    need_dask()
    places = Places(Path(out).absolute())
    found = find_scans(scans, places.out, markers, photos)
    places.make()
    _forget_troubles(places, found)
    batch = uuid.uuid4().hex
    try:
        with connected(scheduler, workers, memory_limit, say) as there:
            job = Job(
                found[0], os.fspath(places.out), steps, pictures, there.threads, batch, VERSION
            )
            jobs = [replace(job, scan=scan) for scan in found]
            results = _Driver(there, places, say).go(jobs)
    except BaseException:
        try:
            write_summary(places)
        except OSError as error:  # not in place of what ended the batch
            say(f"the summary cannot be written: {error}")
        raise
    write_summary(places)
    return BatchResult(os.fspath(places.out), sorted(results, key=lambda r: (r.name, r.source)))


def _checked(recipe: RecipeLike) -> dict[str, Any]:
    """The recipe with every setting, so that one of the same meaning finds its results again."""
    if recipe is None:
        raise InputError("a batch needs a recipe; algorithmveld.usual_recipe() gives one")
    return check_recipe(recipe)


def _forget_troubles(places: Places, found: list[Scan]) -> None:
    """Takes the notes away on folders that could not be read and now can, for scans are in them."""
    for folder in {folder for scan in found for folder in Path(scan.source).parents}:
        places.failure(os.fspath(folder)).unlink(missing_ok=True)


class _Driver:
    """Gives scans to the scheduler, as many at a time as keep it busy, and gathers results."""

    def __init__(self, scheduler: Scheduler, places: Places, say: Callable[[str], Any]) -> None:
        self._scheduler = scheduler
        self._places = places
        self._say = say
        self._results: list[ScanResult] = []
        self._count = 0
        self._lost: list[_Attempt] = []
        self._stranded_since = math.inf

    def go(self, jobs: list[Job]) -> list[ScanResult]:
        self._count = len(jobs)
        attempts = [_Attempt(job, i, *_memory_of(job)) for i, job in enumerate(jobs)]
        self._run_all(deque(attempts), None)
        # A scan that takes its worker down takes others with it: alone, each tells for itself.
        lost, self._lost = self._lost, []
        self._run_all(deque(replace(attempt, was_lost=True) for attempt in lost), 1)
        return self._results

    def _run_all(self, waiting: deque[_Attempt], most: int | None) -> None:
        from distributed import as_completed

        running: dict[Future[Any], _Attempt] = {}
        completed = as_completed(loop=self._scheduler.client.loop)
        with self._scheduler.cancelling(running), self._scheduler.telling_of_loss():
            while waiting or running:
                while waiting and len(running) < (most or self._window()):
                    attempt = self._placed(waiting.popleft())
                    future = self._submit(attempt)
                    running[future] = attempt
                    completed.add(future)
                if completed.has_ready():
                    future = next(completed)
                    if future in running:  # and was not taken back
                        waiting.extendleft(self._take(future, running.pop(future)))
                elif not self._take_back(running, waiting):
                    time.sleep(PAUSE)

    def _window(self) -> int:
        threads: int = sum(worker["nthreads"] for worker in self._scheduler.workers().values())
        return AHEAD * max(1, threads)

    def _placed(self, attempt: _Attempt) -> _Attempt:
        if not attempt.without:
            return attempt
        there = frozenset(self._scheduler.workers(now=True))
        return replace(attempt, allowed=there - {attempt.without})

    def _take_back(self, running: dict[Future[Any], _Attempt], waiting: deque[_Attempt]) -> bool:
        """Takes back what waits for workers that are no more. The scheduler would wait for ever."""
        restricted = {future: attempt for future, attempt in running.items() if attempt.allowed}
        if not restricted:
            return False
        there = self._scheduler.workers()
        stranded = [f for f, attempt in restricted.items() if not attempt.allowed & there.keys()]
        if not stranded:
            self._stranded_since = math.inf
            return False
        self._stranded_since = min(self._stranded_since, time.monotonic())
        if len(there) < 2 and time.monotonic() - self._stranded_since < RESTART:
            return False
        for future in stranded:
            waiting.appendleft(running.pop(future))
            future.cancel()
        return True

    def _submit(self, attempt: _Attempt) -> Future[Any]:
        """The chain of tasks of a scan. Earlier scans come first, so that they end first."""
        job = attempt.job
        options: dict[str, Any] = {
            "pure": False,
            "priority": -attempt.number,
        }
        if attempt.allowed:
            options["workers"] = sorted(attempt.allowed)
        submit = self._scheduler.client.submit
        future = submit(look, job, key=f"look-{uuid.uuid4().hex}", **options)
        for i, name in enumerate(job.steps):
            need = attempt.scan_memory + (attempt.photo_memory if name == "texture" else 0)
            options["resources"] = self._scheduler.resources(need)
            key = f"{name}-{uuid.uuid4().hex}"
            future = submit(take_step, future, job, i + 1, key=key, **options)
        return future

    def _take(self, future: Future[Any], attempt: _Attempt) -> list[_Attempt]:
        """Notes what became of a scan, or gives how it is to be tried again."""
        state = self._state_of(future, attempt)
        if state is None:
            return []
        if state.may_do_elsewhere and not attempt.without:
            others = self._scheduler.workers(now=True).keys() - {state.worker}
            if others:
                return [replace(attempt, without=state.worker)]
        self._note(state, attempt.job)
        return []

    def _state_of(self, future: Future[Any], attempt: _Attempt) -> State | None:
        from distributed import KilledWorker

        if future.status in ("cancelled", "lost"):
            raise lost()
        error = future.exception()
        if error is None:
            state: State = future.result()
            return state
        if isinstance(error, KilledWorker) and not attempt.was_lost:
            self._lost.append(attempt)
            return None
        if isinstance(error, KilledWorker):
            step = str(error.task).rsplit("-", 1)[0]
            return State(reason=f"{step}: its worker was lost each time; it may need more memory")
        return State(reason=f"{type(error).__name__}: {error}")

    def _note(self, state: State, job: Job) -> None:
        scan = job.scan
        if state.is_there:
            result = result_at(self._places, state.key, job.batch)
            line = "there already"
            if result.state == "made":
                line = f"{len(result.steps)} steps, {result.seconds:.1f} s"
            if result.warnings:
                line += f", warnings: {len(result.warnings)}"
        else:
            result = ScanResult(scan.name, scan.source, "failed", reason=state.reason)
            line = f"failed: {state.reason}"
        self._results.append(result)
        self._say(f"{len(self._results)}/{self._count} {scan.name}: {line}")
        try:
            self._keep_note(result, scan.source)
        except OSError as error:  # the disk may be full: the others may be there already
            self._say(f"{scan.name}: no note can be kept of it: {error}")

    def _keep_note(self, result: ScanResult, source: str) -> None:
        """On a scan that failed, until it is made."""
        note = self._places.failure(source)
        if result.state == "failed":
            time_of_day = time.strftime("%Y-%m-%dT%H:%M:%S%z")
            write_json(note, {**asdict(result), "finished": time_of_day})
        else:
            note.unlink(missing_ok=True)


def _memory_of(job: Job) -> tuple[int, int]:
    scan, photos = sizes_of(job.scan)
    return LEAST_MEMORY + SCAN_FACTOR * scan, PHOTO_FACTOR * photos
