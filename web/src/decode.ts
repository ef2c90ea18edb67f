// Decodes the compact bytes in which the library stores a scene; SceneEncoder.h describes them. Decoding is divided into
// steps: at each step a generator yields the number of items that it has decoded since the previous one.

/** How the library describes a scene. */
export interface Description {
    title: string;
    exaggeration: number;
    origin: number[];
    step: number[];
    bytes: number;
    layers: string[];
    ramps: Record<string, Ramp>;
    surfaces: {layer: number; ramp?: string; color?: string; vertices: number; triangles: number}[];
    lines: {layer: number; color: string; width: number; ends: number}[];
    labels: SceneLabel[];
    pyramid?: string; // the address of the description of the tiles, if the surface is divided into tiles
}
export interface Ramp {
    low: number;
    high: number;
    stops: [number, string][];
}
export interface SceneLabel {
    layer: number;
    place: number[];
    text: string;
    mark: boolean;
    size: number;
}

/** Triangles in space, in the coordinates of the survey. */
export interface Surface {
    layer: number;
    ramp?: string;
    color?: string;
    places: Float64Array; // x, y, z of each vertex
    triangles: Uint32Array; // three vertex numbers each
}
export interface Lines {
    layer: number;
    color: string;
    width: number; // in pixels
    places: Float64Array; // x, y, z of one end, then of the other
}

type Steps<T> = Generator<number, T, void>;

const ITEMS_PER_STEP = 1 << 14;

/** Decodes the bytes of a scene in order: first the surfaces, then the lines. */
export class Decoder {
    private at = 0;

    constructor(
        private readonly bytes: Uint8Array,
        private readonly description: Description,
    ) {}

    *readSurface(index: number): Steps<Surface> {
        const {layer, ramp, color, vertices, triangles} = this.description.surfaces[index];
        const walk = new Walk(this, vertices, triangles);
        while (!walk.isDone()) {
            walk.go(ITEMS_PER_STEP);
            yield ITEMS_PER_STEP;
        }
        yield* this.toPlaces(walk.places);
        return {layer, ramp, color, places: walk.places, triangles: walk.triangles};
    }

    *readLines(index: number): Steps<Lines> {
        const {layer, color, width, ends} = this.description.lines[index];
        const places = new Float64Array(3 * ends);
        for (let i = 0; i < places.length; ++i) {
            places[i] = this.readSigned() + (i < 3 ? 0 : places[i - 3]);
            if (i % ITEMS_PER_STEP === 0) yield i === 0 ? 0 : ITEMS_PER_STEP / 3;
        }
        yield* this.toPlaces(places);
        return {layer, color, width, places};
    }

    readByte(): number {
        return this.bytes[this.at++];
    }

    readNumber(): number {
        let byte = this.bytes[this.at++];
        if (byte < 128) return byte;
        let number = byte & 127;
        for (let factor = 128; ; factor *= 128) {
            byte = this.bytes[this.at++];
            number += (byte & 127) * factor;
            if (!(byte >= 128)) return number;
        }
    }

    readSigned(): number {
        const number = this.readNumber();
        return number % 2 === 0 ? number / 2 : -(number + 1) / 2;
    }

    /** Converts multiples of the step to coordinates, in place. */
    private *toPlaces(places: Float64Array): Steps<void> {
        const {origin, step} = this.description;
        for (let i = 0; i < places.length; i += 3) {
            for (let k = 0; k < 3; ++k) places[i + k] = origin[k] + places[i + k] * step[k];
            if (i % (16 * ITEMS_PER_STEP) === 0) yield 0;
        }
    }
}

/** Replays the walk across edges from triangle to triangle that the library has recorded. */
class Walk {
    readonly places: Float64Array;
    readonly triangles: Uint32Array;
    private numVertices = 0;
    private numCorners = 0;
    private gates = new Uint32Array(3 << 10); // edges still to be crossed: source, target and opposite corner
    private numGates = 0;
    private readonly last = [0, 0, 0];

    constructor(
        private readonly decoder: Decoder,
        numVertices: number,
        numTriangles: number,
    ) {
        this.places = new Float64Array(3 * numVertices);
        this.triangles = new Uint32Array(3 * numTriangles);
    }

    isDone(): boolean {
        return this.numCorners === this.triangles.length;
    }

    go(numTriangles: number): void {
        for (let i = 0; i < numTriangles && !this.isDone(); ++i) {
            if (this.numGates === 0) this.start();
            else this.cross();
        }
    }

    private start(): void {
        const flags = this.decoder.readByte();
        const corners = [0, 0, 0];
        for (let k = 0; k < 3; ++k) {
            const distance = this.decoder.readNumber();
            const [x, y, z] = this.last;
            corners[k] = distance === 0 ? this.addVertex(x, y, z) : this.numVertices - distance;
            this.triangles[this.numCorners++] = corners[k];
        }
        for (let k = 0; k < 3; ++k) {
            if (flags & (1 << k)) this.open(corners[k], corners[(k + 1) % 3], corners[(k + 2) % 3]);
        }
    }

    private cross(): void {
        const gate = 3 * --this.numGates;
        const [src, trg, opposite] = [this.gates[gate], this.gates[gate + 1], this.gates[gate + 2]];
        const byte = this.decoder.readByte();
        let distance = byte >> 2;
        if (distance === 63) distance += this.decoder.readNumber();
        const vertex = distance === 0 ? this.addGuessed(src, trg, opposite) : this.numVertices - distance;
        this.triangles[this.numCorners++] = trg;
        this.triangles[this.numCorners++] = src;
        this.triangles[this.numCorners++] = vertex;
        if (byte & 1) this.open(src, vertex, trg);
        if (byte & 2) this.open(vertex, trg, src);
    }

    private open(src: number, trg: number, opposite: number): void {
        if (3 * this.numGates === this.gates.length) {
            const gates = new Uint32Array(2 * this.gates.length);
            gates.set(this.gates);
            this.gates = gates;
        }
        this.gates.set([src, trg, opposite], 3 * this.numGates++);
    }

    private addGuessed(src: number, trg: number, opposite: number): number {
        const p = this.places;
        const a = 3 * src;
        const b = 3 * trg;
        const c = 3 * opposite;
        return this.addVertex(p[a] + p[b] - p[c], p[a + 1] + p[b + 1] - p[c + 1], p[a + 2] + p[b + 2] - p[c + 2]);
    }

    /** Adds a vertex, and returns its number. The bytes hold its difference from a guessed place. */
    private addVertex(x: number, y: number, z: number): number {
        const last = this.last;
        last[0] = x + this.decoder.readSigned();
        last[1] = y + this.decoder.readSigned();
        last[2] = z + this.decoder.readSigned();
        this.places.set(last, 3 * this.numVertices);
        return this.numVertices++;
    }
}
