// What the tests share: the browser, scenes made by the library, and what the library knows about them.
import {spawnSync} from 'node:child_process';
import {mkdtempSync, readFileSync, rmSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {pathToFileURL} from 'node:url';
import {chromium} from 'playwright-core';

const tool = process.env.TARO25D_WEB_SCENES;
if (!tool) throw new Error('TARO25D_WEB_SCENES must name the program that makes the scenes');

export const folder = mkdtempSync(join(tmpdir(), 'taro25d-scenes-'));
process.on('exit', () => rmSync(folder, {recursive: true, force: true}));

function run(args, input = '') {
    const {status, stdout, stderr} = spawnSync(tool, args, {input, encoding: 'utf8'});
    if (status !== 0) throw new Error(`${tool} ${args.join(' ')}: ${stdout}${stderr}`);
    return stdout;
}

export const writeScenes = () => run(['write', folder]);
export const writeLargeScene = () => run(['large', folder]);

/** The heights of the survey at places, from the library. */
export function getHeights(places) {
    const input = places.map(([x, y]) => `${x} ${y}`).join('\n');
    return run(['heights'], input + '\n').trim().split('\n').map(Number);
}

/** One renderer, in software, so that pictures are alike everywhere. */
export const launch = (...more) =>
    chromium.launch({
        executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
        args: ['--enable-unsafe-swiftshader', '--use-angle=swiftshader', ...(process.getuid() === 0 ? ['--no-sandbox'] : []), ...more],
    });

/** Opens a page and waits for its first frame; what it asked for and complained about is in the result. */
export async function open(browser, name, options = {}) {
    const {initScript, waitFor = '[data-testid=canvas][data-ready=true]', ...context} = options;
    const page = await (await browser.newContext({viewport: {width: 1000, height: 700}, deviceScaleFactor: 1, ...context})).newPage();
    const complaints = [];
    const requests = [];
    page.on('console', message => message.type() !== 'log' && complaints.push(message.text()));
    page.on('pageerror', error => complaints.push(String(error)));
    page.on('request', request => requests.push(request.url()));
    if (initScript) await page.addInitScript(initScript);
    const url = name.startsWith('http') ? name : pathToFileURL(join(folder, name)).href;
    await page.goto(url);
    await page.waitForSelector(waitFor, {timeout: 60_000});
    return {page, complaints, requests: requests.filter(request => request !== url), byId: id => page.getByTestId(id)};
}

/** A picture of the scene as numbers: the share of pixels that are drawn, and a sum that differs for different pictures. */
export const look = page =>
    page.evaluate(() => {
        const canvas = document.getElementById('canvas');
        const copy = document.createElement('canvas');
        [copy.width, copy.height] = [canvas.width, canvas.height];
        const context = copy.getContext('2d');
        window.view.drawNow();
        context.drawImage(canvas, 0, 0);
        const {data} = context.getImageData(0, 0, copy.width, copy.height);
        let drawn = 0;
        let sum = 0;
        let reddish = 0;
        let black = 0;
        for (let i = 0; i < data.length; i += 4) {
            if (data[i + 3] > 0) ++drawn;
            if (data[i] > 2 * data[i + 2] && data[i] > 2 * data[i + 1] && data[i + 3] > 0) ++reddish;
            if (data[i] + data[i + 1] + data[i + 2] < 30 && data[i + 3] === 255) ++black;
            sum = (31 * sum + data[i] + 3 * data[i + 1] + 7 * data[i + 2]) % 1_000_000_007;
        }
        return {drawn: (4 * drawn) / data.length, reddish: (4 * reddish) / data.length, black: (4 * black) / data.length, sum};
    });

/** Presses a button; then, before another frame is drawn, the smallest and largest x and y on the canvas of the corners of the scene. */
export const getExtentAfter = button =>
    button.evaluate(element => {
        element.click();
        const {low, high} = window.view.box;
        const numbers = [0, 1, 2, 3, 4, 5, 6, 7];
        const places = numbers.map(n => window.view.project([0, 1, 2].map(k => (n & (1 << k) ? high : low)[k])));
        const [xs, ys] = [0, 1].map(k => places.map(place => place[k]));
        return {left: Math.min(...xs), right: Math.max(...xs), top: Math.min(...ys), bottom: Math.max(...ys)};
    });

export const readout = async byId => (await byId('readout').textContent()).trim().split(' ').map(Number);

/** The chunks of a GLB file. */
export function readGlb(name) {
    const bytes = readFileSync(join(folder, name));
    const length = bytes.readUInt32LE(12);
    return {bytes, json: JSON.parse(bytes.toString('utf8', 20, 20 + length)), binary: bytes.subarray(28 + length)};
}
