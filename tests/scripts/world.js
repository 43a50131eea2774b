// The script world: what is there, and what a loop over the global names shows.
var mine = 1;
var seen = [];
for (var name in this)
    seen.push(name);
include("support/assert.js");

assertEquals(seen, ["mine", "seen", "name"]);
["print", "args", "quit", "include", "QImage", "ZDrawing", "ZTraceBitmap", "Array", "JSON",
 "Math", "parseInt", "NaN"].forEach(function(known) {
    assert(known in this, known);
    assertEquals(Object.prototype.propertyIsEnumerable.call(this, known), false, known);
}, this);
assertEquals(typeof assert, "function");
assert(Array.isArray(args));
assertEquals(this.mine, 1);
assertEquals((function() { return this; })(), this);
assertEquals(eval("mine + 1"), 2);
assertThrows(function() { include(); }, "Wrong number/types of arguments for include().");
assertThrows(function() { include(1); }, "Wrong number/types of arguments for include().");
assertThrows(function() { quit("1"); }, "Wrong number/types of arguments for quit().");
assertThrows(function() { print({ toString: function() { throw new Error("mine"); } }); }, "mine");

// Variables of an included file are global, also when it is included in a function.
(function() { include("support/pictures.js"); })();
assertEquals(BLACK, 0xff000000);
