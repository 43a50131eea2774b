// Folders and texts for scripts.
include("support/assert.js");
var folder = args[0] + "/files";

// A folder of its own is made by the test's set-up: b.svg, a.svg and the folder c.
var drawing = new ZDrawing();
drawing.save(folder + "/b.svg");
drawing.save(folder + "/a.svg");
drawing.save(folder + "/C.DXF");
assertEquals(listFolder(folder), ["C.DXF", "a.svg", "b.svg", "inner/"]);
assertEquals(listFolder(folder, "*.svg"), ["a.svg", "b.svg"]);
assertEquals(listFolder(folder, "*.dxf"), ["C.DXF"]);
assertEquals(listFolder(folder, "i*"), ["inner/"]);
assertEquals(listFolder(folder + "/inner/"), []);
assertEquals(listFolder(folder, "*.png"), []);

assertEquals(readTextFile(folder + "/a.svg").indexOf("<?xml"), 0);

assertThrows(function() { listFolder(folder + "/none"); },
             "listFolder(): " + folder + "/none: There is no such folder");
assertThrows(function() { listFolder(folder + "/a.svg"); },
             "listFolder(): " + folder + "/a.svg: It is no folder");
assertThrows(function() { readTextFile(folder); }, "readTextFile(): " + folder + ": It is a folder");
assertThrows(function() { readTextFile(folder + "/none"); },
             "readTextFile(): " + folder + "/none: No such file or directory");
assertThrows(function() { readTextFile("/dev/zero"); },
             "readTextFile(): /dev/zero: It is larger than 64 megabytes");
// The system would take a name up to its zero byte, and write another format than the ending's.
var zero = "the file name has a zero byte in it";
var cut = folder + "/a.svg\u0000.json";
var image = new QImage(2, 2);
assertThrows(function() { drawing.save(cut); }, "ZDrawing.save(): " + zero);
assertThrows(function() { image.save(folder + "/cut.png\u0000.bmp"); }, "QImage.save(): " + zero);
assertThrows(function() { new QImage(cut); }, "QImage(): " + zero);
assertThrows(function() { readTextFile(cut); }, "readTextFile(): " + zero);
assertThrows(function() { listFolder(folder + "\u0000/none"); }, "listFolder(): " + zero);
assertThrows(function() { include("support/assert.js\u0000x"); }, "include(): " + zero);
assertThrows(function() { traceImage(cut); }, "traceImage(): " + zero);
assertThrows(function() { readTextFile(""); }, "readTextFile(): the file name is empty");
assertThrows(function() { listFolder(""); }, "listFolder(): the file name is empty");
assertEquals(readTextFile(folder + "/a.svg").indexOf("<?xml"), 0);
assertEquals(listFolder(folder, "*.png"), []);

[[], [5], [folder, 5], [folder, "*", "*"]].forEach(function(a) {
    assertThrows(function() { listFolder.apply(null, a); },
                 "Wrong number/types of arguments for listFolder().");
});
[[], [5], [folder, folder]].forEach(function(a) {
    assertThrows(function() { readTextFile.apply(null, a); },
                 "Wrong number/types of arguments for readTextFile().");
});
