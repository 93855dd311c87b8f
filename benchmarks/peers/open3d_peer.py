"""Open3D on the inputs of scripts/compare; see peer.py."""
import json
import os

import numpy
import open3d
import open3d.core

from peer import main

geometry = open3d.geometry


# Its readers and writers of files tell what went wrong by what they return alone.

def read_mesh(path):
    mesh = open3d.io.read_triangle_mesh(path)
    if not mesh.has_vertices():
        raise ValueError(f'{path}: not read')
    return mesh


def read_cloud(path):
    cloud = open3d.io.read_point_cloud(path)
    if not cloud.has_points():
        raise ValueError(f'{path}: not read')
    return cloud


def save(writer, path, result):
    if not writer(path, result):
        raise OSError(f'{path}: not written')


def read(clock, _, inputs):
    with clock:
        mesh = read_mesh(inputs[0])
    return {'faces': len(mesh.triangles)}


def write(clock, out, inputs):
    mesh = read_mesh(inputs[0])
    with clock:
        save(open3d.io.write_triangle_mesh, out, mesh)


def loops(clock, _, inputs):
    mesh = read_mesh(inputs[0])
    half_edges = geometry.HalfEdgeTriangleMesh.create_from_triangle_mesh(mesh)
    with clock:
        boundaries = half_edges.get_boundaries()
    return {'loops': len(boundaries), 'edges': sum(len(loop) for loop in boundaries)}


def fill_flat(clock, out, inputs):
    mesh = open3d.t.geometry.TriangleMesh.from_legacy(read_mesh(inputs[0]))
    with clock:
        filled = mesh.fill_holes(hole_size=1e9)
    save(open3d.io.write_triangle_mesh, out, filled.to_legacy())


def merge_points(clock, out, inputs, depth, threads):
    """The surface goes on where no point is; as its makers advise, what is thinnest is cut away."""
    cloud = read_cloud(inputs[0])
    with clock:
        mesh, density = geometry.TriangleMesh.create_from_point_cloud_poisson(
            cloud, depth=depth, n_threads=threads)
        mesh.remove_vertices_by_mask(numpy.asarray(density) < numpy.quantile(density, 0.02))
    save(open3d.io.write_triangle_mesh, out, mesh)


def merge_depths(clock, out, inputs, voxel):
    folder = inputs[0]
    with open(os.path.join(folder, 'cameras.json'), encoding='utf-8') as file:
        cameras = json.load(file)
    unit = 1.0 if cameras['units'].startswith('metre') else 0.001
    views = []
    for view in cameras['views']:
        depth = numpy.asarray(open3d.io.read_image(os.path.join(folder, view['depth']))).copy()
        depth[depth == 65535] = 0
        lens = [[view['fx'], 0, view['cx']], [0, view['fy'], view['cy']], [0, 0, 1]]
        pose = numpy.eye(4)
        pose[:3, :3], pose[:3, 3] = view['R'], numpy.array(view['t']) * unit
        views.append((open3d.t.geometry.Image(depth),
                      open3d.core.Tensor(lens, open3d.core.float64), open3d.core.Tensor(pose)))
    with clock:
        grid = open3d.t.geometry.VoxelBlockGrid(
            ('tsdf', 'weight'), (open3d.core.float32, open3d.core.float32), ((1), (1)),
            voxel / 1000, 16, 4000)
        for image, lens, pose in views:
            blocks = grid.compute_unique_block_coordinates(image, lens, pose, 1000.0, 8.0)
            grid.integrate(blocks, image, lens, pose, 1000.0, 8.0)
        mesh = grid.extract_triangle_mesh(weight_threshold=1.0).to_legacy()
    mesh.scale(1000.0, center=(0, 0, 0))
    save(open3d.io.write_triangle_mesh, out, mesh)


def ball(clock, out, inputs, radii):
    cloud = read_cloud(inputs[0])
    with clock:
        mesh = geometry.TriangleMesh.create_from_point_cloud_ball_pivoting(
            cloud, open3d.utility.DoubleVector(radii))
    save(open3d.io.write_triangle_mesh, out, mesh)


def clean(clock, out, inputs, least):
    mesh = read_mesh(inputs[0])
    with clock:
        piece_of, sizes, _ = mesh.cluster_connected_triangles()
        mesh.remove_triangles_by_mask(numpy.asarray(sizes)[numpy.asarray(piece_of)] < least)
        mesh.remove_unreferenced_vertices()
    save(open3d.io.write_triangle_mesh, out, mesh)


def normals(clock, out, inputs, neighbours):
    cloud = read_cloud(inputs[0])
    with clock:
        # It counts the point itself among its neighbours.
        cloud.estimate_normals(geometry.KDTreeSearchParamKNN(neighbours + 1))
        cloud.orient_normals_consistent_tangent_plane(neighbours)
    save(open3d.io.write_point_cloud, out, cloud)


main('Open3D', open3d.__version__,
     {work.__name__: work for work in (read, write, loops, fill_flat, merge_points, merge_depths,
                                       ball, clean, normals)})
