"""Binary PLY files of points and triangles: enough to make inputs and to look at results."""
import array
import struct

FORMATS = {'char': 'b', 'int8': 'b', 'uchar': 'B', 'uint8': 'B', 'short': 'h', 'int16': 'h',
           'ushort': 'H', 'uint16': 'H', 'int': 'i', 'int32': 'i', 'uint': 'I', 'uint32': 'I',
           'float': 'f', 'float32': 'f', 'double': 'd', 'float64': 'd'}


def read_header(file):
    """[(element, number, names, format)]; a list is taken for one of three."""
    elements = []
    for line in iter(file.readline, b'end_header\n'):
        words = line.decode('ascii', 'replace').split()
        if words[0] == 'format' and words[1] != 'binary_little_endian':
            raise ValueError(file.name + ': not binary')
        if words[0] == 'element':
            elements.append([words[1], int(words[2]), [], '<'])
        elif words[:2] == ['property', 'list']:
            elements[-1][2] += ['n', 'a', 'b', 'c']
            elements[-1][3] += FORMATS[words[2]] + 3 * FORMATS[words[3]]
        elif words[0] == 'property':
            elements[-1][2].append(words[2])
            elements[-1][3] += FORMATS[words[1]]
    return elements


def columns(path, element, wanted):
    """The columns of an element, as tuples of one entry an element."""
    with open(path, 'rb') as file:
        for name, number, names, form in read_header(file):
            rows = file.read(number * struct.calcsize(form))
            if name == element:
                places = [names.index(column) for column in wanted]
                return [tuple(row[i] for i in places) for row in struct.iter_unpack(form, rows)]
    raise ValueError(f'{path}: no {element}')


def read_points(path):
    return columns(path, 'vertex', 'xyz')


def read_normals(path):
    return columns(path, 'vertex', ['nx', 'ny', 'nz'])


def read_faces(path):
    return columns(path, 'face', 'abc')


def write(path, points, faces=(), normals=None):
    names = ['x', 'y', 'z'] + (['nx', 'ny', 'nz'] if normals else [])
    rows = [p + n for p, n in zip(points, normals)] if normals else points
    header = ['ply', 'format binary_little_endian 1.0', f'element vertex {len(points)}',
              *(f'property float {name}' for name in names), f'element face {len(faces)}',
              'property list uchar int vertex_indices', 'end_header\n']
    with open(path, 'wb') as file:
        file.write('\n'.join(header).encode())
        array.array('f', [number for row in rows for number in row]).tofile(file)
        pack = struct.Struct('<B3i').pack
        file.write(b''.join(pack(3, *face) for face in faces))
