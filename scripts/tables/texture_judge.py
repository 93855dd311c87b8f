#!/usr/bin/python3
"""How near a textured mesh is to its photographs, for a mesh that any program wrote.

    scripts/tables/texture_judge.py MODEL.obj cameras.json PHOTOS

Prints one line of JSON, in grey levels of 255 (the mean of three channels):
  to_mean, to_95     difference to the photograph that is nearest in colour of those that see a
                     place, at 60,000 places that any of them sees
  step_mean, step_95 difference between both faces of an edge at which the texture is cut, at five
                     places of each
  blank              share of the seen places that are black or have no texture
Poses and mesh have one unit. Needs numpy and Pillow."""
import json
import os
import sys

import numpy as np
from PIL import Image

PLACES = 60000
ALONG_EDGE = (0.1, 0.3, 0.5, 0.7, 0.9)
COARSE = 8  # pixels of a photograph for one of the map of depths
BORDER = 8  # pixels
LEAST_COSINE = 0.2  # between a face's normal and the camera
DEPTH_TOLERANCE = 0.005  # of the depth


class Model:
    """Triangles with corners in space and in images."""

    def __init__(self, path):
        points, coordinates, corners, names, self.material = [], [], [], [], []
        for line in open(path):
            word, *rest = line.split() or ['']
            if word == 'v':
                points.append(rest[:3])
            elif word == 'vt':
                coordinates.append(rest[:2])
            elif word == 'mtllib':
                library = os.path.join(os.path.dirname(path), line.split(None, 1)[1].strip())
            elif word == 'usemtl':
                if rest[0] not in names:
                    names.append(rest[0])
                material = names.index(rest[0])
            elif word == 'f':
                corners.append([(corner.split('/') + [''])[:2] for corner in rest])
                self.material.append(material)
        self.points = np.array(points, float)
        self.faces = np.array([[int(c[0]) - 1 for c in face] for face in corners])
        self.cut = np.array([[int(c[1] or 0) - 1 for c in face] for face in corners])
        self.coordinates = np.array(coordinates, float).reshape(-1, 2)
        self.material = np.array(self.material)
        self.images = [self._image_of(library, name) for name in names]
        first, second, third = (self.points[self.faces[:, k]] for k in range(3))
        normals = np.cross(second - first, third - first)
        self.areas = np.linalg.norm(normals, axis=1)
        self.normals = normals / np.maximum(self.areas, 1e-30)[:, None]

    @staticmethod
    def _image_of(library, name):
        own = False
        for line in open(library):
            words = line.split(None, 1)
            if words[:1] == ['newmtl']:
                own = words[1].strip() == name
            elif words[:1] == ['map_Kd'] and own:
                return pixels_of(os.path.join(os.path.dirname(library), words[1].strip()))
        return None

    def colours(self, faces, weights):
        """Of places in faces; not a number where there is no texture."""
        result = np.full((len(faces), 3), np.nan)
        place = (self.coordinates[np.maximum(self.cut[faces], 0)] * weights[..., None]).sum(1)
        for material, image in enumerate(self.images):
            here = (self.cut[faces] >= 0).all(1) & (self.material[faces] == material)
            if image is not None and here.any():
                height, width = image.shape[:2]
                result[here] = sampled(image, place[here, 0] * width - 0.5,
                                       (1 - place[here, 1]) * height - 0.5)
        return result


def pixels_of(path):
    return np.asarray(Image.open(path).convert('RGB'), np.float32)


def sampled(image, x, y):
    """Between the four pixels around; middles of pixels are at whole numbers."""
    height, width = image.shape[:2]
    x, y = np.clip(x, 0, width - 1.001), np.clip(y, 0, height - 1.001)
    column, row = x.astype(int), y.astype(int)
    a, b = (x - column)[:, None], (y - row)[:, None]
    return ((image[row, column] * (1 - a) + image[row, column + 1] * a) * (1 - b) +
            (image[row + 1, column] * (1 - a) + image[row + 1, column + 1] * a) * b)


