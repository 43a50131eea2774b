// traceImage gives what the command gives: byte for byte the drawings that its own tests keep
// (tests/cli/test_golden.py has the same cases), and its words.
include("support/assert.js");
var folder = args[0];
var golden = args[1];

// Case: picture and options.
var CASES = {
    "ink-soft": ["letters", { fit: "engine", preset: "lineart" }],
    "ink-one-bit": ["letters-one-bit", { fit: "engine", preset: "lineart" }],
    "ink-scan-fine": ["scan", { preset: "lineart", tolerance: 0.5, upsample: 3 }],
    "ink-even-light": ["page-shadow", { fit: "engine", preset: "lineart" }],
    "ink-adaptive": ["page-shadow", { fit: "engine", preset: "lineart", threshold: "adaptive" }],
    "ink-fixed": ["letters", { fit: "engine", preset: "lineart", threshold: 90 }],
    "ink-deskew": ["page-crooked", { fit: "engine", preset: "lineart", deskew: true }],
    "ink-despeckle": ["page", { fit: "engine", preset: "lineart", despeckle: 4, layers: false }],
    "ink-crossings-frameless": ["crossings", { fit: "engine", preset: "lineart", noFrame: true }],
    "ink-palette": ["letters", { fit: "engine", preset: "lineart", palette: ["#204080", "#ffeecc"] }],
    "ink-engine-options": ["letters", { preset: "lineart", set: { ltres: 2, pathomit: 12 } }],
    "ink-colour": ["emblem", { method: "ink", tolerance: 0.7 }],
    "flat-emblem-four": ["emblem", { fit: "engine", preset: "logo", colors: 4 }],
    "flat-badge-layers": ["badge", { fit: "engine", preset: "logo", layers: true }],
    "flat-badge-seamless": ["badge", { fit: "engine", preset: "logo", "no-seams": true }],
    "flat-transparent": ["transparent", { fit: "engine", preset: "logo" }],
    "flat-background": ["transparent", { fit: "engine", preset: "logo", background: "#ffe0c0" }],
    "flat-indexed": ["indexed", { fit: "engine", preset: "logo", colors: undefined }],
    "flat-only-colour": ["emblem", { fit: "engine", preset: "logo", onlyColor: ["#1e50a0"],
                                     palette: "#1e50a0,#faf0c8,#c8281e,white" }],
    "flat-curve-tolerance": ["emblem", { preset: "logo", tolerance: 0.4, curveTolerance: 1.5,
                                         decimals: 2 }],
    "flat-poster-min-path": ["shaded", { preset: "poster", minPath: 40 }],
    "blend-shaded-24": ["shaded", { preset: "photo", colors: 24 }],
    "blend-cycles": ["shaded", { preset: "photo", seed: 9,
                                 set: { colorquantcycles: 5, mincolorratio: 0.02 } }],
    "blend-gradients": ["hills", { preset: "photo", gradients: true }],
    "raw-sampled": ["emblem", { raw: true, seed: 4, set: { colorsampling: 0, numberofcolors: 6 } }],
    "raw-transparent": ["transparent", { raw: true, set: { alphathreshold: 100 } }],
    "fair-badge-layers": ["badge", { preset: "logo", layers: true }],
    "auto-scan": ["scan", undefined],
    "auto-emblem": ["emblem", {}],
    "auto-page": ["page", undefined],
    "auto-fax": ["fax", {}]
};

// The formats of a script's drawing are not known when it is traced: it has gradients only where they
// are asked for. None of the logos here has any, and all but what says so is the same.
function withoutGradients(text) {
    return text.replace('"gradients":["true"],', "");
}

function assertGolden(name, traced) {
    ["svg", "json"].forEach(function(format) {
        var file = folder + "/" + name + "." + format;
        traced.drawing.save(file);
        assert(withoutGradients(readTextFile(file))
                   === withoutGradients(readTextFile(golden + "/" + name + "." + format)),
               file + " differs from the kept drawing");
    });
}

// As a file and as an image. The loader turns images upright, which none of these needs.
for (var name in CASES) {
    var picture = golden + "/" + CASES[name][0] + ".png";
    assertGolden(name, traceImage(picture, CASES[name][1]));
    assertGolden(name, traceImage(new QImage(picture), CASES[name][1]));
}

