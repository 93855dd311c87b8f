import copy
import gc
import pickle

import algorithmveld as veld
import numpy as np
import pytest
from scans import grid, sphere_mesh, tetrahedron


def test_arrays_come_back_as_they_were_given():
    vertices, faces = grid(5)
    mesh = veld.Mesh(vertices, faces)
    assert mesh.vertices.dtype == np.float32
    assert mesh.faces.dtype == np.int32
    np.testing.assert_array_equal(mesh.vertices, vertices)
    np.testing.assert_array_equal(np.sort(mesh.faces, axis=1), np.sort(faces, axis=1))


def test_corners_keep_their_order_round_the_face():
    vertices, faces = tetrahedron()
    mesh = veld.Mesh(vertices, faces)
    for given, kept in zip(faces, mesh.faces, strict=True):
        assert any((np.roll(given, k) == kept).all() for k in range(3))


def test_vertices_are_the_same_memory_at_each_call():
    mesh = veld.Mesh(*grid(5))
    for name in ("vertices", "faces"):
        first, second = getattr(mesh, name), getattr(mesh, name)
        assert first.__array_interface__["data"] == second.__array_interface__["data"]


@pytest.mark.parametrize("name", ["vertices", "faces", "normals", "colors"])
def test_arrays_refuse_to_be_written(name):
    vertices, faces = grid(3)
    up = np.tile([0.0, 0.0, 1.0], (9, 1))
    mesh = veld.Mesh(vertices, faces, normals=up, colors=up)
    with pytest.raises(ValueError, match="read-only"):
        getattr(mesh, name)[0] = 0


def test_changing_what_was_given_leaves_the_mesh_alone():
    vertices, faces = grid(3)
    mesh = veld.Mesh(vertices, faces)
    vertices[0] = 99
    faces[0] = 0
    assert mesh.vertices[0, 0] == 0
    assert set(mesh.faces[0]) != {0}


def test_arrays_keep_their_mesh_alive():
    array = sphere_mesh().vertices
    before = array.copy()
    gc.collect()
    junk = [np.full(array.size, np.nan, np.float32) for _ in range(50)]
    np.testing.assert_array_equal(array, before)
    assert len(junk) == 50


def test_a_cloud_has_no_faces():
    mesh = veld.Mesh([[0, 0, 0], [1, 2, 3]])
    assert mesh.vertices.shape == (2, 3)
    assert mesh.faces.shape == (0, 3)
    assert mesh.normals is None
    assert mesh.colors is None
    assert mesh.texcoords is None
    assert mesh.image is None


def test_an_empty_mesh_has_arrays_of_its_shapes():
    mesh = veld.Mesh(np.zeros((0, 3)))
    assert mesh.vertices.shape == (0, 3)
    assert mesh.faces.shape == (0, 3)


def test_numbers_of_other_types_and_orders_are_taken():
    vertices, faces = grid(4)
    other = veld.Mesh(np.asfortranarray(vertices.astype(np.float64)), faces.astype(np.uint16))
    np.testing.assert_array_equal(other.vertices, vertices)
    assert veld.Mesh(vertices[::-1][::-1].tolist(), faces.tolist()).faces.shape == faces.shape


def test_colours_of_bytes_become_parts_of_one():
    mesh = veld.Mesh(np.eye(3), colors=np.array([[255, 0, 51]] * 3, np.uint8))
    np.testing.assert_allclose(mesh.colors[0], [1.0, 0.0, 0.2], rtol=1e-6)


@pytest.mark.parametrize("colors", [np.eye(3, dtype=int), 255 * np.eye(3), -np.eye(3)])
def test_colours_of_other_numbers_are_refused(colors):
    with pytest.raises(veld.InputError, match="'colors' has to be"):
        veld.Mesh(np.eye(3), colors=colors)
    with pytest.raises(veld.InputError, match="'colors' has to be"):
        veld.Mesh(np.eye(3)).replace(colors=colors)


def test_an_image_needs_texture_coordinates():
    with pytest.raises(veld.InputError, match="'image' needs 'texcoords'"):
        veld.Mesh(*grid(3), image=np.zeros((2, 2, 3), np.uint8))


