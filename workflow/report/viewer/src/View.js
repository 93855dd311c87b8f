// The picture itself: a camera that goes round the models, what is cut away, and what stands on
// which side of the divider. It is drawn when something has changed, and at no other time.

import {
    AmbientLight, DirectionalLight, PerspectiveCamera, Plane, Scene, Vector3, WebGLRenderer,
} from 'three';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';
import { Surface, makeMaterials, readColours, texturedSurface } from './surfaces.js';

const FIELD_OF_VIEW = 30; // degrees
const MARGIN = 1.08;      // of the models in the first view
const FIRST_VIEW = { turn: 8, lift: 14 }; // degrees, as the pictures of the page have it
const AXES = { x: new Vector3(1, 0, 0), y: new Vector3(0, 1, 0), z: new Vector3(0, 0, 1) };

const radians = (degrees) => degrees * Math.PI / 180;

export class View
{
    /** Throws where the browser has no WebGL. */
    constructor(canvas, scene)
    {
        this.canvas = canvas;
        this.half = scene.half;
        this.radius = Math.hypot(...scene.half) || 1;
        this.renderer = new WebGLRenderer({ canvas, antialias: true });
        this.renderer.setPixelRatio(Math.min(window.devicePixelRatio, 2));
        this.renderer.autoClear = false;
        this.camera = new PerspectiveCamera(FIELD_OF_VIEW, 1, this.radius / 100, this.radius * 40);
        this.addLights();
        this.scenes = { before: new Scene(), after: new Scene() };
        this.divider = 0;
        this.isTextured = false;
        this.surfaces = {};
        this.takeColours();
        this.addModels(scene.models);
        this.controls = this.makeControls();
        this.setUp('y');
        new ResizeObserver(() => this.resize()).observe(canvas);
        this.resize();
    }

    /** They go with the camera: what is looked at is lit. */
    addLights()
    {
        const key = new DirectionalLight(0xffffff, 2.4);
        key.position.set(-0.5, 0.8, 1);
        this.camera.add(key, key.target, new AmbientLight(0xffffff, 0.9));
    }

    /** Again when the system turns dark or light. */
    takeColours()
    {
        const colours = readColours();
        this.materials ??= makeMaterials(colours);
        this.materials.backColour.copy(colours.back);
        this.renderer.setClearColor(colours.background);
        for (const name of ['surface', 'fresh', 'border', 'wires'])
        {
            this.materials[name].color.copy(colours[name]);
        }
        this.materials.points.color.copy(colours.surface);
        this.draw();
    }

    addModels(models)
    {
        for (const side of ['before', 'after'])
        {
            if (models[side])
            {
                this.surfaces[side] = new Surface(models[side], this.materials);
                this.scenes[side].add(this.surfaces[side].group);
            }
        }
    }

    /** What takes longest: the photographs are decoded behind the first picture. */
    async addTextured(model)
    {
        const largest = Math.min(this.renderer.capabilities.maxTextureSize, 8192);
        const surface = await texturedSurface(model, this.materials, largest);
        surface.group.visible = false;
        this.surfaces.textured = surface;
        this.scenes.after.add(surface.group);
    }

    makeControls()
    {
        const controls = new OrbitControls(this.camera, this.canvas);
        controls.addEventListener('change', () => this.draw());
        controls.minDistance = this.radius / 20;
        controls.maxDistance = this.radius * 20;
        return controls;
    }

    resize()
    {
        const { clientWidth: width, clientHeight: height } = this.canvas;
        if (width > 0 && height > 0)
        {
            this.renderer.setSize(width, height, false);
            this.camera.aspect = width / height;
            this.camera.updateProjectionMatrix();
            this.draw();
        }
    }

    // What moves the camera.

    setUp(axis)
    {
        this.up = axis;
        this.camera.up.copy(AXES[axis]);
        // The controls take the axis once, when they are made.
        this.controls.dispose();
        this.controls = this.makeControls();
        this.reset();
    }

