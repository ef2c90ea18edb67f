// The page of a scene in a real browser.
import assert from 'node:assert/strict';
import {readFileSync, writeFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, before, test} from 'node:test';
import {folder, getExtentAfter, getHeights, launch, look, open, readout, writeLargeScene, writeScenes} from './support.mjs';

const MILLIMETRE = 0.001;
let browser;

before(async () => {
    writeScenes();
    browser = await launch();
});
after(() => browser.close());

/** Keeps a picture for people where the environment names a folder. */
async function keepPicture(page, name) {
    if (process.env.TARO25D_PICTURES) await page.screenshot({path: join(process.env.TARO25D_PICTURES, name + '.png')});
}

test('a scene opens without a request and without a complaint', async () => {
    for (const colorScheme of ['light', 'dark']) {
        const {page, complaints, requests, byId} = await open(browser, 'survey.html', {colorScheme, offline: true});
        assert.deepEqual(complaints, []);
        assert.deepEqual(requests, []);
        assert.equal(await byId('title').textContent(), 'Survey <b>of</b> the "Höhe" & valley');
        assert.equal(await page.title(), 'Survey <b>of</b> the "Höhe" & valley');
        assert.match(await byId('legend').textContent(), /Height\d+/);
        assert.equal(await byId('exaggeration').inputValue(), '2');
        assert.ok((await look(page)).drawn > 0.15);
        assert.equal(await page.evaluate(() => document.documentElement.dataset.scheme), colorScheme);
        await keepPicture(page, `survey-${colorScheme}`);
        await page.context().close();
    }
});

test('names stand on the page as text', async () => {
    const {page, complaints, byId} = await open(browser, 'layers.html');
    assert.equal(await byId('title').textContent(), "</script><script>document.title='broken'</script>");
    for (const name of ['cut', '"><img src=x onerror=alert(1)>', 'grey', 'lines']) {
        assert.ok(await byId(`layer-${name}`).isChecked(), name);
    }
    assert.equal(await page.locator('img').count(), 0);
    assert.deepEqual(complaints, []);
    await keepPicture(page, 'layers');
    await page.context().close();
});

test('the whole scene is beside the panel, or fills the canvas without it', async () => {
    const {page, byId} = await open(browser, 'survey.html');
    const panel = await page.locator('#panel').boundingBox();
    for (const act of ['reset', 'top']) {
        const {left, right, top, bottom} = await getExtentAfter(byId(act));
        assert.ok(left > panel.x + panel.width && right < 1000 && top > 0 && bottom < 700, act);
        assert.ok(right - left > 650 || bottom - top > 650, act);
    }
    await byId('fold').evaluate(button => button.click());
    const {left, right, top, bottom} = await getExtentAfter(byId('top'));
    assert.ok(Math.abs(left + right - 1000) < 1 && Math.abs(top + bottom - 700) < 1);
    await page.context().close();
});

test('exaggeration, contours and layers change the picture', async () => {
    const {page, byId} = await open(browser, 'layers.html');
    const first = await look(page);
    assert.ok(first.reddish > 0.01);
    assert.ok(first.black > 0.003); // a line of 6 points, not of 2 pixels
    await byId('layer-cut').uncheck();
    const without = await look(page);
    assert.ok(without.reddish < first.reddish / 10);
    assert.ok(without.drawn < first.drawn);
    await byId('layer-cut').check();
    assert.deepEqual(await look(page), first);
    await byId('exaggeration').fill('3');
    assert.notEqual((await look(page)).sum, first.sum);
    await byId('exaggeration').fill('1');
    assert.deepEqual(await look(page), first);
    await byId('contours').check();
    const contoured = await look(page);
    assert.notEqual(contoured.sum, first.sum);
    await byId('interval').fill('1');
    assert.notEqual((await look(page)).sum, contoured.sum);
    await page.context().close();
});

test('a click reads the coordinates of the ground', async () => {
    const {page, byId} = await open(browser, 'survey.html');
    const read = [];
    for (const [act, exaggeration] of [['reset', '2'], ['top', '1'], ['reset', '7.5']]) {
        await byId(act).click();
        await byId('exaggeration').fill(exaggeration);
        for (const [x, y] of [[500, 350], [430, 400], [560, 330], [520, 420]]) {
            await page.mouse.click(x, y);
            assert.match(await byId('readout').textContent(), /^(-?\d+\.\d{3,} ){2}-?\d+\.\d{3,}$/);
            read.push(await readout(byId));
        }
    }
    const heights = getHeights(read);
    read.forEach(([x, y, z], i) => assert.ok(Math.abs(z - heights[i]) < MILLIMETRE, `${x} ${y}: ${z} for ${heights[i]}`));
    assert.ok(new Set(read.map(String)).size >= 11);
    await byId('layer-surface').uncheck();
    const [last] = read.slice(-1);
    await page.mouse.click(480, 360);
    assert.deepEqual(await readout(byId), last); // nothing is there to be read
    await page.context().close();
});

