// (c) the ztrace developers. Licence: see LICENSE.
#include "blend.h"

#include "failure.h"
#include "spread.h"

#include "engine/ZTraceBitmap.h"
#include "engine/quantize.h"

#include <algorithm>

namespace ztrace {

namespace {

const std::size_t kChannelsOfEntry = 4;

// Alpha, of 255. An entry this near to an end is taken as that end: means of areas with soft rims
// stay opaque, and are not painted with their ground showing through. The rounding of alpha before
// (alpha.h) takes 12, since it meets single pixels and not their means.
const int kAlmost = 8;

QuantizeOptions optionsFrom(const std::map<std::string, double> &values)
{
    QuantizeOptions options;
    const std::pair<const char *, double *> fields[] = {
        { "numberofcolors", &options.numberofcolors },
        { "mincolorratio", &options.mincolorratio },
        { "colorquantcycles", &options.colorquantcycles },
        { "colorsampling", &options.colorsampling },
        { "blurradius", &options.blurradius },
        { "blurdelta", &options.blurdelta },
    };
    for (const auto &field : fields) {
        const auto found = values.find(field.first);
        if (found != values.end())
            *field.second = found->second;
    }
    return options;
}

std::vector<QRgb> coloursOf(const FlatPalette &palette)
{
    if (palette.empty())
        throw TraceError("no palette of that many colours can be made");
    if (palette.size() / kChannelsOfEntry > kMostColoursOfPlane)
        throw TraceError("palettes of more than " + std::to_string(kMostColoursOfPlane)
                         + " colours need --raw");
    std::vector<QRgb> colours;
    for (std::size_t i = 0; i < palette.size(); i += kChannelsOfEntry)
        colours.push_back(colourOfEntry(palette.data() + i));
    return colours;
}

// Each colour once, in the order in which they come, and for every entry which of them is its own.
// All transparent ones are one.
std::vector<uint16_t> joinEqual(std::vector<QRgb> *colours)
{
    std::vector<QRgb> distinct;
    std::vector<uint16_t> joined;
    for (QRgb colour : *colours) {
        const QRgb own = qAlpha(colour) == 0 ? 0u : colour;
        const auto known = std::find(distinct.begin(), distinct.end(), own);
        joined.push_back(static_cast<uint16_t>(known - distinct.begin()));
        if (known == distinct.end())
            distinct.push_back(own);
    }
    colours->swap(distinct);
    return joined;
}

// The indices of a plane, each as the label that the table has for it.
std::vector<uint16_t> labelsIn(const IndexPlane &plane, const std::vector<uint16_t> &labelOfEntry)
{
    const std::size_t width = static_cast<std::size_t>(plane.width());
    const std::size_t height = static_cast<std::size_t>(plane.height());
    std::vector<uint16_t> labels(width * height);
    plane.visit([&](const auto *cells) {
        uint16_t *label = labels.data();
        for (std::size_t y = 0; y < height; ++y) {
            const auto *row = cells + (y + 1) * static_cast<std::size_t>(plane.stride()) + 1;
            for (std::size_t x = 0; x < width; ++x)
                *label++ = labelOfEntry[static_cast<std::size_t>(row[x])];
        }
    });
    return labels;
}

LabelPlane planeOf(const Quantized &quantized, bool join)
{
    LabelPlane plane;
    plane.width = quantized.plane.width();
    plane.height = quantized.plane.height();
    plane.colours = coloursOf(quantized.palette);
    std::vector<uint16_t> labelOfEntry;
    if (join)
        labelOfEntry = joinEqual(&plane.colours);
    for (std::size_t k = labelOfEntry.size(); k < plane.colours.size(); ++k)
        labelOfEntry.push_back(static_cast<uint16_t>(k));
    plane.labels = labelsIn(quantized.plane, labelOfEntry);
    return plane;
}

} // namespace

QRgb colourOfEntry(const signed char *entry)
{
    int alpha = entry[3] + 128;
    if (alpha >= 255 - kAlmost)
        alpha = 255;
    else if (alpha <= kAlmost)
        alpha = 0;
    return qRgba(entry[0] + 128, entry[1] + 128, entry[2] + 128, alpha);
}

void appendEntryOf(QRgb colour, std::vector<signed char> *palette)
{
    for (int value : { qRed(colour), qGreen(colour), qBlue(colour), qAlpha(colour) })
        palette->push_back(static_cast<signed char>(value - 128));
}

LabelPlane reduceBlend(const QImage &image, const std::vector<QRgb> &start,
                       const std::map<std::string, double> &engineOptions)
{
    FlatPalette palette;
    for (QRgb colour : start)
        appendEntryOf(colour, &palette);
    const bool isGapless = image.bytesPerLine() == 4 * image.width();
    const QImage words = isGapless ? image : image.copy();
    const PixelView pixels = { reinterpret_cast<const signed char *>(words.constBits()),
                               words.width(), words.height(), PixelLayout::ColourWords };
    return planeOf(quantize(pixels, palette, optionsFrom(engineOptions)), true);
}

LabelPlane reduceInk(QImage image, const std::map<std::string, double> &engineOptions)
{
    ZTraceBitmap engine;
    for (const auto &option : engineOptions)
        engine.setOption(QString::fromStdString(option.first), option.second);
    engine.preprocess(image);
    engine.loadImageData(image);
    image = QImage();
    const PixelView pixels = { reinterpret_cast<const signed char *>(engine.imageData.constData()),
                               engine.imageWidth, engine.imageHeight };
    if (engine.imageData.isEmpty())
        throwNoRoom();
    return planeOf(quantize(pixels, FlatPalette(), optionsFrom(engineOptions)), false);
}

} // namespace ztrace
