"""The steps. Each has the name, the settings and the defaults of a command of `veld`."""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from typing import TYPE_CHECKING, Any, cast

import numpy as np
import numpy.typing as npt

from . import _core
from ._calls import CallOptions, call, is_path, split
from ._documents import with_settings
from ._errors import InputError
from ._frames import Frame, Frames, as_frames, matrix
from ._mesh import Mesh, PathLike, as_mesh, rows, save_mesh
from ._photos import Photo, Photos, as_photos
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
    SticksResult,
    TextureResult,
)

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._settings import (
        AlignOptions,
        CleanOptions,
        FillOptions,
        HolesOptions,
        KeyframesOptions,
        MergeOptions,
        NormalsOptions,
        RenderOptions,
        RepairOptions,
        SticksOptions,
        TextureOptions,
    )

MeshLike = Mesh | PathLike | Any
FramesLike = Frames | Sequence[Frame] | PathLike
PhotosLike = Photos | Sequence[Photo] | PathLike


def _with_markers(settings: dict[str, Any]) -> dict[str, Any]:
    """Settings whose markers are a list, where they were the name of a file."""
    if is_path(settings.get("markers")):
        normals = bool(settings.get("normals") or False)
        return {**settings, "markers": _core.read_markers(settings["markers"], normals)}
    return settings


def info(mesh: MeshLike, **options: Unpack[CallOptions]) -> InfoResult:
    """Counts a mesh and checks its health.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        **options: `progress`, `cancel`, `threads`.

    """
    return InfoResult(
        call(lambda running, its: _core.info(its._data, running), (as_mesh, mesh), **options)
    )


@with_settings("holes")
def holes(mesh: MeshLike, **options: Unpack[HolesOptions]) -> HolesResult:
    """Finds the holes of a mesh: all, or those that the settings name.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    settings = _with_markers(settings)
    values, rims = call(
        lambda running, its: _core.holes(its._data, settings, running), (as_mesh, mesh), **calling
    )
    return HolesResult(values, rims=rims)


@with_settings("fill")
def fill(mesh: MeshLike, **options: Unpack[FillOptions]) -> FillResult:
    """Closes the holes of a mesh, and tells of each that stays open why.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    settings = _with_markers(settings)
    values, filled = call(
        lambda running, its: _core.fill(its._data, settings, running), (as_mesh, mesh), **calling
    )
    return FillResult(values, mesh=Mesh._of(filled))


CLEAN_UPS = ("min_faces", "min_vertices", "strong", "non_manifold", "peel", "markers")


def _clean_up(kind: str, value: Any, settings: Mapping[str, Any]) -> dict[str, Any]:
    clean_up: dict[str, Any] = {"kind": kind.replace("_", "-")}
    if kind in ("min_faces", "min_vertices", "strong"):
        clean_up["limit"] = value
    if kind == "strong":
        if settings.get("rings") is None:
            raise InputError("clean: 'strong' needs 'rings'")
        clean_up["rings"] = settings["rings"]
    if kind == "peel":
        clean_up["rings"] = value
    if kind == "markers":
        if settings.get("marker_radius") is None:
            raise InputError("clean: 'markers' needs 'marker_radius'")
        clean_up["markers"] = value
        clean_up["radius"] = settings["marker_radius"]
        clean_up["use_normals"] = settings.get("normals")
        clean_up["normal_dot"] = settings.get("normal_dot")
    return clean_up


def _is_false(value: Any) -> bool:
    """Of Python or of numpy. 0 is a number."""
    return isinstance(value, (bool, np.bool_)) and not value


def _clean_settings(settings: dict[str, Any]) -> dict[str, Any]:
    """Clean-ups as a list, in the order in which they were named."""
    if "clean_ups" in settings:
        return settings
    named = [
        _clean_up(name, value, settings)
        for name, value in settings.items()
        if name in CLEAN_UPS and value is not None and not _is_false(value)
    ]
    of_others = {
        "rings": "strong",
        "marker_radius": "markers",
        "normals": "markers",
        "normal_dot": "markers",
    }
    for name, value in settings.items():
        if name not in CLEAN_UPS and name not in of_others:
            known = " ".join([*CLEAN_UPS, *of_others, "clean_ups"])
            raise InputError(f"clean: '{name}' is not known here (known: {known})")
        if name in of_others and value is not None and settings.get(of_others[name]) is None:
            raise InputError(f"clean: '{name}' is for '{of_others[name]}'")
    if not named:
        raise InputError(f"clean: nothing to do: name one of {', '.join(CLEAN_UPS)}")
    return {"clean_ups": named}


