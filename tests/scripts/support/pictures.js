// Pictures that the script tests trace.

var BLACK = 0xff000000;
var WHITE = 0xffffffff;

// `inside` on `outside`, a square in the middle of one half of the side.
function square(side, inside, outside) {
    var image = new QImage(side, side);
    for (var y = 0; y < side; ++y) {
        for (var x = 0; x < side; ++x) {
            var within = x >= side / 4 && x < side * 3 / 4 && y >= side / 4 && y < side * 3 / 4;
            image.setPixel(x, y, within ? inside : outside);
        }
    }
    return image;
}

// A disc whose rim gives curves.
function disc(side, inside, outside) {
    var image = new QImage(side, side);
    var r = side * 0.4;
    for (var y = 0; y < side; ++y) {
        for (var x = 0; x < side; ++x) {
            var dx = x + 0.5 - side / 2, dy = y + 0.5 - side / 2;
            image.setPixel(x, y, dx * dx + dy * dy < r * r ? inside : outside);
        }
    }
    return image;
}

function samePixels(a, b) {
    if (a.width() !== b.width() || a.height() !== b.height())
        return false;
    for (var y = 0; y < a.height(); ++y) {
        for (var x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) !== b.pixel(x, y))
                return false;
        }
    }
    return true;
}

// Everything of a list of polylines as text, each number in full.
function geometry(list) {
    return list.map(function(polyline) {
        var pieces = [];
        for (var i = 0; i < polyline.countPieces(); ++i) {
            pieces.push(polyline.getPieceKind(i) + polyline.getPiecePoints(i).map(function(p) {
                return " " + p.x + "," + p.y;
            }).join(""));
        }
        return pieces.join("; ");
    });
}

// A tracer of ink on paper, without anything that is drawn at random.
function twoTones() {
    var tracer = new ZTraceBitmap();
    tracer.setOption("alphathreshold", 255);
    tracer.setOption("numberofcolors", 2);
    tracer.setOption("colorsampling", 0);
    tracer.setOption("colorquantcycles", 1);
    tracer.setOption("blurradius", 0);
    return tracer;
}
