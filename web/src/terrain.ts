// A surface in tiles: coarse ones far from the camera, finer ones near it. A tile is replaced by those of the next level once
// all of these that are in view have been loaded.

import {Box3, Frustum} from 'three';
import type {Surface} from './decode';
import type {Cell, Layer} from './layer';
import {decodeQuantizedMesh, type QuantizedMesh, STEPS} from './quantized';
import type {SurfaceMesh} from './skirts';
import type {View} from './view';

const MAX_PIXELS = 500; // a tile that is wider on the canvas is replaced by finer ones
const MAX_REQUESTS = 6; // at a time
const MAX_KEPT = 300; // tiles that are kept although they are not in view
const SKIRT = 1 / 100; // depth of the skirts as a share of the width of a tile; they hide gaps between levels

class Tile {
    children: Tile[] | null = null;
    state: 'none' | 'loading' | 'ready' | 'failed' = 'none';
    surface: Surface | null = null;
    mesh: SurfaceMesh | null = null;
    used = 0; // the number of the last update that needed it

    constructor(
        readonly cell: Cell,
        readonly corners: [number, number, number, number],
        public heights: [number, number],
    ) {}

    get width(): number {
        return this.corners[3] - this.corners[1];
    }
}

export class Terrain {
    private readonly roots: Tile[];
    private readonly loaded = new Set<Tile>();
    private wanted: {tile: Tile; pixels: number}[] = [];
    private shown: Tile[] = [];
    private numRequests = 0;
    private time = 0;
    private frustum = new Frustum(); // of the camera at the last choice
    private waiting: (() => void)[] = [];
    /** Called when a tile cannot be loaded. */
    onFailure: (reason: string) => void = () => {};

    constructor(
        private readonly view: View,
        private readonly layer: Layer,
    ) {
        const {low, high} = layer.box;
        this.roots = layer.getRoots().map(cell => new Tile(cell, layer.getCorners(cell), [low[2], high[2]]));
        view.beforeFrame = () => this.update();
    }

    /** The numbers of tiles to be loaded and loaded, and the levels shown; for tests and the console. */
    get state(): {numWanted: number; numLoaded: number; levels: number[]} {
        const levels = this.shown.map(tile => tile.cell.z);
        return {numWanted: this.wanted.length + this.numRequests, numLoaded: this.loaded.size, levels};
    }

    /** Resolves when all wanted tiles have been loaded. */
    async settle(): Promise<void> {
        this.update();
        while (this.wanted.length + this.numRequests > 0) await new Promise<void>(resolve => this.waiting.push(resolve));
    }

    /** Chooses the tiles that are shown, and requests those that are missing. */
    private update(): void {
        ++this.time;
        this.wanted = [];
        this.frustum = this.view.frustum;
        const shown: Tile[] = [];
        this.roots.forEach(tile => this.choose(tile, shown));
        this.shown.filter(tile => !shown.includes(tile)).forEach(tile => tile.mesh && (tile.mesh.visible = false));
        shown.forEach(tile => tile.mesh && (tile.mesh.visible = true));
        this.shown = shown;
        this.view.surfaces = shown.flatMap(tile => tile.surface ?? []);
        this.wanted.sort((a, b) => b.pixels - a.pixels);
        this.request();
        this.forget();
    }

    private choose(tile: Tile, shown: Tile[]): void {
        const box = this.getBox(tile);
        if (!this.frustum.intersectsBox(box)) return;
        const pixels = this.getPixels(tile, box);
        tile.used = this.time;
        if (tile.state === 'none') this.wanted.push({tile, pixels});
        if (pixels > MAX_PIXELS) {
            const inView = this.getChildren(tile).filter(child => this.frustum.intersectsBox(this.getBox(child)));
            const isThere = inView.length > 0 && inView.every(child => child.state === 'ready');
            if (isThere) {
                inView.forEach(child => this.choose(child, shown));
                return;
            }
            inView.forEach(child => (child.used = this.time));
            const missing = inView.filter(child => child.state === 'none');
            this.wanted.push(...missing.map(child => ({tile: child, pixels: this.getPixels(child, this.getBox(child))})));
        }
        if (tile.state === 'ready') shown.push(tile);
    }

