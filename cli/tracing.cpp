// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing.h"

#include "arrange.h"
#include "crossings.h"
#include "failure.h"
#include "palette.h"
#include "reduce.h"
#include "regions.h"
#include "scan.h"
#include "source.h"
#include "upsample.h"

#include "engine/ZTraceBitmap.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace ztrace {

namespace {

const double kMostLabels = 65534.0;
const int kDefaultColors = 16;
const double kDefaultMinPath = 8.0;
const int kFringe = 48; // colourDistance of a fringe to the area that it belongs to
const int kBetweenBlackAndWhite = 127;
const QRgb kPaper = 0xFFFFFFFFu;

// Options that steer the engine's own reduction to a palette.
bool isReducing(const std::string &name)
{
    return name != "ltres" && name != "qtres" && name != "pathomit";
}

class Tracer
{
public:
    Tracer(QImage &&source, const Settings &s, const StageSink &sink)
        : image(std::move(source)), settings(s), announce(sink)
    {
        clock.start();
    }

    TraceResult run()
    {
        std::srand(settings.seed);
        switch (settings.raw ? Method::Raw : settings.method.value_or(Method::Flat)) {
        case Method::Raw:
            traceRaw();
            break;
        case Method::Ink:
            traceInk();
            break;
        case Method::Flat:
        case Method::Blend:
            traceColours();
            break;
        }
        return std::move(result);
    }

private:
    void lap(const char *stage)
    {
        result.seconds.push_back({ stage, 1e-9 * double(clock.nsecsElapsed()) });
        clock.restart();
    }

    void begin(const char *stage) const
    {
        if (announce)
            announce(stage);
    }

    // In pixels. Soft edges tell more than pixels do, and flat areas are worth more numbers than
    // areas that are a compromise anyway.
    double usualTolerance() const
    {
        const Method method = settings.raw ? Method::Raw : settings.method.value_or(Method::Flat);
        if (method == Method::Raw || method == Method::Blend)
            return 1.0;
        if (result.upsampling > 1)
            return 0.5;
        return method == Method::Flat ? 0.7 : 1.0;
    }

    // The engine's options in squared steps of its grid; settings are in pixels.
    void useGeometry(std::map<std::string, double> *options) const
    {
        const double steps = result.upsampling;
        const auto squared = [](double value) { return value * value; };
        const double tolerance = settings.tolerance.value_or(usualTolerance());
        (*options)["ltres"] = (*options)["qtres"] = squared(tolerance * steps);
        if (settings.curveTolerance)
            (*options)["qtres"] = squared(*settings.curveTolerance * steps);
        if (settings.minPath)
            (*options)["pathomit"] = *settings.minPath * steps;
    }

    void useEngineOptions(std::map<std::string, double> *options) const
    {
        for (const auto &option : settings.engine)
            (*options)[option.first] = option.second;
    }

    // Traces what is in `image`, which is released on the way.
    void traceWith(ZTraceBitmap *engine, const std::map<std::string, double> &options,
                   QList<ZPolyline> *polylines)
    {
        for (const auto &option : options)
            engine->setOption(QString::fromStdString(option.first), option.second);
        for (auto it = engine->options.constBegin(); it != engine->options.constEnd(); ++it)
            result.engine.insert({ it.key().toStdString(), it.value() });
        const QSize size = image.size();
        begin("tracing");
        *polylines = engine->trace(image);
        image = QImage();
        // The engine reports nothing: what it could not hold is an empty result.
        if (engine->imageWidth != size.width() || engine->imageHeight != size.height())
            failForMemory();
        if (engine->currentPalette.isEmpty())
            throw Failure(kFailed, "no palette of that many colours can be made");
        engine->imageData = QVector<char>();
        lap("trace");
    }

    void arrangeOutlines(ZTraceBitmap *engine, const QList<ZPolyline> &polylines)
    {
        Settings used = settings;
        used.method = settings.raw ? Method::Raw : settings.method.value_or(Method::Flat);
        result.drawing
            = arrange(polylines, engine, entryColours.empty() ? result.palette : entryColours, used,
                      result.upsampling);
        lap("arrange");
    }

    void traceRaw()
    {
        ZTraceBitmap engine;
        QList<ZPolyline> polylines;
        std::map<std::string, double> options;
        useGeometry(&options);
        useEngineOptions(&options);
        traceWith(&engine, options, &polylines);
        // Generated entries are stored as value - 128, sampled ones as the image's bytes.
        const bool generated = engine.options.value(QString::fromLatin1("colorsampling")) == 0.0;
        for (const QVector<char> &entry : qAsConst(engine.currentPalette)) {
            const QRgb stored
                = qRgba(entry.at(0) & 255, entry.at(1) & 255, entry.at(2) & 255, entry.at(3) & 255);
            result.palette.push_back(generated ? colourOfEntry(entry) : stored);
        }
        arrangeOutlines(&engine, polylines);
    }