def test_values_that_a_file_brought_along_go_with_a_warning(tmp_path):
    head = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
    head += "property float z\nproperty float quality\nend_header\n"
    (tmp_path / "cloud.ply").write_text(head + "0 0 0 1\n1 0 0 2\n0 1 0 3\n")
    mesh = veld.load_mesh(tmp_path / "cloud.ply")
    for use in (pickle.dumps, lambda it: it.replace(colors=np.eye(3))):
        with pytest.warns(veld.VeldWarning, match="quality") as caught:
            use(mesh)
        assert caught[0].message.code == "VALUES_DROPPED"
        assert caught[0].filename == __file__
    assert copy.copy(mesh) is copy.deepcopy(mesh) is mesh


@pytest.mark.parametrize(
    ("vertices", "faces", "reason"),
    [
        (np.zeros((3, 2)), None, r"'vertices' has to be of shape \(n, 3\), and is \(3, 2\)"),
        (np.zeros(3), None, r"'vertices' has to be of shape \(n, 3\), and is \(3,\)"),
        ([["a", "b", "c"]], None, "'vertices' has to hold numbers"),
        ([[0, 0, 0], [0, np.nan, 0]], None, "'vertices' is not finite in row 1"),
        ([[0, 0, 1e300]], None, "'vertices' is not finite in row 0"),
        (np.eye(3), [[0, 1, 3]], "'faces' names vertex 3 in row 0, but there are only 3"),
        (np.eye(3), [[0, 1, 2], [0, -1, 2]], "'faces' names vertex -1 in row 1"),
        (np.eye(3), [[0, 1, 2**40]], "'faces' names vertex 1099511627776"),
        (np.eye(3), [[0, 1, 2, 0]], r"'faces' has to be of shape \(m, 3\), and is \(1, 4\)"),
        (np.eye(3), [[0.0, 1.0, 2.0]], "'faces' has to hold whole numbers"),
    ],
)
def test_arrays_that_are_no_mesh_are_refused(vertices, faces, reason):
    with pytest.raises(veld.InputError, match=reason):
        veld.Mesh(vertices, faces)


@pytest.mark.parametrize("channel", ["normals", "colors"])
def test_channels_need_a_row_for_each_vertex(channel):
    with pytest.raises(veld.InputError, match=f"'{channel}' has 2 rows for 3 vertices"):
        veld.Mesh(np.eye(3), **{channel: np.zeros((2, 3))})


def test_what_no_half_edge_mesh_holds_is_mended_with_a_warning():
    fins = [[0, 1, 2], [1, 0, 3], [0, 1, 4]]
    vertices = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, -1, 0], [0, 0, 1]]
    with pytest.warns(veld.VeldWarning) as caught:
        mesh = veld.Mesh(vertices, fins)
    assert [warning.message.code for warning in caught] == ["MESH_MENDED"]
    assert caught[0].filename == __file__
    assert len(mesh.faces) == 3
    assert len(mesh.vertices) == 7


def test_replace_makes_a_mesh_with_the_same_faces():
    mesh = veld.Mesh(*grid(4), normals=np.tile([0, 0, 1.0], (16, 1)))
    moved = mesh.replace(vertices=mesh.vertices + 1)
    np.testing.assert_array_equal(moved.faces, mesh.faces)
    np.testing.assert_array_equal(moved.vertices, mesh.vertices + 1)
    assert moved.normals is None
    coloured = mesh.replace(colors=np.ones((16, 3)))
    np.testing.assert_array_equal(coloured.normals, mesh.normals)
    assert mesh.colors is None


def test_texture_coordinates_stay_with_their_corners():
    vertices, faces = grid(3)
    places = vertices[faces][..., :2] / 2
    image = np.arange(48, dtype=np.uint8).reshape(4, 4, 3)
    mesh = veld.Mesh(vertices, faces, texcoords=places, image=image)
    np.testing.assert_allclose(mesh.texcoords, mesh.vertices[mesh.faces][..., :2] / 2)
    np.testing.assert_array_equal(mesh.image, image)


def test_pickles_bring_everything_back():
    vertices, faces = grid(3)
    mesh = veld.Mesh(
        vertices,
        faces,
        colors=np.linspace(0, 1, 27).reshape(9, 3),
        texcoords=vertices[faces][..., :2],
        image=np.zeros((2, 2, 3), np.uint8),
    )
    back = pickle.loads(pickle.dumps(mesh))
    for name in ("vertices", "faces", "colors", "texcoords", "image"):
        np.testing.assert_array_equal(getattr(back, name), getattr(mesh, name))
    assert back.normals is None


def test_repr_says_how_large_it_is():
    assert repr(veld.Mesh(*grid(3))) == "<Mesh: 9 vertices, 8 faces>"
