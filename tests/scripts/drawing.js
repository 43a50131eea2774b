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
[[], [40], [0, 40], [40, -1], ["40", "40"], [NaN, 40], [Infinity, 40], [40, Infinity], [1e10, 40], [1, 2, 3]].forEach(function(a) {
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

// True size: unit, resolution, layers and colours.
var cut = new ZDrawing();
assertEquals([cut.getUnit(), cut.getResolution()], ["px", 0]);
assertEquals([cut.getPage().width, cut.getPage().height], [0, 0]);
cut.setUnit("mm");
cut.setResolution(254);
cut.setPage(40, 30);
assertEquals([cut.getUnit(), cut.getResolution()], ["mm", 254]);
assertEquals([cut.getPage().width, cut.getPage().height], [40, 30]);
cut.addObject(list[1], { layer: "CUT", color: "#ff0000" });
cut.addObject([list[0]], { color: "blue" });
cut.addObject(list[0], {});
assertEquals([cut.getLayer(0), cut.getColor(0)], ["CUT", "#ff0000"]);
assertEquals([cut.getLayer(1), cut.getColor(1)], ["0", "#0000ff"]);
assertEquals([cut.getLayer(2), cut.getColor(2)], ["0", "#000000"]);
assertEquals(cut.getLayers(), ["CUT", "0"]);
assertEquals(cut.getObject(0).countPieces(), list[1].countPieces());
assertEquals(cut.getObject(0).getLength(), list[1].getLength());

// The pairs of group code and value of a DXF file.
function groupsOf(fileName) {
    var lines = readTextFile(fileName).split(/\r?\n/);
    var groups = [];
    for (var i = 0; i + 1 < lines.length; i += 2)
        groups.push([Number(lines[i]), lines[i + 1]]);
    return groups;
}
function valuesOf(fileName, code) {
    return groupsOf(fileName).filter(function(g) { return g[0] === code; })
        .map(function(g) { return g[1]; });
}
function after(fileName, variable) {
    var groups = groupsOf(fileName);
    for (var i = 0; i < groups.length; ++i) {
        if (groups[i][1] === variable)
            return groups[i + 1][1];
    }
    return undefined;
}

// 254 pixels an inch are 10 a millimetre.
var dxf = args[0] + "/cut.dxf";
cut.save(dxf, { dxfCurves: "polyline" });
assertEquals(after(dxf, "$ACADVER"), "AC1018");
assertEquals(Number(after(dxf, "$INSUNITS")), 4);
assert(valuesOf(dxf, 8).indexOf("CUT") >= 0, "no layer");
var box = list[0].getBoundingBox().maximum;
var right = Math.max.apply(null, valuesOf(dxf, 10).map(Number).filter(function(x) { return x < 1e6; }));
assert(Math.abs(right - box.x / 10) < 0.01, right + " is not " + box.x / 10);
cut.save(dxf, { "dxf-version": "r12", "dxf-curves": "arc" });
assertEquals(after(dxf, "$ACADVER"), "AC1009");
cut.save(args[0] + "/cut.svg", { outline: false, decimals: 1 });
assert(readTextFile(args[0] + "/cut.svg").indexOf("fill=\"#f00\"") > 0, "not filled");

[[cut.setUnit, ["cm"], "ZDrawing.setUnit(): The unit is px, mm or in."],
 [cut.setUnit, [5], "Wrong number/types of arguments for ZDrawing.setUnit()."],
 [cut.setResolution, [0], "ZDrawing.setResolution(): It is a number of pixels an inch, 0.01 to 1000000."],
 [cut.setResolution, [NaN], "ZDrawing.setResolution(): It is a number of pixels an inch, 0.01 to 1000000."],
 [cut.setResolution, ["300"], "Wrong number/types of arguments for ZDrawing.setResolution()."],
 [cut.getObject, [3], "ZDrawing.getObject(): There is no object of that number."],
 [cut.getLayer, [-1], "ZDrawing.getLayer(): There is no object of that number."],
 [cut.getColor, [], "Wrong number/types of arguments for ZDrawing.getColor()."],
 [cut.getUnit, [1], "Wrong number/types of arguments for ZDrawing.getUnit()."],
 [cut.addObject, [list[0], { lair: "CUT" }],
  "ZDrawing.addObject(): there is no \"lair\"; objects have layer and color"],
 [cut.addObject, [list[0], { layer: 5 }], "ZDrawing.addObject(): layer: the name is no text"],
 [cut.addObject, [list[0], { color: "redd" }],
  "ZDrawing.addObject(): color: \"redd\" is not a colour (such as \"#ff8000\" or \"orange\")"],
 [cut.save, ["a.svg", { dxfVersion: "r12" }],
  "ZDrawing.save(): --dxf-version has no effect: no dxf is written"],
 [cut.save, ["a.dxf", { dxfVersion: "r13" }],
  "ZDrawing.save(): --dxf-version: \"r13\" is not one of 2004, 2000 or r12"],
 [cut.save, ["a.svg", { colors: 3 }],
  "ZDrawing.save(): --colors changes nothing of a drawing that is written"]
].forEach(function(row) {
    assertThrows(function() { row[0].apply(cut, row[1]); }, row[2]);
});
assertEquals(cut.count(), 3);
