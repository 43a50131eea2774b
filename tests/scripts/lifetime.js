// Objects that are taken away from methods while they run. Memory checkers see what goes wrong here.
include("support/assert.js");
include("support/pictures.js");

var polyline = twoTones().trace(square(16, BLACK, WHITE))[0];
var points = polyline.getPiecePoints(0).length;

function collect() {
    for (var i = 0; i < 20000; ++i)
        ({ a: [i] });
    gc();
}

// The drawing becomes a tracer while it takes objects.
var drawing = new ZDrawing();
drawing.addObject(polyline);
var taker = {
    getBaseClasses: function() { return ["", "ZPolyline"]; },
    getZPolyline: function() {
        ZTraceBitmap.call(drawing);
        return polyline;
    }
};
drawing.addObject([polyline, taker, polyline]);
assertThrows(function() { drawing.count(); }, "ZDrawing.count(): This object is not a ZDrawing");

// The drawing that a getter returns is held by nobody.
var made = 0;
var standIn = {
    addObject: ZDrawing.prototype.addObject,
    getBaseClasses: function() { return ["", "ZDrawing"]; },
    getZDrawing: function() { ++made; return new ZDrawing(); }
};
var collector = {
    getBaseClasses: function() { collect(); return ["", "ZPolyline"]; },
    getZPolyline: function() { return polyline; }
};
assertEquals(standIn.addObject([collector, collector, polyline]), undefined);
assertEquals(made, 1);

// The polyline becomes a tracer, and is collected, while its points are put together.
var victim = twoTones().trace(square(16, BLACK, WHITE))[0];
Object.prototype.__defineSetter__("x", function() { ZTraceBitmap.call(victim); });
assertEquals(victim.getPiecePoints(0).length, points);
delete Object.prototype.x;
assertThrows(function() { victim.countPieces(); },
             "ZPolyline.countPieces(): This object is not a ZPolyline");
var lender = {
    getPiecePoints: polyline.getPiecePoints,
    getBaseClasses: function() { return ["", "ZPolyline"]; },
    getZPolyline: function() { return twoTones().trace(square(16, BLACK, WHITE))[0]; }
};
Object.prototype.__defineSetter__("y", collect);
assertEquals(lender.getPiecePoints(0).length, points);
delete Object.prototype.y;

// Two script objects of one drawing show one drawing.
var heir = Object.create(new ZDrawing());
heir.addObject([polyline, polyline]);
assertEquals(heir.count(), 2);
assertEquals(heir.__proto__.count(), 2);
