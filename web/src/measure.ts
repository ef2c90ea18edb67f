// Queries on surfaces, in doubles and in the coordinates of the survey. Each query tests all triangles, which takes about
// 20 ms for a million.

import type {Surface} from './decode';

export type Place = [number, number, number];

export interface Hit {
    surface: Surface;
    triangle: number;
    distance: number; // along the ray, in multiples of its direction vector
    place: Place;
}

/** The first place where a ray meets one of the surfaces (Möller and Trumbore 1997). */
export function findHit(surfaces: Surface[], origin: Place, direction: Place): Hit | null {
    let best: Hit | null = null;
    for (const surface of surfaces) {
        const hit = findHitOn(surface, origin, direction);
        if (hit && (!best || hit.distance < best.distance)) best = hit;
    }
    return best;
}

function findHitOn(surface: Surface, [ox, oy, oz]: Place, [dx, dy, dz]: Place): Hit | null {
    const {places: p, triangles: t} = surface;
    const slack = 1e-12; // so that no ray passes between two triangles that share an edge
    let distance = Infinity;
    let triangle = -1;
    for (let i = 0; i < t.length; i += 3) {
        const a = 3 * t[i];
        const b = 3 * t[i + 1];
        const c = 3 * t[i + 2];
        const ux = p[b] - p[a];
        const uy = p[b + 1] - p[a + 1];
        const uz = p[b + 2] - p[a + 2];
        const vx = p[c] - p[a];
        const vy = p[c + 1] - p[a + 1];
        const vz = p[c + 2] - p[a + 2];
        const px = dy * vz - dz * vy;
        const py = dz * vx - dx * vz;
        const pz = dx * vy - dy * vx;
        const det = ux * px + uy * py + uz * pz;
        if (det === 0) continue;
        const sx = ox - p[a];
        const sy = oy - p[a + 1];
        const sz = oz - p[a + 2];
        const u = (sx * px + sy * py + sz * pz) / det;
        if (u < -slack || u > 1 + slack) continue;
        const qx = sy * uz - sz * uy;
        const qy = sz * ux - sx * uz;
        const qz = sx * uy - sy * ux;
        const v = (dx * qx + dy * qy + dz * qz) / det;
        if (v < -slack || u + v > 1 + slack) continue;
        const w = (vx * qx + vy * qy + vz * qz) / det;
        if (w > 0 && w < distance) {
            distance = w;
            triangle = i / 3;
        }
    }
    if (triangle < 0) return null;
    return {surface, triangle, distance, place: [ox + distance * dx, oy + distance * dy, oz + distance * dz]};
}

/** The height of the plane of a triangle; NaN if it is vertical. */
export function getHeightOn(surface: Surface, triangle: number, x: number, y: number): number {
    const {places: p, triangles: t} = surface;
    const a = 3 * t[3 * triangle];
    const b = 3 * t[3 * triangle + 1];
    const c = 3 * t[3 * triangle + 2];
    const ux = p[b] - p[a];
    const uy = p[b + 1] - p[a + 1];
    const vx = p[c] - p[a];
    const vy = p[c + 1] - p[a + 1];
    const wx = x - p[a];
    const wy = y - p[a + 1];
    const det = ux * vy - uy * vx;
    const u = (wx * vy - wy * vx) / det;
    const v = (ux * wy - uy * wx) / det;
    return p[a + 2] + u * (p[b + 2] - p[a + 2]) + v * (p[c + 2] - p[a + 2]);
}

/** A polyline over distance and height, with breaks where there is no surface. */
export interface Profile {
    surface: Surface;
    parts: [number, number][][]; // distance from the start in x-y, and height
}

/** The profile of a surface in the vertical plane through two places. */
export function getProfile(surface: Surface, from: Place, to: Place): Profile {
    const length = Math.hypot(to[0] - from[0], to[1] - from[1]);
    const pieces = cut(surface, from, (to[0] - from[0]) / length, (to[1] - from[1]) / length, length);
    pieces.sort((a, b) => a[0] - b[0] || a[2] - b[2]);
    const parts: [number, number][][] = [];
    const slack = 1e-9 * length;
    let end = -Infinity;
    for (const [d0, z0, d1, z1] of pieces) {
        if (d1 <= end + slack && parts.length > 0) continue; // along an edge, both triangles give the same piece
        if (d0 > end + slack || parts.length === 0) parts.push([[d0, z0]]);
        parts[parts.length - 1].push([d1, z1]);
        end = d1;
    }
    return {surface, parts};
}

/** Intersects all triangles with a vertical plane. A piece has the distance and height of one end, then of the other. */
function cut(surface: Surface, [fx, fy]: Place, dx: number, dy: number, length: number): number[][] {
    const {places: p, triangles: t} = surface;
    const pieces: number[][] = [];
    const sides = [0, 0, 0];
    for (let i = 0; i < t.length; i += 3) {
        for (let k = 0; k < 3; ++k) {
            const v = 3 * t[i + k];
            sides[k] = (p[v + 1] - fy) * dx - (p[v] - fx) * dy;
        }
        if (Math.min(sides[0], sides[1], sides[2]) > 0 || Math.max(sides[0], sides[1], sides[2]) < 0) continue;
        const ends: [number, number][] = [];
        for (let k = 0; k < 3; ++k) {
            const m = (k + 1) % 3;
            const a = 3 * t[i + k];
            const b = 3 * t[i + m];
            if (sides[k] === 0) ends.push([(p[a] - fx) * dx + (p[a + 1] - fy) * dy, p[a + 2]]);
            if (sides[k] * sides[m] >= 0) continue;
            const s = sides[k] / (sides[k] - sides[m]);
            const x = p[a] + s * (p[b] - p[a]);
            const y = p[a + 1] + s * (p[b + 1] - p[a + 1]);
            ends.push([(x - fx) * dx + (y - fy) * dy, p[a + 2] + s * (p[b + 2] - p[a + 2])]);
        }
        const piece = clip(ends, length);
        if (piece) pieces.push(piece);
    }
    return pieces;
}

/** The piece between the first and the last of the ends, clipped to distances from 0 to the length. */
function clip(ends: [number, number][], length: number): number[] | null {
    ends.sort((a, b) => a[0] - b[0]);
    if (ends.length < 2) return null;
    const [d0, z0] = ends[0];
    const [d1, z1] = ends[ends.length - 1];
    if (d1 <= d0 || d1 < 0 || d0 > length) return null;
    const at = (d: number): number => z0 + ((d - d0) / (d1 - d0)) * (z1 - z0);
    const begin = Math.max(0, d0);
    const end = Math.min(length, d1);
    return [begin, begin === d0 ? z0 : at(begin), end, end === d1 ? z1 : at(end)];
}

/** The number of decimals that resolves a ten-millionth of an extent; at least four. */
export function getNumDecimals(extent: number): number {
    return Math.min(12, Math.max(4, Math.ceil(7 - Math.log10(extent || 1))));
}

/** A number with a fixed number of decimals and without an exponent, which toFixed uses from 1e21 on. */
export function toPlain(number: number, numDecimals: number): string {
    return Math.abs(number) < 1e21 ? number.toFixed(numDecimals) : `${BigInt(number)}.${'0'.repeat(numDecimals)}`;
}

/** Rounds to 1, 2 or 5 times a power of ten. */
export function getRoundNumber(number: number): number {
    const power = 10 ** Math.floor(Math.log10(number));
    const lead = number / power;
    return (lead < 1.5 ? 1 : lead < 3.5 ? 2 : lead < 7.5 ? 5 : 10) * power;
}
