// A logo in a few flat colours: one outline for each patch of colour.
//
//   zelvora-headless examples/logo.js IMAGE DRAWING [COLOURS]
//
// The tracer reads channel bytes as signed numbers, so that a light tone (128 to 255) counts as
// darker than a dark one. Handing it the image with every top bit inverted puts the tones in order.

if (args.length < 2) {
    print("usage: zelvora-headless examples/logo.js IMAGE DRAWING [COLOURS]");
    quit(2);
}

var image = new QImage(args[0]);
if (image.isNull()) {
    print("cannot read " + args[0]);
    quit(1);
}
image.invertTopBits();

var tracer = new ZTraceBitmap();
tracer.setOption("monochrome", 0);
tracer.setOption("numberofcolors", args.length > 2 ? Number(args[2]) : 16);
tracer.setOption("colorsampling", 1);  // the start palette: colours of random pixels
tracer.setOption("mincolorratio", 0);  // colours of small patches are kept
tracer.setOption("blurradius", 0);     // flat colours have nothing to smooth

var polylines = tracer.trace(image);
tracer.destroy();

var drawing = new ZDrawing();
drawing.addObject(polylines);
drawing.save(args[1]);
print(drawing.count() + " outlines");
