// (c) the ztrace developers. Licence: see LICENSE.
//
// Processor seconds that vtracer takes for one image, from RGBA pixels in memory to the text of an
// SVG:  node vtracer.mjs MODE WIDTH HEIGHT PIXELS.rgba [OUTPUT.svg [BITS STEP]]
//
// MODE   binary   black and white
//        stacked  colour clusters, one above the other; cutout: beside each other
// BITS, STEP  bits a channel and step between layers, 6 and 16 otherwise
// All else as vtracer's own command line has it by default. Neither start-up nor reading counts.
import { readFileSync, writeFileSync } from 'node:fs';
import { vectorizeRawSync, ColorMode, Hierarchical, PathSimplifyMode } from '@neplex/vectorizer';

const [mode, width, height, file, target, bits, step] = process.argv.slice(2);
const config = {
    colorMode: mode === 'binary' ? ColorMode.Binary : ColorMode.Color,
    hierarchical: mode === 'cutout' ? Hierarchical.Cutout : Hierarchical.Stacked,
    filterSpeckle: 4,
    colorPrecision: Number(bits ?? 6),
    layerDifference: Number(step ?? 16),
    mode: PathSimplifyMode.Spline,
    cornerThreshold: 60,
    lengthThreshold: 4,
    maxIterations: 10,
    spliceThreshold: 45,
    pathPrecision: 2,
};
const pixels = readFileSync(file);
const start = process.cpuUsage();
const svg = vectorizeRawSync(pixels, { width: Number(width), height: Number(height) }, config);
const used = process.cpuUsage(start);
if (!svg.includes('<path'))
    process.exit(1);
if (target)
    writeFileSync(target, svg);
console.log(((used.user + used.system) * 1e-6).toFixed(6));
