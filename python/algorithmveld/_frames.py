"""Frames of scanners: points on the grid of an image, with a pose."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from typing import TYPE_CHECKING, Any, TypeVar, overload

import numpy as np
import numpy.typing as npt

from . import _core
from ._calls import CallOptions, call, is_path
from ._errors import InputError
from ._mesh import FloatArray, IntArray, PathLike, unit_colors

if TYPE_CHECKING:
    from typing_extensions import Unpack

DoubleArray = npt.NDArray[np.float64]
Number = TypeVar("Number", bound=np.generic)

# Neighbours of which one is farther by more than this part of the depth are on two surfaces.
LARGEST_JUMP = 0.05


def matrix(name: str, values: npt.ArrayLike | None) -> DoubleArray:
    """A rigid motion as a matrix of 4 x 4."""
    array = np.ascontiguousarray(np.eye(4) if values is None else values, dtype=np.float64)
    if array.shape != (4, 4):
        raise InputError(f"'{name}' has to be of shape (4, 4), and is {array.shape}")
    if not np.isfinite(array).all():
        raise InputError(f"'{name}' is not finite")
    if not np.allclose(array[3], (0, 0, 0, 1)):
        raise InputError(f"the last row of '{name}' has to be 0 0 0 1")
    return array


class Frame:
    """A frame that a host has in memory. Lengths are millimetres (or see `Frames`, `scale`).

    It does not change: it has copies of the arrays, which cannot be written to.

    Args:
        points: (rows, columns, 3) coordinates of the frame; NaN where the grid has no point.
        pose: (4, 4) matrix from the frame's coordinates to global ones. None: the identity.
        normals: (rows, columns, 3) unit normals, or None: computed from the grid.
        colors: (rows, columns, 3) red, green and blue; floats from 0 to 1, or uint8.
        sensor: where the frame was seen from, in its own coordinates: "origin" for depth cameras,
            "+z" or "-z" for what looks along that axis from far away, or "unknown".
        cells: (rows, columns) truth values: whether a face begins at a point, to the right and
            below. None: where all four points are there; with the sensor at the origin also only
            where their depths do not jump.
        name: what messages call it; empty for its number.

    """

    __slots__ = ("_cells", "_colors", "_name", "_normals", "_points", "_pose", "_sensor")

    def __init__(
        self,
        points: npt.ArrayLike,
        pose: npt.ArrayLike | None = None,
        *,
        normals: npt.ArrayLike | None = None,
        colors: npt.ArrayLike | None = None,
        sensor: str = "unknown",
        cells: npt.ArrayLike | None = None,
        name: str = "",
    ) -> None:
        self._points = kept(_grid("points", points, None))
        shape = self.points.shape
        self._pose = kept(matrix("pose", pose))
        self._normals = None if normals is None else kept(_grid("normals", normals, shape))
        self._colors = None
        if colors is not None:
            self._colors = kept(_grid("colors", unit_colors(colors), shape))
        self._sensor = sensor
        self._name = name
        given = _faces_at(self.points, sensor) if cells is None else np.asarray(cells, dtype=bool)
        if given.shape != shape[:2]:
            raise InputError(f"'cells' has to be of shape {shape[:2]}, and is {given.shape}")
        self._cells = kept(given & _faces_at(self.points, "unknown"))

    @property
    def points(self) -> FloatArray:
        """(rows, columns, 3) float32, NaN where the grid has no point."""
        return self._points

    @property
    def pose(self) -> DoubleArray:
        """(4, 4) float64, from the frame's coordinates to global ones."""
        return self._pose

    @property
    def normals(self) -> FloatArray | None:
        """(rows, columns, 3) float32, or None."""
        return self._normals

    @property
    def colors(self) -> FloatArray | None:
        """(rows, columns, 3) float32, red, green and blue from 0 to 1, or None."""
        return self._colors

    @property
    def cells(self) -> npt.NDArray[np.bool_]:
        """(rows, columns): whether a face begins at a point."""
        return self._cells

    @property
    def sensor(self) -> str:
        """Where the frame was seen from, as in the constructor."""
        return self._sensor

    @property
    def name(self) -> str:
        """What messages call it."""
        return self._name

    @classmethod
    def from_depth(
        cls,
        depth: npt.ArrayLike,
        intrinsics: Sequence[float] | npt.ArrayLike,
        pose: npt.ArrayLike | None = None,
        *,
        colors: npt.ArrayLike | None = None,
        name: str = "",
    ) -> Frame:
        """The frame of a depth camera.

        Args:
            depth: (rows, columns) millimetres along the axis of the camera; 0 or NaN for none.
            intrinsics: fx, fy, cx, cy in pixels, or the (3, 3) matrix with them; (0, 0) is the
                centre of the top left pixel.
            pose: (4, 4) matrix from the camera's coordinates (x right, y down, z forward) to
                global ones.
            colors: as in the constructor.
            name: what messages call it.

        """
        z = np.asarray(depth, dtype=np.float64)
        if z.ndim != 2:
            raise InputError(f"'depth' has to be of shape (rows, columns), and is {z.shape}")
        fx, fy, cx, cy = pinhole(intrinsics)
        z = np.where(z > 0, z, np.nan)
        row, column = np.indices(z.shape)
        points = np.stack([(column - cx) / fx * z, (row - cy) / fy * z, z], axis=-1)
        return cls(points, pose, colors=colors, sensor="origin", name=name)


