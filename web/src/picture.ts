// A picture of the present view of the scene, with title and legend.

import type {Description, Ramp} from './decode';
import {formatHeight, getColor} from './page';
import type {View} from './view';

const LINE = 20; // pixels
const BAR = 120;

function drawRamp(context: CanvasRenderingContext2D, ramp: Ramp, right: number, top: number): void {
    const {fillStyle} = context;
    const gradient = context.createLinearGradient(0, top + BAR, 0, top);
    for (const [place, stop] of ramp.stops) gradient.addColorStop(place, stop);
    context.fillStyle = gradient;
    context.fillRect(right - 14, top, 14, BAR);
    context.fillStyle = fillStyle;
    const extent = ramp.high - ramp.low;
    for (const share of [0, 0.5, 1]) {
        context.fillText(formatHeight(ramp.low + share * extent, extent), right - LINE, top + BAR * (1 - share) + 4);
    }
}

/** The ramps, and the colours of the layers that are shown. */
function drawLegend(context: CanvasRenderingContext2D, description: Description, view: View, right: number): void {
    let top = 16;
    context.textAlign = 'right';
    context.font = '12px system-ui, "DejaVu Sans", sans-serif';
    for (const ramp of Object.values(description.ramps)) {
        drawRamp(context, ramp, right, top);
        top += BAR + LINE;
    }
    description.layers.forEach((name, i) => {
        const color = getColor(description, i);
        if (!color || !view.isLayerVisible(i)) return;
        const {fillStyle} = context;
        context.fillText(name, right - LINE, top + 10);
        context.fillStyle = color;
        context.fillRect(right - 14, top, 14, 12);
        context.fillStyle = fillStyle;
        top += LINE;
    });
}

export async function makePicture(view: View, canvas: HTMLCanvasElement, marks: HTMLCanvasElement, description: Description): Promise<Blob> {
    const picture = document.createElement('canvas');
    picture.width = canvas.width;
    picture.height = canvas.height;
    const context = picture.getContext('2d')!;
    const style = getComputedStyle(document.body);
    context.fillStyle = style.backgroundColor;
    context.fillRect(0, 0, picture.width, picture.height);
    view.drawNow(); // the browser clears the drawing after this task, so it is copied at once
    context.drawImage(canvas, 0, 0);
    context.drawImage(marks, 0, 0, picture.width, picture.height);
    const ratio = canvas.width / canvas.clientWidth;
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.fillStyle = style.color;
    context.font = '600 16px system-ui, "DejaVu Sans", sans-serif';
    context.fillText(description.title, 14, 26);
    drawLegend(context, description, view, canvas.clientWidth - 14);
    return new Promise((resolve, reject) => {
        picture.toBlob(blob => (blob ? resolve(blob) : reject(new Error('The picture is too large.'))), 'image/png');
    });
}

/** Lets the browser save a blob as a file. */
export function download(blob: Blob, name: string): void {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 10_000);
}

/** Makes a file name of a title. */
export function toFilename(title: string, ending: string): string {
    return (title.replace(/[^\p{L}\p{N}]+/gu, '_').slice(0, 60) || 'scene') + ending;
}
