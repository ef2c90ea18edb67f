// GLB files, read by others than those who wrote them.
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {join} from 'node:path';
import {before, test} from 'node:test';
import validator from 'gltf-validator';
import {folder, readGlb, writeScenes} from './support.mjs';

before(writeScenes);

test('the validator of the format finds nothing', async () => {
    for (const name of ['survey.glb', 'layers.glb']) {
        const {issues} = await validator.validateBytes(new Uint8Array(readGlb(name).bytes));
        assert.deepEqual(issues.messages, [], name);
    }
});

test('every vertex comes back to a millimetre', () => {
    const {json, binary} = readGlb('survey.glb');
    const {centre} = json.scenes[0].extras;
    assert.deepEqual(json.nodes[0].extras.centre, centre);
    assert.deepEqual(json.nodes[0].scale, [1, 2, 1]);
    const mesh = json.meshes.find(({name}) => name === 'surface');
    const places = [];
    for (const {attributes} of mesh.primitives) {
        const {bufferView, count} = json.accessors[attributes.POSITION];
        const at = json.bufferViews[bufferView].byteOffset;
        for (let i = 0; i < count; ++i) {
            const [a, b, c] = [0, 4, 8].map(offset => binary.readFloatLE(at + 12 * i + offset));
            places.push([centre[0] + a, centre[1] - c, centre[2] + b]);
        }
    }
    const vertices = readFileSync(join(folder, 'vertices.txt'), 'utf8').trim().split('\n').map(line => line.split(' ').map(Number));
    const byPlace = (p, q) => Math.round(1000 * (p[0] - q[0])) || p[1] - q[1];
    places.sort(byPlace);
    vertices.sort(byPlace);
    assert.equal(places.length, vertices.length);
    const isNear = (p, q) => p.every((value, k) => Math.abs(value - q[k]) < 0.001);
    // Vertices that differ by less than a millimetre in x may have changed places.
    places.forEach((place, i) => assert.ok(vertices.slice(Math.max(0, i - 5), i + 6).some(vertex => isNear(place, vertex))));
});
