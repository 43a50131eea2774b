// The host's methods of polyline values.
include("support/assert.js");
include("support/pictures.js");

var tracer = twoTones();
var list = tracer.trace(disc(40, BLACK, WHITE));
tracer.destroy();
assertEquals(list.length, 2);
var polyline = list[1];
assertEquals(polyline.getClassName(), "ZPolyline");
assert(polyline.countPieces() > 4);

// The pieces form a closed chain.
var previous = polyline.getStartPoint();
var length = 0;
for (var i = 0; i < polyline.countPieces(); ++i) {
    var kind = polyline.getPieceKind(i);
    var points = polyline.getPiecePoints(i);
    assert(kind === "line" || kind === "spline", kind);
    assertEquals(points.length, kind === "line" ? 2 : 3);
    assertEquals(points[0], previous);
    previous = points[points.length - 1];
    var dx = previous.x - points[0].x, dy = previous.y - points[0].y;
    length += Math.sqrt(dx * dx + dy * dy);
}
assertEquals(previous, polyline.getEndPoint());
assertEquals(previous, polyline.getStartPoint());
assert(polyline.getLength() >= length);
assert(Math.abs(polyline.getLength() - 2 * Math.PI * 16) < 3, polyline.getLength());

var box = polyline.getBoundingBox();
[box.minimum.x, box.minimum.y, 40 - box.maximum.x, 40 - box.maximum.y].forEach(function(margin) {
    assert(margin > 3 && margin < 5, margin);
});
var start = polyline.getStartPoint();
assertEquals(polyline.toString(), "ZPolyline(" + polyline.countPieces() + " pieces from " + start.x
             + ", " + start.y + ")");

// Errors.
var none = "ZPolyline.getPieceKind(): There is no such piece.";
assertThrows(function() { polyline.getPieceKind(-1); }, none);
assertThrows(function() { polyline.getPieceKind(polyline.countPieces()); }, none);
assertThrows(function() { polyline.getPiecePoints("0"); },
             "Wrong number/types of arguments for ZPolyline.getPiecePoints().");
assertThrows(function() { polyline.getLength(1); },
             "Wrong number/types of arguments for ZPolyline.getLength().");
assertThrows(function() { polyline.getLength.call({}); },
             "ZPolyline.getLength(): This object is not a ZPolyline");
assertThrows(function() { polyline.getLength.call(new QImage(1, 1)); },
             "ZPolyline.getLength(): This object is not a ZPolyline");
