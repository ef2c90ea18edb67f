// Keys and clicks on the canvas. Dragging, the wheel and touch are the business of the camera's own controls.

import type {View} from './view';

const TURN = Math.PI / 24;
const PAN = 0.05;
const ZOOM = 1.2;
const MAX_MOVE_OF_CLICK = 5; // pixels

export function listenToKeys(canvas: HTMLCanvasElement, view: View, actions: {read: () => void; escape: () => void}): void {
    const keys: Record<string, (shift: boolean) => void> = {
        ArrowLeft: shift => (shift ? view.pan(-PAN, 0) : view.turn(-TURN, 0)),
        ArrowRight: shift => (shift ? view.pan(PAN, 0) : view.turn(TURN, 0)),
        ArrowUp: shift => (shift ? view.pan(0, PAN) : view.turn(0, -TURN)),
        ArrowDown: shift => (shift ? view.pan(0, -PAN) : view.turn(0, TURN)),
        '+': () => view.zoom(ZOOM),
        '=': () => view.zoom(ZOOM),
        '-': () => view.zoom(1 / ZOOM),
        t: () => view.lookFromTop(),
        r: () => view.reset(),
        Enter: actions.read,
        Escape: actions.escape,
    };
    canvas.addEventListener('keydown', event => {
        const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
        if (event.ctrlKey || event.altKey || event.metaKey || !(key in keys)) return;
        keys[key](event.shiftKey);
        event.preventDefault();
    });
}

/** Calls back for each click or tap, which is a press that hardly moves; with the place on the canvas from -1 to 1. */
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
        const box = canvas.getBoundingClientRect();
        click((2 * (event.clientX - box.left)) / box.width - 1, 1 - (2 * (event.clientY - box.top)) / box.height);
    });
}