    // Where the grid is to be finer than pixels the image becomes ink and paper on that grid.
    void refineInk(int *threshold)
    {
        LabelPlane plane = inkAndPaper(image, *threshold);
        LabelPlane means = plane;
        useMeanColours(image, &means);
        result.upsampling = upsamplingFor(means);
        if (result.upsampling == 1)
            return;
        requireRoom(result.upsampling);
        plane = upsampledInk(image, plane, result.upsampling, *threshold);
        image = imageOf(plane, plane.colours);
        requireImage();
        *threshold = kBetweenBlackAndWhite;
    }

    void traceInk()
    {
        image = image.convertToFormat(QImage::Format_ARGB32);
        requireImage();
        begin("preparing");
        putOnPaper(&image, settings.background.value_or(kPaper));
        int threshold = settings.threshold == Threshold::Fixed ? settings.fixedThreshold : -1;
        const CleanScan scan = cleanScan(image, settings, &threshold);
        image = scan.image;
        result.angle = scan.angle;
        result.evenedOut = scan.evenedOut;
        if (scan.unclear)
            result.notes.push_back("--deskew: no clear direction was found within 6 degrees");
        if (scan.bilevel) {
            result.threshold = settings.threshold == Threshold::Adaptive ? -1 : threshold;
            threshold = kBetweenBlackAndWhite;
        } else {
            result.threshold = threshold;
            refineInk(&threshold);
        }
        std::map<std::string, double> options = { { "monochrome", 1 },
                                                  { "alphathreshold", 255 },
                                                  { "colorsampling", 0 },
                                                  { "numberofcolors", 2 },
                                                  { "colorquantcycles", 1 },
                                                  { "blurradius", 0 },
                                                  { "brightnessthreshold", threshold } };
        useGeometry(&options);
        useEngineOptions(&options);
        ZTraceBitmap engine;
        LabelPlane plane = inkAndPaper(image, threshold);
        const bool asInk = std::any_of(settings.engine.begin(), settings.engine.end(),
                                       [](const auto &option) { return isReducing(option.first); });
        if (!asInk && separateCrossings(&plane)) {
            // Two colours are not enough to keep all areas apart that have to be.
            const std::map<std::string, double> labels
                = { { "monochrome", 0 }, { "numberofcolors", double(plane.colours.size()) } };
            for (const auto &option : labels)
                options[option.first] = option.second;
            useLabels(&plane, &engine);
        }
        lap("prepare");
        QList<ZPolyline> polylines;
        traceWith(&engine, options, &polylines);
        if (entryColours.empty()) {
            for (const QVector<char> &entry : qAsConst(engine.currentPalette))
                result.palette.push_back(colourOfEntry(entry));
        }
        usePens(&result.palette);
        usePens(&entryColours);
        arrangeOutlines(&engine, polylines);
    }

    // Ink and paper in the darkest and the lightest of the colours that were asked for.
    void usePens(std::vector<QRgb> *colours) const
    {
        if (settings.palette.empty())
            return;
        const auto darker = [](QRgb a, QRgb b) { return qGray(a) < qGray(b); };
        const auto ends
            = std::minmax_element(settings.palette.begin(), settings.palette.end(), darker);
        for (QRgb &colour : *colours)
            colour = qGray(colour) < 128 ? *ends.first : *ends.second;
    }

    std::vector<QRgb> penPalette() const
    {
        std::vector<QRgb> pens = settings.palette;
        if (!settings.background)
            pens.push_back(0u); // what is transparent stays so
        return pens;
    }

    void requireImage() const
    {
        if (image.isNull())
            failForMemory();
    }

    LabelPlane reduce()
    {
        std::map<std::string, double> options = { { "monochrome", 0 },
                                                  { "mincolorratio", 0 },
                                                  { "blurradius", 0 },
                                                  { "colorquantcycles", 3 } };
        bool engineDecides = false;
        for (const auto &option : settings.engine)
            engineDecides
                = engineDecides || (isReducing(option.first) && option.first != "numberofcolors");
        useEngineOptions(&options);
        int colors = settings.colors.value_or(kDefaultColors);
        const auto asked = settings.engine.find("numberofcolors");
        if (asked != settings.engine.end()) {
            if (asked->second >= kMostLabels)
                throw Failure(kFailed, "no palette of that many colours can be made");
            colors = asked->second >= 1.0 ? static_cast<int>(asked->second) : 0;
        }
        result.engine = { options.begin(), options.end() };
        result.engine["numberofcolors"] = colors;
        begin("choosing colours");
        if (!settings.palette.empty()) {
            QImage binary(image); // the soft edges of `image` still tell where they run
            makeAlphaBinary(&binary);
            lap("palette");
            return reduceFlat(binary, penPalette());
        }
        if (!engineDecides && settings.method.value_or(Method::Flat) == Method::Flat
            && colors > 0) {
            const std::vector<QRgb> colours = flatPalette(image, colors);
            lap("palette");
            return reduceFlat(image, colours);
        }
        settleAlpha(&image, colors);
        options["numberofcolors"] = colors;
        std::vector<QRgb> start;
        if (!settings.engine.count("colorsampling") && colors > 0)
            start = medianPalette(image, colors);
        lap("palette");
        return reduceBlend(image, start, options);
    }

