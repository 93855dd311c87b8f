#!/usr/bin/python3
"""A known room as a depth camera sees it, in frames with noise and errors of pose; and how far a mesh
is from it: distances in mm, as one line of JSON.

    scripts/tables/depth_room.py make DIR [--frames 36] [--seed 1]
    scripts/tables/depth_room.py score DIR MESH.ply

The room consists of boxes and balls, so depths and distances come from formulas. Depths scatter with
the square of the depth and are quantised as disparities are; rims of things mix with what is behind
them, and some pixels are missing. Each pose is off by 1 cm and half a degree. Photographs are taken
by another camera beside; the colour of a place follows from where it is."""
import argparse
import json
import os
import struct
import sys
import zlib

import numpy as np

W, H, F = 640, 480, 585.0
BASE = 75.0  # mm between projector and camera
# The camera of the photographs: size, focal length, and where it stands and looks from the other.
PW, PH, PF = 320, 240, 260.0
PHOTO_SHIFT, PHOTO_TURN = np.array((25.0, 0.0, 0.0)), np.radians(1.0)
POSE_SHIFT, POSE_TURN = 10.0, np.radians(0.5)
# The room itself is seen from inside. Millimetres, z up.
ROOM = ((0, 0, 0), (4200, 3400, 2500))
BOXES = [((1500, 1100, 0), (2700, 1900, 740)), ((0, 2600, 0), (1200, 3400, 900)),
         ((3500, 0, 0), (4200, 500, 2000)), ((1800, 1300, 740), (2050, 1500, 900)),
         ((2900, 2500, 0), (3400, 3000, 450)), ((0, 300, 400), (250, 1400, 440)),
         ((0, 300, 800), (250, 1400, 840)), ((0, 300, 1200), (250, 1400, 1240))]
BALLS = [((2350, 1550, 800), 120), ((600, 3000, 1000), 200), ((3150, 2750, 520), 150),
         ((3850, 250, 2100), 180), ((120, 800, 900), 90)]


def slabs(box, origin, rays):
    with np.errstate(divide='ignore', invalid='ignore'):
        a = (np.array(box[0]) - origin) / rays
        b = (np.array(box[1]) - origin) / rays
    return np.nanmax(np.minimum(a, b), axis=-1), np.nanmin(np.maximum(a, b), axis=-1)


def cast(origin, rays):
    """How many times each ray goes to the first surface."""
    best = slabs(ROOM, origin, rays)[1]
    for box in BOXES:
        near, far = slabs(box, origin, rays)
        best = np.where((near > 0) & (near <= far) & (near < best), near, best)
    for centre, radius in BALLS:
        o = origin - np.array(centre)
        a, b, c = (rays ** 2).sum(-1), (rays * o).sum(-1), o @ o - radius ** 2
        with np.errstate(invalid='ignore'):
            t = (-b - np.sqrt(b * b - a * c)) / a
        best = np.where((t > 0) & (t < best), t, best)
    return best


def distance(points):
    """Of points to the nearest surface."""
    def outside(box):
        q = np.maximum(np.array(box[0]) - points, points - np.array(box[1]))
        return np.linalg.norm(np.maximum(q, 0), axis=1) + np.minimum(q.max(1), 0)
    d = np.abs(outside(ROOM))
    for box in BOXES:
        d = np.minimum(d, np.abs(outside(box)))
    for centre, radius in BALLS:
        d = np.minimum(d, np.abs(np.linalg.norm(points - np.array(centre), axis=1) - radius))
    return d


def look(eye, at):
    z = (at - eye) / np.linalg.norm(at - eye)
    x = np.cross(z, (0, 0, 1.0))
    x /= np.linalg.norm(x)
    return np.stack([x, np.cross(z, x), z])  # rows: right, down, forward


def turn(axis, angle):
    k = np.array([[0, -axis[2], axis[1]], [axis[2], 0, -axis[0]], [-axis[1], axis[0], 0]])
    return np.eye(3) + np.sin(angle) * k + (1 - np.cos(angle)) * k @ k


def direction(random):
    v = random.normal(size=3)
    return v / np.linalg.norm(v)


def measured(depth, random):
    z = depth.copy()
    for axis in (0, 1):  # a pixel at a rim sees both sides of it
        other = np.roll(depth, 1, axis)
        part = random.random(depth.shape)
        is_rim = np.abs(other - depth) > 0.05 * depth
        z = np.where(is_rim & (random.random(depth.shape) < 0.7), part * z + (1 - part) * other, z)
    disparity = F * BASE / z + random.normal(scale=0.05, size=z.shape)
    z = F * BASE / (np.round(disparity * 8) / 8)
    z[random.random(z.shape) < 0.02] = 0
    for _ in range(40):
        r, c = random.integers(H - 12), random.integers(W - 12)
        z[r:r + random.integers(3, 12), c:c + random.integers(3, 12)] = 0
    z[(z > 4500) | (z < 400)] = 0
    return np.round(z).astype('>u2')


def colour(points):
    """Of places in the room, from 0 to 1; the three change at different lengths."""
    return 0.5 + 0.5 * np.sin(points / np.array((230.0, 310.0, 170.0)))


def write_png(path, image):
    """Grey of 16 bits or colour of 8."""
    deep = image.ndim == 2
    h, w = image.shape[:2]
    def chunk(kind, data):
        return struct.pack('>I', len(data)) + kind + data + struct.pack('>I', zlib.crc32(kind + data))
    lines = b''.join(b'\0' + row.tobytes() for row in image)
    with open(path, 'wb') as f:
        f.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', w, h, 16 if deep else 8,
                                                            0 if deep else 2, 0, 0, 0)) +
                chunk(b'IDAT', zlib.compress(lines, 6)) + chunk(b'IEND', b''))


