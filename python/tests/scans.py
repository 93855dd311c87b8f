"""Meshes and scans made by code, small enough that every test makes its own."""

from __future__ import annotations

import algorithmveld as veld
import numpy as np

RADIUS = 50.0
CENTRE = np.array([0.0, 0.0, 0.0])


def grid(n: int, hole: bool = False) -> tuple[np.ndarray, np.ndarray]:
    """A flat grid of n x n vertices, 1 mm apart; perhaps without the two faces in its middle."""
    y, x = np.mgrid[0:n, 0:n]
    vertices = np.stack([x, y, np.zeros_like(x)], axis=-1).reshape(-1, 3).astype(np.float32)
    corner = (np.arange(n - 1)[:, None] * n + np.arange(n - 1)).ravel()
    lower = np.stack([corner, corner + 1, corner + n + 1], axis=-1)
    upper = np.stack([corner, corner + n + 1, corner + n], axis=-1)
    faces = np.stack([lower, upper], axis=1).reshape(-1, 3)
    if hole:
        middle = (n - 1) // 2 * n  # the cell in row and column (n - 1) / 2
        faces = np.delete(faces, [2 * middle, 2 * middle + 1], axis=0)
    return vertices, faces.astype(np.int32)


def tetrahedron() -> tuple[np.ndarray, np.ndarray]:
    """Four faces that look outwards."""
    vertices = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]], np.float32)
    faces = np.array([[0, 2, 1], [0, 1, 3], [1, 2, 3], [0, 3, 2]], np.int32)
    return vertices, faces


def camera_pose(azimuth: float, elevation: float, distance: float = 200.0) -> np.ndarray:
    """From the coordinates of a camera that looks at the centre, to global ones. Degrees."""
    a, e = np.radians([azimuth, elevation])
    place = distance * np.array([np.cos(e) * np.cos(a), np.cos(e) * np.sin(a), np.sin(e)])
    forward = -place / np.linalg.norm(place)
    right = np.cross(forward, [0.0, 0.0, 1.0])
    right /= np.linalg.norm(right)
    pose = np.eye(4)
    pose[:3, 0], pose[:3, 1], pose[:3, 2] = right, np.cross(forward, right), forward
    pose[:3, 3] = place
    return pose


def sphere_depths(pose: np.ndarray, size: int, focal: float) -> np.ndarray:
    """Depths of a sphere about the centre along the axis of a camera; NaN beside it."""
    row, column = np.mgrid[0:size, 0:size]
    middle = (size - 1) / 2
    rays = np.stack(
        [(column - middle) / focal, (row - middle) / focal, np.ones((size, size))], axis=-1
    )
    place = pose[:3, :3].T @ (CENTRE - pose[:3, 3])
    a = (rays**2).sum(axis=-1)
    b = rays @ place
    square = b**2 - a * (place @ place - RADIUS**2)
    with np.errstate(invalid="ignore"):
        return np.where(square > 0, (b - np.sqrt(square)) / a, np.nan)


def sphere_frame(azimuth: float, elevation: float = 0.0, size: int = 48) -> veld.Frame:
    """A frame of a depth camera that looks at the sphere."""
    pose = camera_pose(azimuth, elevation)
    focal = 1.6 * size
    intrinsics = (focal, focal, (size - 1) / 2, (size - 1) / 2)
    depths = sphere_depths(pose, size, focal)
    return veld.Frame.from_depth(depths, intrinsics, pose, name=f"from {azimuth} {elevation}")


def sphere_frames(size: int = 48) -> veld.Frames:
    """Frames around the sphere, none of which sees it from below."""
    around = [sphere_frame(azimuth, 15.0, size) for azimuth in range(0, 360, 60)]
    above = [sphere_frame(azimuth, 60.0, size) for azimuth in range(0, 360, 120)]
    return veld.Frames([*around, *above], name="a sphere")


def sphere_mesh(n: int = 40) -> veld.Mesh:
    """The sphere as a grid of latitudes and longitudes, with a vertex at each pole."""
    theta = np.linspace(0, np.pi, n)[1:-1]
    phi = np.arange(2 * n) * np.pi / n
    t, p = np.meshgrid(theta, phi, indexing="ij")
    rings = np.stack([np.sin(t) * np.cos(p), np.sin(t) * np.sin(p), np.cos(t)], axis=-1)
    vertices = RADIUS * np.concatenate([rings.reshape(-1, 3), [[0, 0, 1], [0, 0, -1]]])
    m, rows = 2 * n, n - 2
    index = np.arange(rows * m).reshape(rows, m)
    right = np.roll(index, -1, axis=1)
    quads = (index[:-1], index[1:], right[1:], right[:-1])
    a, b, c, d = (q.ravel() for q in quads)
    top, bottom = rows * m, rows * m + 1
    faces = np.concatenate(
        [
            np.stack([a, b, c], axis=-1),
            np.stack([a, c, d], axis=-1),
            np.stack([np.full(m, top), index[0], right[0]], axis=-1),
            np.stack([np.full(m, bottom), right[-1], index[-1]], axis=-1),
        ]
    )
    return veld.Mesh(vertices, faces)


def sphere_photo(azimuth: float, elevation: float = 0.0, size: int = 160) -> veld.Photo:
    """A photograph of the sphere, whose upper half is red and whose lower half is blue."""
    pose = camera_pose(azimuth, elevation)
    focal = 1.6 * size
    depths = sphere_depths(pose, size, focal)
    row, column = np.mgrid[0:size, 0:size]
    middle = (size - 1) / 2
    places = np.stack(
        [(column - middle) / focal * depths, (row - middle) / focal * depths, depths], axis=-1
    )
    z = (places @ pose[:3, :3].T + pose[:3, 3])[..., 2]
    image = np.zeros((size, size, 3), np.uint8)
    image[z > 0] = (200, 30, 30)
    image[z <= 0] = (30, 30, 200)
    to_camera = np.linalg.inv(pose)
    return veld.Photo(image, (focal, focal, middle, middle), to_camera, name=f"photo {azimuth}")
