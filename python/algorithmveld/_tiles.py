"""A scan that does not fit in memory, merged in tiles."""

from __future__ import annotations

from collections.abc import Callable
from typing import TYPE_CHECKING, Any

from . import _core
from ._calls import CallOptions, call, split
from ._documents import with_settings
from ._mesh import PathLike
from ._results import Result

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._settings import MergeOptions

TILE_POINTS = 4_000_000
TILE_MARGIN = 48.0


class TilePlanResult(Result):
    """How a scan was divided."""

    tiles: list[dict[str, int]]
    """For each its `points`, the `margin` (points of others that it sees) and the number of
    `frames` that it sees. The place in the list is the number of the tile."""
    frames: int
    left_out: int
    points: int
    tile_points: int
    margin: float
    settings: dict[str, Any]
    """As they were taken: no length is 0."""
    found: bool
    """Whether the plan was there already."""
    seconds: float


class ThinTileResult(Result):
    """What became of the samples of a tile."""

    points: int
    overlap_removed: int
    found: bool
    seconds: float


class MergeTileResult(Result):
    """The mesh of a tile."""

    vertices: int
    faces: int
    crossing: int
    """Faces that have vertices of other tiles too."""
    found: bool
    seconds: float


class JoinTilesResult(Result):
    """The mesh of all tiles."""

    vertices: int
    faces: int
    crossing: int
    refused: int
    stitched: int
    seconds: float


class TiledMergeResult(Result):
    """A scan that was merged in tiles."""

    frames: int
    points: int
    vertices: int
    faces: int
    spacing: float
    stitch_radius: float
    long_edge: float
    tile_points: int
    tile_margin: float
    plan_seconds: float
    tiles: list[dict[str, Any]]
    """For each its `points` and `margin`, and what `thin` and `merge` gave."""
    join: dict[str, Any]
    seconds: float


@with_settings("merge")
def plan_tiles(
    source: PathLike,
    folder: PathLike,
    *,
    scale: float = 1.0,
    tile_points: int = TILE_POINTS,
    tile_margin: float = TILE_MARGIN,
    **options: Unpack[MergeOptions],
) -> TilePlanResult:
    """Divides a scan into tiles: `thin_tile` is next, for each of them.

    All that the steps hand on is in the folder, so that tiles can be tasks on many machines that
    share it. A plan that is there, of the same files and settings, is taken as it is. One frame is
    in memory at a time.

    Args:
        source: what `load_frames` takes.
        folder: for all tiles; made if it is not there.
        scale: of all lengths, to millimetres: 1000 for metres.
        tile_points: samples in a tile at most, without those of its margin.
        tile_margin: width in spacings of what a tile sees around it, 8 or more: the wider, the less
            the mesh differs from that of the whole along the seams.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    load = {"scale": scale}
    tiling = {"tile_points": tile_points, "tile_margin": tile_margin}
    return TilePlanResult(
        call(
            lambda running: _core.plan_tiles(source, folder, load, settings, tiling, running),
            **calling,
        )
    )


def thin_tile(folder: PathLike, tile: int, **options: Unpack[CallOptions]) -> ThinTileResult:
    """Takes the overlap out of a tile. When that is done for all, `merge_tile` is next.

    Args:
        folder: of `plan_tiles`.
        tile: its number.
        **options: `progress`, `cancel`, `threads`.

    """
    return ThinTileResult(call(lambda running: _core.thin_tile(folder, tile, running), **options))


def merge_tile(folder: PathLike, tile: int, **options: Unpack[CallOptions]) -> MergeTileResult:
    """Stitches a tile, once all are thin. When that is done for all, `join_tiles` is next.

    Args:
        folder: of `plan_tiles`.
        tile: its number.
        **options: `progress`, `cancel`, `threads`.

    """
    return MergeTileResult(call(lambda running: _core.merge_tile(folder, tile, running), **options))


def join_tiles(
    folder: PathLike, output: PathLike, *, overwrite: bool = True, **options: Unpack[CallOptions]
) -> JoinTilesResult:
    """Joins all tiles to one mesh, which appears whole or not at all.

    Args:
        folder: of `plan_tiles`.
        output: a .ply file.
        overwrite: whether a file that is there is replaced, in one step, or the path is refused.
        **options: `progress`, `cancel`, `threads`.

    """
    return JoinTilesResult(
        call(lambda running: _core.join_tiles(folder, output, overwrite, running), **options)
    )


@with_settings("merge")
def merge_in_tiles(
    source: PathLike,
    output: PathLike,
    *,
    folder: PathLike | None = None,
    scale: float = 1.0,
    tile_points: int = TILE_POINTS,
    tile_margin: float = TILE_MARGIN,
    overwrite: bool = True,
    done: Callable[[int, ThinTileResult, MergeTileResult], Any] | None = None,
    **options: Unpack[MergeOptions],
) -> TiledMergeResult:
    """Merges a scan that does not fit in memory: all steps, one tile after the other.

    Args:
        source: what `load_frames` takes.
        output: a .ply file for the mesh, which appears whole or not at all.
        folder: keeps the tiles, so that a merge that was interrupted goes on from there; None:
            they go.
        scale: of all lengths, to millimetres: 1000 for metres.
        tile_points: samples in a tile at most, without those of its margin.
        tile_margin: width in spacings of what a tile sees around it, 8 or more: the wider, the less
            the mesh differs from that of the whole along the seams.
        overwrite: whether a file that is there is replaced, in one step, or the path is refused.
        done: gets the number of each tile that has its mesh, and what its two steps gave.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    load = {"scale": scale}
    tiling = {"tile_points": tile_points, "tile_margin": tile_margin}

    def tell(tile: int, thin: dict[str, Any], merged: dict[str, Any]) -> None:
        if done is not None:
            done(tile, ThinTileResult(thin), MergeTileResult(merged))

    return TiledMergeResult(
        call(
            lambda running: _core.merge_in_tiles(
                source, output, folder, load, settings, tiling, overwrite, tell, running
            ),
            **calling,
        )
    )
