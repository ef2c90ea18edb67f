// Entry point of the page: builds the page at once, then decodes the data in steps.

import {App, NARROW} from './app';
import {Layer, type LayerText} from './layer';
import {type Page, makePage} from './page';
import {readDescription, readScene} from './read';
import {fetchBytes, Terrain} from './terrain';
import {View} from './view';

function setUpScheme(page: Page): void {
    const dark = matchMedia('(prefers-color-scheme: dark)');
    const root = document.documentElement;
    root.dataset.scheme = dark.matches ? 'dark' : 'light';
    dark.addEventListener('change', () => (root.dataset.scheme = dark.matches ? 'dark' : 'light'));
    page.buttons.scheme.onclick = () => (root.dataset.scheme = root.dataset.scheme === 'dark' ? 'light' : 'dark');
}

function setUpFolding({panel, buttons}: Page): void {
    const fold = (isClosed: boolean): void => {
        panel.classList.toggle('closed', isClosed);
        buttons.fold.setAttribute('aria-expanded', String(!isClosed));
    };
    fold(innerWidth <= NARROW);
    buttons.fold.onclick = () => fold(!panel.classList.contains('closed'));
}

function complain(page: Page, error: unknown): void {
    page.loading.hidden = false;
    page.progress.hidden = true;
    page.status.setAttribute('role', 'alert');
    const reason = error instanceof Error ? error.message : String(error);
    page.status.textContent = /webgl/i.test(reason)
        ? 'This scene cannot be shown: the browser has no WebGL. Another browser, or hardware acceleration switched on, may help.'
        : `This scene cannot be shown. ${reason}`;
}

function showNotice(page: Page, text: string): void {
    page.notice.setAttribute('role', 'alert');
    page.notice.textContent = text;
    page.notice.hidden = false;
}

/** Reads the description of the tiles, which is a file beside the page. */
async function readLayer(address: string): Promise<Layer> {
    if (location.protocol === 'file:') {
        const folder = decodeURI(location.pathname).replace(/\/[^/]*$/, '');
        throw new Error(
            'It is divided into tiles, which browsers do not load for a page that is opened as a file. Start a web server, for example ' +
                `with python3 -m http.server --directory "${folder}", and open http://localhost:8000/`,
        );
    }
    const text = new TextDecoder().decode(await fetchBytes(address));
    try {
        return new Layer(JSON.parse(text) as LayerText);
    } catch {
        throw new Error(`${address} does not describe tiles.`);
    }
}

async function show(page: Page, description: ReturnType<typeof readDescription>): Promise<void> {
    const data = await readScene(description, share => (page.progress.value = 0.9 * share));
    if (description.pyramid) data.layer = await readLayer(description.pyramid);
    const view = new View(page.canvas, data);
    page.canvas.addEventListener('webglcontextlost', event => {
        event.preventDefault();
        complain(page, new Error('The connection to the graphics processor was lost. If the scene does not come back by itself, reload the page.'));
    });
    page.canvas.addEventListener('webglcontextrestored', () => {
        page.loading.hidden = true;
        view.draw();
    });
    await view.load();
    page.progress.value = 0.95;
    new App(page, view, data).resize();
    view.reset(); // the size of the canvas is known only now
    const terrain = data.layer && new Terrain(view, data.layer);
    if (terrain) {
        terrain.onFailure = reason => showNotice(page, `Some tiles cannot be loaded. ${reason}`);
        await terrain.settle();
    }
    view.drawNow();
    await view.finishDrawing();
    page.loading.hidden = true;
    page.canvas.dataset.ready = 'true';
    Object.assign(window, {view, terrain}); // for tests and the console
}

/** In the page, the description follows this script, and the data follow the description. */
async function main(): Promise<void> {
    await new Promise<void>(resolve => {
        const observer = new MutationObserver(() => {
            if (!document.getElementById('scene')?.nextSibling) return; // it has not been read to its end yet
            observer.disconnect();
            resolve();
        });
        observer.observe(document.body, {childList: true});
    });
    const description = readDescription();
    const page = makePage(description);
    setUpScheme(page);
    setUpFolding(page);
    if (document.readyState === 'loading') {
        await new Promise(resolve => document.addEventListener('DOMContentLoaded', resolve, {once: true}));
    }
    await show(page, description).catch(error => complain(page, error));
}

void main();