test('distances and profiles are those of the ground', async () => {
    const {page, byId} = await open(browser, 'survey.html');
    await byId('profile').click();
    await page.mouse.click(400, 380);
    const from = await readout(byId);
    await page.mouse.click(620, 330);
    const to = await readout(byId);
    const length = Math.hypot(to[0] - from[0], to[1] - from[1]);
    const told = (await byId('distance').textContent()).match(/-?\d+\.\d+/g).map(Number);
    assert.ok(Math.abs(told[0] - length) < MILLIMETRE);
    assert.ok(Math.abs(told[1] - (to[2] - from[2])) < MILLIMETRE);
    assert.ok(Math.abs(told[2] - Math.hypot(length, to[2] - from[2])) < MILLIMETRE);

    const text = await page.locator('[data-testid=chart] path').getAttribute('data-points');
    const points = text.split(' ').map(point => point.split(',').map(Number));
    assert.ok(points.length > 20);
    assert.ok(Math.abs(points[0][0]) < MILLIMETRE && Math.abs(points.at(-1)[0] - length) < MILLIMETRE);
    assert.ok(points.every(([d], i) => i === 0 || d > points[i - 1][0]));
    const middles = points.slice(1).map(([d, z], i) => [(d + points[i][0]) / 2, (z + points[i][1]) / 2]);
    const samples = [...points, ...middles];
    const heights = getHeights(samples.map(([d]) => [0, 1].map(k => from[k] + (d / length) * (to[k] - from[k]))));
    samples.forEach(([d, z], i) => assert.ok(Math.abs(z - heights[i]) < MILLIMETRE, `${z} for ${heights[i]} at ${d}`));
    await keepPicture(page, 'profile');

    const [csv] = await Promise.all([page.waitForEvent('download'), byId('save-profile').click()]);
    assert.equal(readFileSync(await csv.path(), 'utf8').trim().split('\n').length, points.length + 1);
    await page.keyboard.press('Escape'); // whatever has the focus
    assert.equal(await byId('profile').getAttribute('aria-pressed'), 'false');
    assert.equal(await byId('distance').textContent(), '');
    await page.context().close();
});

test('keys, buttons and dragging move the camera, and reset brings it back', async () => {
    const {page, byId} = await open(browser, 'survey.html');
    const first = await look(page);
    const seen = new Set([first.sum]);
    for (const key of ['ArrowLeft', 'ArrowUp', 'Shift+ArrowRight', 'Shift+ArrowDown', '+', '-', 't']) {
        await byId('canvas').press('r');
        await byId('canvas').press(key);
        seen.add((await look(page)).sum);
    }
    assert.equal(seen.size, 8);
    await byId('reset').click();
    assert.deepEqual(await look(page), first);
    await page.mouse.move(500, 350);
    await page.mouse.down();
    await page.mouse.move(560, 380, {steps: 4});
    await page.mouse.up();
    assert.notEqual((await look(page)).sum, first.sum);
    assert.equal(await byId('readout').textContent(), ''); // a drag is no click
    await page.mouse.wheel(0, -400);
    await byId('top').click();
    await byId('canvas').press('Enter');
    const [x, y] = await readout(byId);
    assert.ok(Math.abs(x - 500500) < 1 && Math.abs(y - 5400500) < 1); // the middle of the ground
    await page.context().close();
});

test('zooming ends at the ground under the pointer', async () => {
    const {page, byId} = await open(browser, 'survey.html');
    const getMetresPerPixel = async (x, y) => {
        const [from, to] = await page.evaluate(
            places => places.map(([px, py]) => window.view.pick(px / 500 - 1, 1 - py / 350).place),
            [[x, y], [x + 1, y]],
        );
        return Math.hypot(...from.map((value, i) => to[i] - value));
    };
    for (const [x, y] of [[745, 230], [440, 410]]) { // a summit and a valley
        await byId('reset').click();
        await page.mouse.click(x, y);
        const [from, before] = [await readout(byId), await getMetresPerPixel(x, y)];
        for (let i = 0; i < 10; ++i) await page.mouse.wheel(0, -600);
        await page.mouse.click(x, y);
        const [to, after] = [await readout(byId), await getMetresPerPixel(x, y)];
        assert.ok(Math.hypot(...to.map((value, i) => value - from[i])) < before, `${from} ${to}`);
        assert.ok(after < before / 10, `${before} ${after}`);
    }
    await page.context().close();
});

