#!/usr/bin/env python3
"""Runs scripts/compare on a small mesh, with peers that are not there and with one that is made up.

    compare_script.py SCRIPT BUILD"""
import functools
import importlib.machinery
import importlib.util
import os
import subprocess
import sys
import tempfile
import types
import unittest

SCRIPT, BUILD = sys.argv.pop(1), sys.argv.pop(1)
sys.path.insert(0, os.path.join(os.path.dirname(SCRIPT), '..', 'benchmarks', 'peers'))
import inputs  # noqa: E402
import judges  # noqa: E402
import ply  # noqa: E402
import works  # noqa: E402

LOADER = importlib.machinery.SourceFileLoader('compare', SCRIPT)
compare = importlib.util.module_from_spec(importlib.util.spec_from_loader('compare', LOADER))
LOADER.exec_module(compare)

HEADER = """ply
format ascii 1.0
element vertex 16
property float x
property float y
property float z
element face 17
property list uchar int vertex_indices
end_header
"""


def scan():
    """Four by four points in two triangles a square, without one in the middle: a loop of 12 edges
    outside and one of 3 inside."""
    points = [f'{x} {y} 0' for y in range(4) for x in range(4)]
    faces = []
    for i in (4 * y + x for y in range(3) for x in range(3)):
        faces += [(i, i + 1, i + 5), (i, i + 5, i + 4)]
    faces.remove((5, 6, 10))
    return HEADER + '\n'.join(points + ['3 %d %d %d' % face for face in faces]) + '\n'


# Answers with 1, 9 and 2 seconds in turn.
PEER = """#!/bin/sh
case "$*" in *version*) echo '{"name": "Peer", "version": "1.5"}'; exit ;; esac
echo >> "%(log)s"
case $(wc -l < "%(log)s") in 1) s=1 ;; 2) s=9 ;; *) s=2 ;; esac
echo a word before
echo "{\\"seconds\\": $s, \\"cores\\": 1, \\"loops\\": 7, \\"edges\\": 70}"
"""


class Compare(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.addCleanup(self._folder.cleanup)
        self.folder = self._folder.name
        os.mkdir(self.path('mesh_large'))
        self.write('mesh_large/dragon_stand_raw_layers.ply', scan())

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), 'w', encoding='utf-8') as file:
            file.write(text)

    def read(self, name):
        with open(self.path(name), encoding='utf-8') as file:
            return file.read()

    def compare(self, *arguments):
        return subprocess.run(
            [sys.executable, SCRIPT, '--build', BUILD, '--environment', self.path('peers'),
             '--data', self.folder, '--only', 'loops', *arguments],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)

    def cells(self, text, label):
        """The cells behind the label of a row."""
        row = next(line for line in text.splitlines() if label in line and line.startswith('|'))
        return [cell.strip() for cell in row.split('|')[3:-1]]

    def add_peer(self):
        os.makedirs(self.path('peers/bin'))
        self.write('peers/bin/python', PEER % {'log': self.path('log')})
        os.chmod(self.path('peers/bin/python'), 0o755)

    def test_without_peers_veld_stands_alone_and_they_are_named(self):
        done = self.compare('--repeat', '1')
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.cells(done.stdout, 'veld holes')[4:], ['2', '15'])
        self.assertEqual(self.cells(done.stdout, 'veld holes')[1], '1')
        self.assertNotIn('Open3D get_boundaries', done.stdout)
        for name in ('Open3D (scripts/compare --install)', 'PyMeshLab (scripts/compare --install)'):
            self.assertIn(f'left out: {name}: {self.path("peers/bin/python")}: no such program',
                          done.stdout)

    def test_a_peer_that_is_there_and_cannot_start_is_left_out_with_the_reason(self):
        self.add_peer()
        for script, why in (('echo no module >&2; exit 1', 'no module'),
                            ('true', 'it printed no answer')):
            self.write('peers/bin/python', f'#!/bin/sh\n{script}\n')
            done = self.compare('--repeat', '1')
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertIn(f'left out: Open3D (scripts/compare --install): {why}', done.stdout)

    def test_a_peer_without_an_answer_says_so_in_its_row(self):
        self.add_peer()
        self.write('peers/bin/python', '#!/bin/sh\ncase "$*" in *version*) '
                   'echo \'{"version": "1"}\' ;; esac\n')
        done = self.compare('--repeat', '1')
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.cells(done.stdout, 'Open3D get_boundaries')[0],
                         'it printed no answer')

    def test_the_median_of_a_peer_stands_beside(self):
        self.add_peer()
        done = self.compare('--repeat', '3')
        self.assertEqual(done.returncode, 0, done.stderr)
        cells = self.cells(done.stdout, 'Open3D get_boundaries')
        self.assertEqual(cells[0], '2')
        self.assertGreater(float(cells[1]), 1)
        self.assertEqual(cells[4:], ['7', '70'])
        self.assertIn('Open3D 1.5', done.stdout)

    def test_a_peer_that_fails_says_so_in_its_row(self):
        self.add_peer()
        self.write('peers/bin/python',
                   '#!/bin/sh\ncase "$*" in *version*) echo \'{"version": "1"}\' ;; '
                   '*) echo it is broken >&2; exit 3 ;; esac\n')
        done = self.compare('--repeat', '1')
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.cells(done.stdout, 'Open3D get_boundaries')[0], 'it is broken')
        self.assertEqual(self.cells(done.stdout, 'veld holes')[4:], ['2', '15'])

    def test_a_page_gets_the_table_between_its_marks(self):
        self.write('page.md', 'before\n<!-- compare machine -->\n<!-- end -->\nbetween\n'
                   '<!-- compare loops -->\nold\n<!-- end -->\nafter\n')
        done = self.compare('--repeat', '1', '-o', self.path('page.md'))
        self.assertEqual(done.returncode, 0, done.stderr)
        page = self.read('page.md')
        self.assertEqual(self.cells(page, 'veld holes')[4:], ['2', '15'])
        self.assertNotIn('old', page)
        for kept in ('before\n<!--', '-->\nbetween\n<!--', '-->\nafter\n'):
            self.assertIn(kept, page)

    def test_a_page_without_marks_is_an_error_and_stays(self):
        self.write('page.md', 'nothing here\n')
        done = self.compare('--repeat', '1', '-o', self.path('page.md'))
        self.assertEqual(done.returncode, 1)
        self.assertIn('no marks for machine', done.stderr)
        self.assertEqual(self.read('page.md'), 'nothing here\n')

    def test_missing_data_is_an_error_that_names_the_file(self):
        os.remove(self.path('mesh_large/dragon_stand_raw_layers.ply'))
        done = self.compare('--repeat', '1')
        self.assertEqual(done.returncode, 1)
        self.assertIn('dragon_stand_raw_layers.ply: no such file', done.stderr)


