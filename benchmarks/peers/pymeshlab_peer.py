"""PyMeshLab on the inputs of scripts/compare; see peer.py."""
import importlib.metadata

import pymeshlab
from pymeshlab import PureValue

from peer import main


def loaded(inputs):
    meshes = pymeshlab.MeshSet(verbose=False)
    for path in inputs:
        meshes.load_new_mesh(path)
    return meshes


def read(clock, _, inputs):
    with clock:
        meshes = loaded(inputs)
    return {'faces': meshes.current_mesh().face_number()}


def write(clock, out, inputs):
    meshes = loaded(inputs)
    with clock:
        meshes.save_current_mesh(out)


def fill_flat(clock, out, inputs):
    meshes = loaded(inputs)
    with clock:
        meshes.meshing_close_holes(maxholesize=1000000)
    meshes.save_current_mesh(out)


def ball(clock, out, inputs, radii):
    meshes = loaded(inputs)
    with clock:
        for radius in radii:
            meshes.generate_surface_reconstruction_ball_pivoting(ballradius=PureValue(radius),
                                                                 clustering=5)
    meshes.save_current_mesh(out)


def clean(clock, out, inputs, least):
    meshes = loaded(inputs)
    with clock:
        meshes.meshing_remove_connected_component_by_face_number(mincomponentsize=least)
    meshes.save_current_mesh(out)


def normals(clock, out, inputs, neighbours):
    meshes = loaded(inputs)
    with clock:
        meshes.compute_normal_for_point_clouds(k=neighbours)
    meshes.save_current_mesh(out, save_vertex_normal=True)


main('PyMeshLab', importlib.metadata.version('pymeshlab'),
     {work.__name__: work for work in (read, write, fill_flat, ball, clean, normals)})
