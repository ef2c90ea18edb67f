// Keys and clicks on the canvas. The camera's own controls handle dragging, the wheel and touch.

import type {View} from './view';

const TURN = Math.PI / 24;
const PAN = 0.05;
const ZOOM = 1.2;
const MAX_MOVE_OF_CLICK = 5; // pixels

/** Listens on the whole page, so that keys work before the canvas is clicked. Fields and buttons keep their own keys. */
export function listenToKeys(canvas: HTMLCanvasElement, view: View, actions: {read: () => void; escape: () => void}): void {
    const zoom = (factor: number): void => {
        view.aimAt(...view.middle);
        view.zoom(factor);
    };
    const keys: Record<string, (shift: boolean) => void> = {
        ArrowLeft: shift => (shift ? view.pan(-PAN, 0) : view.turn(-TURN, 0)),
        ArrowRight: shift => (shift ? view.pan(PAN, 0) : view.turn(TURN, 0)),
        ArrowUp: shift => (shift ? view.pan(0, PAN) : view.turn(0, -TURN)),
        ArrowDown: shift => (shift ? view.pan(0, -PAN) : view.turn(0, TURN)),
        '+': () => zoom(ZOOM),
        '=': () => zoom(ZOOM),
        '-': () => zoom(1 / ZOOM),
        t: () => view.lookFromTop(),
        r: () => view.reset(),
        Enter: actions.read,
        Escape: actions.escape,
    };
    document.addEventListener('keydown', event => {
        const isOnCanvas = event.target === canvas || event.target === document.body;
        if (!isOnCanvas && event.key !== 'Escape') return;
        const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
        if (event.ctrlKey || event.altKey || event.metaKey || !(key in keys)) return;
        keys[key](event.shiftKey);
        event.preventDefault();
    });
}

/** The position of the pointer on the canvas; x and y run from -1 to 1. */
function getPlace(canvas: HTMLCanvasElement, event: MouseEvent): [number, number] {
    const box = canvas.getBoundingClientRect();
    return [(2 * (event.clientX - box.left)) / box.width - 1, 1 - (2 * (event.clientY - box.top)) / box.height];
}

/** Aims the camera at the ground under the pointer before its own controls handle a drag, a pinch or the wheel. */
export function listenToAim(canvas: HTMLCanvasElement, view: View): void {
    const aim = (event: MouseEvent): void => view.aimAt(...getPlace(canvas, event));
    canvas.addEventListener('pointerdown', aim, {capture: true});
    canvas.addEventListener('wheel', aim, {capture: true, passive: true});
}

/** Reports each click or tap, that is a press without a drag, with its position on the canvas (-1 to 1). */
export function listenToClicks(canvas: HTMLCanvasElement, click: (x: number, y: number) => void): void {
    let down: {id: number; x: number; y: number} | null = null;
    canvas.addEventListener('pointerdown', event => {
        const isFirst = event.isPrimary && event.button === 0;
        down = isFirst ? {id: event.pointerId, x: event.clientX, y: event.clientY} : null;
    });
    canvas.addEventListener('pointerup', event => {
        if (!down || down.id !== event.pointerId) return;
        const move = Math.hypot(event.clientX - down.x, event.clientY - down.y);
        down = null;
        if (move > MAX_MOVE_OF_CLICK) return;
        click(...getPlace(canvas, event));
    });
}
