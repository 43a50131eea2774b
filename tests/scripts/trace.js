// trace: both forms, results, arguments, and the image that stays as it was.
include("support/assert.js");
include("support/pictures.js");

var wrong = "Wrong number/types of arguments for ZTraceBitmap.trace().";
var noImage = "ZTraceBitmap: Argument 0 is not of type QImage*.";
var tracer = twoTones();
[[], [42], [true], [undefined], [{}], [[]], ["a", "b"], [new QImage(2, 2), 1]].forEach(function(list) {
    assertThrows(function() { tracer.trace.apply(tracer, list); }, wrong);
});
assertThrows(function() { tracer.trace(null); }, noImage);
assertThrows(function() { tracer.trace(tracer); }, noImage);
assertThrows(function() { tracer.trace(new ZDrawing()); }, noImage);

// A square is four lines with cut corners, whatever surrounds it.
var image = square(32, BLACK, WHITE);
var before = image.copy();
var list = tracer.trace(image);
assert(samePixels(image, before), "trace changed its image");
assert(Array.isArray(list));
assertEquals(list.length, 2);
list.forEach(function(polyline) {
    assertEquals(polyline.getClassName(), "ZPolyline");
    assertEquals(polyline.getStartPoint(), polyline.getEndPoint());
    for (var i = 0; i < polyline.countPieces(); ++i)
        assertEquals(polyline.getPieceKind(i), "line");
});
var box = list[1].getBoundingBox();
assertEquals(box, { minimum: { x: 8, y: 8 }, maximum: { x: 24, y: 24 } });

// The same from a file.
image.save(args[0] + "/square.png");
assertEquals(geometry(tracer.trace(args[0] + "/square.png")), geometry(list));

// A disc has curves.
var kinds = {};
var round = twoTones();
round.trace(disc(64, BLACK, WHITE)).forEach(function(polyline) {
    for (var i = 0; i < polyline.countPieces(); ++i)
        kinds[polyline.getPieceKind(i)] = true;
});
assertEquals(kinds, { line: true, spline: true });

// What is no image traces as an empty one.
assertEquals(tracer.trace(args[0] + "/none.png").length, 0);
assertEquals(tracer.trace(new QImage(args[0] + "/none.png")).length, 0);
tracer.destroy();
round.destroy();
