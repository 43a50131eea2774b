// preprocess: arguments, and the rule of black and white on the script's own image.
include("support/assert.js");
include("support/pictures.js");

var wrong = "Wrong number/types of arguments for ZTraceBitmap.preprocess().";
var tracer = new ZTraceBitmap();
[[], ["file.png"], [42], [true], [undefined], [{}], [new QImage(2, 2), 1]].forEach(function(list) {
    assertThrows(function() { tracer.preprocess.apply(tracer, list); }, wrong);
});
assertThrows(function() { tracer.preprocess(null); },
             "ZTraceBitmap: Argument 0 is not of type QImage*.");

function reduced(colour) {
    var image = new QImage(1, 1);
    image.setPixel(0, 0, colour);
    assertEquals(tracer.preprocess(image), undefined);
    return image.pixel(0, 0);
}

// With the defaults everything opaque turns black; what is dark and transparent turns white.
assertEquals(reduced(WHITE), BLACK);
assertEquals(reduced(BLACK), BLACK);
assertEquals(reduced(0x00000000), WHITE);
assertEquals(reduced(0xc8000000), WHITE);
assertEquals(reduced(0xc9000000), BLACK);
tracer.setOption("alphathreshold", 255);
assertEquals(reduced(WHITE), BLACK);
assertEquals(reduced(BLACK), WHITE);
assertEquals(reduced(0xffc8c8c8), WHITE);
assertEquals(reduced(0xffc9c9c9), BLACK);
tracer.setOption("brightnessthreshold", 199.9);
assertEquals(reduced(0xffc8c8c8), BLACK);
tracer.setOption("monochrome", 0);
assertEquals(reduced(0xff123456), 0xff123456);
tracer.destroy();
