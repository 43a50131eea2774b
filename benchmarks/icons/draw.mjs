// (c) the ztrace developers. Licence: see LICENSE.
// Draws SVG files as PNG: lines of JSON on standard input, {"svg": FILE, "png": FILE, "width": PIXELS}.
import { createRequire } from 'node:module';
import { readFileSync, writeFileSync } from 'node:fs';
import { createInterface } from 'node:readline';
import path from 'node:path';

const require = createRequire(path.join(process.argv[2], 'package.json'));
const { Resvg } = require('@resvg/resvg-js');
for await (const line of createInterface({ input: process.stdin })) {
  const { svg, png, width } = JSON.parse(line);
  const drawn = new Resvg(readFileSync(svg, 'utf8'), { fitTo: { mode: 'width', value: width } }).render();
  writeFileSync(png, drawn.asPng());
}
