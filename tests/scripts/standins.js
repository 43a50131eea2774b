// Objects that lead to a tracer without being one.
include("support/assert.js");

var proto = ZTraceBitmap.prototype;
var tracer = new ZTraceBitmap();
var address = tracer.toString();

function standIn(list) {
    return {
        getBaseClasses: function() { return list; },
        getZTraceBitmap: function() { return tracer; }
    };
}

assertEquals(proto.toString.call(Object.create(tracer)), address);
assertEquals(proto.toString.call(Object.create(Object.create(tracer))), "ZTraceBitmap(0x0)");
assertEquals(proto.toString.call(standIn(["A", "ZTraceBitmap"])), address);
assertEquals(proto.toString.call(standIn(["A", "B", "ZTraceBitmap"])), address);
assertEquals(proto.toString.call(standIn(["ZTraceBitmap"])), "ZTraceBitmap(0x0)");
assertEquals(proto.toString.call(standIn(["A", "", "ZTraceBitmap"])), "ZTraceBitmap(0x0)");
assertEquals(proto.setOption.call(standIn(["A", "ZTraceBitmap"]), "ltres", 2), undefined);

// Destroyed through another object, the first one is dead too.
Object.create(tracer).destroy();
assertEquals(tracer.toString(), "ZTraceBitmap(0x0)");
assertThrows(function() { tracer.trace("a.png"); }, "self is NULL");
assertThrows(function() { tracer.destroy(); }, "self is NULL");
assertEquals(proto.toString.call(standIn(["A", "ZTraceBitmap"])), "ZTraceBitmap(0x0)");