test('the page serves a phone', async () => {
    const {page, byId} = await open(browser, 'survey.html', {viewport: {width: 360, height: 640}, hasTouch: true, isMobile: true});
    const width = await page.evaluate(() => document.documentElement.scrollWidth);
    assert.equal(width, 360);
    await page.touchscreen.tap(180, 330);
    const [x, y, z] = await readout(byId);
    assert.ok(Math.abs(z - getHeights([[x, y]])[0]) < MILLIMETRE);
    await keepPicture(page, 'phone');
    await byId('fold').tap();
    for (const id of ['reset', 'exaggeration', 'layer-labels', 'profile']) {
        await byId(id).scrollIntoViewIfNeeded();
        const box = await byId(id).boundingBox();
        assert.ok(box.x >= 0 && box.x + box.width <= 360, id);
    }
    await keepPicture(page, 'phone-menu');
    await page.context().close();
});

test('a picture can be saved', async () => {
    const {page, byId} = await open(browser, 'survey.html');
    const [download] = await Promise.all([page.waitForEvent('download'), byId('save').click()]);
    const bytes = readFileSync(await download.path());
    assert.equal(bytes.toString('latin1', 1, 4), 'PNG');
    assert.equal(bytes.readUInt32BE(16), 1000);
    assert.ok(bytes.length > 50_000); // an empty one has some hundred bytes
    if (process.env.TARO25D_PICTURES) writeFileSync(join(process.env.TARO25D_PICTURES, 'saved.png'), bytes);
    await page.context().close();
});

test('all memory of the graphics processor is given back', async () => {
    const {page} = await open(browser, 'survey.html');
    const before = await page.evaluate(() => window.view.counters);
    assert.ok(before.geometries >= 2 && before.triangles > 39_000);
    const after = await page.evaluate(() => (window.view.dispose(), window.view.counters));
    assert.equal(after.geometries, 0);
    assert.equal(after.textures, 0);
    await page.context().close();
});

test('a page that cannot be shown says so', async () => {
    const text = readFileSync(join(folder, 'survey.html'), 'utf8');
    const cut = text.lastIndexOf('<script type="text/plain"');
    writeFileSync(join(folder, 'cut.html'), text.slice(0, cut));
    const {page} = await open(browser, 'cut.html', {waitFor: '[role=alert]'});
    assert.match(await page.locator('[role=alert]').textContent(), /cut short/);
    await page.context().close();

    const plain = await launch('--disable-3d-apis');
    const withoutWebGl = await open(plain, 'survey.html', {waitFor: '[role=alert]'});
    assert.match(await withoutWebGl.page.locator('[role=alert]').textContent(), /no WebGL/);
    await plain.close();
});

test('a million triangles open within 20 seconds, and the page stays alive', async () => {
    writeLargeScene();
    const initScript = () => {
        window.tasks = [];
        new PerformanceObserver(list => window.tasks.push(...list.getEntries().map(entry => entry.duration))).observe({type: 'longtask', buffered: true});
        window.shares = [];
        new MutationObserver(changes => changes.forEach(({target}) => window.shares.push(target.value)))
            .observe(document, {subtree: true, attributeFilter: ['value']});
    };
    // Other programs may take the processor for a moment: the best of three times counts.
    let best = {seconds: Infinity, longest: Infinity};
    for (let i = 0; i < 3 && !(best.seconds <= 20 && best.longest <= 200); ++i) {
        const begin = performance.now();
        const {page, complaints} = await open(browser, 'large.html', {initScript});
        const seconds = (performance.now() - begin) / 1000;
        const {tasks, shares, counters} = await page.evaluate(() => ({tasks: window.tasks, shares: window.shares, counters: window.view.counters}));
        const longest = Math.max(0, ...tasks);
        console.log(`a million triangles: ready in ${seconds.toFixed(1)} s, longest task ${longest.toFixed(0)} ms`);
        if (longest < best.longest) best = {seconds, longest};
        assert.deepEqual(complaints, []);
        assert.ok(counters.triangles >= 999_000);
        assert.ok(new Set(shares).size > 5, 'the progress bar moves');
        assert.ok(shares.every((share, k) => k === 0 || share >= shares[k - 1]));
        await page.context().close();
    }
    assert.ok(best.seconds <= 20);
    assert.ok(best.longest <= 200);
});
