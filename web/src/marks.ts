// The overlay, which does not scale with the scene: labels, and measured places and lines.

import type {SceneLabel} from './decode';
import type {View} from './view';

export class Marks {
    private readonly context: CanvasRenderingContext2D;
    /** The places that were clicked. */
    places: number[][] = [];
    /** Lines over the ground. */
    lines: number[][][] = [];

    constructor(
        private readonly canvas: HTMLCanvasElement,
        private readonly view: View,
        private readonly labels: SceneLabel[],
    ) {
        this.context = canvas.getContext('2d')!;
    }

    draw(): void {
        const {canvas, context} = this;
        const ratio = Math.min(2, devicePixelRatio);
        canvas.width = Math.round(canvas.clientWidth * ratio);
        canvas.height = Math.round(canvas.clientHeight * ratio);
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        for (const line of this.lines) this.drawLine(line);
        for (const place of this.places) this.drawDot(place);
        this.drawLabels();
    }

    private drawLine(line: number[][]): void {
        const points = line.map(place => this.view.project(place)).filter(point => point !== null);
        for (const [width, color] of [[5, '#ffffffc0'], [2, '#c2185b']] as const) {
            this.context.beginPath();
            points.forEach(([x, y]) => this.context.lineTo(x, y));
            this.context.lineWidth = width;
            this.context.strokeStyle = color;
            this.context.stroke();
        }
    }

    private drawDot(place: number[], radius = 5): void {
        const point = this.view.project(place);
        if (!point) return;
        this.context.beginPath();
        this.context.arc(...point, radius, 0, 2 * Math.PI);
        this.context.fillStyle = '#c2185b';
        this.context.fill();
        this.context.lineWidth = 2;
        this.context.strokeStyle = '#fff';
        this.context.stroke();
    }

    /** Draws labels in their order; a label that would overlap an earlier one is left out. */
    private drawLabels(): void {
        const taken: [number, number, number, number][] = [];
        for (const label of this.labels) {
            if (!this.view.isLayerVisible(label.layer)) continue;
            const point = this.view.project(label.place);
            if (!point) continue;
            if (label.mark) this.drawDot(label.place, 3);
            const size = Math.min(40, Math.max(10, label.size + 3));
            this.context.font = `600 ${size}px system-ui, "DejaVu Sans", sans-serif`;
            const lines = label.text.split('\n');
            const width = Math.max(...lines.map(line => this.context.measureText(line).width));
            const [x, y] = [point[0] + (label.mark ? 7 : 0), point[1]];
            const box: [number, number, number, number] = [x, y - size, x + width, y + 1.2 * size * (lines.length - 1)];
            if (taken.some(other => box[0] < other[2] && other[0] < box[2] && box[1] < other[3] && other[1] < box[3])) continue;
            taken.push(box);
            lines.forEach((line, i) => this.drawText(line, x, y + 1.2 * size * i));
        }
    }

    private drawText(text: string, x: number, y: number): void {
        this.context.lineWidth = 3;
        this.context.lineJoin = 'round';
        this.context.strokeStyle = '#ffffffd8';
        this.context.strokeText(text, x, y);
        this.context.fillStyle = '#17212b';
        this.context.fillText(text, x, y);
    }
}
