// The host's drawing.
include("support/assert.js");
include("support/pictures.js");

var tracer = twoTones();
var list = tracer.trace(disc(40, BLACK, WHITE));
tracer.destroy();

var drawing = new ZDrawing();
assertEquals(drawing.count(), 0);
assertEquals(drawing.addObject(list), undefined);
assertEquals(drawing.count(), 2);
drawing.addObject(list[0]);
drawing.addObject([]);
assertEquals(drawing.count(), 3);
assertEquals(drawing.toString(), "ZDrawing(3 objects)");
assertEquals(drawing.getClassName(), "ZDrawing");

assertEquals(drawing.setPage(40, 40), undefined);
[[], [40], [0, 40], [40, -1], ["40", "40"], [NaN, 40], [1, 2, 3]].forEach(function(a) {
    assertThrows(function() { drawing.setPage.apply(drawing, a); },
                 "Wrong number/types of arguments for ZDrawing.setPage().");
});

// All of an array or none of it.
var wrong = "Wrong number/types of arguments for ZDrawing.addObject().";
[[], [5], [null], ["a"], [{}], [[list[0], 5]], [list, list], [new QImage(1, 1)]].forEach(function(a) {
    assertThrows(function() { drawing.addObject.apply(drawing, a); }, wrong);
});
assertEquals(drawing.count(), 3);

assertEquals(drawing.save(args[0] + "/drawing.svg"), undefined);
assertEquals(drawing.save(args[0] + "/empty.SVG"), undefined);
["svg", "dxf", "pdf", "png", "json"].forEach(function(format) {
    drawing.save(args[0] + "/drawing." + format);
    new ZDrawing().save(args[0] + "/empty." + format);
});
var picture = new QImage(args[0] + "/drawing.png");
assertEquals([picture.isNull(), picture.width() >= 40], [false, true]);

function messageOf(run) {
    try {
        run();
    } catch (error) {
        return error.message;
    }
    return "";
}

var unknown = messageOf(function() { drawing.save("drawing.xyz"); });
assertEquals(unknown.indexOf("ZDrawing.save(): drawing.xyz: a drawing is saved as one of: "), 0);
assert(unknown.indexOf("svg") > 0, unknown);
assert(messageOf(function() { drawing.save(args[0] + "/none/drawing.svg"); })
           .indexOf("ZDrawing.save(): " + args[0] + "/none/drawing.svg: ") === 0);
assertThrows(function() { drawing.save(); }, "Wrong number/types of arguments for ZDrawing.save().");
assertThrows(function() { drawing.count(1); },
             "Wrong number/types of arguments for ZDrawing.count().");
assertThrows(function() { ZDrawing(); }, "ZDrawing(): Did you forget to construct with 'new'?");
assertThrows(function() { new ZDrawing(1); }, "ZDrawing(): no matching constructor found.");
assertThrows(function() { drawing.count.call({}); },
             "ZDrawing.count(): This object is not a ZDrawing");
