// (c) the ztrace developers. Licence: see LICENSE.
//
// A drawing's text through the reader and every writer. The first byte tells whether the rest is
// the text itself or what a drawing of any pieces is made from. What is read is written and read
// again without loss; every writer ends, and writes something or says why not; GeoJSON is JSON.
#include "Input.h"

#include "drawing/formats.h"
#include "drawing/json.h"
#include "drawing/png.h"

#include <QBuffer>
#include <QJsonDocument>

#include <cstring>

using namespace ztrace;

namespace {

// A preview costs more than everything else, half of it in its compression: small ones alone, and
// for one input in sixteen.
const double kMostPixels = 4096.0;
const int kPreviewOneIn = 16;

Point pointFrom(fuzz::Input &input)
{
    const double x = input.number();
    return Point(x, input.number());
}

Gradient gradientFrom(fuzz::Input &input)
{
    Gradient gradient;
    gradient.radial = input.between(0, 1) == 1;
    gradient.start = pointFrom(input);
    gradient.end = pointFrom(input);
    gradient.radius = input.number();
    for (int k = input.between(0, 3); k > 0; --k)
        gradient.stops.push_back({ input.between(0, 64) / 64.0, 0xFF00FF80u });
    return gradient;
}

void addPiece(fuzz::Input &input, Path *shape)
{
    const int kind = input.between(0, 5);
    const Point end = pointFrom(input);
    std::vector<Point> inner(
        static_cast<std::size_t>(kind < 2 || kind == 5 ? 0 : input.between(2, 5)));
    for (Point &point : inner)
        point = pointFrom(input);
    switch (kind) {
    case 0:
        return shape->lineTo(end);
    case 1:
        return shape->arcTo(end, input.number());
    case 2:
        return shape->quadraticTo(inner[0], end);
    case 3:
        return shape->cubicTo(inner[0], inner[1], end);
    case 5: {
        const double bulge = input.number();
        const double ratio = input.between(1, 255) / 256.0;
        return shape->ellipticArcTo(end, bulge, ratio, input.between(-30, 30) / 8.0);
    }
    }
    shape->splineTo(input.between(1, 3), inner, end);
}

Drawing drawingFrom(fuzz::Input &input)
{
    Drawing drawing;
    drawing.width = input.between(0, 64);
    drawing.height = input.between(0, 64);
    drawing.dpi = input.between(0, 3) * 96.5;
    drawing.unit = static_cast<Unit>(input.between(0, 2));
    drawing.ground = input.byte() & 1 ? 0xFF336699u : 0u;
    for (int left = input.between(0, 3); left > 0; --left) {
        Pen pen;
        pen.width = input.between(1, 200) / 16.0;
        pen.lineType = static_cast<LineType>(input.between(0, 4));
        for (int dashes = input.between(0, 5); dashes > 0; --dashes)
            pen.dashes.push_back(input.between(1, 255) / 16.0);
        pen.roundEnds = input.byte() & 1;
        drawing.pens.push_back(pen);
    }
    for (int left = input.between(0, 5); left > 0; --left) {
        Outline outline;
        const int alpha = input.between(0, 255);
        outline.colour = qRgba(input.byte(), 7, 200, alpha);
        const QChar letter(input.between(1, 0xD7FF));
        outline.layer = QString(input.between(0, 3), letter);
        outline.seam = input.between(0, 16) / 8.0;
        const bool isStroke = !drawing.pens.empty() && (input.byte() & 1);
        if (isStroke)
            outline.pen = input.between(0, static_cast<int>(drawing.pens.size()) - 1);
        if (!isStroke && !drawing.outlines.empty() && drawing.outlines.back().pen < 0
            && (input.byte() & 1))
            outline.holes.push_back(static_cast<int>(drawing.outlines.size()) - 1);
        if (input.byte() & 7)
            outline.shape.moveTo(pointFrom(input));
        for (int pieces = outline.shape.isEmpty() ? 0 : input.between(0, 6); pieces > 0; --pieces)
            addPiece(input, &outline.shape);
        drawing.outlines.push_back(outline);
    }
    // The reader refuses those that cannot be painted.
    const Gradient gradient = gradientFrom(input);
    if (!isUsable(gradient))
        return drawing;
    drawing.gradients.push_back(gradient);
    for (Outline &outline : drawing.outlines)
        outline.gradient = input.byte() & 1 ? 0 : -1;
    return drawing;
}

WriteOptions optionsFrom(int choice)
{
    WriteOptions options;
    options.style.stroked = choice & 4;
    options.style.byLayer = choice & 8;
    options.decimals = choice & 16 ? 3 : kExactDecimals; // the few bytes, and the exact ones
    options.scale = choice & 32 ? 0.5 : 1.0;
    options.dxf.curves = static_cast<DxfCurves>(choice % 3);
    options.dxf.version = static_cast<DxfVersion>((choice >> 6) % 3);
    options.dxf.join = choice & 32;
    return options;
}

QByteArray written(const Format &format, const Drawing &drawing, const WriteOptions &options)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const Written outcome = format.write(drawing, options, &buffer);
    fuzz::require(outcome == Written::Whole && !buffer.data().isEmpty());
    // A coordinate that is no number would have no form in it.
    if (std::strcmp(format.name, "geojson") == 0)
        fuzz::require(!QJsonDocument::fromJson(buffer.data()).isNull());
    return buffer.data();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const bool isText = input.byte() & 1;
    const int choice = input.byte();
    const WriteOptions options = optionsFrom(choice);
    const Format &json = *findFormat("json");
    const size_t used = size < 2 ? size : 2;
    const QByteArray text = isText
        ? QByteArray(reinterpret_cast<const char *>(data) + used, static_cast<int>(size - used))
        : written(json, drawingFrom(input), options);
    Drawing drawing;
    QString error;
    if (!readJson(text, &drawing, &error)) {
        fuzz::require(isText && !error.isEmpty());
        return 0;
    }
    const QByteArray again = written(json, drawing, options);
    fuzz::require(isText || again == text);
    Drawing copy;
    fuzz::require(readJson(again, &copy, &error) && written(json, copy, options) == again);
    const Frame frame = frameOf(drawing);
    for (const Format &format : allFormats()) {
        if (format.capabilities & kIsRaster
            && (choice % kPreviewOneIn != 0 || !(frame.width * frame.height <= kMostPixels)))
            continue;
        if (!format.obstacle || format.obstacle(drawing, options).isEmpty())
            written(format, drawing, options);
    }
    return 0;
}
