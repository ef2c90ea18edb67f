// Takes the pictures of the documentation: scenes in the browser, and maps made smaller.
//   node pictures.mjs DEMO_FOLDER IMAGE_FOLDER
import {mkdirSync} from 'node:fs';
import {join, resolve} from 'node:path';
import {pathToFileURL} from 'node:url';
import {chromium} from 'playwright-core';

const [demo, images] = process.argv.slice(2).map(folder => resolve(folder));
const SCENES = ['terrain', 'contours', 'streams', 'lake', 'mesh', 'earthworks_before', 'earthworks_after'];
const MAPS = { // and their widths
    contours: 520, profile: 520, breaklines: 520, zones: 520, mesh_after: 520, earthworks: 520, two_limits: 900, valleys: 900,
};
const SCENE_SIZE = {width: 760, height: 460};

const browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: ['--enable-unsafe-swiftshader', '--use-angle=swiftshader', ...(process.getuid() === 0 ? ['--no-sandbox'] : [])],
});
const toUrl = name => pathToFileURL(join(demo, name)).href;
mkdirSync(images, {recursive: true});

const scene = await browser.newPage({viewport: SCENE_SIZE, colorScheme: 'light'});
for (const name of SCENES) {
    await scene.goto(toUrl(name + '.html'));
    await scene.waitForSelector('[data-testid=canvas][data-ready=true]', {timeout: 120_000});
    await scene.getByTestId('fold').click();
    await scene.addStyleTag({content: '#reading, [data-testid=fold] {display: none}'});
    await scene.getByTestId('reset').evaluate(button => button.click()); // it is folded away
    await scene.waitForTimeout(500);
    await scene.screenshot({path: join(images, `scene_${name}.png`)});
}

const map = await browser.newPage({viewport: {width: 900, height: 400}});
await map.goto(toUrl('index.html'));
for (const [name, width] of Object.entries(MAPS)) {
    await map.setContent(`<body style="margin: 0"><img style="width: ${width}px; display: block">`);
    await map.locator('img').evaluate((image, url) => new Promise((loaded, failed) => {
        Object.assign(image, {onload: loaded, onerror: failed, src: url});
    }), toUrl(name + '.png'));
    await map.locator('img').screenshot({path: join(images, name + '.png')});
}
await browser.close();
