// Terrain tiles in the format quantized-mesh 1.0.

export const STEPS = 32767;

/** A tile: triangles, and vertices in steps of a 32767th of its width, and of its range of heights. */
export interface QuantizedMesh {
    low: number; // the height of step 0; high is that of the last step
    high: number;
    u: Uint16Array; // from the west
    v: Uint16Array; // from the south
    heights: Uint16Array;
    triangles: Uint32Array;
    sides: Uint32Array[]; // the vertices on the western, southern, eastern and northern side
}

const BYTES_OF_HEADER = 88;
const MAX_SMALL = 1 << 16; // up to this number of vertices, vertex numbers have two bytes

/** Decodes a tile. Throws a RangeError if the file is cut short. */
export function decodeQuantizedMesh(buffer: ArrayBuffer): QuantizedMesh {
    const view = new DataView(buffer);
    let at = BYTES_OF_HEADER;
    const readCount = (): number => {
        at += 4;
        return view.getUint32(at - 4, true);
    };
    const numVertices = readCount();
    const readDifferences = (): Uint16Array => {
        const values = new Uint16Array(numVertices);
        let value = 0;
        for (let i = 0; i < numVertices; ++i, at += 2) {
            const code = view.getUint16(at, true);
            value += (code >> 1) ^ -(code & 1);
            values[i] = value;
        }
        return values;
    };
    const [u, v, heights] = [readDifferences(), readDifferences(), readDifferences()];
    const size = numVertices > MAX_SMALL ? 4 : 2;
    at += -at & (size - 1);
    const readNumbers = (count: number): Uint32Array => {
        if (at + size * count > buffer.byteLength) throw new RangeError('the tile is cut short');
        const numbers = new Uint32Array(count);
        for (let i = 0; i < count; ++i, at += size) numbers[i] = size === 4 ? view.getUint32(at, true) : view.getUint16(at, true);
        return numbers;
    };
    const triangles = readNumbers(3 * readCount());
    let next = 0; // the smallest vertex number that has not occurred yet
    for (let i = 0; i < triangles.length; ++i) {
        const code = triangles[i];
        triangles[i] = next - code;
        if (code === 0) ++next;
    }
    const sides = [0, 1, 2, 3].map(() => readNumbers(readCount()));
    return {low: view.getFloat32(24, true), high: view.getFloat32(28, true), u, v, heights, triangles, sides};
}