def kept(array: npt.NDArray[Number]) -> npt.NDArray[Number]:
    """A copy that nobody writes to."""
    copy = np.array(array)
    copy.flags.writeable = False
    return copy


def pinhole(intrinsics: Sequence[float] | npt.ArrayLike) -> tuple[float, float, float, float]:
    """The numbers fx, fy, cx, cy of four numbers, or of a matrix of 3 x 3."""
    values = np.asarray(intrinsics, dtype=np.float64)
    if values.shape == (3, 3):
        values = values[(0, 1, 0, 1), (0, 1, 2, 2)]
    if values.shape != (4,) or not np.isfinite(values).all() or min(values[:2]) <= 0:
        raise InputError(
            "'intrinsics' has to be fx, fy, cx, cy in pixels, fx and fy above 0, "
            "or a matrix of 3 x 3 with them"
        )
    fx, fy, cx, cy = values.tolist()
    return fx, fy, cx, cy


def _grid(name: str, values: npt.ArrayLike, shape: tuple[int, ...] | None) -> FloatArray:
    array = np.asarray(values, dtype=np.float32)
    if array.ndim != 3 or array.shape[2] != 3:
        raise InputError(f"'{name}' has to be of shape (rows, columns, 3), and is {array.shape}")
    if shape is not None and array.shape != shape:
        raise InputError(f"'{name}' has to be of shape {shape}, and is {array.shape}")
    return array


def _faces_at(points: FloatArray, sensor: str) -> npt.NDArray[np.bool_]:
    """Where the four points of a cell are there, and on one surface as far as that is known."""
    there = np.asarray(np.isfinite(points).all(axis=-1))
    faces = np.zeros(there.shape, dtype=bool)
    corners = [there[:-1, :-1], there[:-1, 1:], there[1:, :-1], there[1:, 1:]]
    faces[:-1, :-1] = np.logical_and.reduce(corners)
    if sensor == "origin" and faces.any():
        z = np.abs(points[..., 2])
        depths = np.stack([z[:-1, :-1], z[:-1, 1:], z[1:, :-1], z[1:, 1:]])
        with np.errstate(invalid="ignore"):
            jump = np.ptp(depths, axis=0) > LARGEST_JUMP * depths.min(axis=0)
        faces[:-1, :-1] &= ~jump
    return faces


def _flat(frame: Frame, number: int) -> tuple[Any, ...]:
    """A frame as the extension module takes it: the points that are there, row by row."""
    there = np.isfinite(frame.points).all(axis=-1)

    def listed(values: FloatArray | None) -> FloatArray | None:
        return None if values is None else np.ascontiguousarray(values[there])

    return (
        frame.name or f"frame {number}",
        listed(frame.points),
        np.ascontiguousarray(np.argwhere(there), dtype=np.int32),
        np.ascontiguousarray(frame.cells[there], dtype=np.uint8),
        listed(frame.normals),
        listed(frame.colors),
        frame.pose,
        frame.points.shape[0],
        frame.points.shape[1],
        frame.sensor,
    )


