// The chart of profiles, as an SVG that scales with the page.

import type {Profile} from './measure';
import {getRoundNumber} from './measure';
import {formatHeight} from './page';

const NAMESPACE = 'http://www.w3.org/2000/svg';
const MAX_WIDTH = 560;
const MARGIN_OF_PAGE = 38; // pixels of the page beside the chart
const HEIGHT = 150;
const MARGIN = {left: 52, right: 8, top: 8, bottom: 18};

function shape(tag: string, attributes: Record<string, string | number>, text = ''): SVGElement {
    const element = document.createElementNS(NAMESPACE, tag);
    for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, String(value));
    element.textContent = text;
    return element;
}

/** Multiples of a round number between two numbers. */
function getTicks(low: number, high: number, num: number): number[] {
    const step = getRoundNumber((high - low) / num);
    const ticks: number[] = [];
    for (let i = Math.ceil(low / step); i * step <= high; ++i) ticks.push(i * step);
    return ticks;
}

/** Draws profiles of equal length. The attribute `data-points` of each path holds its distances and heights. */
export function makeChart(profiles: Profile[], length: number, getColor: (profile: Profile) => string): SVGElement {
    const heights = profiles.flatMap(profile => profile.parts.flat().map(([, height]) => height));
    let low = heights.reduce((a, b) => Math.min(a, b), Infinity);
    let high = heights.reduce((a, b) => Math.max(a, b), -Infinity);
    const width = Math.min(MAX_WIDTH, document.documentElement.clientWidth - MARGIN_OF_PAGE);
    if (high - low < 1e-9 * length) [low, high] = [low - length / 100, high + length / 100];
    const toX = (d: number): number => MARGIN.left + (d / length) * (width - MARGIN.left - MARGIN.right);
    const toY = (z: number): number => HEIGHT - MARGIN.bottom - ((z - low) / (high - low)) * (HEIGHT - MARGIN.top - MARGIN.bottom);
    const chart = shape('svg', {viewBox: `0 0 ${width} ${HEIGHT}`, role: 'img', 'data-testid': 'chart'});
    chart.append(shape('title', {}, 'Height over distance'));
    for (const z of getTicks(low, high, 4)) {
        chart.append(shape('line', {class: 'grid', x1: MARGIN.left, x2: width - MARGIN.right, y1: toY(z), y2: toY(z)}));
        chart.append(shape('text', {x: MARGIN.left - 4, y: toY(z) + 3, 'text-anchor': 'end'}, formatHeight(z, high - low)));
    }
    for (const d of getTicks(0, length, Math.ceil(width / 120))) {
        const anchor = d === 0 ? 'start' : d > 0.95 * length ? 'end' : 'middle';
        chart.append(shape('text', {x: toX(d), y: HEIGHT - 4, 'text-anchor': anchor}, formatHeight(d, length)));
    }
    for (const profile of profiles) {
        const path = profile.parts.map(part => 'M' + part.map(([d, z]) => `${toX(d).toFixed(2)},${toY(z).toFixed(2)}`).join('L'));
        const points = profile.parts.flat().map(([d, z]) => `${d},${z}`);
        chart.append(shape('path', {class: 'line', d: path.join(''), stroke: getColor(profile), 'data-points': points.join(' ')}));
    }
    return chart;
}

/** Profiles as CSV. */
export function toCsv(profiles: Profile[], getName: (profile: Profile) => string): string {
    const rows = profiles.flatMap(profile => {
        const name = `"${getName(profile).replaceAll('"', '""')}"`;
        return profile.parts.flat().map(([d, z]) => `${name},${d},${z}`);
    });
    return ['layer,distance,height', ...rows].join('\n') + '\n';
}
