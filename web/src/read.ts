// Reads the scene that is embedded in the page, in steps short enough for the page to stay responsive.

import {Decoder, type Description, type Lines, type Surface} from './decode';
import type {Layer} from './layer';

export interface SceneData {
    description: Description;
    surfaces: Surface[];
    lines: Lines[];
    layer?: Layer; // describes the tiles, if the surface is divided into tiles
}

const MAX_STEP = 30; // milliseconds

/** Lets the browser handle events and paint. A hidden page continues at once, because browsers slow its timers down. */
export function nextTask(): Promise<void> {
    if (!document.hidden) return new Promise(resolve => setTimeout(resolve, 0));
    return new Promise(resolve => {
        const channel = new MessageChannel();
        channel.port1.onmessage = () => {
            channel.port1.close();
            resolve();
        };
        channel.port2.postMessage(null);
    });
}

/** Gives the browser control after every 30 milliseconds of work. */
class Pacer {
    private begin = performance.now();

    async pause(): Promise<void> {
        if (performance.now() - this.begin < MAX_STEP) return;
        await nextTask();
        this.begin = performance.now();
    }
}

export function readDescription(): Description {
    return JSON.parse(document.getElementById('scene')!.textContent!) as Description;
}

/** Decodes the scene; `tell` is called with the fraction done. */
export async function readScene(description: Description, tell: (share: number) => void): Promise<SceneData> {
    const pacer = new Pacer();
    const shareOfText = 0.2;
    const bytes = await readBytes(description.bytes, pacer, share => tell(shareOfText * share));
    const decoder = new Decoder(bytes, description);
    const numItems =
        description.surfaces.reduce((sum, surface) => sum + surface.triangles, 1) +
        description.lines.reduce((sum, lines) => sum + lines.ends, 0);
    let numDone = 0;

    async function run<T>(steps: Generator<number, T, void>): Promise<T> {
        for (;;) {
            const step = steps.next();
            if (step.done) return step.value;
            numDone += step.value;
            tell(shareOfText + (1 - shareOfText) * Math.min(1, numDone / numItems));
            await pacer.pause();
        }
    }

    const surfaces: Surface[] = [];
    const lines: Lines[] = [];
    for (let i = 0; i < description.surfaces.length; ++i) surfaces.push(await run(decoder.readSurface(i)));
    for (let i = 0; i < description.lines.length; ++i) lines.push(await run(decoder.readLines(i)));
    return {description, surfaces, lines};
}

/** Decodes the blocks of base64 text in the page, and removes each block to save memory. */
async function readBytes(numBytes: number, pacer: Pacer, tell: (share: number) => void): Promise<Uint8Array> {
    const bytes = new Uint8Array(numBytes);
    let at = 0;
    for (const block of document.querySelectorAll('script.block')) {
        const text = atob(block.textContent!);
        for (let i = 0; i < text.length; ++i) bytes[at + i] = text.charCodeAt(i);
        at += text.length;
        block.remove();
        tell(at / numBytes);
        await pacer.pause();
    }
    if (at !== numBytes) throw new Error('The page is cut short.');
    return bytes;
}
