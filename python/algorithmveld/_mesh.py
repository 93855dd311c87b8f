"""Meshes and clouds, and their arrays."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _core
from ._calls import CallOptions, call, is_path, warn
from ._errors import InputError, VeldWarning

if TYPE_CHECKING:
    from typing_extensions import Unpack

FloatArray = npt.NDArray[np.float32]
IntArray = npt.NDArray[np.int32]
ByteArray = npt.NDArray[np.uint8]
PathLike = str | os.PathLike[str]


def rows(name: str, values: npt.ArrayLike, width: int) -> FloatArray:
    """An array of rows of finite float32, or an error that says what it is instead."""
    with np.errstate(over="ignore"):  # told below
        array = np.ascontiguousarray(_numbers(name, values), dtype=np.float32)
    if array.size == 0:
        array = array.reshape(-1, width) if array.ndim != 2 else array
    if array.ndim != 2 or array.shape[1] != width:
        raise InputError(f"'{name}' has to be of shape (n, {width}), and is {array.shape}")
    finite = np.isfinite(array)
    if not finite.all():
        row = int(np.argmin(finite.all(axis=1)))
        raise InputError(f"'{name}' is not finite in row {row}")
    return array


def _numbers(name: str, values: npt.ArrayLike) -> npt.NDArray[Any]:
    try:
        array = np.asarray(values)
    except ValueError as error:
        raise InputError(f"'{name}' is no array: {error}") from error
    if array.size > 0 and array.dtype.kind not in "fiub":
        raise InputError(f"'{name}' has to hold numbers, and holds {array.dtype}")
    return array


def face_rows(values: npt.ArrayLike, vertices: int) -> IntArray:
    """Faces as rows of three numbers of vertices that are there."""
    array = _numbers("faces", values)
    if array.size == 0:
        return np.zeros((0, 3), np.int32)
    if array.ndim != 2 or array.shape[1] != 3:
        raise InputError(f"'faces' has to be of shape (m, 3), and is {array.shape}")
    if array.dtype.kind not in "iu":
        raise InputError(f"'faces' has to hold whole numbers, and holds {array.dtype}")
    if array.min() < 0 or array.max() >= vertices:
        wrong = (array < 0) | (array >= vertices)
        row = int(np.argmax(wrong.any(axis=1)))
        vertex = int(array[row][wrong[row]][0])
        raise InputError(
            f"'faces' names vertex {vertex} in row {row}, but there are only {vertices}"
        )
    return np.ascontiguousarray(array, dtype=np.int32)


def pixels(name: str, values: npt.ArrayLike) -> ByteArray:
    """An image as rows of pixels of red, green and blue."""
    array = np.asarray(values)
    if array.ndim != 3 or array.shape[2] != 3 or array.dtype != np.uint8:
        raise InputError(
            f"'{name}' has to be of shape (height, width, 3) and uint8, "
            f"and is {array.shape} and {array.dtype}"
        )
    return array


def bgr(image: ByteArray) -> ByteArray:
    """What the library calls an image: blue comes first."""
    return np.ascontiguousarray(image[..., ::-1])


class Mesh:
    """Triangles over vertices, or a cloud: vertices without faces. Lengths are millimetres.

    A mesh does not change. Its arrays look into the memory of the library, cannot be written to,
    and keep it alive; steps and `replace` give new meshes. Faces are those of a half-edge mesh:
    what does not fit into one (a third face at an edge, a neighbour turned over) is mended as by
    `load_mesh`, with a `VeldWarning`.

    Args:
        vertices: (n, 3) coordinates in millimetres, kept as float32. All have to be finite.
        faces: (m, 3) numbers of vertices, counter-clockwise as seen from outside. None for a
            cloud.
        normals: (n, 3) unit normals of the vertices, or None.
        colors: (n, 3) red, green and blue of the vertices; floats from 0 to 1, or uint8.
        texcoords: (m, 3, 2) places of the corners of the faces in `image`: (0, 0) is its lower
            left corner, (1, 1) the upper right one. NaN where a corner has none.
        image: (height, width, 3) uint8, red, green and blue: the texture.

    """

    __slots__ = ("_data",)

    def __init__(
        self,
        vertices: npt.ArrayLike,
        faces: npt.ArrayLike | None = None,
        *,
        normals: npt.ArrayLike | None = None,
        colors: npt.ArrayLike | None = None,
        texcoords: npt.ArrayLike | None = None,
        image: npt.ArrayLike | None = None,
    ) -> None:
        shades = None if colors is None else unit_colors(colors)
        self._data = _data_of(vertices, faces, normals, shades, texcoords, image)

    @classmethod
    def _of(cls, data: _core.MeshData) -> Mesh:
        mesh = object.__new__(cls)
        mesh._data = data
        return mesh

    @property
    def vertices(self) -> FloatArray:
        """(n, 3) float32, millimetres. A view that cannot be written to."""
        return self._data.vertices

    @property
    def faces(self) -> IntArray:
        """(m, 3) int32, numbers of vertices. Made once, and then a view that cannot be written."""
        return self._data.faces

    @property
    def normals(self) -> FloatArray | None:
        """(n, 3) float32, unit normals of the vertices, or None. A view."""
        return self._data.normals

    @property
    def colors(self) -> FloatArray | None:
        """(n, 3) float32, red, green and blue from 0 to 1, or None. A view."""
        return self._data.colors

    @property
    def texcoords(self) -> FloatArray | None:
        """(m, 3, 2) float32, as in the constructor, in the order of `faces`; or None. A copy."""
        return self._data.texcoords

    @property
    def image(self) -> ByteArray | None:
        """(height, width, 3) uint8, red, green and blue: the texture, or None. A view."""
        image = self._data.image
        return None if image is None else image[..., ::-1]

    def replace(
        self,
        *,
        vertices: npt.ArrayLike | None = None,
        normals: npt.ArrayLike | None = None,
        colors: npt.ArrayLike | None = None,
        texcoords: npt.ArrayLike | None = None,
        image: npt.ArrayLike | None = None,
    ) -> Mesh:
        """A mesh with the same faces and other arrays in place of those that are given.

        Normals go where vertices move and none are given. Other values of vertices that a file
        brought along, such as a quality, go with a `VeldWarning`.
        """
        self._warn_of_values()
        data = _data_of(
            self.vertices if vertices is None else vertices,
            self.faces,
            self.normals if normals is None and vertices is None else normals,
            self.colors if colors is None else unit_colors(colors),
            self.texcoords if texcoords is None else texcoords,
            self.image if image is None else image,
        )
        return Mesh._of(data)

    def save(
        self, path: PathLike, *, overwrite: bool = True, **options: Unpack[CallOptions]
    ) -> None:
        """Writes the mesh, see `algorithmveld.save`."""
        save_mesh(self, path, overwrite=overwrite, **options)

    def to_trimesh(self) -> Any:
        """A `trimesh.Trimesh`, or a `trimesh.PointCloud` of a mesh without faces."""
        from ._others import to_trimesh

        return to_trimesh(self)

    def to_open3d(self) -> Any:
        """An `open3d.geometry.TriangleMesh`, or a `PointCloud` of a mesh without faces."""
        from ._others import to_open3d

        return to_open3d(self)

    @classmethod
    def from_trimesh(cls, other: Any) -> Mesh:
        """Of a `trimesh.Trimesh` or a `trimesh.PointCloud`."""
        from ._others import from_trimesh

        return from_trimesh(other)

    @classmethod
    def from_open3d(cls, other: Any) -> Mesh:
        """Of an `open3d.geometry.TriangleMesh` or a `PointCloud`."""
        from ._others import from_open3d

        return from_open3d(other)

    def __repr__(self) -> str:
        """How large it is, and what it has."""
        extra = [
            name
            for name, value in (
                ("normals", self.normals),
                ("colors", self.colors),
                ("texture", self._data.image),
            )
            if value is not None
        ]
        size = f"{self._data.n_vertices} vertices, {self._data.n_faces} faces"
        return f"<Mesh: {', '.join([size, *extra])}>"

    def _repr_png_(self) -> bytes | None:
        """A picture of it, for notebooks."""
        if self._data.n_faces == 0:
            return None
        from ._steps import render

        return render(self, width=600, height=450)._repr_png_()

    def _warn_of_values(self) -> None:
        names = self._data.carried
        if names:
            text = "not kept: " + ", ".join(names)
            error = warn(VeldWarning("VALUES_DROPPED", "the mesh", text))
            if error is not None:
                raise error

    def __copy__(self) -> Mesh:
        """Itself, for it does not change."""
        return self

    def __deepcopy__(self, memo: dict[int, Any]) -> Mesh:
        """Itself, for it does not change."""
        return self

    def __reduce__(self) -> tuple[Any, ...]:
        """Of the arrays, for pickling. Other values of a file go, with a warning."""
        self._warn_of_values()
        arrays = (
            self.vertices,
            self.faces,
            self.normals,
            self.colors,
            self.texcoords,
            self.image,
        )
        return (_restore, arrays)


def _data_of(
    vertices: npt.ArrayLike,
    faces: npt.ArrayLike | None,
    normals: npt.ArrayLike | None,
    colors: npt.ArrayLike | None,
    texcoords: npt.ArrayLike | None,
    image: npt.ArrayLike | None,
) -> _core.MeshData:
    points = rows("vertices", vertices, 3)
    corners = face_rows([] if faces is None else faces, len(points))
    shades = None if colors is None else rows("colors", colors, 3)
    turned = None if normals is None else rows("normals", normals, 3)
    for name, channel in (("normals", turned), ("colors", shades)):
        if channel is not None and len(channel) != len(points):
            raise InputError(f"'{name}' has {len(channel)} rows for {len(points)} vertices")
    places = None if texcoords is None else _texcoord_rows(texcoords, len(corners))
    texture = None if image is None else bgr(pixels("image", image))
    if texture is not None and places is None:
        raise InputError("'image' needs 'texcoords'")
    return call(
        lambda running: _core.make_mesh(points, corners, turned, shades, places, texture, running)
    )


def _restore(
    vertices: FloatArray,
    faces: IntArray,
    normals: FloatArray | None,
    colors: FloatArray | None,
    texcoords: FloatArray | None,
    image: ByteArray | None,
) -> Mesh:
    return Mesh._of(_data_of(vertices, faces, normals, colors, texcoords, image))


def unit_colors(values: npt.ArrayLike) -> npt.NDArray[Any]:
    """Colours from 0 to 1 of floats that are so, or of bytes."""
    array = _numbers("colors", values)
    if array.dtype == np.uint8:
        return array / 255.0
    if array.size > 0 and array.dtype.kind != "f":
        raise InputError(f"'colors' has to be uint8, or floats from 0 to 1, and is {array.dtype}")
    if (array < 0).any() or (array > 1).any():
        raise InputError("'colors' has to be from 0 to 1, or uint8, and has other values")
    return array


def _texcoord_rows(values: npt.ArrayLike, faces: int) -> FloatArray:
    array = np.ascontiguousarray(_numbers("texcoords", values), dtype=np.float32)
    if array.shape != (faces, 3, 2):
        raise InputError(f"'texcoords' has to be of shape ({faces}, 3, 2), and is {array.shape}")
    return array


def load_mesh(path: PathLike, *, cloud: bool = False, **options: Unpack[CallOptions]) -> Mesh:
    """Reads a mesh file: PLY, STL, OBJ, OFF or OM, by its extension.

    What is no mesh of triangles is made one, with a warning that says what was done. Of an OBJ
    file the texture comes along.

    Args:
        path: the file.
        cloud: whether text of points is taken too (.xyz, .txt, .asc).
        **options: `progress`, `cancel`, `threads`.

    """
    data, _ = call(lambda running: _core.load_mesh(path, cloud, running), **options)
    return Mesh._of(data)


def save_mesh(
    mesh: Mesh, path: PathLike, *, overwrite: bool, **options: Unpack[CallOptions]
) -> None:
    """Writes a mesh, with its texture where the format has one."""
    name = os.fspath(path).lower()
    textured = mesh._data.image is not None
    if name.endswith(".glb") and not textured:
        raise InputError(f"{os.fspath(path)}: a GLB file holds a texture, and the mesh has none")
    has_place = textured and name.endswith((".obj", ".glb"))
    write = _core.save_textured if has_place else _core.save_mesh
    call(lambda running: write(mesh._data, path, overwrite, running), **options)


def as_mesh(given: Any, **options: Unpack[CallOptions]) -> Mesh:
    """A mesh of what a host may have instead: a path, or an object of trimesh or Open3D."""
    if isinstance(given, Mesh):
        return given
    if is_path(given):
        return load_mesh(given, **options)
    package = type(given).__module__.partition(".")[0]
    if package == "trimesh":
        return Mesh.from_trimesh(given)
    if package == "open3d":
        return Mesh.from_open3d(given)
    raise InputError(f"a {type(given).__name__} is no mesh")
