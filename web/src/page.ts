// The elements of the page. Titles and names come from other people's files: they are inserted as text, never as markup.

import type {Description, Ramp} from './decode';
import style from './style.css';

type Child = Node | string;

/** An element with attributes and children; `testid` becomes `data-testid`. */
export function make<K extends keyof HTMLElementTagNameMap>(
    tag: K,
    attributes: Record<string, string | boolean> = {},
    ...children: Child[]
): HTMLElementTagNameMap[K] {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (typeof value === 'boolean') element.toggleAttribute(name, value);
        else element.setAttribute(name === 'testid' ? 'data-testid' : name, value);
    }
    element.append(...children);
    return element;
}

export interface Page {
    root: HTMLElement;
    canvas: HTMLCanvasElement;
    marks: HTMLCanvasElement;
    status: HTMLElement;
    progress: HTMLProgressElement;
    loading: HTMLElement;
    panel: HTMLElement;
    readout: HTMLElement;
    distance: HTMLElement;
    chart: HTMLElement;
    notice: HTMLElement;
    exaggeration: HTMLInputElement;
    contours: HTMLInputElement;
    interval: HTMLInputElement;
    layers: HTMLInputElement[];
    buttons: Record<ButtonName, HTMLButtonElement>;
}

const BUTTONS = {
    reset: 'Reset',
    top: 'From top',
    measure: 'Distance',
    profile: 'Profile',
    save: 'Save picture',
    scheme: 'Light or dark',
    fold: 'Menu',
} as const;
export type ButtonName = keyof typeof BUTTONS;

const HELP =
    'Drag to turn, drag with the right button or two fingers to move, scroll or pinch to zoom, click to read coordinates. ' +
    'Arrow keys turn the scene, with Shift they move it. Plus and minus zoom, T looks from the top, R resets the view, Enter ' +
    'reads the coordinates in the middle, Escape ends measuring.';

function field(name: string, ...children: HTMLElement[]): HTMLFieldSetElement {
    return make('fieldset', {}, make('legend', {}, name), ...children);
}

/** The colour of a layer, that is of its surface or lines; undefined if the layer has a ramp or only labels. */
export function getColor(description: Description, layer: number): string | undefined {
    const ofLayer = (object: {layer: number}): boolean => object.layer === layer;
    return (description.surfaces.find(ofLayer) ?? description.lines.find(ofLayer))?.color;
}

/** A label that shows a colour and a name. */
export function makeKey(color: string, name: string): HTMLLabelElement {
    const swatch = make('span', {class: 'swatch'});
    swatch.style.background = color;
    return make('label', {}, swatch, make('span', {}, name));
}

function makeLayer(description: Description, index: number): [HTMLLabelElement, HTMLInputElement] {
    const name = description.layers[index];
    const box = make('input', {type: 'checkbox', checked: true, testid: `layer-${name}`});
    const color = getColor(description, index);
    const label = color ? makeKey(color, name) : make('label', {}, make('span', {}, name));
    label.prepend(box);
    return [label, box];
}

/** Numbers without exponents, with as many decimals as the range of the ramp needs. */
export function formatHeight(height: number, extent: number): string {
    const decimals = Math.min(12, Math.max(0, Math.ceil(2 - Math.log10(extent || 1))));
    return height.toFixed(decimals);
}

function makeRampLegend(ramp: Ramp): HTMLElement {
    const bar = make('i');
    const stops = ramp.stops.map(([place, color]) => `${color} ${100 * place}%`).join(', ');
    bar.style.background = `linear-gradient(var(--upwards, to top), ${stops})`;
    const extent = ramp.high - ramp.low;
    const heights = [ramp.high, ramp.low + extent / 2, ramp.low];
    return make('div', {}, bar, ...heights.map(height => make('span', {}, formatHeight(height, extent))));
}

function makeLegend(description: Description): HTMLElement {
    const legend = make('aside', {id: 'legend', testid: 'legend', 'aria-label': 'Legend'});
    for (const ramp of Object.values(description.ramps)) {
        legend.append(make('p', {}, 'Height'), makeRampLegend(ramp));
    }
    for (let i = 0; i < description.layers.length; ++i) {
        const color = getColor(description, i);
        if (color) legend.append(makeKey(color, description.layers[i]));
    }
    return legend;
}

/** Builds the page, without the scene. */
export function makePage(description: Description): Page {
    document.head.append(make('style', {}, style));
    const canvas = make('canvas', {
        id: 'canvas',
        testid: 'canvas',
        tabindex: '0',
        role: 'application',
        'aria-label': 'Scene in three dimensions',
        'aria-describedby': 'help',
    });
    const marks = make('canvas', {id: 'marks', 'aria-hidden': 'true'});
    const entries = Object.entries(BUTTONS).map(([name, text]) => {
        const button = make('button', {type: 'button', testid: name}, text);
        if (name === 'measure' || name === 'profile') button.setAttribute('aria-pressed', 'false');
        return [name, button];
    });
    const buttons = Object.fromEntries(entries) as Page['buttons'];
    const exaggeration = make('input', {type: 'number', testid: 'exaggeration', min: '0', step: 'any'});
    const contours = make('input', {type: 'checkbox', testid: 'contours'});
    const interval = make('input', {type: 'number', testid: 'interval', min: '0', step: 'any', 'aria-label': 'Interval'});
    const layers = description.layers.map((_, i) => makeLayer(description, i));
    const panel = make(
        'section',
        {id: 'panel', 'aria-label': 'Controls'},
        make('header', {}, make('h1', {testid: 'title'}, description.title), buttons.fold),
        field('View', make('div', {class: 'buttons'}, buttons.reset, buttons.top, buttons.save, buttons.scheme)),
        field(
            'Heights',
            make('label', {}, 'Exaggeration', exaggeration),
            make('label', {}, contours, make('span', {}, 'Contours every'), interval),
        ),
        field('Layers', ...layers.map(([label]) => label)),
        field('Measure', make('div', {class: 'buttons'}, buttons.measure, buttons.profile)),
        make('details', {}, make('summary', {}, 'Mouse, touch and keys'), make('p', {id: 'help'}, HELP)),
    );
    const hint = make('p', {id: 'hint'}, 'Click the ground to read coordinates.');
    const readout = make('dd', {testid: 'readout'});
    const distance = make('dd', {testid: 'distance'});
    const chart = make('div', {id: 'chart', hidden: true});
    const notice = make('p', {id: 'notice', hidden: true});
    const reading = make(
        'section',
        {id: 'reading', 'aria-live': 'polite', 'aria-label': 'Readings'},
        notice,
        chart,
        hint,
        make('dl', {}, make('dt', {}, 'x y z'), readout, make('dt', {}, 'Distance'), distance),
    );
    const status = make('p', {role: 'status'}, 'Loading');
    const progress = make('progress', {max: '1', value: '0', testid: 'progress'});
    const loading = make('div', {id: 'loading'}, status, progress);
    const root = make('main', {id: 'root'}, make('div', {id: 'stage'}, canvas, marks), makeLegend(description), panel, reading, loading);
    document.body.prepend(root);
    const inputs = layers.map(([, box]) => box);
    return {root, canvas, marks, status, progress, loading, panel, readout, distance, chart, notice, exaggeration, contours, interval, layers: inputs, buttons};
}
