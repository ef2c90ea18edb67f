// The scene and its camera. Of the page, this class knows only the canvas that it draws on.
//
// The graphics processor gets float offsets from the centre of the scene; queries are answered from the doubles.

import {BufferAttribute, BufferGeometry, Frustum, Group, Matrix4, Mesh, PerspectiveCamera, Scene, Vector3, WebGLRenderer} from 'three';
import {OrbitControls} from 'three/examples/jsm/controls/OrbitControls.js';
import {LineMaterial} from 'three/examples/jsm/lines/LineMaterial.js';
import {LineSegments2} from 'three/examples/jsm/lines/LineSegments2.js';
import {LineSegmentsGeometry} from 'three/examples/jsm/lines/LineSegmentsGeometry.js';
import type {Lines, Surface} from './decode';
import {findHit, getHeightOn, type Hit, type Place} from './measure';
import {type SceneData, nextTask} from './read';
import {addSkirts, type SurfaceMesh} from './skirts';
import {SurfaceMaterial} from './surfaceMaterial';

export interface Box {
    low: Place;
    high: Place;
}

const VALUES_PER_STEP = 1 << 18;
const FILLED = 0.96; // share of the canvas that the scene fills after a reset

export class View {
    readonly box: Box;
    surfaces: Surface[]; // for queries
    private readonly renderer: WebGLRenderer;
    private readonly scene = new Scene();
    private readonly ground = new Group();
    private readonly camera = new PerspectiveCamera(40, 1, 1, 1e6);
    private readonly controls: OrbitControls;
    private readonly layers: Group[] = [];
    private readonly materials: SurfaceMaterial[] = [];
    private readonly centre: Place;
    private readonly radius: number;
    private frame = 0;
    private exaggeration = 1;
    private covered = 0; // width of the canvas under the panel; the canvas runs from -1 to 1
    private shifted: [number, number] = [0, 0]; // the target of the camera on the canvas: to the right of the middle, and above it
    /** Called before each frame, after the camera has moved. */
    beforeFrame: () => void = () => {};
    /** Called after each frame. */
    onFrame: () => void = () => {};

    /** Throws if the browser has no WebGL. */
    constructor(private readonly canvas: HTMLCanvasElement, private readonly data: SceneData) {
        this.renderer = new WebGLRenderer({canvas, antialias: true, alpha: true});
        this.surfaces = data.surfaces;
        this.box = data.layer?.box ?? getBox(data);
        this.centre = this.box.low.map((low, i) => low / 2 + this.box.high[i] / 2) as Place;
        this.radius = Math.hypot(...this.box.low.map((low, i) => this.box.high[i] - low)) / 2 || 1;
        for (const _ of data.description.layers) {
            const layer = new Group();
            this.layers.push(layer);
            this.ground.add(layer);
        }
        this.scene.add(this.ground);
        this.camera.up.set(0, 0, 1);
        this.controls = new OrbitControls(this.camera, canvas);
        this.controls.zoomToCursor = true;
        this.controls.screenSpacePanning = false;
        this.controls.addEventListener('change', () => this.draw());
    }

    /** Passes the geometry to the graphics processor, in steps. */
    async load(): Promise<void> {
        const {surfaces, lines} = this.data;
        for (const surface of surfaces) {
            const geometry = new BufferGeometry();
            geometry.setAttribute('position', new BufferAttribute(await this.toOffsets(surface.places), 3));
            geometry.setIndex(new BufferAttribute(surface.triangles, 1));
            const mesh = new Mesh(geometry, this.makeMaterial(surface));
            mesh.frustumCulled = false; // nearly always in view
            this.layers[surface.layer].add(mesh);
            await nextTask();
        }
        for (const part of lines) await this.loadLines(part);
    }

    private makeMaterial({ramp, color}: Surface, isSkirt = false): SurfaceMaterial {
        const {ramps} = this.data.description;
        const material = new SurfaceMaterial(ramp === undefined ? undefined : ramps[ramp], color, this.centre[2], isSkirt);
        this.materials.push(material);
        return material;
    }

