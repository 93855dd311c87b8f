import json
import warnings

import algorithmveld as veld
import numpy as np
import pytest
from scans import RADIUS, grid, sphere_frames, sphere_mesh, sphere_photo


def open_sphere():
    """The sphere without the faces around its poles."""
    mesh = sphere_mesh()
    heights = np.abs(mesh.vertices[mesh.faces][..., 2]).max(axis=1)
    return veld.Mesh(mesh.vertices, mesh.faces[heights < 0.9 * RADIUS])


def test_fill_closes_what_is_open():
    mesh = veld.Mesh(*grid(7, hole=True))
    filled = veld.fill(mesh)
    assert filled.holes_before == 2
    assert filled.holes_after == 1
    assert filled.new_faces == len(filled.mesh.faces) - len(mesh.faces)
    assert [hole["method"] for hole in filled.closed] == ["trim"]
    assert "longer" in filled.open[0]["reason"] or filled.open[0]["reason"]
    assert len(mesh.faces) == 70


def test_fill_of_a_sphere_gives_a_sphere():
    filled = veld.fill(open_sphere(), max_perimeter=1000.0).mesh
    assert veld.info(filled).closed
    distance = np.linalg.norm(filled.vertices[np.unique(filled.faces)], axis=1)
    assert np.abs(distance - RADIUS).max() < 0.05 * RADIUS


def test_a_result_is_the_json_of_the_command():
    filled = veld.fill(veld.Mesh(*grid(7, hole=True)))
    values = filled.to_dict()
    assert json.loads(filled.to_json()) == values
    assert list(values) == [
        "holes_before", "holes_after", "new_faces", "new_vertices", "cut_faces",
        "markers_without_hole", "seconds", "open", "closed",
    ]  # fmt: skip
    values["open"].clear()
    assert filled.open
    assert "holes_after=1" in repr(filled)
    with pytest.raises(AttributeError, match="has no 'colour'"):
        _ = filled.colour


@pytest.mark.parametrize(
    ("settings", "reason"),
    [
        ({"colour": 1}, r"fill: 'colour' is not known here \(known: method "),
        ({"method": "glue"}, "fill: 'method' has to be one of auto, clip, core"),
        ({"rings": -1}, "fill: 'rings' has to be a whole number from 0"),
        ({"rings": 2.5}, "fill: 'rings' has to be a whole number"),
        ({"normal_angle": 181}, "fill: 'normal_angle' has to be a number from 0 to 180"),
        ({"max_perimeter": float("nan")}, "fill: 'max_perimeter' has to be a number"),
        ({"max_perimeter": "long"}, "fill: 'max_perimeter' has to be a number"),
        ({"max_edges": 10**30}, "fill: 'max_edges' has to be a whole number"),
        ({"markers": [[1, 2]]}, "fill: 'markers' has to be 1 rows of 3 numbers"),
        ({"method": object()}, "fill: a value of type object is no setting"),
    ],
)
def test_wrong_settings_have_the_reason_of_a_recipe(settings, reason):
    with pytest.raises(veld.InputError, match=reason):
        veld.fill(veld.Mesh(*grid(3)), **settings)


def test_settings_that_are_none_have_their_default():
    mesh = veld.Mesh(*grid(7, hole=True))
    assert veld.fill(mesh, max_perimeter=None, rings=None).holes_after == 1


def test_settings_may_be_numbers_and_arrays_of_numpy():
    mesh = veld.Mesh(*grid(7, hole=True))
    filled = veld.fill(
        mesh, method="markers", markers=np.array([[3.0, 3.0, 0.0]]), marker_radius=np.float32(2)
    )
    assert filled.closed[0]["method"] == "markers"


def test_signatures_and_texts_have_the_defaults_of_the_library():
    import inspect

    parameters = inspect.signature(veld.fill).parameters
    assert parameters["rings"].default == veld.defaults("fill")["rings"] == 3
    assert {"progress", "cancel", "threads"} < set(parameters)
    assert "rings: " in veld.fill.__doc__
    for name in ("merge", "align", "check", "holes", "fill", "repair", "normals", "keyframes",
                 "texture", "render", "sticks"):  # fmt: skip
        missing = set(veld.defaults(name)) - set(inspect.signature(getattr(veld, name)).parameters)
        assert not missing, name


def test_info_counts():
    info = veld.info(sphere_mesh())
    assert info.closed
    assert info.holes == 0
    assert info.components == 1
    np.testing.assert_allclose(info.bounding_box["max"][2], RADIUS)


def test_holes_are_told_by_their_rims():
    found = veld.holes(veld.Mesh(*grid(7, hole=True)), max_perimeter=10)
    assert [hole["edges"] for hole in found.holes] == [4]
    assert len(found.rims[0]) == 4
    assert found.holes[0]["perimeter"] == pytest.approx(4.0)


