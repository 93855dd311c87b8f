// The 3D view of a report: finds its parts in the page, and connects buttons and keys with them.
// Without WebGL the page stays as it is, with its pictures.

import { readScene } from './data.js';
import { View } from './View.js';

const TURN = 10;   // degrees with each key or button
const PAN = 0.06;  // of the view
const ZOOM = 1.2;

const part = (id) => document.getElementById(id);

const MOVES = {
    'turn-left': (view) => view.turn(-TURN, 0),
    'turn-right': (view) => view.turn(TURN, 0),
    'turn-up': (view) => view.turn(0, TURN),
    'turn-down': (view) => view.turn(0, -TURN),
    'pan-left': (view) => view.pan(-PAN, 0),
    'pan-right': (view) => view.pan(PAN, 0),
    'pan-up': (view) => view.pan(0, -PAN),
    'pan-down': (view) => view.pan(0, PAN),
    'zoom-in': (view) => view.zoom(ZOOM),
    'zoom-out': (view) => view.zoom(1 / ZOOM),
    'reset': (view) => view.reset(),
};

const KEYS = {
    ArrowLeft: 'turn-left', ArrowRight: 'turn-right', ArrowUp: 'turn-up', ArrowDown: 'turn-down',
    '+': 'zoom-in', '=': 'zoom-in', '-': 'zoom-out', Home: 'reset', 0: 'reset',
};

const SHIFTED_KEYS = {
    ArrowLeft: 'pan-left', ArrowRight: 'pan-right', ArrowUp: 'pan-up', ArrowDown: 'pan-down',
    '+': 'zoom-in',
};

const SWITCH_KEYS = { w: 'wires', h: 'border', n: 'new', t: 'textured' };

function connectMoves(view)
{
    for (const [id, move] of Object.entries(MOVES))
    {
        part(id)?.addEventListener('click', () => move(view));
    }
    view.canvas.addEventListener('keydown', (event) =>
    {
        if (event.ctrlKey || event.altKey || event.metaKey)
        {
            return;
        }
        const move = (event.shiftKey ? SHIFTED_KEYS : KEYS)[event.key];
        const toggle = part(SWITCH_KEYS[event.key.toLowerCase()] ?? '');
        if (move)
        {
            MOVES[move](view);
        }
        else if (toggle)
        {
            toggle.click();
        }
        else
        {
            return;
        }
        event.preventDefault();
    });
}

/** Switches take effect as they stand, also where a browser has kept them over a reload. */
function connectSwitch(id, change)
{
    const box = part(id);
    if (box)
    {
        box.addEventListener('change', () => change(box.checked));
        change(box.checked);
    }
}

function connectDivider(view)
{
    const slider = part('divider');
    if (!slider)
    {
        return;
    }
    const line = part('divider-line');
    const change = () =>
    {
        const share = slider.value / 100;
        view.setDivider(share);
        line.style.left = `${slider.value}%`;
        line.hidden = share === 0 || share === 1;
        part('label-before').hidden = share === 0;
        part('label-after').hidden = share === 1;
        slider.setAttribute('aria-valuetext', `${slider.value} % of the view as it was before`);
    };
    slider.addEventListener('input', change);
    change();
}

function connectSection(view, scene)
{
    const axis = part('section-axis');
    const slider = part('section-place');
    const turned = part('section-turned');
    const change = () =>
    {
        const place = slider.value / 100;
        const index = axis.value ? 'xyz'.indexOf(axis.value) : -1;
        slider.disabled = turned.disabled = index < 0;
        let text = '';
        if (index >= 0)
        {
            const millimetres = scene.middle[index] + place * scene.half[index];
            text = `${axis.value} = ${millimetres.toFixed(1)} mm`;
        }
        part('section-value').textContent = text;
        slider.setAttribute('aria-valuetext', text);
        view.setSection({ axis: axis.value, place, isTurned: turned.checked });
    };
    axis.addEventListener('change', change);
    turned.addEventListener('change', change);
    slider.addEventListener('input', change);
    change();
}

function connectUp(view)
{
    const up = part('up-axis');
    up.addEventListener('change', () => view.setUp(up.value));
    if (up.value !== 'y')
    {
        view.setUp(up.value);
    }
}

async function connectTexture(view, scene)
{
    const box = part('textured');
    if (!box || !scene.models.textured)
    {
        return;
    }
    await view.addTextured(scene.models.textured);
    connectSwitch('textured', (on) => view.setTextured(on));
}

async function start()
{
    const scene = await readScene();
    performance.mark('veld-view-read');
    const view = new View(part('view'), scene);
    part('view-part').classList.add('is-running');
    view.resize();
    view.reset();
    connectMoves(view);
    connectDivider(view);
    connectSection(view, scene);
    connectUp(view);
    connectSwitch('wires', (on) => view.setWires(on));
    connectSwitch('border', (on) => view.setBorder(on));
    connectSwitch('new', (on) => view.setNew(on));
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => view.takeColours());
    await view.draw();
    performance.mark('veld-view-drawn');
    await connectTexture(view, scene);
    await view.draw();
    performance.mark('veld-view-complete');
    part('view-part').dataset.state = 'complete';
}

if (document.getElementById('view'))
{
    // The page is shown first, with its picture in place of the view.
    requestAnimationFrame(() => setTimeout(() => start().catch((error) =>
    {
        const place = document.getElementById('view-part');
        place.classList.remove('is-running');
        place.dataset.state = 'failed';
        document.getElementById('view-reason').textContent = error.message;
    })));
}