class View:
    """A photograph and where it was taken."""

    def __init__(self, view, folder):
        self.pixels = pixels_of(os.path.join(folder, view['image']))
        self.rotation, self.shift = np.array(view['R']).reshape(3, 3), np.array(view['t'])
        self.scale = np.array([view['fx'], view['fy']])
        self.middle = np.array([view['cx'], view['cy']])

    def project(self, points):
        """Pixels and depths. What is behind the camera has a depth below 0."""
        local = points @ self.rotation.T + self.shift
        depth = np.where(np.abs(local[:, 2]) < 1e-9, 1e-9, local[:, 2])
        return local[:, :2] / depth[:, None] * self.scale + self.middle, local[:, 2]

    def depth_map(self, model):
        """The least depth of all faces, in a coarse picture."""
        height, width = (n // COARSE + 1 for n in self.pixels.shape[:2])
        nearest = np.full(height * width, np.inf)
        pixels, depths = self.project(model.points)
        faces = model.faces[(depths[model.faces] > 1e-6).all(1)]
        corners, inverse = pixels[faces] / COARSE, 1 / depths[faces]
        low = np.maximum(np.ceil(corners.min(1)), 0).astype(int)
        high = np.minimum(np.floor(corners.max(1)), [width - 1, height - 1]).astype(int)
        spans = high - low
        for span in range(int(spans.max(initial=-1)) + 1):
            group = np.nonzero((spans.max(1) == span) & (spans.min(1) >= 0))[0]
            for right, down in np.ndindex(span + 1, span + 1) if len(group) else ():
                place = low[group] + [right, down]
                inside, depth = self._cover(place, corners[group], inverse[group])
                inside &= (place <= high[group]).all(1)
                np.minimum.at(nearest, place[inside] @ [1, width], depth[inside])
        return nearest.reshape(height, width)

    @staticmethod
    def _cover(place, corners, inverse):
        """Whether triangles cover places, and in which depth."""
        a, b, c = (corners[:, k] - place for k in range(3))
        parts = np.stack([b[:, 0] * c[:, 1] - b[:, 1] * c[:, 0],
                          c[:, 0] * a[:, 1] - c[:, 1] * a[:, 0],
                          a[:, 0] * b[:, 1] - a[:, 1] * b[:, 0]], 1)
        whole = parts.sum(1)
        good = np.abs(whole) > 1e-12
        parts = parts / np.where(good, whole, 1)[:, None]
        depth = 1 / np.maximum((parts * inverse).sum(1), 1e-12)
        return good & (parts >= 0).all(1), depth

    def sees(self, model, faces, points, pixels, depths):
        height, width = self.pixels.shape[:2]
        inside = ((depths > 0) & (pixels > BORDER).all(1) &
                  (pixels < [width - BORDER, height - BORDER]).all(1))
        to_camera = -self.rotation.T @ self.shift - points
        cosine = (model.normals[faces] * to_camera).sum(1) / np.linalg.norm(to_camera, axis=1)
        cell = np.round(np.where(inside[:, None], pixels, 0) / COARSE).astype(int)
        nearest = self.depth_map(model)[cell[:, 1], cell[:, 0]]
        return (inside & (cosine > LEAST_COSINE) & np.isfinite(nearest) &
                (depths < nearest * (1 + DEPTH_TOLERANCE)))


def differences(model, views, folder):
    """To the nearest photograph at places that any sees, and which of them are blank."""
    random = np.random.default_rng(1)
    faces = random.choice(len(model.faces), PLACES, p=model.areas / model.areas.sum())
    weights = random.dirichlet((1, 1, 1), PLACES)
    points = (model.points[model.faces[faces]] * weights[..., None]).sum(1)
    colours = model.colours(faces, weights)
    blank = np.isnan(colours).any(1) | (np.nan_to_num(colours).sum(1) < 1)
    best = np.full(PLACES, np.inf)
    for values in views:
        view = View(values, folder)
        pixels, depths = view.project(points)
        seen = view.sees(model, faces, points, pixels, depths)
        shown = sampled(view.pixels, *pixels[seen].T)
        best[seen] = np.minimum(best[seen], np.abs(shown - np.nan_to_num(colours[seen])).mean(1))
    seen = np.isfinite(best)
    return best[seen & ~blank], blank[seen].mean()


def steps(model):
    """Across the edges at which the texture is cut."""
    n = len(model.faces)
    face, corner = np.tile(np.arange(n), 3), np.repeat(np.arange(3), n)
    ends = np.stack([model.faces[face, corner], model.faces[face, (corner + 1) % 3]], 1)
    cuts = np.stack([model.cut[face, corner], model.cut[face, (corner + 1) % 3]], 1)
    key = ends.min(1).astype(np.int64) * len(model.points) + ends.max(1)
    order = np.argsort(key, kind='stable')
    twice = np.nonzero(key[order][1:] == key[order][:-1])[0]
    one, other = order[twice], order[twice + 1]
    apart = np.abs(model.coordinates[cuts[one]] - model.coordinates[cuts[other]][:, ::-1])
    is_seam = ((apart.max((1, 2)) > 1e-7) | (model.material[face[one]] != model.material[face[other]]))
    is_seam &= (cuts[one] >= 0).all(1) & (cuts[other] >= 0).all(1)
    one, other = one[is_seam], other[is_seam]
    result = []
    for part in ALONG_EDGE:
        pair = []
        for edge, along in ((one, part), (other, 1 - part)):
            weights = np.zeros((len(edge), 3))
            rows = np.arange(len(edge))
            weights[rows, corner[edge]] = 1 - along
            weights[rows, (corner[edge] + 1) % 3] = along
            pair.append(model.colours(face[edge], weights))
        result.append(np.abs(pair[0] - pair[1]).mean(1))
    result = np.concatenate(result)
    return result[np.isfinite(result)]


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    model = Model(sys.argv[1])
    views = json.load(open(sys.argv[2]))['views']
    far, blank = differences(model, views, sys.argv[3])
    step = steps(model)
    print(json.dumps({'to_mean': far.mean(), 'to_95': np.percentile(far, 95),
                      'step_mean': step.mean(), 'step_95': np.percentile(step, 95),
                      'blank': blank}))


if __name__ == '__main__':
    main()
