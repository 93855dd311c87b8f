"""Inputs of the works, made of real scans once a run. All lengths are millimetres."""
import functools
import math
import os

import ply


def cross(a, b):
    return a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]


def vertex_normals(points, faces):
    """Sums of the normals of the faces around, which weighs them by their areas; not of length 1."""
    sums = [[0.0, 0.0, 0.0] for _ in points]
    for face in faces:
        p, q, r = (points[v] for v in face)
        normal = cross([q[i] - p[i] for i in range(3)], [r[i] - p[i] for i in range(3)])
        for v in face:
            for i in range(3):
                sums[v][i] += normal[i]
    return sums


def unit(vector):
    length = math.hypot(*vector)
    return tuple(x / length for x in vector) if length > 0 else (0.0, 0.0, 0.0)


def spread(points, number):
    """So many points, each as far as can be from those before it."""
    chosen, nearest = [points[0]], [math.inf] * len(points)
    while len(chosen) < number:
        nearest = [min(d, math.dist(p, chosen[-1])) for d, p in zip(nearest, points)]
        chosen.append(points[nearest.index(max(nearest))])
    return chosen


class Inputs:
    """`veld(arguments)` runs the program and gives its JSON back."""

    def __init__(self, data, work, veld):
        self.data, self.work, self.veld = data, work, veld

    def _path(self, name):
        return os.path.join(self.work, name)

    def real(self, *names):
        path = os.path.join(self.data, *names)
        if not os.path.exists(path):
            raise FileNotFoundError(f'{path}: no such file')
        return path

    @functools.cached_property
    def layers(self):
        """The layers of fifteen range scans side by side, without vertices that are no manifold."""
        path = self._path('layers.ply')
        self.veld(['clean', self.real('mesh_large', 'dragon_stand_raw_layers.ply'), '-o', path,
                   '--non-manifold', '--min-vertices', '1'])
        return path

    def _in_millimetres(self, name):
        """A published mesh in metres, without the points that no face has."""
        tidy, path = self._path('tidy-' + name), self._path(name)
        self.veld(['clean', self.real('meshes_holes', name), '-o', tidy, '--min-vertices', '1'])
        points = [tuple(1000.0 * x for x in point) for point in ply.read_points(tidy)]
        ply.write(path, points, ply.read_faces(tidy))
        return path

    @functools.cached_property
    def bunny(self):
        return self._in_millimetres('bun_zipper.ply')

    @functools.cached_property
    def head(self):
        return self._in_millimetres('igea.ply')

    @functools.cached_property
    def cut_head(self):
        """The head with forty round holes of about 50 edges."""
        path, places = self._path('cut-head.ply'), self._path('places.txt')
        with open(places, 'w', encoding='ascii') as file:
            for point in spread(ply.read_points(self.head), 40):
                print(*point, file=file)
        self.veld(['clean', self.head, '-o', path, '--markers', places, '--marker-radius', '3',
                   '--min-vertices', '1'])
        return path

    @functools.cached_property
    def head_normals(self):
        points, faces = ply.read_points(self.head), ply.read_faces(self.head)
        return [unit(normal) for normal in vertex_normals(points, faces)]

    @functools.cached_property
    def head_points(self):
        path = self._path('head-points.ply')
        ply.write(path, ply.read_points(self.head))
        return path

    @functools.cached_property
    def head_points_with_normals(self):
        path = self._path('head-points-with-normals.ply')
        ply.write(path, ply.read_points(self.head), normals=self.head_normals)
        return path

    @functools.cached_property
    def merged(self):
        """The bunny as it comes out of merging ten range scans."""
        path = self._path('merged.ply')
        self.veld(['merge', self.real('range_bunny', 'bun.conf'), '-o', path, '--scale', '1000'])
        return path

    @functools.cached_property
    def merged_points_with_normals(self):
        path = self._path('merged-points-with-normals.ply')
        points, faces = ply.read_points(self.merged), ply.read_faces(self.merged)
        ply.write(path, points, normals=[unit(n) for n in vertex_normals(points, faces)])
        return path

    def mean_edge(self, mesh):
        return self.veld(['info', mesh])['average_edge_length']

    @functools.cached_property
    def bunny_points(self):
        """The points of ten range scans in one cloud, with normals that look at the scanner."""
        path = self._path('bunny-points.ply')
        self.veld(['normals', self.real('range_bunny', 'bun.conf'), '-o', path, '--scale', '1000'])
        return path