    private getChildren(tile: Tile): Tile[] {
        tile.children ??= this.layer.getChildren(tile.cell).map(cell => new Tile(cell, this.layer.getCorners(cell), tile.heights));
        return tile.children;
    }

    /** The box of a tile, in coordinates of the scene. */
    private getBox({corners, heights}: Tile): Box3 {
        const [west, south, east, north] = corners;
        return new Box3(this.view.toScene([west, south, heights[0]]), this.view.toScene([east, north, heights[1]]));
    }

    private getPixels(tile: Tile, box: Box3): number {
        return (tile.width * this.view.pixelsPerUnit) / Math.max(1e-9 * tile.width, box.distanceToPoint(this.view.eye));
    }

    private request(): void {
        while (this.wanted.length > 0 && this.numRequests < MAX_REQUESTS) {
            const {tile} = this.wanted.shift()!;
            tile.state = 'loading';
            ++this.numRequests;
            void this.load(tile)
                .catch(error => {
                    tile.state = 'failed';
                    this.onFailure(error instanceof Error ? error.message : String(error));
                })
                .finally(() => {
                    --this.numRequests;
                    this.update();
                    this.view.draw();
                    this.waiting.splice(0).forEach(resolve => resolve());
                });
        }
    }

    private async load(tile: Tile): Promise<void> {
        const mesh = decodeQuantizedMesh(await fetchBytes(this.layer.getAddress(tile.cell)));
        tile.heights = [mesh.low, mesh.high];
        tile.surface = toSurface(mesh, tile.corners);
        tile.mesh = this.view.addMesh(tile.surface, makeSkirts(mesh), SKIRT * tile.width);
        tile.mesh.visible = false;
        tile.state = 'ready';
        this.loaded.add(tile);
    }

    /** Unloads the tiles that have been out of use for longest. */
    private forget(): void {
        const others = [...this.loaded].filter(tile => tile.used < this.time && !this.shown.includes(tile));
        others.sort((a, b) => b.used - a.used);
        for (const tile of others.slice(MAX_KEPT)) {
            if (tile.mesh) this.view.removeMesh(tile.mesh);
            [tile.mesh, tile.surface, tile.state] = [null, null, 'none'];
            this.loaded.delete(tile);
        }
    }
}

/** Fetches a file, and unpacks it if it is gzipped although the server does not say so. */
export async function fetchBytes(address: string): Promise<ArrayBuffer> {
    const response = await fetch(address);
    if (!response.ok) throw new Error(`${address}: ${response.status} ${response.statusText}`);
    const bytes = await response.arrayBuffer();
    const [first, second] = new Uint8Array(bytes, 0, Math.min(2, bytes.byteLength));
    if (first !== 0x1f || second !== 0x8b) return bytes;
    return new Response(new Blob([bytes]).stream().pipeThrough(new DecompressionStream('gzip'))).arrayBuffer();
}

function toSurface({u, v, heights, triangles, low, high}: QuantizedMesh, corners: [number, number, number, number]): Surface {
    const [west, south, east, north] = corners;
    const places = new Float64Array(3 * u.length);
    for (let i = 0; i < u.length; ++i) {
        places[3 * i] = west + (u[i] * (east - west)) / STEPS;
        places[3 * i + 1] = south + (v[i] * (north - south)) / STEPS;
        places[3 * i + 2] = low + (heights[i] * (high - low)) / STEPS;
    }
    return {layer: 0, ramp: 'terrain', places, triangles};
}

/** The vertices of each side, in order along the side. */
function makeSkirts({u, v, sides}: QuantizedMesh): number[][] {
    return sides.map((side, k) => [...side].sort((a, b) => (k % 2 === 0 ? v[a] - v[b] : u[a] - u[b])));
}

