"""The works that are compared: for each its cases, and for each case the programs and a judge."""
from typing import NamedTuple

from judges import Faces, Loops, Normals, Shape


class Entry(NamedTuple):
    """A program in a case. '{out}' in its arguments is the file for its result."""
    program: str
    label: str
    arguments: list
    timing: str = ''  # of veld: the step whose time counts, where JSON has no seconds


class Case(NamedTuple):
    name: str
    judge: object
    entries: list


def veld(label, *arguments, timing=''):
    return Entry('veld', f'`{label}`', [str(word) for word in arguments], timing)


def peer(program, label, work, *inputs):
    return Entry(program, label, [work, '{out}.ply', *(str(word) for word in inputs)])


class Works:
    """`inputs` makes the files, `run_veld` and `distances` are for judges."""

    def __init__(self, inputs, run_veld, distances, threads):
        self.inputs, self.run_veld, self.distances = inputs, run_veld, distances
        self.threads = threads

    @staticmethod
    def names():
        return [name for name in vars(Works) if not name.startswith('_') and name != 'names']

    def _shape(self, truth=None, scale=1):
        return Shape(self.run_veld, self.distances, truth, scale)

    def files(self):
        mesh = self.inputs.layers
        yield Case('reading', Faces(), [
            veld('veld info', 'info', mesh, timing='read-mesh'),
            peer('cgal', 'CGAL', 'read', mesh),
            peer('open3d', 'Open3D', 'read', mesh),
            peer('pymeshlab', 'PyMeshLab', 'read', mesh)])
        yield Case('writing', self._shape(), [
            veld('veld clean', 'clean', mesh, '-o', '{out}.ply', '--min-vertices', '1',
                 timing='write-mesh'),
            peer('cgal', 'CGAL', 'write', mesh),
            peer('open3d', 'Open3D', 'write', mesh),
            peer('pymeshlab', 'PyMeshLab', 'write', mesh)])

    def loops(self):
        mesh = self.inputs.layers
        yield Case('raw layers', Loops(), [
            veld('veld holes', 'holes', mesh, timing='find-holes'),
            peer('cgal', 'CGAL extract_boundary_cycles', 'loops', mesh),
            peer('open3d', 'Open3D get_boundaries', 'loops', mesh)])

    def flat(self):
        for name, mesh, truth in (('bunny', self.inputs.bunny, None),
                                  ('head', self.inputs.cut_head, self.inputs.head)):
            yield Case(name, self._shape(truth), [
                *(veld(f'veld fill --method {method}', 'fill', mesh, '-o', '{out}.ply', '--method',
                       method, '--max-perimeter', '0') for method in ('trim', 'clip')),
                peer('cgal', 'CGAL triangulate_hole', 'fill_flat', mesh),
                peer('cgal', 'the same, every split', 'fill_flat', mesh, 'all'),
                peer('open3d', 'Open3D fill_holes', 'fill_flat', mesh),
                peer('pymeshlab', 'PyMeshLab close_holes', 'fill_flat', mesh)])

    def fair(self):
        for name, mesh, truth in (('bunny', self.inputs.bunny, None),
                                  ('head', self.inputs.cut_head, self.inputs.head)):
            yield Case(name, self._shape(truth), [
                *(veld(f'veld fill --method {method}', 'fill', mesh, '-o', '{out}.ply', '--method',
                       method, '--max-perimeter', '0') for method in ('core', 'whole')),
                peer('cgal', 'CGAL triangulate_refine_and_fair_hole', 'fill_fair', mesh)])

    def merge(self):
        yield Case('range scans', self._shape(self.inputs.bunny), [
            veld('veld merge', 'merge', self.inputs.real('range_bunny', 'bun.conf'), '-o',
                 '{out}.ply', '--scale', '1000'),
            peer('open3d', 'Open3D Poisson, depth 8', 'merge_points', self.inputs.bunny_points,
                 'depth=8', f'threads={self.threads}')])
        room = self.inputs.real('rgbd_room')
        yield Case('depth images', self._shape(), [
            veld('veld merge', 'merge', room, '-o', '{out}.ply'),
            *(peer('open3d', f'Open3D VoxelBlockGrid, {voxel} mm', 'merge_depths', room,
                   f'voxel={voxel}') for voxel in (10, 20))])

    def ball(self):
        inputs = self.inputs
        for name, mesh, points, truth in (
                ('head', inputs.head, inputs.head_points_with_normals, inputs.head),
                ('bunny', inputs.merged, inputs.merged_points_with_normals, inputs.bunny)):
            edge = inputs.mean_edge(mesh)
            radii = [round(k * edge, 4) for k in (1, 1.5, 2, 3, 4)]
            listed = 'radii=' + ','.join(map(str, radii))
            yield Case(name, self._shape(truth), [
                veld('veld repair', 'repair', points, '-o', '{out}.ply',
                     *(word for radius in radii for word in ('--radius', radius))),
                peer('open3d', 'Open3D ball pivoting', 'ball', points, listed),
                peer('pymeshlab', 'PyMeshLab ball pivoting', 'ball', points, listed)])

    def clean(self):
        mesh = self.inputs.layers
        yield Case('raw layers', self._shape(), [
            veld('veld clean --min-faces 100', 'clean', mesh, '-o', '{out}.ply', '--min-faces',
                 '100'),
            peer('cgal', 'CGAL keep_large_connected_components', 'clean', mesh, '101'),
            peer('open3d', 'Open3D cluster_connected_triangles', 'clean', mesh, 'least=101'),
            peer('pymeshlab', 'PyMeshLab remove_connected_component', 'clean', mesh, 'least=101')])

    def normals(self):
        points = self.inputs.head_points
        yield Case('head', Normals(self.inputs.head_normals), [
            veld('veld normals', 'normals', points, '-o', '{out}.ply', '--neighbours', '16'),
            peer('open3d', 'Open3D estimate and orient', 'normals', points, 'neighbours=16'),
            peer('pymeshlab', 'PyMeshLab compute_normal_for_point_clouds', 'normals', points,
                 'neighbours=16')])
