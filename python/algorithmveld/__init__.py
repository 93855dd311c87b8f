"""Geometry algorithms for 3D scanning.

    import algorithmveld as veld

    frames = veld.load_frames("scans/bun.conf", scale=1000)
    merged = veld.merge(frames, max_hole_edges=20)
    filled = veld.fill(merged.mesh)
    veld.save(filled.mesh, "model.ply")

Each step has the name, the settings and the defaults of a command of `veld`. Lengths are
millimetres. Steps leave what they are given as it is, release the interpreter's lock while they
work, and end on Ctrl-C or by `Cancel.cancel` from another thread. Errors are exceptions with a
reason in words, warnings are `VeldWarning` with a code.
"""

from __future__ import annotations

from . import _core
from ._calls import CallOptions
from ._core import Cancel
from ._documents import defaults
from ._errors import Cancelled, Error, InputError, OperationError, VeldWarning
from ._frames import Frame, Frames, FrameView, load_frames
from ._log import set_log
from ._mesh import Mesh, load_mesh
from ._photos import Photo, Photos, PhotoView, load_photos
from ._results import (
    AlignResult,
    CheckResult,
    CleanResult,
    FillResult,
    FramesResult,
    HolesResult,
    InfoResult,
    KeyframesResult,
    MergeResult,
    NormalsResult,
    Picture,
    RepairResult,
    Result,
    RunResult,
    SticksResult,
    TextureResult,
)
from ._run import check_recipe, run, usual_recipe
from ._steps import (
    align,
    check,
    clean,
    fill,
    frames,
    holes,
    info,
    keyframes,
    merge,
    normals,
    render,
    repair,
    save,
    sticks,
    texture,
)
from ._tiles import (
    JoinTilesResult,
    MergeTileResult,
    ThinTileResult,
    TiledMergeResult,
    TilePlanResult,
    join_tiles,
    merge_in_tiles,
    merge_tile,
    plan_tiles,
    thin_tile,
)

__version__ = _core.VERSION

__all__ = [
    "AlignResult",
    "CallOptions",
    "Cancel",
    "Cancelled",
    "CheckResult",
    "CleanResult",
    "Error",
    "FillResult",
    "Frame",
    "FrameView",
    "Frames",
    "FramesResult",
    "HolesResult",
    "InfoResult",
    "InputError",
    "JoinTilesResult",
    "KeyframesResult",
    "MergeResult",
    "MergeTileResult",
    "Mesh",
    "NormalsResult",
    "OperationError",
    "Photo",
    "PhotoView",
    "Photos",
    "Picture",
    "RepairResult",
    "Result",
    "RunResult",
    "SticksResult",
    "TextureResult",
    "ThinTileResult",
    "TilePlanResult",
    "TiledMergeResult",
    "VeldWarning",
    "__version__",
    "align",
    "check",
    "check_recipe",
    "clean",
    "defaults",
    "fill",
    "frames",
    "holes",
    "info",
    "join_tiles",
    "keyframes",
    "load_frames",
    "load_mesh",
    "load_photos",
    "merge",
    "merge_in_tiles",
    "merge_tile",
    "normals",
    "plan_tiles",
    "render",
    "repair",
    "run",
    "save",
    "set_log",
    "sticks",
    "texture",
    "thin_tile",
    "usual_recipe",
]