    // Null when it does not fit into memory.
    static QImage imageOf(const LabelPlane &plane, const std::vector<QRgb> &colours)
    {
        QImage picture(plane.width, plane.height, QImage::Format_ARGB32);
        std::size_t i = 0;
        for (int y = 0; y < picture.height(); ++y) {
            QRgb *words = reinterpret_cast<QRgb *>(picture.scanLine(y));
            for (int x = 0; x < picture.width(); ++x)
                words[x] = colours[plane.labels[i++]];
        }
        return picture;
    }

    // Labels in use, each once, become the image that the engine traces: every pixel is exactly
    // one of the palette's colours.
    void useLabels(LabelPlane *plane, ZTraceBitmap *engine)
    {
        const std::vector<QRgb> entries = distinctEntries(plane->colours);
        entryColours = plane->colours;
        std::vector<bool> used(entryColours.size(), false);
        for (uint16_t label : plane->labels)
            used[label] = true;
        for (std::size_t k = 0; k < entryColours.size(); ++k) {
            const QRgb colour = entryColours[k];
            if (used[k]
                && std::find(result.palette.begin(), result.palette.end(), colour)
                    == result.palette.end())
                result.palette.push_back(colour);
        }
        image = imageOf(*plane, entries);
        requireImage();
        *plane = LabelPlane();
        invertTopBits(&image);
        for (QRgb entry : entries)
            engine->currentPalette.append(entryOfColour(entry));
    }

    void mergeRegionsBelow(double least, LabelPlane *plane) const
    {
        if (least <= 0.0)
            return;
        const bool hasFringes = settings.method.value_or(Method::Flat) == Method::Flat;
        mergeSmallRegions(plane, static_cast<std::size_t>(std::min(least, 1e15)),
                          hasFringes ? kFringe : 0);
    }

    // A grid of the engine's own is kept where its geometry is set directly, and in blends, whose
    // areas have no edges in the image.
    int upsamplingFor(const LabelPlane &plane)
    {
        if (settings.upsample > 1 && !hasSoftEdges(image, plane)) {
            result.notes.push_back("--upsample has no effect: the image has no soft edges");
            return 1;
        }
        if (settings.upsample > 0)
            return settings.upsample;
        const bool geometrySet = settings.engine.count("ltres") || settings.engine.count("qtres")
            || settings.engine.count("pathomit");
        if (geometrySet || settings.method.value_or(Method::Flat) == Method::Blend)
            return 1;
        return usefulUpsampling(image, plane);
    }

    // Nothing that the toolkit's sizes cannot count.
    void requireRoom(int factor) const
    {
        if (double(image.width()) * double(image.height()) * factor * factor
            > double(std::numeric_limits<int>::max()))
            failForMemory();
    }

    void traceColours()
    {
        image = image.convertToFormat(QImage::Format_ARGB32);
        requireImage();
        if (settings.background)
            putOnPaper(&image, *settings.background);
        roundAlpha(&image);
        lap("prepare");
        LabelPlane plane = reduce();
        begin("joining areas");
        // Regions too small to be kept would leave holes; they go to their neighbours instead.
        double least = settings.minPath.value_or(kDefaultMinPath);
        const auto asked = settings.engine.find("pathomit");
        if (asked != settings.engine.end())
            least = std::floor(asked->second);
        mergeRegionsBelow(least, &plane);
        result.upsampling = upsamplingFor(plane);
        if (result.upsampling > 1) {
            requireRoom(result.upsampling);
            plane = upsampled(image, plane, result.upsampling);
            mergeRegionsBelow(least * result.upsampling, &plane);
        }
        image = QImage();
        separateCrossings(&plane);
        std::map<std::string, double> options = {
            { "monochrome", 0 }, { "blurradius", 0 }, { "colorquantcycles", 1 }, { "pathomit", 0 }
        };
        Settings geometry = settings;
        geometry.minPath.reset();
        useGeometry(&options);
        options["pathomit"] = 0;
        for (const char *name : { "ltres", "qtres" }) {
            const auto set = settings.engine.find(name);
            if (set != settings.engine.end())
                options[name] = set->second;
        }
        ZTraceBitmap engine;
        useLabels(&plane, &engine);
        lap("reduce");
        QList<ZPolyline> polylines;
        const std::map<std::string, double> reduction = result.engine;
        traceWith(&engine, options, &polylines);
        for (const auto &option : reduction)
            result.engine[option.first] = option.second;
        result.engine["pathomit"] = least;
        arrangeOutlines(&engine, polylines);
    }

    QImage image;
    const Settings &settings;
    const StageSink &announce;
    TraceResult result;
    std::vector<QRgb> entryColours; // of the engine's palette entries, when they are labels
    QElapsedTimer clock;
};

} // namespace

TraceResult traceImage(QImage image, const Settings &settings, const StageSink &announce)
{
    const double dpi = resolutionOf(image).across;
    TraceResult result = Tracer(std::move(image), settings, announce).run();
    result.drawing.dpi = settings.dpi && *settings.dpi > 0.0 ? *settings.dpi : dpi;
    result.drawing.unit = settings.unit;
    return result;
}

} // namespace ztrace
