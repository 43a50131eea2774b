// Two traces on one tracer: the second starts from the palette that the first one left.
//
//   zelvora-headless examples/two_traces.js IMAGE
//
// So pictures of one series get the same colours, and asking for another number of colours after the
// first trace changes nothing. For an independent result make a new tracer.

if (args.length < 1) {
    print("usage: zelvora-headless examples/two_traces.js IMAGE");
    quit(2);
}

function makeTracer() {
    var tracer = new ZTraceBitmap();
    tracer.setOption("monochrome", 0);
    tracer.setOption("colorsampling", 0);
    tracer.setOption("mincolorratio", 0);
    tracer.setOption("numberofcolors", 2);
    return tracer;
}

var image = new QImage(args[0]);
image.invertTopBits();

var tracer = makeTracer();
var first = tracer.trace(image).length;
tracer.setOption("numberofcolors", 8);
var second = tracer.trace(image).length;
tracer.destroy();

var fresh = makeTracer();
fresh.setOption("numberofcolors", 8);
var other = fresh.trace(image).length;
fresh.destroy();

print("2 colours: " + first + " outlines");
print("8 colours asked of the same tracer: " + second);
print("8 colours asked of a new tracer: " + other);
