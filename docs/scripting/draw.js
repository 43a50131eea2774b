// Draws the pictures of docs/scripting.md: one SVG file for each setting shown there.
//
//   zelvora-headless docs/scripting/draw.js FOLDER

include("../../examples/draw_pictures.js");

var scan = new QImage(folder + "/scan.png");
var tones = new QImage(folder + "/logo.png");
tones.invertTopBits();

// A picture with a soft shadow in it, for what alpha does.
function shadow() {
    var image = new QImage(120, 80);
    for (var y = 0; y < 80; ++y) {
        for (var x = 0; x < 120; ++x) {
            var r = distance(x + 0.5, y + 0.5, 60, 40);
            var alpha = Math.max(0, Math.min(255, Math.round(255 - (r - 12) * 11)));
            image.setPixel(x, y, alpha * 0x1000000 + 0x303030);
        }
    }
    return image;
}

function draw(name, image, options) {
    var tracer = new ZTraceBitmap();
    for (var key in options)
        tracer.setOption(key, options[key]);
    var drawing = new ZDrawing();
    drawing.addObject(tracer.trace(image));
    drawing.save(folder + "/" + name + ".svg");
    tracer.destroy();
}

// Options for ink on paper and for flat colours, with one of them changed.
function ink(key, value) {
    var options = { alphathreshold: 255, brightnessthreshold: 128, numberofcolors: 2,
                    colorsampling: 0, colorquantcycles: 1, blurradius: 0 };
    options[key] = value;
    return options;
}

function colour(key, value) {
    var options = { monochrome: 0, mincolorratio: 0, blurradius: 0 };
    options[key] = value;
    return options;
}

draw("monochrome-1", scan, {});
draw("monochrome-0", tones, colour("monochrome", 0));
draw("alphathreshold-60", shadow(), ink("alphathreshold", 60));
draw("alphathreshold-200", shadow(), ink("alphathreshold", 200));
draw("brightnessthreshold-40", scan, ink("brightnessthreshold", 40));
draw("brightnessthreshold-128", scan, ink("brightnessthreshold", 128));
draw("numberofcolors-3", tones, colour("numberofcolors", 3));
draw("numberofcolors-16", tones, colour("numberofcolors", 16));
draw("pathomit-8", scan, ink("pathomit", 8));
draw("pathomit-80", scan, ink("pathomit", 80));
draw("ltres-1", scan, ink("ltres", 1));
draw("ltres-20", scan, ink("ltres", 20));

// The blur works on the grain of a scan in colour.
function corner(image) {
    var part = new QImage(90, 70);
    for (var y = 0; y < 70; ++y) {
        for (var x = 0; x < 90; ++x)
            part.setPixel(x, y, image.pixel(x + 100, y + 10));
    }
    part.invertTopBits();
    return part;
}

function grainy(key, value) {
    var options = { monochrome: 0, numberofcolors: 3, colorsampling: 0, mincolorratio: 0 };
    options[key] = value;
    return options;
}

draw("blurradius-0", corner(scan), grainy("blurradius", 0));
draw("blurradius-3", corner(scan), grainy("blurradius", 3));