class FrameView:
    """One of `Frames`, as the steps work on it. Its arrays are views that cannot be written to."""

    __slots__ = ("_data", "_number")

    def __init__(self, data: _core.FrameData, number: int) -> None:
        self._data = data
        self._number = number

    @property
    def name(self) -> str:
        """What messages call it."""
        return self._data.name(self._number)

    @property
    def shape(self) -> tuple[int, int]:
        """Rows and columns of the grid."""
        return self._data.grid_shape(self._number)

    @property
    def points(self) -> FloatArray:
        """(n, 3) float32, millimetres, in the frame's own coordinates."""
        return self._data.points(self._number)

    @property
    def cells(self) -> IntArray:
        """(n, 2) int32, row and column of each point on the grid; -1 for none."""
        return self._data.cells(self._number)

    @property
    def normals(self) -> FloatArray | None:
        """(n, 3) float32, unit normals, or None."""
        return self._data.normals(self._number)

    @property
    def colors(self) -> FloatArray | None:
        """(n, 3) float32, red, green and blue from 0 to 1, or None."""
        return self._data.colors(self._number)

    @property
    def pose(self) -> DoubleArray:
        """(4, 4) float64, from the frame's coordinates to global ones."""
        return self._data.pose(self._number)

    @property
    def global_points(self) -> FloatArray:
        """(n, 3) float32, millimetres, in global coordinates. Computed at each call."""
        pose = self.pose
        return (self.points @ pose[:3, :3].T + pose[:3, 3]).astype(np.float32)

    def __repr__(self) -> str:
        """Its name and how large it is."""
        return f"<frame {self.name}: {len(self.points)} points on {self.shape}>"


class Frames(Sequence[FrameView]):
    """The frames of a scan, in the form that steps work on. They do not change.

    Points that are not finite are left out, normals are computed from the grid where there are
    none, and both look at the sensor where it is known.

    Args:
        frames: those that a host has in memory.
        scale: of all lengths, to millimetres: 1000 for metres.
        name: what messages call the scan.

    """

    __slots__ = ("_data",)

    def __init__(
        self, frames: Sequence[Frame], *, scale: float = 1.0, name: str = "the frames"
    ) -> None:
        flat = [_flat(frame, number) for number, frame in enumerate(frames)]
        self._data = call(lambda running: _core.make_frames(name, flat, scale, running))

    @classmethod
    def _of(cls, data: _core.FrameData) -> Frames:
        frames = object.__new__(cls)
        frames._data = data
        return frames

    @property
    def source(self) -> str:
        """What messages call the scan."""
        return self._data.source

    @property
    def left_out(self) -> int:
        """How many frames could not be used."""
        return self._data.left_out

    def with_poses(self, poses: Sequence[npt.ArrayLike]) -> Frames:
        """The same frames with other poses: (4, 4) matrices to global coordinates."""
        matrices = [matrix("poses", pose) for pose in poses]
        return Frames._of(call(lambda running: self._data.with_poses(matrices, running)))

    def __len__(self) -> int:
        """How many there are."""
        return len(self._data)

    @overload
    def __getitem__(self, index: int) -> FrameView: ...

    @overload
    def __getitem__(self, index: slice) -> list[FrameView]: ...

    def __getitem__(self, index: int | slice) -> FrameView | list[FrameView]:
        """A frame by its number."""
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(len(self)))]
        number = index + len(self) if index < 0 else index
        if not 0 <= number < len(self):
            raise IndexError(f"there are only {len(self)} frames")
        return FrameView(self._data, number)

    def __iter__(self) -> Iterator[FrameView]:
        """Frame by frame."""
        return (self[i] for i in range(len(self)))

    def __repr__(self) -> str:
        """Where they are from, and how many."""
        return f"<Frames: {len(self)} of {self.source}>"


def load_frames(source: PathLike, *, scale: float = 1.0, **options: Unpack[CallOptions]) -> Frames:
    """Loads the frames of a scan.

    Args:
        source: a folder of .rge files or of depth images with cameras.json, that file, the JSON
            description of text frames, or the .conf of range scans.
        scale: of all lengths, to millimetres: 1000 for metres.
        **options: `progress`, `cancel`, `threads`.

    """
    settings = {"scale": scale}
    return Frames._of(call(lambda running: _core.load_frames(source, settings, running), **options))


def as_frames(given: Any, **options: Unpack[CallOptions]) -> Frames:
    """Frames of what a host may have instead: a path, or a list of frames in memory."""
    if isinstance(given, Frames):
        return given
    if is_path(given):
        return load_frames(given, **options)
    if isinstance(given, Sequence) and all(isinstance(frame, Frame) for frame in given):
        return Frames(given)
    raise InputError(f"a {type(given).__name__} is no list of frames")