// The report.
var scan = traceImage(golden + "/scan.png");
assertEquals(scan.report.preset, "lineart");
assert(scan.report.reason.length > 0, "no reason");
assert(scan.report.threshold > 0 && scan.report.threshold < 255, scan.report.threshold);
assertEquals(scan.report.counts.outlines, scan.drawing.count());
assertEquals(scan.report.remarks.length, 0);
assertEquals(scan.report.fit, "fair");
assertEquals(traceImage(golden + "/scan.png", { upsample: 2 }).report.fit, "engine");
var emblem = traceImage(golden + "/emblem.png",
                        { preset: "logo", palette: ["#1e50a0", "#faf0c8", "#c8281e", "#ffffff"] });
assertEquals([emblem.report.preset, emblem.report.reason, emblem.report.threshold],
             ["logo", "", null]);
assertEquals(emblem.report.palette.map(function(c) { return c.color; }).sort(),
             ["#1e50a0", "#c8281e", "#faf0c8", "#ffffff"]);
assertEquals(emblem.report.palette[0].alpha, 255);

// Remarks: what the command would warn of.
function remarksOf(image, options) {
    return traceImage(image, options).report.remarks;
}
assertEquals(remarksOf(golden + "/emblem.png", { preset: "logo", threshold: 90 }),
             ["--threshold has no effect: it is for black and white; --preset lineart makes that"]);
assertEquals(remarksOf(golden + "/emblem.png", { preset: "logo", deskew: false }), []);
assertEquals(remarksOf(new QImage(golden + "/emblem.png"), { preset: "lineart", threshold: 0 }),
             ["image: the drawing is blank, which the image is not: all is #ffffff"]);
assertEquals(remarksOf(new QImage(golden + "/emblem.png"), { preset: "logo", page: 2 }),
             ["--page has no effect: no file is read"]);
assertEquals(remarksOf(new QImage(golden + "/emblem.png"), { preset: "logo", units: "mm" }),
             ["image: 96 pixels an inch are taken, as it says nothing else (see --dpi)"]);

// Errors have the command's words.
var image = new QImage(golden + "/icon.png");
[[{ colrs: 3 }, "there is no option --colrs (did you mean --colors?)"],
 [{ colors: "many" }, "--colors: \"many\" is not a whole number from 1 to 4096"],
 [{ colors: 2.5 }, "--colors: \"2.5\" is not a whole number from 1 to 4096"],
 [{ colors: [1, 2] }, "--colors takes one value"],
 [{ colors: null }, "--colors: the value must be a text, a number, true or false, or a list of them"],
 [{ minPath: 1, "min-path": 1 }, "--min-path is given more than once"],
 [{ set: { ltrs: 1 } }, "--set: there is no option \"ltrs\" (did you mean ltres?)"],
 [{ set: 5 }, "--set: the value must be an object with the engine's options, { ltres: 1 }"],
 [{ output: "a.svg" }, "--output is for the command line alone"],
 [{ help: true }, "--help is for the command line alone"],
 [{ config: "no\u0000such file" }, "--config: the value has a zero byte in it"],
 [{ config: "no such file" }, "no such file: No such file or directory"]
].forEach(function(pair) {
    assertThrows(function() { traceImage(image, pair[0]); }, "traceImage(): " + pair[1]);
});
assertThrows(function() { traceImage(golden + "/icon.png", { page: "all" }); },
             "traceImage(): --page: a script traces one page after the other");
assertThrows(function() { traceImage(golden + "/scan.png", { maxPixels: 0.01 }); },
             "traceImage(): " + golden + "/scan.png: an image of " + new QImage(golden + "/scan.png").width()
                 + " x " + new QImage(golden + "/scan.png").height()
                 + " pixels has more than 0.01 million pixels (see --max-pixels)");
assertThrows(function() { traceImage(""); }, "traceImage(): the file name is empty");
assertThrows(function() { traceImage(folder + "/none.png"); },
             "traceImage(): " + folder + "/none.png: No such file or directory");
assertThrows(function() { traceImage(golden + "/auto-scan.json"); },
             "traceImage(): " + golden + "/auto-scan.json: it is a drawing already");
assertThrows(function() { traceImage(new QImage(folder + "/none.png")); },
             "traceImage(): the image is null");
[[], [5], [null], [image, 5], [image, []], [image, image], [image, {}, {}]].forEach(function(a) {
    assertThrows(function() { traceImage.apply(null, a); },
                 "Wrong number/types of arguments for traceImage().");
});
assertThrows(function() { traceImage(image, { get colors() { throw new Error("mine"); } }); }, "mine");

// The image stays as it is.
var before = image.pixel(3, 3);
traceImage(image, { background: "red", preset: "photo" });
assertEquals(image.pixel(3, 3), before);
