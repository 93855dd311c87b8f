"""A recipe over many scans."""

from __future__ import annotations

import os
import time
import uuid
from dataclasses import asdict, dataclass, replace
from pathlib import Path
from typing import TYPE_CHECKING, Any

from .._core import VERSION
from .._errors import InputError
from .._run import RecipeLike, check_recipe
from ._driver import LEAST_MEMORY, SCAN_FACTOR, Driver
from ._page import write_summary
from ._places import Places, write_json
from ._results import BatchResult, ScanResult, result_at
from ._scans import PathLike, Scan, ScansLike, find_scans, sizes_of
from ._scheduler import MemoryLike, Scheduler, Tell, connected, need_dask
from ._tasks import Job, State, look, take_step

if TYPE_CHECKING:
    from distributed import Future

AHEAD = 4  # scans for each thread of the workers that the scheduler knows of at a time
PHOTO_FACTOR = 80  # memory for each byte of photographs, which are stored small


@dataclass(frozen=True)
class _Chain:
    """The tasks of a scan."""

    job: Job
    number: int
    """Of the scan."""
    scan_memory: int
    photo_memory: int
    """What a texture takes besides."""


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
    tell: Tell | None = None,
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


class _Driver(Driver[_Chain, State]):
    """Gives scans to the scheduler, as many at a time as keep it busy, and gathers results."""

    def __init__(self, scheduler: Scheduler, places: Places, say: Tell) -> None:
        super().__init__(scheduler, say)
        self._places = places
        self._results: list[ScanResult] = []
        self._count = 0

    def go(self, jobs: list[Job]) -> list[ScanResult]:
        self._count = len(jobs)
        self._do_all([_Chain(job, i, *_memory_of(job)) for i, job in enumerate(jobs)])
        return self._results

    def _window(self) -> float:
        threads: int = sum(worker["nthreads"] for worker in self._scheduler.workers().values())
        return AHEAD * max(1, threads)

    def _submit(self, work: _Chain, options: dict[str, Any]) -> Future[Any]:
        """Earlier scans come first, so that they end first."""
        options = {**options, "pure": False, "priority": -work.number}
        submit = self._scheduler.client.submit
        future = submit(look, work.job, key=f"look-{uuid.uuid4().hex}", **options)
        for i, name in enumerate(work.job.steps):
            need = work.scan_memory + (work.photo_memory if name == "texture" else 0)
            options["resources"] = self._scheduler.resources(need)
            key = f"{name}-{uuid.uuid4().hex}"
            future = submit(take_step, future, work.job, i + 1, key=key, **options)
        return future

    def _name(self, work: _Chain, task: str) -> str:
        return task.rsplit("-", 1)[0]

    def _note_failure(self, reason: str, work: _Chain) -> None:
        self._note(State(reason=reason), work)

    def _note(self, given: State, work: _Chain) -> None:
        scan = work.job.scan
        if given.is_there:
            result = result_at(self._places, given.key, work.job.batch)
            line = "there already"
            if result.state == "made":
                line = f"{len(result.steps)} steps, {result.seconds:.1f} s"
            if result.warnings:
                line += f", warnings: {len(result.warnings)}"
        else:
            result = ScanResult(scan.name, scan.source, "failed", reason=given.reason)
            line = f"failed: {given.reason}"
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
