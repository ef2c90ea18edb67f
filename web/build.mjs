// Bundles src/main.ts with three.js into dist/viewer.js, which is self-contained: style and licences are in it.
import {build} from 'esbuild';
import {readFileSync, statSync, writeFileSync} from 'node:fs';

const MAX_BYTES = 700_000; // raised by hand, when there is a reason

const [own, three] = ['../LICENSE', 'node_modules/three/LICENSE'].map(file => readFileSync(file, 'utf8').trim());
const licences = `${own}\n\nThe page that shows scenes contains three.js:\n\n${three}\n`;

await build({
    entryPoints: ['src/main.ts'],
    outfile: 'dist/viewer.js',
    bundle: true,
    minify: true,
    format: 'iife',
    target: 'es2022',
    charset: 'utf8',
    loader: {'.css': 'text'},
    legalComments: 'none', // the whole licences stand at the top
    banner: {js: `/*!\n${licences}*/`},
});
writeFileSync('dist/LICENSE.txt', licences); // of a library that has the page in it

const numBytes = statSync('dist/viewer.js').size;
console.log(`dist/viewer.js: ${numBytes} bytes`);
if (numBytes > MAX_BYTES) throw new Error(`the viewer has more than ${MAX_BYTES} bytes`);
if (/<\/script|<!--/i.test(readFileSync('dist/viewer.js', 'utf8'))) throw new Error('the viewer would end its own element');