    /** Passes a part of a surface, with skirts along its sides, to the graphics processor. All parts share their materials. */
    addMesh(surface: Surface, sides: number[][], depth: number): SurfaceMesh {
        const {places} = surface;
        const offsets = new Float32Array(places.length);
        const [x, y] = [places[0], places[1]]; // a vertex of the part, which keeps the offsets in x-y small
        for (let i = 0; i < places.length; i += 3) {
            offsets[i] = places[i] - x;
            offsets[i + 1] = places[i + 1] - y;
            offsets[i + 2] = places[i + 2] - this.centre[2];
        }
        const geometry = addSkirts(offsets, surface.triangles, sides, depth);
        if (this.materials.length === 0) [false, true].forEach(isSkirt => this.makeMaterial(surface, isSkirt));
        const mesh = new Mesh(geometry, this.materials);
        mesh.position.set(x - this.centre[0], y - this.centre[1], 0);
        mesh.frustumCulled = false; // the caller hides parts that are out of view
        this.layers[surface.layer].add(mesh);
        return mesh;
    }

    removeMesh(mesh: SurfaceMesh): void {
        mesh.removeFromParent();
        mesh.geometry.dispose();
    }

    private async loadLines(lines: Lines): Promise<void> {
        const geometry = new LineSegmentsGeometry();
        geometry.setPositions(await this.toOffsets(lines.places));
        const object = new LineSegments2(geometry, new LineMaterial({color: lines.color, linewidth: lines.width}));
        object.frustumCulled = false;
        this.layers[lines.layer].add(object);
        await nextTask();
    }

    private async toOffsets(places: Float64Array): Promise<Float32Array> {
        const offsets = new Float32Array(places.length);
        for (let i = 0; i < places.length; i += 3) {
            for (let k = 0; k < 3; ++k) offsets[i + k] = places[i + k] - this.centre[k];
            if (i % (3 * VALUES_PER_STEP) === 0) await nextTask();
        }
        return offsets;
    }

    // --- appearance ---

    setLayerVisible(layer: number, isVisible: boolean): void {
        this.layers[layer].visible = isVisible;
        this.draw();
    }

    isLayerVisible(layer: number): boolean {
        return this.layers[layer].visible;
    }

    getExaggeration(): number {
        return this.exaggeration;
    }

    setExaggeration(factor: number): void {
        this.exaggeration = factor;
        this.ground.scale.z = factor;
        this.draw();
    }

    /** Contour lines at multiples of the interval; 0 for none. */
    setContours(interval: number): void {
        for (const material of this.materials) material.setContours(interval);
        this.draw();
    }

    /** Fits the drawing to the size of the canvas; a strip of `covered` pixels on its left is under the panel. */
    resize(covered: number): void {
        const {clientWidth, clientHeight} = this.canvas;
        this.covered = (2 * covered) / Math.max(1, clientWidth);
        this.renderer.setPixelRatio(Math.min(2, devicePixelRatio));
        this.renderer.setSize(clientWidth, clientHeight, false);
        this.camera.aspect = Math.max(1, clientWidth) / Math.max(1, clientHeight);
        this.shift();
        this.draw();
    }

    // --- the camera ---

    /** Looks at the whole scene, from the south-south-west and from above. */
    reset(): void {
        this.look(-0.35, 0.9);
    }

    /** Looks straight down, north up. */
    lookFromTop(): void {
        this.look(0, 1e-4);
    }

    /** The position of the target of the camera on the canvas; x and y run from -1 to 1. */
    get middle(): [number, number] {
        return this.shifted;
    }

    private shift(): void {
        const {clientWidth, clientHeight} = this.canvas;
        const [right, up] = this.shifted;
        this.camera.setViewOffset(clientWidth, clientHeight, (-right * clientWidth) / 2, (up * clientHeight) / 2, clientWidth, clientHeight);
    }

    /** Shows the whole scene, seen from a direction: the angle from south, and the angle from straight above. */
    private look(azimuth: number, polar: number): void {
        const back = new Vector3(Math.sin(azimuth) * Math.sin(polar), -Math.cos(azimuth) * Math.sin(polar), Math.cos(polar));
        const toRight = new Vector3(Math.cos(azimuth), Math.sin(azimuth), 0);
        // Step back until the whole scene is on the canvas: centred vertically, and horizontally beside the panel.
        for (let distance = this.radius; ; distance *= 1.02) {
            const {left, right, up, down} = this.getReach(back, toRight, distance);
            this.shifted = [Math.max(0, this.covered + left - FILLED), (down - up) / 2];
            if (Math.max(left, right + this.shifted[0], (up + down) / 2) > FILLED) continue;
            this.camera.position.copy(back).multiplyScalar(distance);
            break;
        }
        this.shift();
        this.controls.target.set(0, 0, 0);
        this.controls.update();
        this.draw();
    }