def test_holes_near_a_place():
    mesh = veld.Mesh(*grid(7, hole=True))
    assert len(veld.holes(mesh, near=(3, 3, 0), distance=3).holes) == 1
    assert len(veld.holes(mesh, near=(3, 3, 50), distance=3).holes) == 0
    with pytest.raises(veld.InputError, match="holes: 'distance' is missing"):
        veld.holes(mesh, near=(3, 3, 0))
    with pytest.raises(veld.InputError, match="holes: 'distance' is for 'near'"):
        veld.holes(mesh, distance=1)


def test_holes_of_markers():
    mesh = veld.Mesh(*grid(7, hole=True))
    found = veld.holes(mesh, markers=[[3.5, 3.5, 0]], match=2, marker_radius=2)
    assert [hole["edges"] for hole in found.holes] == [4]
    with pytest.raises(veld.InputError, match="'markers' is not together with 'near'"):
        veld.holes(mesh, markers=[[0, 0, 0]], match=1, marker_radius=1, max_perimeter=5)


def test_clean_runs_in_the_order_of_its_arguments():
    mesh = veld.Mesh(*grid(9))
    first = veld.clean(mesh, peel=0, min_faces=10)
    assert [step["step"] for step in first.steps] == ["peel", "min-faces"]
    second = veld.clean(mesh, min_faces=10, peel=0)
    assert [step["step"] for step in second.steps] == ["min-faces", "peel"]
    assert len(first.mesh.faces) < len(mesh.faces)


@pytest.mark.parametrize("no", [False, np.bool_(False), None])
def test_clean_does_not_do_what_is_false(no):
    cleaned = veld.clean(veld.Mesh(*grid(9)), non_manifold=no, peel=0)
    assert [step["step"] for step in cleaned.steps] == ["peel"]


def test_clean_takes_the_list_of_a_recipe():
    mesh = veld.Mesh(*grid(9))
    cleaned = veld.clean(mesh, clean_ups=[{"kind": "peel", "rings": 0}] * 2)
    assert len(cleaned.steps) == 2


@pytest.mark.parametrize(
    ("settings", "reason"),
    [
        ({}, "clean: nothing to do: name one of min_faces"),
        ({"strong": 5}, "clean: 'strong' needs 'rings'"),
        ({"rings": 5}, "clean: 'rings' is for 'strong'"),
        ({"min_faces": 0}, r"clean: clean_ups\[0\]: 'limit' has to be a whole number from 1"),
        ({"wash": 1}, "clean: 'wash' is not known here"),
        ({"markers": [[0, 0, 0]]}, "clean: 'markers' needs 'marker_radius'"),
    ],
)
def test_clean_refuses_what_makes_no_sense(settings, reason):
    with pytest.raises(veld.InputError, match=reason):
        veld.clean(veld.Mesh(*grid(3)), **settings)


def test_clean_takes_the_surface_near_markers():
    cleaned = veld.clean(veld.Mesh(*grid(9)), markers=[[4, 4, 0]], marker_radius=1.5)
    assert len(cleaned.mesh.faces) < 128


def test_merge_align_and_check_frames():
    frames = sphere_frames()
    check = veld.check(frames)
    assert check.distance < 1.0
    assert check.off == []
    merged = veld.merge(frames, max_hole_edges=20)
    assert merged.frames == 9
    assert len(merged.vertex_frames) == len(merged.mesh.vertices) == merged.vertices
    assert set(np.unique(merged.vertex_frames)) <= set(range(9))
    distance = np.linalg.norm(merged.mesh.vertices, axis=1)
    assert np.abs(distance - RADIUS).max() < 0.5
    assert merged.settings["max_hole_edges"] == 20
    assert merged.settings["spacing"] > 0


def test_align_moves_a_frame_back():
    frames = sphere_frames()
    poses = [frame.pose.copy() for frame in frames]
    poses[1][:3, 3] += (0.0, 0.6, 0.3)
    off = frames.with_poses(poses)
    aligned = veld.align(off)
    assert aligned.after < aligned.before
    assert len(aligned.poses) == len(frames)
    np.testing.assert_array_equal(aligned.aligned[1].pose, aligned.poses[1])
    np.testing.assert_array_equal(off[1].pose, poses[1])
    np.testing.assert_array_equal(frames[1].pose[:3, 3] + (0.0, 0.6, 0.3), poses[1][:3, 3])


def test_normals_look_to_the_sensor():
    cloud = veld.Mesh(sphere_mesh().vertices)
    outward = veld.normals(cloud).mesh
    assert (np.einsum("ij,ij->i", outward.normals, outward.vertices) > 0).all()
    inward = veld.normals(cloud, sensor=(0, 0, 0)).mesh
    assert (np.einsum("ij,ij->i", inward.normals, inward.vertices) < 0).all()


