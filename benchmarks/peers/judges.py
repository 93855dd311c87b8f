"""Judges of results, the same for every program."""
import math
import subprocess

import ply


class Faces:
    """How many faces the program counted."""

    columns = ['faces']

    def cells(self, answer, _):
        return [answer['faces']]


class Loops:
    """How many loops of how many edges the program found."""

    columns = ['loops', 'edges']

    def cells(self, answer, _):
        if 'holes' in answer:
            return [len(answer['holes']), sum(hole['edges'] for hole in answer['holes'])]
        return [answer['loops'], answer['edges']]


class Shape:
    """How sound a mesh is, and how far from a true surface, if there is one.

    `veld(arguments)` runs the program; `distances` measures between two meshes, and `scale` turns
    the lengths of the truth into millimetres."""

    def __init__(self, veld, distances=None, truth=None, scale=1):
        self.columns = ['faces', 'pieces', 'holes', 'border edges',
                        'not manifold: edges / vertices', 'turned faces']
        if truth:
            self.columns += ['to the truth: mean / 99 %', 'from it']
        self._veld, self._distances = veld, distances
        self._truth, self._scale = truth, scale

    def cells(self, _, out):
        info = self._veld(['info', out])
        contents = info['contents']
        cells = [info['faces'], info['components'], info['holes'], info['boundary_edges'],
                 f"{contents['crowded_edges']} / {info['non_manifold_vertices']}",
                 contents['turned_faces']]
        if self._truth:
            lines = subprocess.run([self._distances, out, self._truth, str(self._scale)],
                                   stdout=subprocess.PIPE, text=True, check=True).stdout
            for words in map(str.split, lines.splitlines()):
                cells.append(f'{words[2]} / {words[6]}')
        return cells


class Normals:
    """Angles between the normals of a cloud and the true ones. A cloud that is turned inwards as a
    whole is judged as if it were not, and that is told."""

    columns = ['with a normal', 'turned', 'on the side of most', 'within 15 degrees', 'mean angle']

    def __init__(self, truth):
        self._truth = truth

    def cells(self, _, out):
        angles = []
        normals = ply.read_normals(out)
        if len(normals) != len(self._truth):
            raise ValueError(f'{len(normals)} points of {len(self._truth)}')
        for normal, true in zip(normals, self._truth):
            length = math.hypot(*normal)
            if length > 0:
                cosine = sum(a * b for a, b in zip(normal, true)) / length
                angles.append(math.degrees(math.acos(max(-1.0, min(1.0, cosine)))))
        if not angles:
            raise ValueError('no point has a normal')
        inwards = sum(angle > 90 for angle in angles) > len(angles) / 2
        if inwards:
            angles = [180 - angle for angle in angles]

        def share(number, whole):
            return f'{100 * number / whole:.2f} %'
        return [share(len(angles), len(self._truth)), 'inwards' if inwards else 'outwards',
                share(sum(angle < 90 for angle in angles), len(angles)),
                share(sum(angle <= 15 for angle in angles), len(angles)),
                f'{sum(angles) / len(angles):.2f}']
