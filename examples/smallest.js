// The smallest script: an image becomes a drawing of its outlines.
//
//   zelvora-headless examples/smallest.js IMAGE DRAWING

var tracer = new ZTraceBitmap();
tracer.setOption("alphathreshold", 255);  // of an opaque image: let the lightness decide
var drawing = new ZDrawing();
drawing.addObject(tracer.trace(args[0]));
drawing.save(args[1]);
tracer.destroy();
