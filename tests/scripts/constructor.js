// The constructor, and what a tracer says of itself.
include("support/assert.js");

assertThrows(function() { ZTraceBitmap(); },
             "ZTraceBitmap(): Did you forget to construct with 'new'?");
assertThrows(function() { new ZTraceBitmap(1); },
             "ZTraceBitmap(): no matching constructor found.");
assertThrows(function() { new ZTraceBitmap(undefined); },
             "ZTraceBitmap(): no matching constructor found.");
assertEquals(ZTraceBitmap.length, 2);

var tracer = new ZTraceBitmap();
assert(tracer instanceof ZTraceBitmap);
assert(/^ZTraceBitmap\(0x[1-9a-f][0-9a-f]*\)$/.test(tracer.toString()), tracer.toString());
assertEquals("" + tracer, tracer.toString());
assertEquals(ZTraceBitmap.prototype.toString.call({}), "ZTraceBitmap(0x0)");
assertEquals(ZTraceBitmap.prototype.toString(), "ZTraceBitmap(0x0)");
assertEquals(tracer.getClassName(), "ZTraceBitmap");
assert(Array.isArray(tracer.getBaseClasses()));
assertEquals(tracer.getBaseClasses().length, 0);

for (var name in this)
    assert(name !== "ZTraceBitmap", "the class is listed among the global names");
assertEquals(Object.keys(this).indexOf("ZTraceBitmap"), -1);
tracer.destroy();
