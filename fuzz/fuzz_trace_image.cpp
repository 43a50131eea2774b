// (c) the ztrace developers. Licence: see LICENSE.
//
// Any small picture of any format, classified and traced by every method with any plan that the
// command could make: it is traced or refused in one way; outlines name what is there, and a second
// run gives the same drawing.
#include "Input.h"
#include "silence.h"

#include "drawing/json.h"
#include "engine/ZTraceBitmap.h"
#include "imaging/classify.h"
#include "imaging/failure.h"
#include "tracing/pipeline.h"

#include <QBuffer>
#include <QImage>

using namespace ztrace;

namespace {

QImage imageFrom(fuzz::Input &input)
{
    const int format = input.between(QImage::Format_Mono, QImage::NImageFormats - 1);
    const int largest = input.byte() & 1 ? 16 : 48;
    const int width = input.between(1, largest);
    QImage image(width, input.between(1, largest), QImage::Format(format));
    if (image.format() == QImage::Format_Indexed8) {
        QVector<QRgb> table;
        for (int k = 0; k < 256; ++k)
            table.append(qRgba(k, k * 7 & 255, 255 - k, k < 64 ? k * 4 : 255));
        image.setColorTable(table);
    }
    // Few values make areas, many make noise. A row may be as the one above.
    const int levels = input.between(1, 255);
    for (int y = 0; y < image.height(); ++y) {
        const bool again = y > 0 && (input.byte() & 1);
        for (int i = 0; i < image.bytesPerLine(); ++i)
            image.scanLine(y)[i] = again ? image.constScanLine(y - 1)[i]
                                         : uchar(input.byte() % (levels + 1) * 255 / levels);
    }
    return image;
}

// Large numbers of colours and cycles take their time, and are no error.
EngineOptions engineFrom(fuzz::Input &input)
{
    static const QStringList names = ZTraceBitmap().options.keys();
    EngineOptions options;
    for (int count = input.between(0, 5); count > 0; --count) {
        const QString name = names.at(input.between(0, names.size() - 1));
        double value = input.number();
        value *= input.byte() & 1 ? 16 : 1;
        if (name == "numberofcolors" && value > 300)
            value = 300;
        if (name == "colorquantcycles" && value > 6)
            value = 6;
        options[name.toStdString()] = value;
    }
    return options;
}

QRgb colourFrom(fuzz::Input &input)
{
    const int red = input.byte();
    const int green = input.byte();
    return qRgba(red, green, input.byte(), red & 1 ? 255 : 0);
}

Ink inkFrom(fuzz::Input &input)
{
    Ink ink;
    ink.scan.threshold = static_cast<Threshold>(input.between(0, 3));
    ink.scan.fixedThreshold = input.between(0, 255);
    ink.scan.deskew = input.byte() & 1;
    ink.scan.despeckle = input.between(0, 9);
    if (input.byte() & 1)
        ink.engine = engineFrom(input);
    return ink;
}

Segmentation segmentationFrom(fuzz::Input &input)
{
    switch (input.between(0, 3)) {
    case 0:
        return inkFrom(input);
    case 1: {
        Flat flat;
        flat.colours = input.between(1, 20);
        for (int count = input.between(0, 4); count > 0; --count)
            flat.palette.push_back(colourFrom(input));
        return flat;
    }
    case 2: {
        Blend blend;
        blend.colours = input.between(0, 20);
        blend.chosenByEngine = input.byte() & 1;
        blend.engine = engineFrom(input);
        return blend;
    }
    }
    return Raw { engineFrom(input) };
}

// True shapes of areas or of boundaries, centre lines, regions that pay.
void addShapes(fuzz::Input &input, TracePlan *plan)
{
    const int choice = input.byte();
    plan->geometry.fit = Geometry::Fit::Fair;
    plan->geometry.edges = (choice & 3) == 3;
    plan->threads = 1 + (choice >> 2 & 1);
    if (Ink *ink = std::get_if<Ink>(&plan->segmentation))
        ink->strokes = choice & 8;
    if (Blend *blend = std::get_if<Blend>(&plan->segmentation))
        blend->price = choice & 16 ? 0.0 : input.between(1, 255) / 4.0;
    plan->composition.edgeWidth = input.between(1, 64) / 8.0;
}

TracePlan planFrom(fuzz::Input &input)
{
    TracePlan plan;
    plan.segmentation = segmentationFrom(input);
    if (input.byte() & 1)
        addShapes(input, &plan);
    Geometry &geometry = plan.geometry;
    geometry.lineTolerance = geometry.lineToleranceFiner = input.between(0, 255) / 16.0;
    geometry.curveTolerance = geometry.curveToleranceFiner = input.between(0, 255) / 16.0;
    geometry.leastBorder = input.number();
    geometry.upsampling = input.between(0, 3);
    geometry.fringes = input.byte() & 1;
    Composition &composition = plan.composition;
    composition.byLayer = input.byte() & 1;
    composition.trapping = input.byte() & 1;
    composition.frame = input.byte() & 1;
    composition.transparent = input.byte() & 1;
    if (input.byte() & 1)
        composition.onlyColours = { colourFrom(input) };
    plan.dpi = input.between(0, 600);
    return plan;
}

// The drawing as text; empty where the plan was refused.
QByteArray traced(const QImage &image, const TracePlan &plan)
{
    try {
        const Drawing drawing = traceImage(Picture(image.copy()), plan).drawing;
        for (const Outline &outline : drawing.outlines)
            for (int hole : outline.holes)
                fuzz::require(hole >= 0
                              && static_cast<std::size_t>(hole) < drawing.outlines.size());
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        fuzz::require(writeJson(drawing, &buffer));
        return buffer.data();
    } catch (const TraceError &error) {
        fuzz::require(error.what()[0] != '\0');
        return QByteArray();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::silence();
    fuzz::Input input(data, size);
    const TracePlan plan = planFrom(input);
    const QImage image = imageFrom(input);
    Picture picture(image.copy());
    fuzz::require(!classify(&picture).reason.empty());
    fuzz::require(traced(image, plan) == traced(image, plan));
    return 0;
}
