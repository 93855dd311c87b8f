"""Objects of trimesh and Open3D."""

import sys
import types

import algorithmveld as veld
import numpy as np
import pytest
from scans import grid, sphere_mesh


def coloured():
    vertices, faces = grid(4)
    up = np.tile([0.0, 0.0, 1.0], (16, 1))
    return veld.Mesh(vertices, faces, normals=up, colors=np.tile([1.0, 0.0, 0.2], (16, 1)))


def test_trimesh_gets_and_gives_the_same():
    trimesh = pytest.importorskip("trimesh")
    mesh = coloured()
    other = mesh.to_trimesh()
    assert isinstance(other, trimesh.Trimesh)
    back = veld.Mesh.from_trimesh(other)
    for name in ("vertices", "faces", "normals"):
        np.testing.assert_allclose(getattr(back, name), getattr(mesh, name))
    np.testing.assert_allclose(back.colors, mesh.colors, atol=1e-6)


def test_steps_take_objects_of_trimesh():
    trimesh = pytest.importorskip("trimesh")
    box = trimesh.creation.box()
    assert veld.info(box).closed
    assert veld.Mesh.from_trimesh(box).colors is None


def test_clouds_of_trimesh():
    trimesh = pytest.importorskip("trimesh")
    cloud = veld.Mesh(sphere_mesh(8).vertices).to_trimesh()
    assert isinstance(cloud, trimesh.PointCloud)
    back = veld.Mesh.from_trimesh(cloud)
    np.testing.assert_array_equal(back.vertices, sphere_mesh(8).vertices)
    assert len(back.faces) == 0


class Stand:
    """What the conversion uses of Open3D, which is too large to be installed for a test."""

    def __init__(self, points=(), triangles=None):
        if triangles is None:
            self.points, self.normals, self.colors = points, (), ()
        else:
            self.vertices, self.triangles = points, triangles
            self.vertex_normals, self.vertex_colors = (), ()

    has_normals = property(lambda self: lambda: len(self.normals) > 0)
    has_colors = property(lambda self: lambda: len(self.colors) > 0)
    has_vertex_normals = property(lambda self: lambda: len(self.vertex_normals) > 0)
    has_vertex_colors = property(lambda self: lambda: len(self.vertex_colors) > 0)


def vectors(values):
    """As Open3D, which copies arrays, but only those that can be written to."""
    if not values.flags.writeable:
        raise ValueError("array is not writeable")
    return np.array(values)


@pytest.fixture
def open3d(monkeypatch):
    """Open3D itself where it is installed."""
    try:
        import open3d
    except ImportError:
        open3d = types.ModuleType("open3d")
        vector = types.SimpleNamespace(Vector3dVector=vectors, Vector3iVector=vectors)
        open3d.utility = vector
        open3d.geometry = types.SimpleNamespace(TriangleMesh=Stand, PointCloud=Stand)
        monkeypatch.setattr(Stand, "__module__", "open3d.geometry")
        monkeypatch.setitem(sys.modules, "open3d", open3d)
    return open3d


def test_open3d_gets_and_gives_the_same(open3d):
    mesh = coloured()
    back = veld.Mesh.from_open3d(mesh.to_open3d())
    for name in ("vertices", "faces", "normals", "colors"):
        np.testing.assert_allclose(getattr(back, name), getattr(mesh, name), atol=1e-6)
    assert veld.info(mesh.to_open3d()).faces == 18


def test_open3d_of_tensors_comes_by_its_other_form(open3d):
    class Tensors:
        def to_legacy(self):
            return coloured().to_open3d()

    assert len(veld.Mesh.from_open3d(Tensors()).faces) == 18


def test_clouds_of_open3d(open3d):
    cloud = veld.Mesh(np.eye(3), colors=np.eye(3))
    back = veld.Mesh.from_open3d(cloud.to_open3d())
    np.testing.assert_allclose(back.vertices, np.eye(3))
    np.testing.assert_allclose(back.colors, np.eye(3))
    assert back.normals is None


def test_other_objects_are_refused():
    with pytest.raises(veld.InputError, match="a list is no mesh"):
        veld.info([1, 2])