    /** The extent of the scene on the canvas (-1 to 1) on each side of the middle, seen from a distance. */
    private getReach(back: Vector3, toRight: Vector3, distance: number): Record<'left' | 'right' | 'up' | 'down', number> {
        const upwards = new Vector3().crossVectors(back, toRight);
        const tangent = Math.tan((this.camera.fov * Math.PI) / 360);
        const [x, y, z] = this.box.high.map((high, i) => (high - this.centre[i]) * (i === 2 ? this.exaggeration : 1));
        const reach = {left: 0, right: 0, up: 0, down: 0};
        for (const [i, j, k] of [0, 1, 2, 3, 4, 5, 6, 7].map(n => [n & 1, n & 2, n & 4].map(bit => (bit ? 1 : -1)))) {
            const corner = new Vector3(i * x, j * y, k * z);
            const scale = 1 / (tangent * Math.max(1e-9 * distance, distance - corner.dot(back)));
            const across = (corner.dot(toRight) * scale) / this.camera.aspect;
            reach.left = Math.max(reach.left, -across);
            reach.right = Math.max(reach.right, across);
            reach.up = Math.max(reach.up, corner.dot(upwards) * scale);
            reach.down = Math.max(reach.down, -corner.dot(upwards) * scale);
        }
        return reach;
    }

    /** Turns the camera around the place that it looks at; angles in radians. */
    turn(azimuth: number, polar: number): void {
        const offset = this.camera.position.clone().sub(this.controls.target);
        const distance = offset.length();
        const newAzimuth = Math.atan2(offset.x, -offset.y) + azimuth;
        const newPolar = Math.min(Math.PI / 2 + 0.3, Math.max(1e-4, Math.acos(offset.z / distance) + polar));
        offset.set(Math.sin(newAzimuth) * Math.sin(newPolar), -Math.cos(newAzimuth) * Math.sin(newPolar), Math.cos(newPolar));
        this.camera.position.copy(this.controls.target).addScaledVector(offset, distance);
        this.controls.update();
    }

    /** Moves camera and target to the right and forward, by multiples of their distance. */
    pan(right: number, forward: number): void {
        const distance = this.camera.position.distanceTo(this.controls.target);
        const toRight = new Vector3().setFromMatrixColumn(this.camera.matrix, 0);
        const ahead = new Vector3().crossVectors(this.camera.up, toRight);
        const move = toRight.multiplyScalar(right * distance).addScaledVector(ahead, forward * distance);
        this.camera.position.add(move);
        this.controls.target.add(move);
        this.controls.update();
    }

    /**
     * Puts the target of the camera as far away as the ground under a point of the canvas (x and y from -1 to 1). Zooming then
     * ends at that ground, and a drag moves it with the pointer. The view does not change.
     */
    aimAt(x: number, y: number): void {
        const hit = this.pick(x, y);
        if (!hit) return;
        const distance = this.camera.position.distanceTo(this.toScene(hit.place));
        this.controls.target.copy(this.camera.position).addScaledVector(this.camera.getWorldDirection(new Vector3()), distance);
    }

    /** Divides the distance between camera and target by a factor. */
    zoom(factor: number): void {
        const offset = this.camera.position.clone().sub(this.controls.target).divideScalar(factor);
        this.camera.position.copy(this.controls.target).add(offset);
        this.controls.update();
    }

    // --- queries ---

    /** The nearest place on a visible surface under a point of the canvas; x and y run from -1 to 1, and 1 is at the top. */
    pick(x: number, y: number): Hit | null {
        this.camera.updateMatrixWorld(); // it may have moved since the last frame
        const far = new Vector3(x, y, 0.5).unproject(this.camera);
        const origin = this.toSurvey(this.camera.position);
        const beyond = this.toSurvey(far);
        const direction = beyond.map((value, i) => value - origin[i]) as Place;
        return findHit(this.visibleSurfaces(), origin, direction);
    }

    visibleSurfaces(): Surface[] {
        return this.surfaces.filter(surface => this.layers[surface.layer].visible);
    }

    /** The height of the triangle of a hit at coordinates near it. */
    getHeight(hit: Hit, x: number, y: number): number {
        const height = getHeightOn(hit.surface, hit.triangle, x, y);
        return Number.isFinite(height) ? height : hit.place[2];
    }

