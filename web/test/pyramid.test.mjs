// Pyramids of tiles that the Python package has written: read by others, and shown by the page from a server.
import decoder from '@here/quantized-mesh-decoder/dist/quantized-mesh-decoder.js';
import assert from 'node:assert/strict';
import {spawnSync} from 'node:child_process';
import {existsSync, mkdirSync, readFileSync, readdirSync, writeFileSync} from 'node:fs';
import {createServer} from 'node:http';
import {join} from 'node:path';
import {after, before, test} from 'node:test';
import {fileURLToPath} from 'node:url';
import {gunzipSync} from 'node:zlib';
import {folder, launch, look, open, readout} from './support.mjs';

const STEPS = 32767;
const getHeight = (x, y) => 300 + 60 * Math.sin(x / 170) * Math.cos(y / 130) + x / 20;
const places = join(folder, 'pyramids');
const broken = new Set(); // addresses that the server does not find
let browser;
let server;
let address;

before(async () => {
    const python = process.env.TARO25D_PYTHON;
    if (!python) throw new Error('TARO25D_PYTHON must name a Python that has the package');
    mkdirSync(places);
    const {status, stderr} = spawnSync(python, [fileURLToPath(new URL('pyramid.py', import.meta.url)), places], {encoding: 'utf8'});
    assert.equal(status, 0, stderr);
    server = createServer(({url}, response) => {
        const path = join(places, url);
        const isThere = existsSync(path) && !broken.has(url);
        response.writeHead(isThere ? 200 : 404, {'content-type': path.endsWith('.html') ? 'text/html' : 'application/octet-stream'});
        response.end(isThere ? readFileSync(path) : undefined);
    });
    await new Promise(resolve => server.listen(0, '127.0.0.1', resolve));
    address = `http://127.0.0.1:${server.address().port}`;
    browser = await launch();
});
after(async () => {
    await browser?.close();
    server?.close();
});

const readLayer = name => JSON.parse(readFileSync(join(places, name, 'layer.json'), 'utf8'));

/** All tiles of a pyramid, by level, column and row. */
function readTiles(name) {
    const paths = readdirSync(join(places, name), {recursive: true}).filter(path => path.endsWith('.terrain'));
    return new Map(paths.map(path => {
        const bytes = readFileSync(join(places, name, path));
        const plain = bytes[0] === 0x1f && bytes[1] === 0x8b ? gunzipSync(bytes) : bytes;
        const content = decoder.default(plain.buffer.slice(plain.byteOffset, plain.byteOffset + plain.byteLength));
        return [path.replace('.terrain', ''), content];
    }));
}

/** The vertices on a side, as place along it and height. */
function getSide({vertexData, header, ...indices}, side) {
    const num = vertexData.length / 3;
    const along = side === 'west' || side === 'east' ? num : 0;
    const toHeight = step => header.minHeight + (step * (header.maxHeight - header.minHeight)) / STEPS;
    return [...indices[`${side}Indices`]].map(i => `${vertexData[along + i]} ${toHeight(vertexData[2 * num + i])}`).sort();
}

test('another decoder reads the tiles, which meet without a mismatch', () => {
    for (const name of ['plane', 'globe']) {
        const tiles = readTiles(name);
        const {minzoom, maxzoom, taro25d} = readLayer(name);
        let numShared = 0;
        for (const [path, tile] of tiles) {
            const [z, x, y] = path.split('/').map(Number);
            const num = tile.vertexData.length / 3;
            assert.ok(z >= minzoom && z <= maxzoom && tile.triangleIndices.length % 3 === 0 && tile.triangleIndices.length > 0);
            assert.equal(Math.max(...tile.triangleIndices), num - 1);
            for (const [other, here, there] of [[`${z}/${x + 1}/${y}`, 'east', 'west'], [`${z}/${x}/${y + 1}`, 'north', 'south']]) {
                if (!tiles.has(other)) continue;
                assert.deepEqual(getSide(tile, here), getSide(tiles.get(other), there), `${name}: ${path} and ${other}`);
                numShared += getSide(tile, here).length;
            }
            if (name !== 'plane' || z !== maxzoom) continue;
            const width = taro25d.size / 2 ** z;
            for (let i = 0; i < num; i += 50) {
                const [u, v, h] = [0, 1, 2].map(k => tile.vertexData[k * num + i]);
                const px = taro25d.origin[0] - 500_000 + (x + u / STEPS) * width;
                const py = taro25d.origin[1] - 5_400_000 + (y + v / STEPS) * width;
                if (Math.min(px, py, 2000 - px, 2000 - py) < 50) continue; // slivers stand up along the hull
                const height = tile.header.minHeight + (h * (tile.header.maxHeight - tile.header.minHeight)) / STEPS;
                assert.ok(Math.abs(height - getHeight(px, py)) < 1.5, `${height} at ${px} ${py}`);
            }
        }
        assert.ok(numShared > 1000);
    }
});

