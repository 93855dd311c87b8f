"""What steps give: values with the same JSON as the commands of `veld`."""

from __future__ import annotations

import copy
import json
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _core
from ._calls import CallOptions, call
from ._frames import DoubleArray, Frames
from ._mesh import IntArray, Mesh, PathLike, bgr, pixels

if TYPE_CHECKING:
    from typing_extensions import Unpack


class Result:
    """What a step gives. What its JSON has are attributes too."""

    def __init__(self, values: dict[str, Any], **data: Any) -> None:
        self._values = values
        self.__dict__.update(data)

    def to_dict(self) -> dict[str, Any]:
        """The values as `veld --json` prints them. Meshes and pictures are left out."""
        return copy.deepcopy(self._values)

    def to_json(self, indent: int | None = None) -> str:
        """The same as text."""
        return json.dumps(self._values, indent=indent)

    def __getattr__(self, name: str) -> Any:
        """A value of the JSON by its key."""
        values = self.__dict__.get("_values", {})
        if name in values:
            return values[name]
        raise AttributeError(f"a {type(self).__name__} has no '{name}'")

    def __dir__(self) -> list[str]:
        """The keys of the JSON too."""
        return sorted({*super().__dir__(), *self._values})

    def __repr__(self) -> str:
        """The values that are no lists."""
        shown = ", ".join(
            f"{key}={value!r}"
            for key, value in self._values.items()
            if not isinstance(value, (list, dict))
        )
        return f"{type(self).__name__}({shown})"


class InfoResult(Result):
    """Counts of a mesh that tell what shape it is in."""

    vertices: int
    faces: int
    edges: int
    boundary_edges: int
    holes: int
    components: int
    non_manifold_vertices: int
    isolated_vertices: int
    closed: bool
    average_edge_length: float
    bounding_box: dict[str, list[float]]


class HolesResult(Result):
    """The holes that were found."""

    holes: list[dict[str, Any]]
    """For each its `vertices`, `edges`, `perimeter` in millimetres and `centre`."""
    rims: list[IntArray]
    """For each the vertices of its rim, in the order of the boundary."""


class FillResult(Result):
    """What filling made."""

    mesh: Mesh
    """Old vertices and faces keep their numbers unless faces were cut away; new ones come last."""
    holes_before: int
    holes_after: int
    new_faces: int
    new_vertices: int
    cut_faces: int
    markers_without_hole: int
    seconds: float
    open: list[dict[str, Any]]
    """Each hole that stayed open: `hole`, `edges`, `perimeter` and `reason`."""
    closed: list[dict[str, Any]]
    """Each hole that was closed: `hole`, `edges`, `perimeter` and `method`."""


class CleanResult(Result):
    """What cleaning made."""

    mesh: Mesh
    before: dict[str, int]
    after: dict[str, int]
    steps: list[dict[str, Any]]
    seconds: float


class MergeResult(Result):
    """What merging made."""

    mesh: Mesh
    vertex_frames: IntArray
    """(n,) int32: the number of the frame of each vertex."""
    settings: dict[str, Any]
    """As they were taken: no length is 0."""
    frames: int
    vertices: int
    faces: int
    holes: int
    method: str
    overlap_removed: int
    outliers_removed: int
    noise: float
    noise_depth: float
    noise_aslant: float
    prepared: bool
    spacing: float
    stitch_radius: float
    seconds: float


class CheckResult(Result):
    """How frames agree where they overlap."""

    frames: list[dict[str, Any]]
    pairs: list[dict[str, Any]]
    distance: float
    off: list[int]
    alone: list[int]
    noise: float
    noise_depth: float
    reach: float


class AlignResult(Result):
    """Poses that were refined."""

    poses: list[DoubleArray]
    """(4, 4) float64 each: from the frame's coordinates to global ones."""
    frames: list[dict[str, Any]]
    before: float
    after: float
    noise: float
    noise_depth: float
    reach: float
    rounds: int
    converged: bool
    seconds: float

    @property
    def aligned(self) -> Frames:
        """The frames with the refined poses. Made at each call, with points of their own."""
        given: Frames = self.__dict__["given"]
        return given.with_poses(self.poses)


class RepairResult(Result):
    """What repairing made."""

    mesh: Mesh
    settings: dict[str, Any]
    """As they were taken: no length is 0."""
    method: str
    before: dict[str, int]
    after: dict[str, int]
    new_faces: int
    refused_faces: int
    dropped_faces: int
    lost_faces: int
    spacing: float
    ear_perimeter: float
    passes: list[dict[str, Any]]
    seconds: float


class NormalsResult(Result):
    """A cloud with normals."""

    mesh: Mesh
    """All points in their order, without faces; those without a normal have the zero vector."""
    points: int
    normals: int
    without_normal: dict[str, int]
    repeated: int
    turned_by: str
    pieces: int
    neighbours: int
    seconds: float


class TextureResult(Result):
    """What texturing made."""

    mesh: Mesh
    """With `texcoords` and `image`."""
    photographs: int
    patches: int
    texture_holes: int
    faces: int
    seen_faces: int
    textured_faces: int
    colourless_faces: int
    depth_tolerance: float
    atlas_width: int
    atlas_height: int
    seconds: float


class KeyframesResult(Result):
    """Views of a scan, chosen or in order."""

    frames: list[dict[str, Any]]
    views: int


class SticksResult(Result):
    """Sticks that were cut out."""

    meshes: list[Mesh]
    """One for each seed; empty where nothing of it was found."""
    sticks: list[dict[str, int]]


class FramesResult(Result):
    """Frames that were written."""

    frames: list[dict[str, Any]]
    noise: float
    noise_depth: float
    noise_aslant: float


class RunResult(Result):
    """What a run did, as it stands in `run.json`."""

    directory: str
    """The folder of the run."""
    steps: list[dict[str, Any]]
    from_before: int

    @property
    def mesh(self) -> Mesh:
        """The mesh at the end. Read at each call."""
        from pathlib import Path

        from ._mesh import load_mesh

        return load_mesh(Path(self.directory) / "model.ply")


class Picture(npt.NDArray[np.uint8]):
    """(height, width, 3) uint8, red, green and blue. A notebook shows it."""

    def save(
        self, path: PathLike, *, overwrite: bool = True, **options: Unpack[CallOptions]
    ) -> None:
        """Writes it as PNG or JPEG, as the extension says."""
        given = bgr(pixels("picture", np.asarray(self)))
        call(lambda running: _core.save_picture(given, path, overwrite, running), **options)

    def _repr_png_(self) -> bytes | None:
        import tempfile
        from pathlib import Path

        if self.ndim != 3 or self.shape[2] != 3:
            return None
        with tempfile.TemporaryDirectory() as directory:
            path = Path(directory) / "picture.png"
            self.save(path)
            return path.read_bytes()
