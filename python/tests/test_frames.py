import algorithmveld as veld
import numpy as np
import pytest
from scans import RADIUS, sphere_frame, sphere_frames, sphere_photo


def plane(rows=6, columns=8):
    y, x = np.mgrid[0:rows, 0:columns].astype(float)
    return np.stack([x, y, np.zeros_like(x)], axis=-1)


def test_points_that_are_not_there_are_left_out():
    points = plane()
    points[2, 3] = np.nan
    frames = veld.Frames([veld.Frame(points)])
    assert len(frames) == 1
    frame = frames[0]
    assert frame.shape == (6, 8)
    assert frame.points.shape == (47, 3)
    assert [2, 3] not in frame.cells.tolist()
    np.testing.assert_allclose(np.abs(frame.normals[:, 2]), 1.0)


def test_points_lie_where_the_pose_says():
    pose = np.array([[0, -1, 0, 10], [1, 0, 0, 20], [0, 0, 1, 30], [0, 0, 0, 1.0]])
    frame = veld.Frames([veld.Frame(plane(), pose)])[0]
    np.testing.assert_array_equal(frame.pose, pose)
    np.testing.assert_allclose(
        frame.global_points, frame.points[:, [1, 0, 2]] * [-1, 1, 1] + [10, 20, 30]
    )


def test_scale_makes_millimetres():
    pose = np.eye(4)
    pose[0, 3] = 2.0
    frame = veld.Frames([veld.Frame(plane(), pose)], scale=1000)[0]
    assert frame.points.max() == 7000
    assert frame.pose[0, 3] == 2000


def test_views_of_frames_refuse_to_be_written():
    frame = sphere_frames(24)[0]
    for name in ("points", "cells", "normals"):
        with pytest.raises(ValueError, match="read-only"):
            getattr(frame, name)[0] = 0


def test_frames_and_photographs_keep_what_they_were_made_of():
    arrays = {"points": plane(), "normals": plane(), "colors": np.zeros((6, 8, 3))}
    arrays |= {"pose": np.eye(4), "cells": np.ones((6, 8), bool)}
    arrays = {name: np.ascontiguousarray(array, np.float32) for name, array in arrays.items()}
    frame = veld.Frame(**arrays)
    image, pose = np.zeros((4, 4, 3), np.uint8), np.eye(4)
    photo = veld.Photo(image, (1, 1, 1, 1), pose)
    for given in (*arrays.values(), image, pose):
        given[:] = 1
    assert frame.points[2, 3].tolist() == [3, 2, 0]
    assert not frame.colors.any()
    assert not photo.image.any()
    for made in (frame, photo):
        np.testing.assert_array_equal(made.pose, np.eye(4))
    for array in (frame.points, frame.normals, frame.colors, frame.pose, frame.cells, photo.image):
        with pytest.raises(ValueError, match="read-only"):
            array[0] = 1
    for made in (frame, photo):
        for name in ("pose", "name"):
            with pytest.raises(AttributeError):
                setattr(made, name, None)


def test_depths_become_points_on_the_sphere():
    frame = veld.Frames([sphere_frame(30, 20)])[0]
    distance = np.linalg.norm(frame.global_points, axis=1)
    np.testing.assert_allclose(distance, RADIUS, rtol=1e-4)
    outward = frame.normals @ frame.pose[:3, :3].T
    assert (np.einsum("ij,ij->i", outward, frame.global_points) > 0).all()


def test_no_face_crosses_a_jump_of_depth():
    depth = np.full((10, 10), 500.0)
    depth[:, 5:] = 700.0
    frame = veld.Frame.from_depth(depth, (100, 100, 4.5, 4.5))
    assert not frame.cells[:, 4].any()
    assert frame.cells[:9, :4].all()
    assert not frame.cells[9].any()