    private toSurvey({x, y, z}: Vector3): Place {
        return [this.centre[0] + x, this.centre[1] + y, this.centre[2] + z / this.exaggeration];
    }

    /** Converts coordinates of the survey to those of the scene. */
    toScene(place: readonly number[]): Vector3 {
        const [x, y, z] = place.map((value, i) => value - this.centre[i]);
        return new Vector3(x, y, z * this.exaggeration);
    }

    get eye(): Vector3 {
        return this.camera.position;
    }

    /** The part of space that is in view. */
    get frustum(): Frustum {
        this.clip();
        this.camera.updateMatrixWorld();
        return new Frustum().setFromProjectionMatrix(new Matrix4().multiplyMatrices(this.camera.projectionMatrix, this.camera.matrixWorldInverse));
    }

    /** The length on the canvas of one unit at a distance of one unit. */
    get pixelsPerUnit(): number {
        return this.canvas.clientHeight / 2 / Math.tan((this.camera.fov * Math.PI) / 360);
    }

    /** The position of a place on the canvas, in pixels of the page; null if it is behind the camera. */
    project(place: readonly number[]): [number, number] | null {
        const point = this.toScene(place);
        this.camera.updateMatrixWorld(); // it may have moved since the last frame
        point.applyMatrix4(this.camera.matrixWorldInverse);
        if (point.z >= 0) return null;
        point.applyMatrix4(this.camera.projectionMatrix);
        return [((1 + point.x) / 2) * this.canvas.clientWidth, ((1 - point.y) / 2) * this.canvas.clientHeight];
    }

    // --- drawing ---

    /** Sets the clipping planes so that the whole scene is visible from the present place of the camera. */
    private clip(): void {
        const distance = this.camera.position.length();
        const reach = this.radius * Math.max(1, this.exaggeration);
        this.camera.near = Math.max(distance - reach, this.camera.position.distanceTo(this.controls.target) / 100);
        this.camera.far = distance + reach;
        this.camera.updateProjectionMatrix();
    }

    /** Draws with the next frame of the browser. */
    draw(): void {
        this.frame ||= requestAnimationFrame(() => this.drawNow());
    }

    drawNow(): void {
        cancelAnimationFrame(this.frame);
        this.frame = 0;
        this.clip();
        this.beforeFrame();
        this.renderer.render(this.scene, this.camera);
        this.onFrame();
    }

    /** Resolves when the graphics processor has finished drawing. */
    async finishDrawing(): Promise<void> {
        const gl = this.renderer.getContext() as WebGL2RenderingContext;
        const fence = gl.fenceSync(gl.SYNC_GPU_COMMANDS_COMPLETE, 0);
        gl.flush();
        if (!fence) return;
        while (gl.getSyncParameter(fence, gl.SYNC_STATUS) !== gl.SIGNALED && !gl.isContextLost()) {
            await new Promise(resolve => setTimeout(resolve, 10));
        }
        gl.deleteSync(fence);
    }

    /** The objects that the renderer holds, and the calls of the last frame; for tests. */
    get counters(): {geometries: number; textures: number; calls: number; triangles: number} {
        const {memory, render} = this.renderer.info;
        return {...memory, calls: render.calls, triangles: render.triangles};
    }

    /** Releases everything that the graphics processor holds. */
    dispose(): void {
        cancelAnimationFrame(this.frame);
        this.ground.traverse(object => {
            if (!(object instanceof Mesh)) return;
            object.geometry.dispose();
            [object.material].flat().forEach(material => material.dispose());
        });
        this.ground.clear();
        this.controls.dispose();
        this.renderer.dispose();
    }
}

function getBox({surfaces, lines, description}: SceneData): Box {
    const low: Place = [Infinity, Infinity, Infinity];
    const high: Place = [-Infinity, -Infinity, -Infinity];
    const add = (places: ArrayLike<number>): void => {
        for (let i = 0; i < places.length; i += 3) {
            for (let k = 0; k < 3; ++k) {
                const value = places[i + k];
                if (value < low[k]) low[k] = value;
                if (value > high[k]) high[k] = value;
            }
        }
    };
    surfaces.forEach(surface => add(surface.places));
    lines.forEach(part => add(part.places));
    description.labels.forEach(label => add(label.place));
    return {low, high};
}
