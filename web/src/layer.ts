// The description of a pyramid of tiles, and the positions of the tiles in the coordinates of the page. If the tiles have
// longitude and latitude, the page has metres from the middle of the surface; otherwise it has the coordinates of the survey.

import type {Place} from './measure';

/** The contents of layer.json. */
export interface LayerText {
    bounds: number[];
    maxzoom: number;
    available: {startX: number; startY: number; endX: number; endY: number}[][];
    projection: string;
    tiles: string[];
    taro25d: {first: number; origin: number[]; size: number; metres: number; heights: number[]};
}

export interface Cell {
    z: number;
    x: number;
    y: number;
}

export class Layer {
    private readonly middle: number[];
    private readonly scale: number[];
    readonly isGlobe: boolean;

    constructor(private readonly text: LayerText) {
        const [west, south, east, north] = text.bounds;
        this.isGlobe = text.projection === 'EPSG:4326';
        const middle = [west / 2 + east / 2, south / 2 + north / 2];
        const {metres} = text.taro25d;
        this.middle = this.isGlobe ? middle : [0, 0];
        this.scale = this.isGlobe ? [metres * Math.cos((middle[1] * Math.PI) / 180), metres] : [1, 1];
    }

    /** The box of the whole surface, in coordinates of the page. */
    get box(): {low: Place; high: Place} {
        const [west, south, east, north] = this.text.bounds;
        const [low, high] = this.text.taro25d.heights;
        return {low: this.toPage(west, south, low), high: this.toPage(east, north, high)};
    }

    private toPage(x: number, y: number, z: number): Place {
        return [(x - this.middle[0]) * this.scale[0], (y - this.middle[1]) * this.scale[1], z];
    }

    /** Converts a place on the page to the coordinates of the tiles. */
    toCoordinates([x, y, z]: Place): Place {
        return [x / this.scale[0] + this.middle[0], y / this.scale[1] + this.middle[1], z];
    }

    /** West, south, east and north of a tile, in coordinates of the page. */
    getCorners({z, x, y}: Cell): [number, number, number, number] {
        const {origin, size} = this.text.taro25d;
        const width = size / 2 ** z;
        const [west, south] = this.toPage(origin[0] + x * width, origin[1] + y * width, 0);
        const [east, north] = this.toPage(origin[0] + (x + 1) * width, origin[1] + (y + 1) * width, 0);
        return [west, south, east, north];
    }

    getAddress({z, x, y}: Cell): string {
        return this.text.tiles[0].replace('{z}', String(z)).replace('{x}', String(x)).replace('{y}', String(y));
    }

    isAvailable({z, x, y}: Cell): boolean {
        return this.text.available[z].some(part => x >= part.startX && x <= part.endX && y >= part.startY && y <= part.endY);
    }

    /** The tiles of the coarsest level. */
    getRoots(): Cell[] {
        const {available, taro25d} = this.text;
        const z = taro25d.first;
        return available[z].flatMap(({startX, startY, endX, endY}) => {
            const cells: Cell[] = [];
            for (let x = startX; x <= endX; ++x) {
                for (let y = startY; y <= endY; ++y) cells.push({z, x, y});
            }
            return cells;
        });
    }

    /** The available tiles of the next level inside a tile. */
    getChildren({z, x, y}: Cell): Cell[] {
        if (z >= this.text.maxzoom) return [];
        return [0, 1, 2, 3].map(k => ({z: z + 1, x: 2 * x + (k & 1), y: 2 * y + (k >> 1)})).filter(cell => this.isAvailable(cell));
    }
}
