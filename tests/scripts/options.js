// setOption: what it takes and what it refuses.
include("support/assert.js");

var wrong = "Wrong number/types of arguments for ZTraceBitmap.setOption().";
var tracer = new ZTraceBitmap();
assertEquals(tracer.setOption("ltres", 2), undefined);
assertEquals(tracer.setOption("nosuchoption", 5), undefined);
assertEquals(tracer.setOption("ltres", NaN), undefined);
assertEquals(tracer.setOption("ltres", Infinity), undefined);
[
    [], ["ltres"], ["ltres", "2"], ["ltres", true], ["ltres", null], ["ltres", undefined], [1, 2],
    ["ltres", 2, 3], [new String("ltres"), 2], ["ltres", new Number(2)], [{}, {}]
].forEach(function(list) {
    assertThrows(function() { tracer.setOption.apply(tracer, list); }, wrong);
});
tracer.destroy();
