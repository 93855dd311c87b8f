"""Meshes of other packages, where these are installed."""

from __future__ import annotations

from typing import Any

import numpy as np

from ._errors import InputError
from ._mesh import Mesh


def to_trimesh(mesh: Mesh) -> Any:
    """A `Trimesh`, or a `PointCloud` of a mesh without faces."""
    import trimesh

    colors = None if mesh.colors is None else np.round(255 * np.clip(mesh.colors, 0, 1))
    bytes_ = None if colors is None else colors.astype(np.uint8)
    if len(mesh.faces) == 0:
        make_cloud: Any = trimesh.PointCloud
        return make_cloud(mesh.vertices, colors=bytes_)
    return trimesh.Trimesh(
        mesh.vertices,
        mesh.faces,
        vertex_normals=mesh.normals,
        vertex_colors=bytes_,
        process=False,
    )


def from_trimesh(other: Any) -> Mesh:
    """Of a `Trimesh` or a `PointCloud`."""
    if not hasattr(other, "vertices"):
        raise InputError(f"a {type(other).__name__} of trimesh is neither a mesh nor a cloud")
    faces = getattr(other, "faces", None)
    visual = getattr(other, "visual", None)
    colors = None
    if faces is None:
        given = np.asarray(getattr(other, "colors", ()))
    elif visual is not None and getattr(visual, "kind", None) == "vertex":
        given = np.asarray(visual.vertex_colors)
    else:
        given = np.empty(0)
    if given.ndim == 2 and len(given) == len(other.vertices):
        colors = given[:, :3]
    # What is not stored would be computed now, and be none of the scan's.
    cache = getattr(other, "_cache", None)
    stored = faces is not None and cache is not None and "vertex_normals" in cache
    return Mesh(
        other.vertices,
        faces,
        normals=other.vertex_normals if stored else None,
        colors=colors,
    )


def to_open3d(mesh: Mesh) -> Any:
    """A `TriangleMesh`, or a `PointCloud` of a mesh without faces."""
    import open3d

    def vectors(values: Any) -> Any:
        return open3d.utility.Vector3dVector(np.asarray(values, dtype=np.float64))

    is_cloud = len(mesh.faces) == 0
    if is_cloud:
        other = open3d.geometry.PointCloud(vectors(mesh.vertices))
    else:
        # It takes no array that is read only, though it copies what it takes.
        corners = open3d.utility.Vector3iVector(np.array(mesh.faces))
        other = open3d.geometry.TriangleMesh(vectors(mesh.vertices), corners)
    if mesh.normals is not None:
        setattr(other, "normals" if is_cloud else "vertex_normals", vectors(mesh.normals))
    if mesh.colors is not None:
        setattr(other, "colors" if is_cloud else "vertex_colors", vectors(mesh.colors))
    return other


def from_open3d(other: Any) -> Mesh:
    """Of a `TriangleMesh` or a `PointCloud`, of tensors too."""
    if hasattr(other, "to_legacy"):
        other = other.to_legacy()
    if hasattr(other, "triangles"):
        return Mesh(
            np.asarray(other.vertices),
            np.asarray(other.triangles),
            normals=np.asarray(other.vertex_normals) if other.has_vertex_normals() else None,
            colors=np.asarray(other.vertex_colors) if other.has_vertex_colors() else None,
        )
    if hasattr(other, "points"):
        return Mesh(
            np.asarray(other.points),
            normals=np.asarray(other.normals) if other.has_normals() else None,
            colors=np.asarray(other.colors) if other.has_colors() else None,
        )
    raise InputError(f"a {type(other).__name__} of Open3D is neither a mesh nor a cloud")
