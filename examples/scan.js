// A scanned line drawing to its outlines: everything darker than a limit is ink.
//
//   zelvora-headless examples/scan.js IMAGE DRAWING [LIMIT]
//
// LIMIT is the lightest ink, 0 to 255; 128 when it is not given.

if (args.length < 2) {
    print("usage: zelvora-headless examples/scan.js IMAGE DRAWING [LIMIT]");
    quit(2);
}

var limit = args.length > 2 ? Number(args[2]) : 128;

var tracer = new ZTraceBitmap();
tracer.setOption("alphathreshold", 255);         // an opaque scan: lightness alone decides
tracer.setOption("brightnessthreshold", limit);  // ink turns white, paper black
tracer.setOption("numberofcolors", 2);
tracer.setOption("colorsampling", 0);            // two fixed tones instead of random samples
tracer.setOption("colorquantcycles", 1);
tracer.setOption("blurradius", 0);

var polylines = tracer.trace(args[0]);
tracer.destroy();

var pieces = 0;
for (var i = 0; i < polylines.length; ++i)
    pieces += polylines[i].countPieces();
print(polylines.length + " outlines of " + pieces + " pieces");

var drawing = new ZDrawing();
drawing.addObject(polylines);
drawing.save(args[1]);