    /** From a little above and beside, as near as the box of the models allows. */
    reset()
    {
        const turn = radians(FIRST_VIEW.turn);
        const lift = radians(FIRST_VIEW.lift);
        const flat = Math.cos(lift);
        const ways = { x: [Math.sin(lift), Math.sin(turn) * flat, Math.cos(turn) * flat],
                       y: [Math.sin(turn) * flat, Math.sin(lift), Math.cos(turn) * flat],
                       z: [Math.sin(turn) * flat, -Math.cos(turn) * flat, Math.sin(lift)] };
        const way = new Vector3(...ways[this.up]);
        this.camera.position.copy(way).multiplyScalar(MARGIN * this.fittingDistance(way));
        this.controls.target.set(0, 0, 0);
        this.controls.update();
        this.draw();
    }

    /** The distance from which all corners of the box are seen. */
    fittingDistance(way)
    {
        const right = AXES[this.up].clone().cross(way).normalize();
        const above = way.clone().cross(right);
        const slope = Math.tan(radians(FIELD_OF_VIEW / 2));
        let distance = this.radius / 10;
        for (let corner = 0; corner < 8; ++corner)
        {
            const place = new Vector3(...this.half.map(
                (half, axis) => corner >> axis & 1 ? half : -half));
            const across = Math.abs(place.dot(right)) / (slope * this.camera.aspect);
            const up = Math.abs(place.dot(above)) / slope;
            distance = Math.max(distance, place.dot(way) + Math.max(across, up));
        }
        return distance;
    }

    turn(right, up)
    {
        this.controls.rotateLeft(radians(-right));
        this.controls.rotateUp(radians(-up));
    }

    pan(right, up)
    {
        this.controls.pan(right * this.canvas.clientWidth, up * this.canvas.clientHeight);
    }

    zoom(factor)
    {
        if (factor > 1)
        {
            this.controls.dollyIn(factor);
        }
        else
        {
            this.controls.dollyOut(1 / factor);
        }
    }

    // What is shown.

    /** The share of the width, from the left, that shows how it was before. */
    setDivider(share)
    {
        this.divider = this.surfaces.before ? share : 0;
        this.draw();
    }

    setTextured(isTextured)
    {
        this.isTextured = isTextured && Boolean(this.surfaces.textured);
        if (this.surfaces.textured)
        {
            this.surfaces.textured.group.visible = this.isTextured;
        }
        if (this.surfaces.after)
        {
            this.surfaces.after.body.visible = !this.isTextured;
        }
        this.draw();
    }

    each(change)
    {
        Object.values(this.surfaces).forEach(change);
        this.draw();
    }

    setWires(shown)
    {
        this.each((surface) => surface.showWires(shown && !surface.isTextured));
    }

    setBorder(shown)
    {
        this.each((surface) => surface.showBorder(shown && !surface.isTextured));
    }

    setNew(marked)
    {
        this.each((surface) => surface.markNew(marked));
    }

    /** \param place from -1 to 1 across the models */
    setSection(section)
    {
        this.renderer.clippingPlanes = [];
        if (section.axis)
        {
            const axis = 'xyz'.indexOf(section.axis);
            const normal = AXES[section.axis].clone().multiplyScalar(section.isTurned ? 1 : -1);
            const depth = section.place * this.half[axis] * 1.001;
            this.renderer.clippingPlanes =
                [new Plane(normal, section.isTurned ? -depth : depth)];
        }
        this.draw();
    }

    // Drawing.

    /** Soon, and once for all that changes until then. \return a promise of it */
    draw()
    {
        this.next ??= new Promise((done) => requestAnimationFrame(() =>
        {
            this.next = null;
            this.drawNow();
            done();
        }));
        return this.next;
    }

    drawNow()
    {
        const { width, height } = this.canvas;
        const split = Math.round(this.divider * width);
        this.renderer.setScissorTest(false);
        this.renderer.clear();
        this.drawPart(this.scenes.before, 0, split, height);
        this.drawPart(this.scenes.after, split, width - split, height);
    }

    drawPart(scene, begin, width, height)
    {
        if (width <= 0)
        {
            return;
        }
        const ratio = this.renderer.getPixelRatio();
        this.renderer.setScissor(begin / ratio, 0, width / ratio, height / ratio);
        this.renderer.setScissorTest(true);
        scene.add(this.camera); // with its light
        this.renderer.render(scene, this.camera);
    }
}