def test_normals_of_frames_are_those_of_all_points():
    frames = sphere_frames(24)
    result = veld.normals(frames)
    assert result.points == sum(len(frame.points) for frame in frames)
    assert result.turned_by == "frames"


def test_repair_makes_a_surface_of_points():
    cloud = veld.normals(veld.Mesh(sphere_mesh(24).vertices)).mesh
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", veld.VeldWarning)
        repaired = veld.repair(cloud)
    assert repaired.new_faces > 1000
    assert repaired.settings["spacing"] > 0
    assert len(repaired.mesh.faces) == repaired.new_faces


def test_texture_has_the_colours_of_the_photographs():
    photos = [sphere_photo(azimuth, 20.0) for azimuth in range(0, 360, 60)]
    mesh = sphere_mesh()
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", veld.VeldWarning)
        result = veld.texture(mesh, photos)
    assert result.photographs == 6
    textured = result.mesh
    assert textured.image.shape == (result.atlas_height, result.atlas_width, 3)
    height, width = textured.image.shape[:2]
    middles = textured.texcoords.mean(axis=1)
    column = np.clip((middles[:, 0] * width).astype(int), 0, width - 1)
    row = np.clip(((1 - middles[:, 1]) * height).astype(int), 0, height - 1)
    colours = textured.image[row, column].astype(int)
    z = textured.vertices[textured.faces][..., 2].mean(axis=1)
    upper = (z > 0.2 * RADIUS) & (z < 0.7 * RADIUS)
    lower = (z < -0.2 * RADIUS) & (z > -0.5 * RADIUS)
    assert (colours[upper, 0] > colours[upper, 2]).mean() > 0.98
    assert (colours[lower, 2] > colours[lower, 0]).mean() > 0.98


def test_keyframes_of_poses_and_of_photographs():
    photos = [sphere_photo(azimuth) for azimuth in range(0, 360, 30)]
    by_photos = veld.keyframes(photos, cells=2)
    by_poses = veld.keyframes([photo.pose for photo in photos], cells=2)
    assert by_photos.views == by_poses.views == 12
    chosen = [frame["view"] for frame in by_photos.frames]
    assert chosen == [frame["view"] for frame in by_poses.frames]
    assert 0 < len(chosen) < 12
    assert by_photos.frames[0]["image"].startswith("photo ")
    assert len(veld.keyframes(photos, method="sort").frames) == 12


def test_sticks_are_cut_out():
    theta = np.arange(24) * 2 * np.pi / 24
    ring = np.stack([2 * np.cos(theta), 2 * np.sin(theta), np.zeros(24)], axis=-1)
    vertices = np.concatenate([ring + np.array([0, 0, z]) for z in range(11)])
    low = (np.arange(10)[:, None] * 24 + np.arange(24)).ravel()
    right = (np.arange(10)[:, None] * 24 + (np.arange(24) + 1) % 24).ravel()
    faces = np.concatenate(
        [
            np.stack([low, right, right + 24], axis=-1),
            np.stack([low, right + 24, low + 24], axis=-1),
        ]
    )
    result = veld.sticks(veld.Mesh(vertices, faces), [[2, 0, 9, 4, 5]])
    assert len(result.meshes) == 1
    assert 0 < result.sticks[0]["faces"] < len(faces)
    assert result.meshes[0].vertices[:, 2].min() > 2


def test_threads_change_nothing():
    mesh = open_sphere()
    one = veld.fill(mesh, threads=1, max_perimeter=1000).mesh
    two = veld.fill(mesh, threads=2, max_perimeter=1000).mesh
    assert one.vertices.tobytes() == two.vertices.tobytes()
    assert one.faces.tobytes() == two.faces.tobytes()
    with pytest.raises(veld.InputError, match="'threads' has to be"):
        veld.fill(mesh, threads=-1)


def test_render_draws_the_mesh_in_its_colours():
    picture = veld.render(sphere_mesh(), width=80, height=60)
    assert picture.shape == (60, 80, 3)
    assert picture.dtype == np.uint8
    assert not np.array_equal(picture[30, 40], picture[0, 0])
    assert picture._repr_png_().startswith(b"\x89PNG")


def test_render_marks_what_is_new():
    mesh = veld.Mesh(*grid(7, hole=True))
    filled = veld.fill(mesh).mesh
    settings = {"width": 80, "height": 60, "azimuth": 0, "elevation": 0}
    plain = veld.render(filled, **settings)
    marked = veld.render(filled, compare=mesh, **settings)
    assert (plain != marked).any()
