// destroy: what it leaves behind, and how often it may be called.
include("support/assert.js");
include("support/pictures.js");

var proto = ZTraceBitmap.prototype;
var tracer = new ZTraceBitmap();
var other = new ZTraceBitmap();
assertEquals(tracer.destroy("ignored", 1), undefined);
assertEquals(tracer.trace, undefined);
assertEquals(typeof tracer, "object");
assertEquals(tracer instanceof ZTraceBitmap, false);
assertThrows(function() { proto.destroy.call(tracer); }, "self is NULL");
assertThrows(function() { proto.trace.call(tracer, "a.png"); }, "self is NULL");
assertEquals(proto.toString.call(tracer), "ZTraceBitmap(0x0)");

// Nobody else is touched.
assertEquals(other.setOption("ltres", 1), undefined);
other.destroy();
for (var i = 0; i < 500; ++i) {
    var one = new ZTraceBitmap();
    assertEquals(one.setOption("ltres", i), undefined);
    one.destroy();
}

// On what is no tracer.
[{}, [], 5, "a", null, undefined, print, new Date(), new QImage(1, 1), proto].forEach(function(o) {
    assertThrows(function() { proto.destroy.call(o); }, "self is NULL");
});
