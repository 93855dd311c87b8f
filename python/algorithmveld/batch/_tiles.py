"""One scan that is larger than a machine, as a task for each tile."""

from __future__ import annotations

import os
import time
import uuid
from collections import deque
from collections.abc import Callable, Sequence
from dataclasses import dataclass, replace
from pathlib import Path
from typing import TYPE_CHECKING, Any

from .. import _core
from .._calls import call, warn_of_all
from .._core import VERSION
from .._documents import with_settings
from .._errors import InputError, OperationError
from .._tiles import TILE_MARGIN, TILE_POINTS, TiledMergeResult
from ._run import LEAST_MEMORY, PAUSE, SCAN_FACTOR
from ._scans import PathLike
from ._scheduler import MemoryLike, Scheduler, connected, lost, need_dask
from ._tile_tasks import Answer, TileJob, take_tile_step

if TYPE_CHECKING:
    from distributed import Future
    from typing_extensions import Unpack

    from .._settings import MergeOptions

# Bytes for each sample of a tile and its margin. By measuring a step takes 200 to 270.
POINT_MEMORY = 400
Tell = Callable[[str], Any]


@dataclass(frozen=True)
class _Attempt:
    tile: int
    memory: int
    without: str = ""
    """The worker on which it failed."""
    was_lost: bool = False
    """Whether it was lost together with its worker, and now runs alone."""


@with_settings("merge")
def merge_in_tiles(
    source: PathLike,
    output: PathLike,
    work: PathLike,
    *,
    scheduler: str | None = None,
    workers: int | None = None,
    memory_limit: MemoryLike = None,
    scale: float = 1.0,
    tile_points: int = TILE_POINTS,
    tile_margin: float = TILE_MARGIN,
    tell: Tell | None = None,
    **options: Unpack[MergeOptions],
) -> TiledMergeResult:
    """Merges a scan in tiles, side by side. The bytes are those of `algorithmveld.merge_in_tiles`.

    Called again with the same folder for its work it does only what is missing.

    Args:
        source: what `load_frames` takes.
        output: a .ply file for the mesh, which appears whole or not at all.
        work: a folder for the tiles, which stay there.
        scheduler: the address of a scheduler of Dask, whose workers see the same files under the
            same paths and have this package. None: a cluster on this machine, for the time of the
            call.
        workers: how many processes that cluster has; None: one for each core.
        memory_limit: of each of them, as 4_000_000_000 or "4GB"; None: an equal share of all.
        scale: of all lengths, to millimetres: 1000 for metres.
        tile_points: samples in a tile at most, without those of its margin.
        tile_margin: width in spacings of what a tile sees around it, 8 or more.
        tell: gets a line for the plan, for each step of a tile, and for the mesh.
        **options: the settings below; `threads` of each task. There is no `progress` or `cancel`.

    Raises:
        InputError: the scan or a setting is wrong, or `work` has the tiles of something else.
        OperationError: a step failed, or the scheduler was lost. Called again it goes on.

    """
    settings: dict[str, Any] = {**options}
    threads = settings.pop("threads", 0)
    if unknown := {"progress", "cancel"} & settings.keys():
        raise InputError(f"'{min(unknown)}' is for work in this process: see `tell`")
    need_dask()
    start = time.monotonic()
    say = tell or (lambda line: None)
    plan_memory = _check_files(Path(source), Path(output))
    division = {
        "scale": scale, "tile_points": tile_points, "tile_margin": tile_margin, **settings,
    }  # fmt: skip
    with connected(scheduler, workers, memory_limit, say) as there:
        job = TileJob(
            _absolute(source), _absolute(work), _absolute(output), division,
            threads or there.threads, VERSION,
        )  # fmt: skip
        plan, tiles, join = _Driver(there, job, say).go(plan_memory)
    return _result(plan, tiles, join, time.monotonic() - start)


def _absolute(path: PathLike) -> str:
    return os.fspath(Path(path).absolute())


def _check_files(source: Path, output: Path) -> int:
    """Refuses what would fail at the end. Gives the memory of the plan."""
    if output.suffix.lower() != ".ply":
        raise InputError(f"{output}: the mesh of tiles becomes a .ply file")
    if not output.absolute().parent.is_dir():
        raise InputError(f"{output.absolute().parent}: no such folder")
    if not source.exists():
        raise InputError(f"{source}: no such file or folder")
    named, at_once = call(lambda running: _core.frame_source_files(source, running))
    files = [file for file in map(Path, named) if file.is_file()]
    if output.exists() and any(file.samefile(output) for file in files):
        raise InputError(f"{output}: is a file of the scan")
    sizes = [file.stat().st_size for file in files]
    return LEAST_MEMORY + SCAN_FACTOR * (sum(sizes) if at_once else max(sizes, default=0))


