// The host's QImage.
include("support/assert.js");
include("support/pictures.js");

var image = new QImage(3, 2);
assertEquals([image.width(), image.height(), image.isNull()], [3, 2, false]);
assertEquals(image.pixel(2, 1), 0);
assertEquals(image.setPixel(2, 1, 0x80402010), undefined);
assertEquals(image.pixel(2, 1), 0x80402010);
assertEquals(image.pixel(0, 0), 0);
assertEquals(image.toString(), "QImage(3 x 2)");
assertEquals(image.getClassName(), "QImage");

// Variables share the object; copy does not.
var same = image;
var copy = image.copy();
same.setPixel(0, 0, WHITE);
assertEquals([image.pixel(0, 0), copy.pixel(0, 0)], [WHITE, 0]);
assert(copy instanceof QImage);

image.invertTopBits();
assertEquals(image.pixel(0, 0), 0x7f7f7f7f);
assertEquals(image.pixel(2, 1), 0x00c0a090);
image.invertTopBits();
assertEquals(image.pixel(2, 1), 0x80402010);

// Files.
var name = args[0] + "/image.png";
assertEquals(image.save(name), true);
assert(samePixels(new QImage(name), image));
assertEquals(image.save(args[0] + "/none/image.png"), false);
assertEquals(new QImage(args[0] + "/none.png").isNull(), true);
assertEquals(new QImage(0, 5).isNull(), true);
assertEquals(new QImage(-1, 5).isNull(), true);
assertEquals(new QImage(1e9, 1e9).isNull(), true);

// A file of another format; drawing into it makes it ARGB32.
var small = new QImage(2, 1);
small.setPixel(0, 0, BLACK);
small.setPixel(1, 0, WHITE);
assertEquals(small.save(args[0] + "/two.pbm"), true);
var bilevel = new QImage(args[0] + "/two.pbm");
assertEquals([bilevel.pixel(0, 0), bilevel.pixel(1, 0)], [BLACK, WHITE]);
bilevel.setPixel(0, 0, 0xff123456);
assertEquals([bilevel.pixel(0, 0), bilevel.pixel(1, 0)], [0xff123456, WHITE]);
bilevel = new QImage(args[0] + "/two.pbm");
assertEquals(bilevel.convertToArgb32(), undefined);
assertEquals([bilevel.pixel(0, 0), bilevel.pixel(1, 0)], [BLACK, WHITE]);

// Errors.
var outside = "The position is outside the image.";
[[3, 0], [0, 2], [-1, 0], [NaN, 5], [1e300, 0]].forEach(function(p) {
    assertThrows(function() { image.pixel(p[0], p[1]); }, "QImage.pixel(): " + outside);
    assertThrows(function() { image.setPixel(p[0], p[1], 0); }, "QImage.setPixel(): " + outside);
});
assertThrows(function() { QImage(2, 2); }, "QImage(): Did you forget to construct with 'new'?");
assertThrows(function() { new QImage(); }, "QImage(): no matching constructor found.");
assertThrows(function() { new QImage(2); }, "QImage(): no matching constructor found.");
assertThrows(function() { image.pixel(1); }, "Wrong number/types of arguments for QImage.pixel().");
assertThrows(function() { image.pixel("1", 1); },
             "Wrong number/types of arguments for QImage.pixel().");
assertThrows(function() { image.width(1); }, "Wrong number/types of arguments for QImage.width().");
assertThrows(function() { image.save(); }, "Wrong number/types of arguments for QImage.save().");
assertThrows(function() { image.width.call({}); }, "QImage.width(): This object is not a QImage");
assertThrows(function() { QImage.prototype.width(); },
             "QImage.width(): This object is not a QImage");
