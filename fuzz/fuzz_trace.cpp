// (c) the ztrace developers. Licence: see LICENSE.
//
// Any small image of any format with any options, traced twice by one tracer: no crash, the
// caller's image unchanged, indices inside the palette, every outline with its polyline.
#include "Input.h"
#include "silence.h"

#include "engine/ZTraceBitmap.h"

#include <QImage>

namespace {

QImage imageFrom(fuzz::Input &input)
{
    static const QImage::Format formats[]
        = { QImage::Format_ARGB32,   QImage::Format_RGB32,     QImage::Format_ARGB32_Premultiplied,
            QImage::Format_Indexed8, QImage::Format_Mono,      QImage::Format_RGB16,
            QImage::Format_RGB888,   QImage::Format_Grayscale8 };
    QImage image(input.between(0, 24), input.between(0, 24), formats[input.between(0, 7)]);
    if (image.format() == QImage::Format_Indexed8)
        image.setColorTable({ 0xFF000000u, 0x80FF0000u, 0xFF00FF00u, 0x00FFFFFFu });
    image.fill(0);
    const int levels = input.between(1, 255);
    const bool anyByte = image.depth() > 8 || image.format() == QImage::Format_Grayscale8;
    for (int y = 0; y < image.height(); ++y) {
        uchar *line = image.scanLine(y);
        for (int i = 0; i < image.width() * image.depth() / 8; ++i)
            line[i] = static_cast<uchar>(anyByte ? input.byte() % (levels + 1) * 255 / levels
                                                 : input.byte() & 3);
    }
    return image;
}

void setOptions(ZTraceBitmap &tracer, fuzz::Input &input)
{
    const QStringList names = tracer.options.keys();
    for (int count = input.between(0, 12); count > 0; --count) {
        const QString name = names.at(input.between(0, names.size() - 1));
        double value = input.number() * (input.byte() & 1 ? 16 : 1);
        // Large numbers of these take their time, and are no error.
        if (name == "numberofcolors" && value > 300)
            value = 300;
        if (name == "colorquantcycles" && value > 6)
            value = 6;
        tracer.setOption(name, value);
    }
}

void check(ZTraceBitmap &tracer, const QImage &image)
{
    const QImage before = image.copy();
    const QList<ZPolyline> polylines = tracer.trace(image);
    fuzz::require(image == before);
    const IndexedImage &result = tracer.indexedImage;
    fuzz::require(result.width == image.width() && result.height == image.height());
    const int entries = result.palette.size();
    for (int y = 0; y < result.height; ++y)
        for (int x = 0; x < result.width; ++x) {
            const int index = result.indices.at(y + 1).at(x + 1);
            fuzz::require(index >= 0 && index < qMax(entries, 1));
        }
    int outlines = 0;
    for (const auto &layer : result.tracedLayers)
        outlines += layer.size();
    fuzz::require(outlines == polylines.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::silence();
    fuzz::Input input(data, size);
    std::srand(1);
    ZTraceBitmap tracer;
    setOptions(tracer, input);
    check(tracer, imageFrom(input));
    setOptions(tracer, input); // the second trace starts from the palette that the first one left
    check(tracer, imageFrom(input));
    return 0;
}
