// (c) the ztrace developers. Licence: see LICENSE.
//
// Whole traces, from an ARGB32 image to the list of polylines:
//
//   trace/IMAGE/COLOURS   the named images; colour images with 16 colours and with 256
//   decode/IMAGE          the toolkit reads the same picture from PNG bytes, for comparison
//   tiled/IMAGE/SIDE      a picture of 1 megapixel, SIDE x SIDE times
//   hard/IMAGE/SIZE       pictures that are hard on purpose, SIZE x SIZE pixels
//   icon/...              16 x 16 pixels, the tracer's construction and destruction included
//
// Every iteration has a tracer of its own and starts from srand(1). Making the tracer and freeing
// it and its result are not timed, except for icons.
#include "BenchRig.h"

#include <QBuffer>
#include <QCoreApplication>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

typedef QMap<QString, double> Options;

const int kSides[] = { 1, 2, 4, 6, 8, 10 };
const int kSmokeSides[] = { 1, 2 };
const qint64 kTilePixels = 1000 * 1000;

std::string nameOf(const char *group, const QString &image, int number)
{
    return std::string(group) + '/' + image.toStdString() + '/' + std::to_string(number);
}

struct Work
{
    double outlines;
    double segments;
};

Work workOf(const QList<ZPolyline> &polylines)
{
    Work work = { double(polylines.size()), 0 };
    for (const ZPolyline &polyline : polylines)
        work.segments += polyline.countPieces();
    return work;
}

// start: the palette to start from, or empty: the tracer makes its own
void timeTraces(benchmark::State &state, const QImage &image, const Options &options,
                const ZTraceBitmap::Palette &start = ZTraceBitmap::Palette())
{
    std::unique_ptr<ZTraceBitmap> tracer;
    QList<ZPolyline> polylines;
    for (auto iteration : state) {
        (void)iteration;
        state.PauseTiming();
        polylines = QList<ZPolyline>();
        tracer.reset();
        tracer.reset(new ZTraceBitmap);
        bench::setOptions(tracer.get(), options);
        tracer->currentPalette = start;
        std::srand(1);
        state.ResumeTiming();
        polylines = tracer->trace(image);
    }
    const Work work = workOf(polylines);
    bench::countPixels(state, image);
    state.counters["outlines"] = work.outlines;
    state.counters["segments"] = work.segments;
}

void traceNamed(benchmark::State &state, const QString &name, int colours)
{
    const BenchImage &picture = bench::imageNamed(name);
    Options options = picture.options;
    options.insert(QLatin1String("numberofcolors"), colours);
    const auto check = [&] { return bench::traceError(picture.image, options); };
    if (bench::isRight(state, QString::fromStdString(nameOf("trace", name, colours)), check))
        timeTraces(state, picture.image, options);
}

QByteArray pngBytes(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

void decodeNamed(benchmark::State &state, const QString &name, int)
{
    const BenchImage &picture = bench::imageNamed(name);
    const bool scan = picture.options.value(QLatin1String("monochrome")) > 0;
    const QImage stored
        = scan ? picture.source.convertToFormat(QImage::Format_Mono) : picture.source;
    const QByteArray bytes = pngBytes(stored);
    const auto check = [&] {
        return QImage::fromData(bytes, "PNG").size() == picture.source.size()
            ? QString()
            : QString::fromLatin1("no image");
    };
    if (!bench::isRight(state, QLatin1String("decode/") + name, check))
        return;
    for (auto iteration : state) {
        (void)iteration;
        benchmark::DoNotOptimize(QImage::fromData(bytes, "PNG"));
    }
    bench::countPixels(state, picture.source);
}

ZTraceBitmap::Palette startPalette(const QImage &image, const Options &options)
{
    if (options.value(QLatin1String("colorsampling"), 1) == 0)
        return ZTraceBitmap::Palette();
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    std::srand(1);
    return tracer.samplepalette(int(options.value(QLatin1String("numberofcolors"))));
}

// All sizes start from the palette that the smallest one samples: a larger picture would sample
// other pixels and so have other regions.
void traceTiled(benchmark::State &state, const QString &name, int side)
{
    const BenchImage &picture = bench::imageNamed(name);
    const QImage tile = middleOf(picture.image, kTilePixels);
    const auto check = [&] { return bench::traceError(tile, picture.options); };
    if (bench::isRight(state, QLatin1String("tile/") + name, check))
        timeTraces(state, tiled(tile, side), picture.options, startPalette(tile, picture.options));
}

void traceHard(benchmark::State &state, const QString &name, int size)
{
    const BenchImage picture = hardImage(name, size);
    const auto check = [&] { return bench::traceError(picture.image, picture.options); };
    if (bench::isRight(state, QString::fromStdString(nameOf("hard", name, size)), check))
        timeTraces(state, picture.image, picture.options);
}

void traceIcon(benchmark::State &state, const Options &options)
{
    const BenchImage icon = iconImage();
    const QString key
        = QString::fromLatin1("icon/%1").arg(options.value(QLatin1String("numberofcolors")));
    if (!bench::isRight(state, key, [&] { return bench::traceError(icon.image, options); }))
        return;
    for (auto iteration : state) {
        (void)iteration;
        std::srand(1);
        ZTraceBitmap tracer;
        bench::setOptions(&tracer, options);
        benchmark::DoNotOptimize(tracer.trace(icon.image));
    }
    bench::countPixels(state, icon.image);
}

typedef void (*Benchmark)(benchmark::State &state, const QString &name, int number);

void add(const char *group, Benchmark benchmark, const QString &image, int number)
{
    benchmark::RegisterBenchmark(nameOf(group, image, number).c_str(),
                                 [=](benchmark::State &state) { benchmark(state, image, number); })
        ->Unit(benchmark::kMillisecond);
}

bool isScan(const QString &name)
{
    return name == QLatin1String("text page") || name == QLatin1String("score sheet")
        || name == QLatin1String("drawn lines");
}

void addIcons()
{
    const auto addIcon = [](const char *name, const Options &options) {
        benchmark::RegisterBenchmark(name, [=](benchmark::State &state) {
            traceIcon(state, options);
        })->Unit(benchmark::kMicrosecond);
    };
    addIcon("icon/16 colours", colourOptions());
    addIcon("icon/line art", lineartOptions());
    addIcon("icon/defaults", Options());
}

void addTiles(const QString &image)
{
    if (bench::smoke()) {
        for (const int side : kSmokeSides)
            add("tiled", traceTiled, image, side);
        return;
    }
    for (const int side : kSides)
        add("tiled", traceTiled, image, side);
}

void addAll()
{
    for (const QString &name : bench::imageNames()) {
        add("trace", traceNamed, name, isScan(name) ? 2 : 16);
        if (!isScan(name))
            add("trace", traceNamed, name, 256);
        add("decode", decodeNamed, name, 0);
    }
    for (const QString &name : bench::imageNames()) {
        if (name != QLatin1String("score sheet") && name != QLatin1String("photo 12M")
            && name != QLatin1String("clip art"))
            addTiles(name);
    }
    for (const QString &name : hardNames()) {
        add("hard", traceHard, name, bench::smoke() ? 64 : 1000);
        add("hard", traceHard, name, bench::smoke() ? 128 : 2000);
    }
    addIcons();
}

} // namespace

int main(int argc, char **argv)
{
    return bench::run(argc, argv, addAll);
}
