"""One scan that is larger than a machine, as a task for each tile."""

from __future__ import annotations

import os
import time
import uuid
from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import TYPE_CHECKING, Any

from .. import _core
from .._calls import call, warn_of_all
from .._core import VERSION
from .._documents import with_settings
from .._errors import InputError, OperationError
from .._tiles import TILE_MARGIN, TILE_POINTS, TiledMergeResult
from ._driver import LEAST_MEMORY, SCAN_FACTOR, Driver
from ._scans import PathLike
from ._scheduler import MemoryLike, Scheduler, Tell, connected, need_dask
from ._tile_tasks import Answer, TileJob, take_tile_step

if TYPE_CHECKING:
    from distributed import Future
    from typing_extensions import Unpack

    from .._settings import MergeOptions

# Bytes for each sample of a tile and its margin. By measuring a step takes 200 to 270.
POINT_MEMORY = 400


@dataclass(frozen=True)
class _Step:
    """One step of one tile."""

    name: str
    tile: int
    memory: int

    def __str__(self) -> str:
        return f"{self.name} tile {self.tile}" if self.name in ("thin", "merge") else self.name


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


class _Driver(Driver[_Step, Answer]):
    """Gives the steps of all tiles to the scheduler, one kind behind the other."""

    def __init__(self, scheduler: Scheduler, job: TileJob, say: Tell) -> None:
        super().__init__(scheduler, say)
        self._job = job
        self._answers: dict[int, dict[str, Any]] = {}
        self._count = 0

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

    def _take_all(self, name: str, needs: Sequence[int]) -> list[dict[str, Any]]:
        self._answers = {}
        self._count = len(needs)
        self._do_all([_Step(name, tile, memory) for tile, memory in enumerate(needs)])
        return [self._answers[tile] for tile in range(len(needs))]

    def _submit(self, work: _Step, options: dict[str, Any]) -> Future[Any]:
        """Large tiles come first, so that none is alone at the end."""
        return self._scheduler.client.submit(
            take_tile_step,
            self._job,
            work.name,
            work.tile,
            key=f"{work.name}-{work.tile:05}-{uuid.uuid4().hex}",
            pure=False,
            priority=work.memory,
            resources=self._scheduler.resources(work.memory),
            **options,
        )

    def _name(self, work: _Step, task: str) -> str:
        return str(work)

    def _note_failure(self, reason: str, work: _Step) -> None:
        raise OperationError(reason)

    def _note(self, given: Answer, work: _Step) -> None:
        if given.error is None:
            self._answers[work.tile] = given.values
            self._say(self._line(work, given.values))
        refused = warn_of_all(given.warnings)
        if error := given.error or refused:
            raise error

    def _line(self, work: _Step, values: dict[str, Any]) -> str:
        when = "there already" if values.get("found") else f"{values['seconds']:.1f} s"
        done = f"{len(self._answers)}/{self._count} {work}"
        what = {
            "plan": "{frames} frames, {points} samples, {n} tiles",
            "thin": "{points} samples, {overlap_removed} taken out",
            "merge": "{vertices} vertices, {faces} faces, {crossing} over seams",
            "join": "{vertices} vertices, {faces} faces",
        }[work.name]
        return f"{done}: {what.format(**values, n=len(values.get('tiles', [])))}, {when}"


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
