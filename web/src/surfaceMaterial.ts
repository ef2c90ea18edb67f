// The look of surfaces: a colour, or a ramp of colours by height, shaded from the north-west as on maps, with contour lines
// at multiples of an interval. The fragment shader computes the normals of the faces, so no normals are stored.

import {Color, DataTexture, DoubleSide, GLSL3, LinearFilter, RGBAFormat, ShaderMaterial, UnsignedByteType, Vector3} from 'three';
import type {Ramp} from './decode';

const NUM_TEXELS = 256;

const vertexShader = `
out vec3 vWorld;
out float vHeight;
void main() {
    vHeight = position.z;
    vWorld = (modelMatrix * vec4(position, 0.0)).xyz; // only its derivatives are used
    gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0); // three.js computes modelViewMatrix in doubles
}`;

const fragmentShader = `
precision highp float;
in vec3 vWorld;
in float vHeight;
out vec4 fragment;
uniform sampler2D ramp;
uniform vec2 range;        // of the ramp; all heights are relative to that of the centre
uniform vec3 color;
uniform bool hasRamp;
uniform bool hasContours;
uniform float interval;
uniform vec2 phases;       // height of the centre above the next lower contour, and above the next lower heavy one
uniform vec3 light;
uniform bool isSkirt;

float getLine(float height, float step, float width) {
    float place = height / step;
    float distance = abs(fract(place - 0.5) - 0.5) / max(fwidth(place), 1e-9);
    float crowd = clamp(1.5 - 3.0 * fwidth(place), 0.0, 1.0); // no lines where they would be too dense
    return crowd * (1.0 - smoothstep(width - 0.5, width + 0.5, distance));
}

void main() {
    vec3 normal = normalize(cross(dFdx(vWorld), dFdy(vWorld)));
    if (normal.z < 0.0) normal = -normal;
    if (isSkirt) normal = vec3(0.0, 0.0, 1.0); // so that it looks like the ground above it
    float shade = 0.42 + 0.72 * max(dot(normal, light), 0.0);
    vec3 paint = color;
    if (hasRamp) paint = texture(ramp, vec2(clamp((vHeight - range.x) / max(range.y - range.x, 1e-9), 0.002, 0.998), 0.5)).rgb;
    paint *= shade;
    if (hasContours) {
        float line = max(0.55 * getLine(vHeight + phases.x, interval, 0.6), 0.9 * getLine(vHeight + phases.y, 5.0 * interval, 1.0));
        paint = mix(paint, vec3(0.23, 0.13, 0.05), line);
    }
    fragment = vec4(paint, 1.0);
}`;

function parseColor(css: string): [number, number, number] {
    const number = Number.parseInt(css.slice(1), 16);
    return [number >> 16, (number >> 8) & 255, number & 255];
}

/** The colours of a ramp as a row of texels. */
function makeTexture(ramp: Ramp): DataTexture {
    const data = new Uint8Array(4 * NUM_TEXELS);
    for (let i = 0; i < NUM_TEXELS; ++i) {
        const place = (i + 0.5) / NUM_TEXELS;
        let k = 1;
        while (k + 1 < ramp.stops.length && ramp.stops[k][0] < place) ++k;
        const [from, to] = [ramp.stops[k - 1], ramp.stops[k]];
        const share = (place - from[0]) / (to[0] - from[0]);
        const [a, b] = [parseColor(from[1]), parseColor(to[1])];
        for (let c = 0; c < 3; ++c) data[4 * i + c] = a[c] + share * (b[c] - a[c]);
        data[4 * i + 3] = 255;
    }
    const texture = new DataTexture(data, NUM_TEXELS, 1, RGBAFormat, UnsignedByteType);
    texture.minFilter = texture.magFilter = LinearFilter;
    texture.needsUpdate = true;
    return texture;
}

/** The material of a surface; heights are relative to that of the centre. */
export class SurfaceMaterial extends ShaderMaterial {
    constructor(ramp: Ramp | undefined, color: string | undefined, private readonly centreHeight: number, isSkirt = false) {
        const [r, g, b] = parseColor(color ?? '#c8c8c8');
        // A level ramp shows its middle.
        const [low, high] = ramp ? [ramp.low, ramp.high > ramp.low ? ramp.high : ramp.low + 1] : [0, 1];
        const shift = ramp && ramp.high <= ramp.low ? 0.5 : 0;
        super({
            vertexShader,
            fragmentShader,
            glslVersion: GLSL3,
            side: DoubleSide,
            polygonOffset: true, // lines on the surface are in front of it
            polygonOffsetFactor: isSkirt ? 2 : 1, // and the surface is in front of its skirts
            polygonOffsetUnits: isSkirt ? 8 : 2,
            uniforms: {
                ramp: {value: ramp ? makeTexture(ramp) : null},
                range: {value: [low - shift - centreHeight, high - shift - centreHeight]},
                color: {value: new Color().setRGB(r / 255, g / 255, b / 255)},
                hasRamp: {value: ramp !== undefined},
                isSkirt: {value: isSkirt},
                hasContours: {value: false},
                interval: {value: 1},
                phases: {value: [0, 0]},
                light: {value: new Vector3(-1, 1, Math.SQRT2).normalize()},
            },
        });
    }

    /** Shows contour lines at multiples of the interval; 0 for none. */
    setContours(interval: number): void {
        this.uniforms.hasContours.value = interval > 0;
        if (!(interval > 0)) return;
        const getPhase = (step: number): number => this.centreHeight - step * Math.floor(this.centreHeight / step);
        this.uniforms.interval.value = interval;
        this.uniforms.phases.value = [getPhase(interval), getPhase(5 * interval)];
    }

    override dispose(): void {
        (this.uniforms.ramp.value as DataTexture | null)?.dispose();
        super.dispose();
    }
}
