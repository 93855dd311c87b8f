// Models as what three.js draws: surfaces, points, border lines, wires.

import {
    BufferAttribute, BufferGeometry, CanvasTexture, Color, DoubleSide, Group, LinearFilter, Mesh,
    MeshBasicMaterial, MeshLambertMaterial, Points, PointsMaterial, SRGBColorSpace, Texture,
} from 'three';
import { LineMaterial } from 'three/addons/lines/LineMaterial.js';
import { LineSegments2 } from 'three/addons/lines/LineSegments2.js';
import { LineSegmentsGeometry } from 'three/addons/lines/LineSegmentsGeometry.js';

const LINE_WIDTH = 2.5; // of borders, in pixels

/** The back of a face has a colour of its own: what is looked into is seen as such. */
function tintBacks(material, colour)
{
    material.onBeforeCompile = (shader) =>
    {
        shader.uniforms.backColour = { value: colour };
        shader.fragmentShader = 'uniform vec3 backColour;\n' +
            shader.fragmentShader.replace(
                '#include <color_fragment>',
                '#include <color_fragment>\nif (!gl_FrontFacing) diffuseColor.rgb = backColour;');
    };
    return material;
}

function surfaceMaterial(colour, back)
{
    // Lines on the surface lie in front of it.
    const material = new MeshLambertMaterial(
        { color: colour, side: DoubleSide, polygonOffset: true, polygonOffsetFactor: 1,
          polygonOffsetUnits: 2 });
    return tintBacks(material, back);
}

/** The colours of the page's style sheet, as three.js has them. */
export function readColours()
{
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => new Color(style.getPropertyValue(name).trim());
    return {
        background: colour('--view-background'), surface: colour('--view-surface'),
        back: colour('--view-back'), fresh: colour('--view-new'), border: colour('--view-hole'),
        wires: colour('--view-wires'),
    };
}

export function makeMaterials(colours)
{
    const wires = new MeshBasicMaterial(
        { color: colours.wires, wireframe: true, transparent: true, opacity: 0.22 });
    return {
        surface: surfaceMaterial(colours.surface, colours.back),
        fresh: surfaceMaterial(colours.fresh, colours.back),
        border: new LineMaterial({ color: colours.border, linewidth: LINE_WIDTH }),
        points: new PointsMaterial({ color: colours.surface, size: 2, sizeAttenuation: false }),
        wires,
        backColour: colours.back, // what the shaders read
    };
}

/** The image of a texture, no larger than the graphics can take. */
async function readTexture(blob, largest)
{
    let image = await createImageBitmap(blob);
    const scale = Math.min(1, largest / Math.max(image.width, image.height));
    let texture = new Texture(image);
    if (scale < 1)
    {
        const canvas = document.createElement('canvas');
        canvas.width = Math.floor(image.width * scale);
        canvas.height = Math.floor(image.height * scale);
        canvas.getContext('2d').drawImage(image, 0, 0, canvas.width, canvas.height);
        texture = new CanvasTexture(canvas);
    }
    texture.flipY = false;
    texture.colorSpace = SRGBColorSpace;
    texture.generateMipmaps = false; // smaller images would mix the patches
    texture.minFilter = LinearFilter;
    texture.magFilter = LinearFilter;
    texture.needsUpdate = true;
    return texture;
}

function surfaceGeometry(model)
{
    const geometry = new BufferGeometry();
    geometry.setAttribute('position', new BufferAttribute(model.points, 3));
    if (model.triangles)
    {
        geometry.setAttribute('normal', new BufferAttribute(model.normals, 3));
        geometry.setIndex(new BufferAttribute(model.triangles, 1));
    }
    if (model.texcoords)
    {
        geometry.setAttribute('uv', new BufferAttribute(model.texcoords, 2, true));
    }
    return geometry;
}

function borderLines(model, material)
{
    const ends = new Float32Array(model.borderEdges.length * 3);
    model.borderEdges.forEach((vertex, i) =>
        ends.set(model.points.subarray(3 * vertex, 3 * vertex + 3), 3 * i));
    return new LineSegments2(new LineSegmentsGeometry().setPositions(ends), material);
}

/** One model with all that can be switched on and off of it. */
export class Surface
{
    constructor(model, materials)
    {
        this.group = new Group();
        this.materials = materials;
        this.geometry = surfaceGeometry(model);
        this.group.add(this.body = this.makeBody(model));
        if (model.borderEdges)
        {
            this.group.add(this.border = borderLines(model, materials.border));
        }
    }

    makeBody(model)
    {
        if (!model.triangles)
        {
            return new Points(this.geometry, this.materials.points);
        }
        const old = model.new_from * 3;
        this.geometry.addGroup(0, old, 0);
        this.geometry.addGroup(old, model.triangles.length - old, 1);
        return new Mesh(this.geometry, [this.materials.surface, this.materials.fresh]);
    }

    markNew(marked)
    {
        if (this.geometry.groups.length > 0 && !this.isTextured)
        {
            const fresh = marked ? this.materials.fresh : this.materials.surface;
            this.body.material = [this.materials.surface, fresh];
        }
    }

    showBorder(shown)
    {
        if (this.border)
        {
            this.border.visible = shown;
        }
    }

    showWires(shown)
    {
        if (shown && !this.wires && this.geometry.index)
        {
            this.group.add(this.wires = new Mesh(this.geometry, this.materials.wires));
        }
        if (this.wires)
        {
            this.wires.visible = shown;
        }
    }
}

/** The model under its photographs, which have their light in them. */
export async function texturedSurface(model, materials, largest)
{
    const surface = new Surface(model, materials);
    const map = await readTexture(model.image, largest);
    const material = new MeshBasicMaterial(
        { map, side: DoubleSide, polygonOffset: true, polygonOffsetFactor: 1,
          polygonOffsetUnits: 2 });
    tintBacks(material, materials.backColour);
    surface.body.material = [material, material];
    surface.isTextured = true;
    return surface;
}
