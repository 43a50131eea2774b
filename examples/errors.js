// What can go wrong, and how a script sees it.
//
//   zelvora-headless examples/errors.js

var tracer = new ZTraceBitmap();
try {
    // A number in quotes is not a number.
    try {
        tracer.setOption("ltres", "2");
    } catch (error) {
        print("setOption: " + error.message);
    }

    // Names of options are not checked: this one is stored and read by nobody.
    tracer.setOption("itres", 2);

    try {
        tracer.trace(null);
    } catch (error) {
        print("trace: " + error.message);
    }

    // A file that cannot be read is no error. It traces as an empty image, so ask first.
    print("no such file: " + tracer.trace("no such file.png").length + " outlines");
    print("isNull: " + new QImage("no such file.png").isNull());
} finally {
    // The engine does not free a tracer; this does, however the script got here.
    tracer.destroy();
}

// After that the object has no methods left.
print("after destroy: " + typeof tracer.trace);