def clean(mesh: MeshLike, **options: Unpack[CleanOptions]) -> CleanResult:
    """Cleans a mesh up, in the order in which the clean-ups are named.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        **options: the clean-ups, and `progress`, `cancel`, `threads`.

    Settings:
        min_faces: pieces of so many faces or fewer go; faces hang together over edges.
        min_vertices: pieces of so many vertices or fewer go, single points among them.
        strong: bodies of fewer faces go, also where they hang on others by strips narrower than
            twice `rings`, which it needs.
        rings: with `strong`: so many rings of faces are peeled and grown back.
        non_manifold: whether vertices at which several fans of faces meet go.
        peel: the faces along every boundary go, and so many rings behind them.
        markers: what lies near markers goes: rows of x y z or x y z nx ny nz, or a file of these.
        marker_radius: with `markers`: what is nearer to one than this in millimetres.
        normals: with `markers`: only what faces like the marker.
        normal_dot: with `normals`: the dot product of both directions has to exceed this (0.5).
        clean_ups: in place of all these, a list as recipes have it: {"kind": "peel", "rings": 1}.

    """
    settings, calling = split({**options})
    settings = _clean_settings(_with_markers(settings))
    values, cleaned = call(
        lambda running, its: _core.clean(its._data, settings, running), (as_mesh, mesh), **calling
    )
    return CleanResult(values, mesh=Mesh._of(cleaned))


@with_settings("repair")
def repair(mesh: MeshLike, **options: Unpack[RepairOptions]) -> RepairResult:
    """Closes the gaps of a torn surface, or makes a surface of points with normals.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    values, repaired, taken = call(
        lambda running, its: _core.repair(its._data, settings, running), (as_mesh, mesh), **calling
    )
    return RepairResult(values, mesh=Mesh._of(repaired), settings=taken)


@with_settings("normals")
def normals(cloud: MeshLike | FramesLike, **options: Unpack[NormalsOptions]) -> NormalsResult:
    """Estimates a unit normal for each point of a cloud, or for the points of all frames together.

    Args:
        cloud: a `Mesh` whose faces do not count, the path of a file, `Frames`, or a list of
            `Frame`.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    if isinstance(cloud, (Frames, list, tuple)):
        values, made = call(
            lambda running, its: _core.normals_of_frames(its._data, settings, running),
            (as_frames, cloud),
            **calling,
        )
    else:
        values, made = call(
            lambda running, its: _core.normals(its._data, settings, running),
            (as_mesh, cloud),
            **calling,
        )
    return NormalsResult(values, mesh=Mesh._of(made))


@with_settings("merge")
def merge(frames: FramesLike, **options: Unpack[MergeOptions]) -> MergeResult:
    """Makes one mesh of frames: takes the overlap out, and stitches what is left.

    Args:
        frames: `Frames`, a list of `Frame`, or what `load_frames` takes.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    values, merged, numbers, taken = call(
        lambda running, its: _core.merge(its._data, settings, running),
        (as_frames, frames),
        **calling,
    )
    return MergeResult(values, mesh=Mesh._of(merged), vertex_frames=numbers, settings=taken)


@with_settings("check")
def check(frames: FramesLike, **options: Unpack[AlignOptions]) -> CheckResult:
    """Measures how far frames are off each other where they overlap.

    Args:
        frames: `Frames`, a list of `Frame`, or what `load_frames` takes.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    values = call(
        lambda running, its: _core.check(its._data, settings, running),
        (as_frames, frames),
        **calling,
    )
    return CheckResult(values)


@with_settings("align")
def align(frames: FramesLike, **options: Unpack[AlignOptions]) -> AlignResult:
    """Refines the poses of all frames at once. The first frame stays.

    Args:
        frames: `Frames`, a list of `Frame`, or what `load_frames` takes.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})

    def work(running: _core.Call, given: Frames) -> AlignResult:
        values, poses = _core.align(given._data, settings, running)
        return AlignResult(values, poses=poses, given=given)

    return call(work, (as_frames, frames), **calling)


def frames(
    source: FramesLike,
    directory: PathLike,
    *,
    overwrite: bool = True,
    **options: Unpack[CallOptions],
) -> FramesResult:
    """Writes frames of any kind as .rge files, frame-0000.rge and so on.

    Args:
        source: `Frames`, a list of `Frame`, or what `load_frames` takes.
        directory: for the files; made if it is not there.
        overwrite: whether files that are there are replaced.
        **options: `progress`, `cancel`, `threads`.

    """
    values = call(
        lambda running, its: _core.save_frames(its._data, directory, overwrite, running),
        (as_frames, source),
        **options,
    )
    return FramesResult(values)


@with_settings("texture")
def texture(mesh: MeshLike, photos: PhotosLike, **options: Unpack[TextureOptions]) -> TextureResult:
    """Gives a mesh the photographs as its texture.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        photos: `Photos`, a list of `Photo`, or what `load_photos` takes.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    values, textured = call(
        lambda running, its, seen: _core.texture(its._data, seen._data, settings, running),
        (as_mesh, mesh),
        (as_photos, photos),
        **calling,
    )
    return TextureResult(values, mesh=Mesh._of(textured))


