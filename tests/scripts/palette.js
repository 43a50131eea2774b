// The palette is made by the first trace and kept: a second trace of the same tracer starts from it.
include("support/assert.js");
include("support/pictures.js");

var two = square(32, BLACK, WHITE);
var tracer = twoTones();
var first = geometry(tracer.trace(two));
assertEquals(geometry(tracer.trace(two)), first);

// Asking for another number of colours comes too late.
tracer.setOption("numberofcolors", 16);
tracer.setOption("colorsampling", 1);
assertEquals(geometry(tracer.trace(two)), first);

// Other options take effect on the next trace.
tracer.setOption("pathomit", 100000);
assertEquals(tracer.trace(two).length, 0);

// A new tracer makes a palette of its own.
var other = twoTones();
assertEquals(geometry(other.trace(two)), first);
tracer.destroy();
other.destroy();
