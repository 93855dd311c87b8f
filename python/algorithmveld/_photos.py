"""Photographs, and where they were taken."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from typing import TYPE_CHECKING, Any, overload

import numpy.typing as npt

from . import _core
from ._calls import CallOptions, call, is_path
from ._errors import InputError
from ._frames import DoubleArray, kept, matrix, pinhole
from ._mesh import ByteArray, PathLike, bgr, pixels

if TYPE_CHECKING:
    from typing_extensions import Unpack


class Photo:
    """A photograph that a host has in memory.

    It does not change: it has copies of image and pose, which cannot be written to.

    Args:
        image: (height, width, 3) uint8, red, green and blue.
        intrinsics: fx, fy, cx, cy in pixels, or the (3, 3) matrix with them; (0, 0) is the centre
            of the top left pixel. No distortion.
        pose: (4, 4) matrix from world to camera coordinates (x right, y down, z forward), in the
            unit of the mesh.
        name: what messages call it; empty for its number.

    """

    __slots__ = ("_image", "_intrinsics", "_name", "_pose")

    def __init__(
        self,
        image: npt.ArrayLike,
        intrinsics: Sequence[float] | npt.ArrayLike,
        pose: npt.ArrayLike,
        *,
        name: str = "",
    ) -> None:
        self._image = kept(pixels("image", image))
        self._intrinsics = pinhole(intrinsics)
        self._pose = kept(matrix("pose", pose))
        self._name = name

    @property
    def image(self) -> ByteArray:
        """(height, width, 3) uint8, red, green and blue."""
        return self._image

    @property
    def intrinsics(self) -> tuple[float, float, float, float]:
        """The numbers fx, fy, cx, cy, in pixels."""
        return self._intrinsics

    @property
    def pose(self) -> DoubleArray:
        """(4, 4) float64, from world to camera coordinates."""
        return self._pose

    @property
    def name(self) -> str:
        """What messages call it."""
        return self._name


class PhotoView:
    """One of `Photos`. Its image is a view that cannot be written to."""

    __slots__ = ("_data", "_number")

    def __init__(self, data: _core.PhotoData, number: int) -> None:
        self._data = data
        self._number = number

    @property
    def name(self) -> str:
        """What messages call it."""
        return self._data.name(self._number)

    @property
    def image(self) -> ByteArray:
        """(height, width, 3) uint8, red, green and blue."""
        return self._data.image(self._number)[..., ::-1]

    @property
    def intrinsics(self) -> tuple[float, float, float, float]:
        """The numbers fx, fy, cx, cy, in pixels."""
        fx, fy, cx, cy = self._data.intrinsics(self._number)
        return fx, fy, cx, cy

    @property
    def pose(self) -> DoubleArray:
        """(4, 4) float64, from world to camera coordinates."""
        return self._data.pose(self._number)

    def __repr__(self) -> str:
        """Its name and how large it is."""
        height, width = self.image.shape[:2]
        return f"<photograph {self.name}: {width} x {height}>"


class Photos(Sequence[PhotoView]):
    """Photographs of an object. They do not change.

    Args:
        photos: those that a host has in memory.
        name: what messages call them.

    """

    __slots__ = ("_data",)

    def __init__(self, photos: Sequence[Photo], *, name: str = "the photographs") -> None:
        listed: list[Any] = [
            (photo.name or f"photo {number}", bgr(photo.image), photo.pose, list(photo.intrinsics))
            for number, photo in enumerate(photos)
        ]
        self._data = call(lambda running: _core.make_photos(name, listed, running))

    @classmethod
    def _of(cls, data: _core.PhotoData) -> Photos:
        photos = object.__new__(cls)
        photos._data = data
        return photos

    @property
    def source(self) -> str:
        """What messages call them."""
        return self._data.source

    def __len__(self) -> int:
        """How many there are."""
        return len(self._data)

    @overload
    def __getitem__(self, index: int) -> PhotoView: ...

    @overload
    def __getitem__(self, index: slice) -> list[PhotoView]: ...

    def __getitem__(self, index: int | slice) -> PhotoView | list[PhotoView]:
        """A photograph by its number."""
        if isinstance(index, slice):
            return [self[i] for i in range(*index.indices(len(self)))]
        number = index + len(self) if index < 0 else index
        if not 0 <= number < len(self):
            raise IndexError(f"there are only {len(self)} photographs")
        return PhotoView(self._data, number)

    def __iter__(self) -> Iterator[PhotoView]:
        """One after the other."""
        return (self[i] for i in range(len(self)))

    def __repr__(self) -> str:
        """Where they are from, and how many."""
        return f"<Photos: {len(self)} of {self.source}>"


def load_photos(source: PathLike, **options: Unpack[CallOptions]) -> Photos:
    """Loads photographs, JPEG or PNG, with the list of their cameras.

    Args:
        source: a folder with cameras.json or with a COLMAP model as text, or one of these files.
        **options: `progress`, `cancel`, `threads`.

    """
    return Photos._of(call(lambda running: _core.load_photos(source, running), **options))


def as_photos(given: Any, **options: Unpack[CallOptions]) -> Photos:
    """Photographs of what a host may have instead: a path, or a list of those in memory."""
    if isinstance(given, Photos):
        return given
    if is_path(given):
        return load_photos(given, **options)
    if isinstance(given, Sequence) and all(isinstance(photo, Photo) for photo in given):
        return Photos(given)
    raise InputError(f"a {type(given).__name__} is no list of photographs")