@with_settings("render")
def render(
    mesh: MeshLike, *, compare: MeshLike | None = None, **options: Unpack[RenderOptions]
) -> Picture:
    """Draws a mesh, with its texture if it has one, its boundary as lines in a strong colour.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        compare: the mesh before a change: faces that it lacks get another colour.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})

    def work(running: _core.Call, shown: Mesh, before: Mesh | None = None) -> Picture:
        original = None if before is None else before._data
        return _core.render(shown._data, original, settings, running)[..., ::-1].view(Picture)

    compared = [] if compare is None else [(as_mesh, compare)]
    return call(work, (as_mesh, mesh), *compared, **calling)


@with_settings("sticks")
def sticks(
    mesh: MeshLike, seeds: npt.ArrayLike | PathLike, **options: Unpack[SticksOptions]
) -> SticksResult:
    """Cuts sticks out of a mesh: small upright cylinders, each as a mesh of its own.

    Args:
        mesh: a `Mesh`, the path of a file, or an object of trimesh or Open3D.
        seeds: rows of x y z diameter height in millimetres, the point on the stick; or a file of
            these.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    listed: Any = _core.read_seeds(cast(PathLike, seeds)) if is_path(seeds) else seeds
    table = rows("seeds", listed, 5)
    places = np.ascontiguousarray(table[:, :3])
    sizes = np.ascontiguousarray(table[:, 3:])
    cut = call(
        lambda running, its: _core.sticks(its._data, places, sizes, settings, running),
        (as_mesh, mesh),
        **calling,
    )
    meshes = [Mesh._of(stick) for stick in cut]
    counts = [{"vertices": len(stick.vertices), "faces": len(stick.faces)} for stick in meshes]
    return SticksResult({"sticks": counts}, meshes=meshes)


@with_settings("keyframes")
def keyframes(
    views: PhotosLike | Sequence[npt.ArrayLike], **options: Unpack[KeyframesOptions]
) -> KeyframesResult:
    """Chooses few views that cover the space of the cameras, or puts all in order.

    Args:
        views: (4, 4) matrices from world to camera coordinates, `Photos`, a list of `Photo`, or a
            list of cameras as `load_photos` takes it, whose photographs are not read.
        **options: the settings below, and `progress`, `cancel`, `threads`.

    """
    settings, calling = split({**options})
    if is_path(views):
        source = cast(PathLike, views)
        return KeyframesResult(
            call(lambda running: _core.keyframes_of_source(source, settings, running), **calling)
        )
    if isinstance(views, Photos) or any(isinstance(view, Photo) for view in cast(Any, views)):
        values = call(
            lambda running, its: _core.keyframes_of_photos(its._data, settings, running),
            (as_photos, views),
            **calling,
        )
        return KeyframesResult(values)
    poses = [matrix("views", cast(Any, view)) for view in cast(Any, views)]
    return KeyframesResult(
        call(lambda running: _core.keyframes_of_poses(poses, settings, running), **calling)
    )


def save(
    what: Mesh | Frames | Picture | Result,
    path: PathLike,
    *,
    overwrite: bool = True,
    **options: Unpack[CallOptions],
) -> None:
    """Writes a file in the format that its extension names. It appears whole or not at all.

    Args:
        what: a `Mesh` (PLY, STL, OBJ, OFF, OM; with a texture OBJ with MTL and JPG beside it, or
            GLB), a `Picture` (PNG, JPEG), `Frames` (a folder of .rge files), or the result of a
            step, whose mesh is written.
        path: the file.
        overwrite: whether a file that is there is replaced, in one step, or the path is refused.
        **options: `progress`, `cancel`, `threads`.

    """
    given = what.__dict__.get("mesh", what) if isinstance(what, Result) else what
    if isinstance(given, Mesh):
        save_mesh(given, path, overwrite=overwrite, **options)
    elif isinstance(given, Frames):
        frames(given, path, overwrite=overwrite, **options)
    elif isinstance(given, np.ndarray):
        given.view(Picture).save(path, overwrite=overwrite, **options)
    else:
        raise InputError(f"a {type(what).__name__} has no form as a file")