# Writes to its output what is in the file "result", if it is there.
WRITER = """#!/bin/sh
[ ! -e "%(result)s" ] || cp "%(result)s" "$1"
echo '{"seconds": 1, "cores": 1}'
"""


class Text:
    """Judges a result by the words in it."""
    columns = ['text']

    def cells(self, _, out):
        with open(out, encoding='utf-8') as file:
            return [file.read()]


class Rows(unittest.TestCase):
    """The rows of made-up cases, by a peer that writes what it is told."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.result, peer = (os.path.join(folder.name, name) for name in ('result', 'peer'))
        with open(peer, 'w', encoding='utf-8') as file:
            file.write(WRITER % {'result': self.result})
        os.chmod(peer, 0o755)
        self.options = types.SimpleNamespace(limit=60, repeat=1, threads=1)
        self.programs = types.SimpleNamespace(calls={'peer': [peer]}, work=folder.name,
                                              options=self.options)
        self.programs.measure = functools.partial(compare.Programs.measure, self.programs)

    def write_result(self, text):
        with open(self.result, 'w', encoding='utf-8') as file:
            file.write(text)

    def judged(self, judge):
        entry = works.Entry('peer', 'peer', ['{out}.ply'])
        return next(compare.rows(works.Case('case', judge, [entry]), self.programs,
                                 self.options))[-1]

    def test_what_the_case_before_left_is_not_judged_again(self):
        self.write_result('the first')
        self.assertEqual(self.judged(Text()), 'the first')
        os.remove(self.result)
        self.assertIn('no result to judge', self.judged(Text()))

    def test_a_result_that_cannot_be_judged_costs_its_row_alone(self):
        truth = judges.Normals([(0.0, 0.0, 1.0)])
        self.assertIn('no result to judge', self.judged(truth))
        self.write_result('ply\nformat ascii 1.0\nend_header\n')
        self.assertIn('not binary', self.judged(truth))
        for normals, why in (([(0.0, 0.0, 1.0)] * 2, '2 points of 1'),
                             ([(0.0, 0.0, 0.0)], 'no point has a normal')):
            ply.write(self.result, [(0.0, 0.0, 0.0)] * len(normals), normals=normals)
            self.assertIn(why, self.judged(truth))


class Judges(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, 'cloud.ply')

    def cells(self, normals, truth):
        ply.write(self.path, [(0.0, 0.0, 0.0)] * len(normals), normals=normals)
        return judges.Normals(truth).cells({}, self.path)

    def test_what_is_written_is_read_again(self):
        points, faces = [(0.0, 1.0, 2.0), (3.0, 4.0, 5.0), (6.0, 7.0, 8.5)], [(2, 0, 1)]
        ply.write(self.path, points, faces, [(0.0, 0.0, 1.0)] * 3)
        self.assertEqual(ply.read_points(self.path), points)
        self.assertEqual(ply.read_faces(self.path), faces)
        self.assertEqual(ply.read_normals(self.path), [(0.0, 0.0, 1.0)] * 3)

    def test_normals_off_by_a_known_angle(self):
        up = (0.0, 0.0, 1.0)
        # 0, 45 and 180 degrees, and one that is none: two of three are on the right side.
        cells = self.cells([up, (0.5, 0.0, 0.5), (0.0, 0.0, -2.0), (0.0, 0.0, 0.0)], [up] * 4)
        self.assertEqual(cells, ['75.00 %', 'outwards', '66.67 %', '33.33 %', '75.00'])

    def test_a_cloud_turned_inwards_is_told_and_judged_as_the_other_way_round(self):
        up, down = (0.0, 0.0, 1.0), (0.0, 0.0, -1.0)
        self.assertEqual(self.cells([down, down, down, up], [up] * 4),
                         ['100.00 %', 'inwards', '75.00 %', '75.00 %', '45.00'])

    def test_normals_of_vertices_are_weighed_by_areas(self):
        # A right angle between a face of area 1/2 and one of area 1, at the edge of the first two.
        points = [(0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 2)]
        normals = inputs.vertex_normals(points, [(0, 1, 2), (1, 0, 3)])
        self.assertEqual(normals[0], [0, 2, 1])
        self.assertEqual(normals[2], [0, 0, 1])

    def test_chosen_points_are_far_from_each_other(self):
        line = [(float(x), 0.0, 0.0) for x in (0, 1, 2, 3, 4, 6, 10)]
        self.assertEqual([p[0] for p in inputs.spread(line, 3)], [0, 10, 4])


if __name__ == '__main__':
    unittest.main()