class _Driver:
    """Gives the steps of all tiles to the scheduler, one kind behind the other."""

    def __init__(self, scheduler: Scheduler, job: TileJob, say: Tell) -> None:
        self._scheduler = scheduler
        self._job = job
        self._say = say
        self._answers: dict[int, dict[str, Any]] = {}
        self._lost: list[_Attempt] = []

    def go(self, plan_memory: int) -> tuple[dict[str, Any], list[dict[str, Any]], dict[str, Any]]:
        """The plan, what became of each tile, and the mesh."""
        [plan] = self._take_all("plan", [plan_memory])
        tiles = plan["tiles"]
        needs = [LEAST_MEMORY + POINT_MEMORY * (t["points"] + t["margin"]) for t in tiles]
        thin = self._take_all("thin", needs)
        merged = self._take_all("merge", needs)
        [join] = self._take_all("join", [max(needs)])
        return (
            plan,
            [
                {"points": tile["points"], "margin": tile["margin"], "thin": one, "merge": other}
                for tile, one, other in zip(tiles, thin, merged, strict=True)
            ],
            join,
        )

    def _take_all(self, step: str, needs: Sequence[int]) -> list[dict[str, Any]]:
        self._answers = {}
        waiting = deque(_Attempt(tile, memory) for tile, memory in enumerate(needs))
        self._run(step, waiting, len(needs), len(needs))
        # A tile that takes its worker down takes others with it: alone, each tells for itself.
        lost, self._lost = self._lost, []
        again = deque(replace(attempt, was_lost=True) for attempt in lost)
        self._run(step, again, 1, len(needs))
        return [self._answers[tile] for tile in range(len(needs))]

    def _run(self, step: str, waiting: deque[_Attempt], most: int, count: int) -> None:
        from distributed import as_completed

        running: dict[Future[Any], _Attempt] = {}
        completed = as_completed(loop=self._scheduler.client.loop)
        with self._scheduler.cancelling(running), self._scheduler.telling_of_loss():
            while waiting or running:
                while waiting and len(running) < most:
                    attempt = waiting.popleft()
                    future = self._submit(step, attempt)
                    running[future] = attempt
                    completed.add(future)
                if completed.has_ready():
                    future = next(completed)
                    waiting.extendleft(self._take(step, future, running.pop(future), count))
                else:
                    self._scheduler.workers()  # tells where the scheduler is lost
                    time.sleep(PAUSE)

    def _submit(self, step: str, attempt: _Attempt) -> Future[Any]:
        """Large tiles come first, so that none is alone at the end."""
        options: dict[str, Any] = {
            "key": f"{step}-{attempt.tile:05}-{uuid.uuid4().hex}",
            "pure": False,
            "priority": attempt.memory,
            "resources": self._scheduler.resources(attempt.memory),
        }
        if attempt.without:
            others = self._scheduler.workers(now=True).keys() - {attempt.without}
            # If these go before it has begun, any will do.
            options.update(workers=sorted(others), allow_other_workers=True)
        submit = self._scheduler.client.submit
        return submit(take_tile_step, self._job, step, attempt.tile, **options)

    def _take(
        self, step: str, future: Future[Any], attempt: _Attempt, count: int
    ) -> list[_Attempt]:
        """Notes what a step gave, or gives how it is to be tried again."""
        answer = self._answer_of(step, future, attempt)
        if answer is None:
            self._lost.append(attempt)
            return []
        if answer.may_do_elsewhere and not attempt.without:
            others = self._scheduler.workers(now=True).keys() - {answer.worker}
            if others:
                return [replace(attempt, without=answer.worker)]
        if answer.error is None:
            self._answers[attempt.tile] = answer.values
            self._say(self._line(step, attempt.tile, answer.values, count))
        refused = warn_of_all(answer.warnings)
        if error := answer.error or refused:
            raise error
        return []

    def _answer_of(self, step: str, future: Future[Any], attempt: _Attempt) -> Answer | None:
        """None where its worker was lost, for the first time."""
        from distributed import KilledWorker

        if future.status in ("cancelled", "lost"):
            raise lost()
        error = future.exception()
        if error is None:
            answer: Answer = future.result()
            return answer
        if not isinstance(error, KilledWorker):
            raise OperationError(f"{type(error).__name__}: {error}")
        if attempt.was_lost:
            raise OperationError(
                f"{_name(step, attempt.tile)}: its worker was lost each time; it may need more "
                "memory"
            )
        return None

    def _line(self, step: str, tile: int, values: dict[str, Any], count: int) -> str:
        when = "there already" if values.get("found") else f"{values['seconds']:.1f} s"
        done = f"{len(self._answers)}/{count} {_name(step, tile)}"
        what = {
            "plan": "{frames} frames, {points} samples, {n} tiles",
            "thin": "{points} samples, {overlap_removed} taken out",
            "merge": "{vertices} vertices, {faces} faces, {crossing} over seams",
            "join": "{vertices} vertices, {faces} faces",
        }[step]
        return f"{done}: {what.format(**values, n=len(values.get('tiles', [])))}, {when}"


def _name(step: str, tile: int) -> str:
    return f"{step} tile {tile}" if step in ("thin", "merge") else step


def _result(
    plan: dict[str, Any], tiles: list[dict[str, Any]], join: dict[str, Any], seconds: float
) -> TiledMergeResult:
    """As of one process."""
    lengths = {key: plan["settings"][key] for key in ("spacing", "stitch_radius", "long_edge")}
    return TiledMergeResult(
        {
            "frames": plan["frames"],
            "points": plan["points"],
            "vertices": join["vertices"],
            "faces": join["faces"],
            **lengths,
            "tile_points": plan["tile_points"],
            "tile_margin": plan["margin"],
            "plan_seconds": plan["seconds"],
            "tiles": tiles,
            "join": join,
            "seconds": seconds,
        }
    )