def test_colours_of_frames_become_those_of_the_mesh():
    frames = []
    for azimuth in range(0, 360, 60):
        frame = sphere_frame(azimuth)
        colors = np.zeros(frame.points.shape, np.uint8)
        colors[..., 1] = 255
        frames.append(veld.Frame(frame.points, frame.pose, colors=colors, sensor="origin"))
    merged = veld.merge(veld.Frames(frames)).mesh
    np.testing.assert_allclose(merged.colors, [[0, 1, 0]] * len(merged.vertices), atol=1e-6)


def test_frames_are_a_sequence():
    frames = sphere_frames(24)
    assert frames[-1].name == frames[len(frames) - 1].name
    assert len(frames[2:4]) == 2
    assert len(list(frames)) == len(frames)
    with pytest.raises(IndexError, match="only 9 frames"):
        frames[9]


@pytest.mark.parametrize(
    ("make", "reason"),
    [
        (lambda: veld.Frame(np.zeros((4, 3))), r"'points' has to be of shape \(rows, columns, 3\)"),
        (lambda: veld.Frame(plane(), np.eye(3)), r"'pose' has to be of shape \(4, 4\)"),
        (lambda: veld.Frame(plane(), np.full((4, 4), np.nan)), "'pose' is not finite"),
        (lambda: veld.Frame(plane(), np.ones((4, 4))), "the last row of 'pose'"),
        (lambda: veld.Frame(plane(), normals=plane(5)), "'normals' has to be of shape"),
        (lambda: veld.Frame(plane(), colors=plane()), "'colors' has to be from 0 to 1, or uint8"),
        (lambda: veld.Frame(plane(), colors=plane().astype(int)), "'colors' has to be uint8, or"),
        (lambda: veld.Frame(plane(), cells=[[True]]), "'cells' has to be of shape"),
        (lambda: veld.Frames([veld.Frame(plane(), sensor="left")]), "'sensor' has to be one of"),
        (lambda: veld.Frame.from_depth([[1.0]], (1, 2, 3)), "'intrinsics' has to be fx, fy"),
        (lambda: veld.Frame.from_depth([[1.0]], (0, 1, 2, 3)), "'intrinsics' has to be fx, fy"),
        (lambda: veld.Frames([]), "holds no frame that can be used"),
        (lambda: veld.merge(3), "a int is no list of frames"),
        (lambda: sphere_frames(24).with_poses([np.eye(4)]), "has 1 pose for 9 frames"),
    ],
)
def test_frames_that_cannot_be_are_refused(make, reason):
    with pytest.raises(veld.InputError, match=reason):
        make()


def test_a_frame_whose_pose_is_no_motion_is_left_out():
    with pytest.warns(veld.VeldWarning, match="FRAME_LEFT_OUT"):
        frames = veld.Frames([veld.Frame(plane()), veld.Frame(plane(), np.diag([2, 2, 2, 1]))])
    assert len(frames) == 1
    assert frames.left_out == 1


def test_photographs_come_back_as_they_were_given():
    photo = sphere_photo(30)
    photos = veld.Photos([photo, sphere_photo(60)])
    assert len(photos) == 2
    np.testing.assert_array_equal(photos[0].image, photo.image)
    np.testing.assert_array_equal(photos[0].pose, photo.pose)
    assert photos[0].intrinsics == photo.intrinsics
    assert photos[0].name == "photo 30"
    assert not photos[0].image.flags.writeable


@pytest.mark.parametrize(
    ("make", "reason"),
    [
        (lambda: veld.Photos([]), "has 0 views for 0 photographs"),
        (lambda: veld.Photo(np.zeros((4, 4)), (1, 1, 1, 1), np.eye(4)), "'image' has to be"),
        (
            lambda: veld.Photos(
                [
                    veld.Photo(
                        np.zeros((4, 4, 3), np.uint8),
                        (1, 1, 1, 1),
                        2 * np.eye(4) - np.diag([0, 0, 0, 1]),
                    )
                ]
            ),
            "'R' is no rotation",
        ),
    ],
)
def test_photographs_that_cannot_be_are_refused(make, reason):
    with pytest.raises(veld.InputError, match=reason):
        make()
