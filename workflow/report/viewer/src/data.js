// What the page carries for the view: a description as JSON, and for each model its arrays,
// compressed and as base64. Everything is in the page; nothing is fetched.

import { MeshoptDecoder } from 'meshoptimizer/decoder';

const QUANTUM = 65535; // the largest quantised coordinate

function bytesOf(id)
{
    const text = document.getElementById(id).textContent.trim();
    const raw = atob(text);
    const bytes = new Uint8Array(raw.length);
    for (let i = 0; i < raw.length; ++i)
    {
        bytes[i] = raw.charCodeAt(i);
    }
    return bytes;
}

/** Points in millimetres, from the middle of all models. */
function decodePoints(model, block, middle)
{
    const quantised = new Uint16Array(model.vertices * 4);
    MeshoptDecoder.decodeVertexBuffer(new Uint8Array(quantised.buffer), model.vertices, 8, block);
    const points = new Float32Array(model.vertices * 3);
    for (let axis = 0; axis < 3; ++axis)
    {
        const start = model.box_min[axis] - middle[axis];
        const scale = (model.box_max[axis] - model.box_min[axis]) / QUANTUM;
        for (let i = 0; i < model.vertices; ++i)
        {
            points[3 * i + axis] = start + scale * quantised[4 * i + axis];
        }
    }
    return points;
}

function decodeTexcoords(model, block)
{
    const quantised = new Uint16Array(model.vertices * 2);
    MeshoptDecoder.decodeVertexBuffer(new Uint8Array(quantised.buffer), model.vertices, 4, block);
    return quantised;
}

function decodeTriangles(model, block)
{
    const triangles = new Uint32Array(model.faces * 3);
    MeshoptDecoder.decodeIndexBuffer(new Uint8Array(triangles.buffer), model.faces * 3, 4, block);
    return triangles;
}

/** Pairs of vertices. */
function decodeBorder(model, block)
{
    const border = new Uint32Array(model.border * 2);
    MeshoptDecoder.decodeIndexSequence(new Uint8Array(border.buffer), model.border * 2, 4, block);
    return border;
}

/** Normals of vertices: the mean of the faces around, by their areas. */
function smoothNormals(points, triangles)
{
    const normals = new Float32Array(points.length);
    for (let t = 0; t < triangles.length; t += 3)
    {
        const a = 3 * triangles[t];
        const b = 3 * triangles[t + 1];
        const c = 3 * triangles[t + 2];
        const ux = points[b] - points[a];
        const uy = points[b + 1] - points[a + 1];
        const uz = points[b + 2] - points[a + 2];
        const vx = points[c] - points[a];
        const vy = points[c + 1] - points[a + 1];
        const vz = points[c + 2] - points[a + 2];
        const nx = uy * vz - uz * vy;
        const ny = uz * vx - ux * vz;
        const nz = ux * vy - uy * vx;
        for (const corner of [a, b, c])
        {
            normals[corner] += nx;
            normals[corner + 1] += ny;
            normals[corner + 2] += nz;
        }
    }
    for (let i = 0; i < normals.length; i += 3)
    {
        const length = Math.hypot(normals[i], normals[i + 1], normals[i + 2]) || 1;
        normals[i] /= length;
        normals[i + 1] /= length;
        normals[i + 2] /= length;
    }
    return normals;
}

/** The arrays of a model, from the blocks of one script element. */
function decodeModel(model, middle)
{
    const bytes = bytesOf(model.data);
    const blocks = {};
    let begin = 0;
    for (const [name, size] of Object.entries(model.blocks))
    {
        blocks[name] = bytes.subarray(begin, begin + size);
        begin += size;
    }
    const result = { ...model, points: decodePoints(model, blocks.points, middle) };
    if (model.faces > 0)
    {
        result.triangles = decodeTriangles(model, blocks.triangles);
        result.normals = smoothNormals(result.points, result.triangles);
    }
    if (model.border > 0)
    {
        result.borderEdges = decodeBorder(model, blocks.border);
    }
    if (blocks.texcoords)
    {
        result.texcoords = decodeTexcoords(model, blocks.texcoords);
        result.image = new Blob([blocks.image], { type: model.image_type });
    }
    return result;
}

/** The box around all models. */
function commonBox(models)
{
    const box = { min: [0, 0, 0], max: [0, 0, 0] };
    for (let axis = 0; axis < 3; ++axis)
    {
        box.min[axis] = Math.min(...models.map((model) => model.box_min[axis]));
        box.max[axis] = Math.max(...models.map((model) => model.box_max[axis]));
    }
    return box;
}

/** Everything that can be shown. */
export async function readScene()
{
    await MeshoptDecoder.ready;
    const scene = JSON.parse(document.getElementById('scene').textContent);
    const models = Object.entries(scene.models);
    const box = commonBox(models.map(([, model]) => model));
    const middle = box.min.map((min, axis) => (min + box.max[axis]) / 2);
    const half = box.max.map((max, axis) => max - middle[axis]);
    const decoded = models.map(([name, model]) => [name, decodeModel(model, middle)]);
    return { models: Object.fromEntries(decoded), middle, half };
}
