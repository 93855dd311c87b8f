"""Folders of runs, written without the program that is tested."""

import json
import math
import os
import struct
import zlib


def png(width, height, colour_at):
    """A PNG of pixels (r, g, b)."""
    rows = b"".join(b"\0" + bytes(c for x in range(width) for c in colour_at(x, y))
                    for y in range(height))

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))

    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def bowl(n, is_kept=lambda i, j: True):
    """A bumpy sheet of 2 n^2 faces, 100 mm wide; faces whose cell is not kept are left out."""
    points = []
    for j in range(n + 1):
        for i in range(n + 1):
            x, y = 100 * i / n - 50, 100 * j / n - 50
            points.append((x, y, 30 - (x * x + y * y) / 120 + 2 * math.sin(x / 4) * math.cos(y / 5)))
    faces = []
    for j in range(n):
        for i in range(n):
            if is_kept(i, j):
                a = j * (n + 1) + i
                faces += [(a, a + 1, a + n + 2), (a, a + n + 2, a + n + 1)]
    return points, faces


def write_ply(path, points, faces):
    """Binary, as the million faces of a measurement are to be read quickly."""
    with open(path, "wb") as file:
        file.write((f"ply\nformat binary_little_endian 1.0\nelement vertex {len(points)}\n"
                    "property float x\nproperty float y\nproperty float z\n"
                    f"element face {len(faces)}\n"
                    "property list uchar int vertex_indices\nend_header\n").encode())
        file.write(b"".join(struct.pack("<3f", *point) for point in points))
        file.write(b"".join(struct.pack("<B3i", 3, *face) for face in faces))


def write_glb(path, points, faces, image):
    """A model with a texture seen from above."""
    blocks = [b"".join(struct.pack("<3f", *(c / 1000 for c in point)) for point in points),
              b"".join(struct.pack("<2f", p[0] / 100 + 0.5, 0.5 - p[1] / 100) for p in points),
              b"".join(struct.pack("<3I", *face) for face in faces), image]
    views, binary = [], b""
    for block in blocks:
        views.append({"buffer": 0, "byteOffset": len(binary), "byteLength": len(block)})
        binary += block + b"\0" * (-len(block) % 4)
    accessors = [
        {"bufferView": 0, "componentType": 5126, "type": "VEC3", "count": len(points)},
        {"bufferView": 1, "componentType": 5126, "type": "VEC2", "count": len(points)},
        {"bufferView": 2, "componentType": 5125, "type": "SCALAR", "count": 3 * len(faces)}]
    text = json.dumps({
        "asset": {"version": "2.0"}, "buffers": [{"byteLength": len(binary)}],
        "bufferViews": views, "accessors": accessors,
        "images": [{"bufferView": 3, "mimeType": "image/png"}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1},
                                    "indices": 2}]}]}).encode()
    text += b" " * (-len(text) % 4)
    with open(path, "wb") as file:
        file.write(struct.pack("<4sII", b"glTF", 2, 12 + 8 + len(text) + 8 + len(binary)) +
                   struct.pack("<I4s", len(text), b"JSON") + text +
                   struct.pack("<I4s", len(binary), b"BIN\0") + binary)


def write_run(directory, n=60):
    """A run of three steps: merged with a hole, filled, textured."""
    def is_kept(i, j):
        return (i - 0.6 * n) ** 2 + (j - 0.45 * n) ** 2 > (0.18 * n) ** 2

    open_points, open_faces = bowl(n, is_kept)
    points, faces = bowl(n)
    new = sorted(set(faces) - set(open_faces))
    write_ply(os.path.join(directory, "merged.ply"), open_points, open_faces)
    write_ply(os.path.join(directory, "filled.ply"), points, open_faces + new)
    write_glb(os.path.join(directory, "textured.glb"), points, faces,
              png(64, 64, lambda x, y: (40, 160, 60) if (x // 8 + y // 8) % 2 else (230, 200, 60)))
    with open(os.path.join(directory, "merged.png"), "wb") as file:
        file.write(png(40, 30, lambda x, y: (6 * x, 8 * y, 120)))
    steps = [
        {"name": "merge", "title": "Merge 2 frames", "seconds": 2.5, "mesh": "merged.ply",
         "picture": "merged.png", "result": {"faces": len(open_faces)},
         "warnings": ["frame <2> & \"3\" were turned"]},
        {"name": "fill", "title": "Fill 1 hole", "seconds": 0.4, "mesh": "filled.ply",
         "new_faces_begin": len(open_faces), "result": {"new_faces": len(new)}},
        {"name": "texture", "title": "Texture </script>", "seconds": 1.1}]
    with open(os.path.join(directory, "run.json"), "w", encoding="utf-8") as file:
        json.dump({"version": "0.1.0", "source": "a <scan> & \"more\"", "steps": steps,
                   "textured": "textured.glb"}, file)
