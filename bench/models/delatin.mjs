// Makes models of a grid by delatin, a greedy insertion in JavaScript, for compare_models. Standard input has the numbers of
// columns and rows, all heights, and then limits, each on a line. For each limit it answers with a line of processor time, wall
// clock (both in seconds) and the numbers of vertices and triangles, then with the vertices (column, row) and the triangles.
import {createInterface} from 'node:readline';
import Delatin from 'delatin';

const lines = createInterface({input: process.stdin})[Symbol.asyncIterator]();
const next = async () => Number((await lines.next()).value);

const columns = await next(), rows = await next();
const heights = new Float64Array(columns * rows);
for (let i = 0; i < heights.length; ++i) heights[i] = await next();

for (let limit = await next(); !Number.isNaN(limit); limit = await next()) {
    const cpu = process.cpuUsage(), wall = process.hrtime.bigint();
    const model = new Delatin(heights, columns, rows);
    model.run(limit);
    const seconds = Number(process.hrtime.bigint() - wall) / 1e9, used = process.cpuUsage(cpu);
    const {coords, triangles} = model;
    const head = [(used.user + used.system) / 1e6, seconds, coords.length / 2, triangles.length / 3].join(' ');
    process.stdout.write([head, coords.join(' '), triangles.join(' ')].join('\n') + '\n');
}