test('finer tiles come when the camera comes near, and coarser ones when it leaves', async () => {
    const {page, complaints, requests, byId} = await open(browser, `${address}/plane/index.html`);
    assert.deepEqual(complaints, []);
    assert.ok(requests.length > 1 && requests.every(url => url.startsWith(`${address}/plane/`)));
    assert.equal(await byId('title').textContent(), 'Hills <i>in</i> tiles');
    const getState = () => page.evaluate(() => window.terrain.settle().then(() => window.terrain.state));
    const far = await getState();
    assert.ok((await look(page)).drawn > 0.15);
    for (let i = 0; i < 12; ++i) await byId('canvas').press('+');
    const near = await getState();
    const {maxzoom} = readLayer('plane');
    assert.ok(Math.max(...near.levels) === maxzoom && Math.max(...far.levels) < maxzoom, JSON.stringify([far, near]));
    assert.ok(near.numLoaded > far.numLoaded);
    assert.ok((await look(page)).drawn > 0.9);
    for (const [x, y] of [[500, 350], [620, 300], [700, 500]]) {
        await page.mouse.click(x, y);
        const [east, north, height] = await readout(byId);
        assert.ok(Math.abs(height - getHeight(east - 500_000, north - 5_400_000)) < 1.5, `${height} at ${east} ${north}`);
    }
    if (process.env.TARO25D_PICTURES) await page.screenshot({path: join(process.env.TARO25D_PICTURES, 'pyramid.png')});
    await byId('reset').click();
    assert.deepEqual((await getState()).levels.sort(), far.levels.sort());
    const left = await page.evaluate(() => (window.view.dispose(), window.view.counters));
    assert.equal(left.geometries, 0);
    await page.context().close();
});

test('packed tiles of the globe are read in longitude and latitude', async () => {
    const {page, complaints, byId} = await open(browser, `${address}/globe/index.html`);
    assert.deepEqual(complaints, []);
    await byId('top').click();
    await page.mouse.click(600, 350);
    const [longitude, latitude, height] = await readout(byId);
    const [west, south, east, north] = readLayer('globe').bounds;
    assert.ok(longitude > west && longitude < east && latitude > south && latitude < north);
    assert.ok(height > 230 && height < 470);
    await page.context().close();
});

test('what cannot be loaded is said', async () => {
    const {maxzoom} = readLayer('plane');
    for (let x = 0; x < 2 ** maxzoom; ++x) for (let y = 0; y < 2 ** maxzoom; ++y) broken.add(`/plane/${maxzoom}/${x}/${y}.terrain`);
    const {page, byId} = await open(browser, `${address}/plane/index.html`);
    for (let i = 0; i < 12; ++i) await byId('canvas').press('+');
    await page.evaluate(() => window.terrain.settle());
    assert.match(await page.locator('#notice').textContent(), /cannot be loaded.*404/);
    assert.ok((await look(page)).drawn > 0.9); // the coarser ones stay
    await page.context().close();

    const file = await open(browser, join('pyramids', 'plane', 'index.html'), {waitFor: '[role=alert]:visible'});
    const text = await file.page.locator('[role=alert]:visible').textContent();
    assert.match(text, /python3 -m http\.server --directory ".*\/plane"/);
    await file.page.context().close();
    writeFileSync(join(places, 'plane', 'layer.json'), '{');
    const cut = await open(browser, `${address}/plane/index.html`, {waitFor: '[role=alert]:visible'});
    assert.match(await cut.page.locator('[role=alert]:visible').textContent(), /layer\.json/);
    await cut.page.context().close();
});
