// Draws the pictures of the examples and of docs/scripting.md, pixel by pixel.
//
//   zelvora-headless examples/draw_pictures.js FOLDER
//
// scan.png   a page with a few thick lines, unevenly lit and grainy as from a scanner
// logo.png   flat colours on nothing: transparent where nothing is painted

if (args.length < 1) {
    print("usage: zelvora-headless examples/draw_pictures.js FOLDER");
    quit(2);
}

// Numbers that look random and are the same every time.
var seed = 12345;
function grain(range) {
    seed = (seed * 1103515245 + 12345) % 2147483648;
    return Math.floor(seed / 2147483648 * range);
}

function grey(tone) {
    tone = Math.max(0, Math.min(255, Math.round(tone)));
    return 0xff000000 + tone * 0x010101;
}

function distance(x, y, cx, cy) {
    return Math.sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy));
}

// Distance of a point to the stretch from (ax, ay) to (bx, by).
function toStretch(x, y, ax, ay, bx, by) {
    var dx = bx - ax, dy = by - ay;
    var t = ((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy);
    t = Math.max(0, Math.min(1, t));
    return distance(x, y, ax + t * dx, ay + t * dy);
}

// A flange with its bolt holes and two centre lines.
function isInk(x, y) {
    var r = distance(x, y, 100, 80);
    if (Math.abs(r - 62) < 2.5 || Math.abs(r - 24) < 2.5)
        return true;
    for (var i = 0; i < 6; ++i) {
        var a = i * Math.PI / 3;
        if (distance(x, y, 100 + 43 * Math.cos(a), 80 + 43 * Math.sin(a)) < 7)
            return true;
    }
    return toStretch(x, y, 25, 80, 175, 80) < 1.2 || toStretch(x, y, 100, 8, 100, 152) < 1.2;
}

function drawScan() {
    var image = new QImage(200, 160);
    for (var y = 0; y < 160; ++y) {
        for (var x = 0; x < 200; ++x) {
            var paper = 235 - 0.15 * x - 0.1 * y;
            image.setPixel(x, y, grey((isInk(x + 0.5, y + 0.5) ? 40 : paper) + grain(17) - 8));
        }
    }
    return image;
}

function logoColour(x, y) {
    if (distance(x, y, 70, 50) < 16)
        return 0xffffffff;
    if (distance(x, y, 50, 60) < 40)
        return y < 60 ? 0xffe8622c : 0xffb23a12;
    if (Math.abs(x - 110) + Math.abs(y - 60) < 40)
        return 0xff20508c;
    return 0x00000000;
}

function drawLogo() {
    var image = new QImage(160, 120);
    for (var y = 0; y < 120; ++y) {
        for (var x = 0; x < 160; ++x)
            image.setPixel(x, y, logoColour(x + 0.5, y + 0.5));
    }
    return image;
}

var folder = args[0];
if (!drawScan().save(folder + "/scan.png") || !drawLogo().save(folder + "/logo.png")) {
    print("cannot write into " + folder);
    quit(1);
}
print("wrote " + folder + "/scan.png and " + folder + "/logo.png");
