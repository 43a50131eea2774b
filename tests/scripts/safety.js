// What nobody means to write; it may give errors and nothing else.
include("support/assert.js");
include("support/pictures.js");

var proto = ZTraceBitmap.prototype;
assertEquals(ZTraceBitmap.call({}), undefined);
assertThrows(function() { proto.destroy(); }, "self is NULL");

// Variants with a foreign prototype.
var image = square(16, BLACK, WHITE);
var polyline = twoTones().trace(image)[0];
var disguised = [polyline, new QImage(2, 2), new ZDrawing()];
disguised.forEach(function(value) {
    value.__proto__ = proto;
    assertThrows(function() { value.destroy(); }, "self is NULL");
    assertThrows(function() { value.trace(image); }, "self is NULL");
    assertThrows(function() { Object.create(value).trace(image); }, "self is NULL");
});
var tracer = new ZTraceBitmap();
disguised.forEach(function(value) {
    value.__proto__ = QImage.prototype;
    if (value !== disguised[1]) {
        assertThrows(function() { tracer.trace(value); },
                     "ZTraceBitmap: Argument 0 is not of type QImage*.");
        assertThrows(function() { value.width(); }, "QImage.width(): This object is not a QImage");
    }
});
tracer.__proto__ = QImage.prototype;
assertThrows(function() { tracer.save("a.png"); }, "QImage.save(): This object is not a QImage");
tracer.__proto__ = proto;
tracer.destroy();

// The constructor on objects of other classes makes tracers of them.
var made = ZTraceBitmap.call(new QImage(3, 3));
assertThrows(function() { made.width(); }, "QImage.width(): This object is not a QImage");
assertEquals(proto.destroy.call(made), undefined);

// Deep recursion inside the unwrap.
var depth = 0;
var loop = { getBaseClasses: function() {
    ++depth;
    return proto.toString.call(loop);
} };
try {
    proto.toString.call(loop);
} catch (error) {
    assert(error instanceof RangeError || error instanceof Error, error);
}
assert(depth > 1);

// Native methods that call each other by way of the look-up of `this`, without a script between.
[ZTraceBitmap, QImage, ZDrawing].forEach(function(Class) {
    ["toString", "trace", "destroy", "save", "count", "width"].forEach(function(name) {
        var method = Class.prototype[name];
        if (method === undefined)
            return;
        var asClasses = { getBaseClasses: method };
        var asGetter = { getBaseClasses: function() { return ["", "A", "A", "A"]; }, getA: method };
        [asClasses, asGetter].forEach(function(object) {
            var caught = null;
            try {
                method.call(object);
            } catch (error) {
                caught = error;
            }
            assert(caught instanceof Error, Class.name + "." + name);
        });
    });
});
// Of two classes, each of which looks the other up.
var image2 = new QImage(2, 2);
var both = { getBaseClasses: ZTraceBitmap.prototype.toString };
both.__proto__ = { toString: QImage.prototype.width };
try {
    QImage.prototype.width.call(both);
    assert(false);
} catch (error) {
    assert(error instanceof Error, error);
}
assertEquals(image2.width(), 2);
