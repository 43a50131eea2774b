// (c) the ztrace developers. Licence: see LICENSE.
#include "rawtrace.h"

#include "composition.h"
#include "labelshapes.h"

#include "engine/ZTraceBitmap.h"
#include "imaging/blend.h"
#include "imaging/failure.h"

#include <algorithm>

namespace ztrace {

namespace {

// Generated entries are stored as value - 128, sampled ones as the image's bytes.
std::vector<QRgb> coloursOf(const ZTraceBitmap &engine)
{
    const bool generated = engine.options.value(QString::fromLatin1("colorsampling")) == 0.0;
    std::vector<QRgb> colours;
    for (const QVector<char> &entry : qAsConst(engine.currentPalette)) {
        const QRgb stored
            = qRgba(entry.at(0) & 255, entry.at(1) & 255, entry.at(2) & 255, entry.at(3) & 255);
        colours.push_back(
            generated ? colourOfEntry(reinterpret_cast<const signed char *>(entry.constData()))
                      : stored);
    }
    return colours;
}

Runs runsOf(const IndexedImage &indexed)
{
    RunScanner scanner(indexed.width, indexed.height);
    std::vector<uint16_t> labels(static_cast<std::size_t>(indexed.width));
    for (int y = 1; y <= indexed.height; ++y) {
        const QVector<int> &row = indexed.indices.at(y);
        for (std::size_t x = 0; x < labels.size(); ++x)
            labels[x] = static_cast<uint16_t>(row.at(static_cast<int>(x) + 1));
        scanner.addRow(labels.data());
    }
    return scanner.take();
}

// The outlines of all layers in the order of their first pixels, which is that of getPolylines.
ShapeOutlines tracedIn(const IndexedImage &indexed, const Areas &areas)
{
    struct Place
    {
        std::size_t firstPixel;
        int layer;
        int path;
    };
    std::vector<Place> places;
    for (int k = 0; k < indexed.tracedLayers.size(); ++k) {
        const auto &paths = indexed.tracedLayers.at(k);
        for (int p = 0; p < paths.size(); ++p) {
            // A walk goes right from its first pixel's upper edge, so that its first midpoint
            // tells the pixel.
            const QVector<double> &first = paths.at(p).at(0);
            const std::size_t pixel
                = static_cast<std::size_t>(first.at(2)) * static_cast<std::size_t>(indexed.width)
                + static_cast<std::size_t>(first.at(1));
            places.push_back({ pixel, k, p });
        }
    }
    std::sort(places.begin(), places.end(),
              [](const Place &a, const Place &b) { return a.firstPixel < b.firstPixel; });
    LabelShapes shapes(areas, 1);
    std::vector<Segment> segments;
    for (const Place &place : places) {
        const auto &path = indexed.tracedLayers.at(place.layer).at(place.path);
        segments.resize(static_cast<std::size_t>(path.size()));
        for (std::size_t i = 0; i < segments.size(); ++i) {
            const QVector<double> &fields = path.at(static_cast<int>(i));
            std::copy(fields.begin(), fields.end(), segments[i].field);
        }
        shapes.add({ place.layer, place.firstPixel, 0, segments.size() }, segments.data());
    }
    return shapes.take();
}

} // namespace

RawTrace rawTrace(QImage picture, const EngineOptions &options)
{
    ZTraceBitmap engine;
    for (const auto &option : options)
        engine.setOption(QString::fromStdString(option.first), option.second);
    const QSize size = picture.size();
    engine.trace(picture);
    picture = QImage();
    // The engine reports nothing: what it could not hold is an empty result.
    if (engine.imageWidth != size.width() || engine.imageHeight != size.height())
        throwNoRoom();
    if (engine.currentPalette.isEmpty())
        throw TraceError("no palette of that many colours can be made");
    engine.imageData = QVector<char>();
    RawTrace result;
    for (auto it = engine.options.constBegin(); it != engine.options.constEnd(); ++it)
        result.options.insert({ it.key().toStdString(), it.value() });
    result.areas.runs = runsOf(engine.indexedImage);
    result.areas.colours = coloursOf(engine);
    result.outlines = tracedIn(engine.indexedImage, result.areas);
    return result;
}

} // namespace ztrace