def make(folder, frames, seed):
    os.makedirs(folder, exist_ok=True)
    random = np.random.default_rng(seed)
    u, v = np.meshgrid((np.arange(W) - 320) / F, (np.arange(H) - 240) / F)
    pixels = np.stack([u, v, np.ones_like(u)], -1)
    pu, pv = np.meshgrid((np.arange(PW) - PW / 2) / PF, (np.arange(PH) - PH / 2) / PF)
    photo_pixels = np.stack([pu, pv, np.ones_like(pu)], -1)
    beside = turn(np.array((0, 1.0, 0)), PHOTO_TURN)
    views, seen, poses = [], [], []
    for i in range(frames):
        a = 2 * np.pi * i / frames
        eye = np.array([2100 + 900 * np.cos(a), 1700 + 600 * np.sin(a), 1450 + 250 * np.sin(3 * a)])
        ahead = a + 2.2 + 0.5 * np.sin(2 * a)
        at = eye + np.array([np.cos(ahead), np.sin(ahead), -0.35 + 0.25 * np.cos(5 * a)])
        R = look(eye, at)
        depth = cast(eye, pixels @ R)
        seen.append((eye + depth[..., None] * (pixels @ R))[3::6, 3::6].reshape(-1, 3))
        name = 'frame-%04d.png' % i
        write_png(os.path.join(folder, name), measured(depth, random))
        rays = photo_pixels @ beside @ R
        from_there = eye + PHOTO_SHIFT @ R
        places = from_there + cast(from_there, rays)[..., None] * rays
        photo = 'frame-%04d.colour.png' % i
        write_png(os.path.join(folder, photo), np.round(255 * colour(places)).astype('u1'))
        poses.append(np.column_stack([R, -R @ eye]))
        R = turn(direction(random), POSE_TURN) @ R
        t = -R @ (eye + POSE_SHIFT * direction(random))
        views.append(dict(depth=name, depth_width=W, depth_height=H, depth_fx=F, depth_fy=F,
                          depth_cx=320.0, depth_cy=240.0, depth_R=R.tolist(), depth_t=t.tolist(),
                          image=photo, width=PW, height=PH, fx=PF, fy=PF, cx=PW / 2, cy=PH / 2,
                          R=(beside @ R).tolist(), t=(beside @ (t - PHOTO_SHIFT)).tolist()))
    with open(os.path.join(folder, 'cameras.json'), 'w') as f:
        json.dump(dict(units='millimetre', views=views), f, indent=1)
    np.save(os.path.join(folder, 'seen.npy'), np.concatenate(seen).astype('f4'))
    np.save(os.path.join(folder, 'poses.npy'), np.array(poses))


def read_ply(path):
    with open(path, 'rb') as f:
        types = {'float': 'f4', 'float32': 'f4', 'double': 'f8', 'uchar': 'u1', 'int': 'i4', 'uint': 'u4'}
        count, vertex = {}, []
        while True:
            words = f.readline().decode('latin1').split()
            if words[0] == 'end_header':
                break
            if words[0] == 'element':
                element = words[1]
                count[element] = int(words[2])
            elif words[0] == 'property' and element == 'vertex':
                vertex.append((words[2], '<' + types[words[1]]))
        data = np.frombuffer(f.read(np.dtype(vertex).itemsize * count['vertex']), vertex)
        faces = np.frombuffer(f.read(13 * count['face']), [('n', 'u1'), ('i', '<i4', 3)])
    colours = None
    if 'red' in data.dtype.names:
        colours = np.stack([data[k] for k in ('red', 'green', 'blue')], 1)
    return np.stack([data[k] for k in 'xyz'], 1).astype('f8'), faces['i'], colours


def sample(points, faces, n, random):
    a, b, c = (points[faces[:, k]] for k in range(3))
    area = np.linalg.norm(np.cross(b - a, c - a), axis=1)
    f = random.choice(len(faces), n, p=area / area.sum())
    s, t = np.sqrt(random.random((n, 1))), random.random((n, 1))
    return (1 - s) * a[f] + s * (1 - t) * b[f] + s * t * c[f]


def score(folder, mesh):
    from scipy.spatial import cKDTree
    random = np.random.default_rng(0)
    points, faces, colours = read_ply(mesh)
    samples = sample(points, faces, 1500000, random)
    truth = np.load(os.path.join(folder, 'seen.npy'))
    to = distance(samples[:200000])
    back = cKDTree(samples).query(truth[random.choice(len(truth), 60000)], distance_upper_bound=300)[0]
    back = np.minimum(back, 300)
    off = np.zeros(1)
    if colours is not None:
        off = 255 * np.abs(colour(points) - colours / 255.0).max(1)
    print(json.dumps(dict(colour_mean=off.mean(), colour_99=np.percentile(off, 99),
                          to_mean=to.mean(), to_99=np.percentile(to, 99), from_mean=back.mean(),
                          from_99=np.percentile(back, 99), within_1cm=(back < 10).mean(),
                          within_2cm=(back < 20).mean())))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('work', choices=['make', 'score'])
    parser.add_argument('folder')
    parser.add_argument('mesh', nargs='?')
    parser.add_argument('--frames', type=int, default=36)
    parser.add_argument('--seed', type=int, default=1)
    arguments = parser.parse_args()
    if arguments.work == 'make':
        make(arguments.folder, arguments.frames, arguments.seed)
    else:
        score(arguments.folder, arguments.mesh)


if __name__ == '__main__':
    sys.exit(main())
