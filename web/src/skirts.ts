// The geometry of a tile for the graphics processor, with vertical walls (skirts) below its sides.

import {BufferAttribute, BufferGeometry, type Mesh} from 'three';
import type {SurfaceMaterial} from './surfaceMaterial';

export type SurfaceMesh = Mesh<BufferGeometry, SurfaceMaterial[]>;

/** Makes a geometry of the triangles, and of walls below the sides. The walls have the second material. */
export function addSkirts(offsets: Float32Array, triangles: Uint32Array, sides: number[][], depth: number): BufferGeometry {
    const numVertices = offsets.length / 3;
    const numBelow = sides.reduce((sum, side) => sum + side.length, 0);
    const positions = new Float32Array(offsets.length + 3 * numBelow);
    positions.set(offsets);
    const indices: number[] = [];
    let next = numVertices;
    for (const side of sides) {
        side.forEach((vertex, i) => {
            positions.set(offsets.subarray(3 * vertex, 3 * vertex + 3), 3 * next);
            positions[3 * next + 2] -= depth;
            if (i > 0) indices.push(side[i - 1], vertex, next - 1, vertex, next, next - 1);
            ++next;
        });
    }
    const index = new Uint32Array(triangles.length + indices.length);
    index.set(triangles);
    index.set(indices, triangles.length);
    const geometry = new BufferGeometry();
    geometry.setAttribute('position', new BufferAttribute(positions, 3));
    geometry.setIndex(new BufferAttribute(index, 1));
    geometry.addGroup(0, triangles.length, 0);
    geometry.addGroup(triangles.length, indices.length, 1);
    return geometry;
}
