// Traces args[0] with the options after args[1], given as name=value, and draws into args[1].
var tracer = new ZTraceBitmap();
args.slice(2).forEach(function(setting) {
    var parts = setting.split("=");
    tracer.setOption(parts[0], Number(parts[1]));
});
var drawing = new ZDrawing();
drawing.addObject(tracer.trace(args[0]));
var image = new QImage(args[0]);
drawing.setPage(image.width(), image.height());
drawing.save(args[1]);
tracer.destroy();
