// (c) the ztrace developers. Licence: see LICENSE.
#include "BenchRig.h"

#include "kernels/blur.h"
#include "kernels/convert.h"

#include <QCoreApplication>
#include <QHash>
#include <QLoggingCategory>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace bench {

namespace {

struct Settings
{
    bool smoke = false;
    bool check = true;
    bool failed = false;
    QString corpus;
};

Settings settings;

const qint64 kCheckedPixels = 1000 * 1000;
const qint64 kCheckedCells = 16 * kCheckedPixels; // of all entries' grids together
const unsigned kSeed = 1;

// Takes our own arguments out of the list.
void readArguments(int *argc, char **argv)
{
    settings.corpus = QString::fromLocal8Bit(qgetenv("ZTRACE_CORPUS"));
    if (settings.corpus.isEmpty())
        settings.corpus = QLatin1String("build/corpus");
    int kept = 1;
    for (int i = 1; i < *argc; ++i) {
        if (!std::strcmp(argv[i], "--smoke"))
            settings.smoke = true;
        else if (!std::strcmp(argv[i], "--no-check"))
            settings.check = false;
        else if (!std::strcmp(argv[i], "--corpus") && i + 1 < *argc)
            settings.corpus = QString::fromLocal8Bit(argv[++i]);
        else
            argv[kept++] = argv[i];
    }
    *argc = kept;
}

QList<ZPolyline> traceByStages(ZTraceBitmap *tracer, QImage image)
{
    tracer->preprocess(image);
    tracer->loadImageData(image);
    tracer->colorquantization();
    const QMap<QString, double> &options = tracer->options;
    const float shortest = float(std::floor(options.value(QLatin1String("pathomit"))));
    const float ltres = float(options.value(QLatin1String("ltres")));
    const float qtres = float(options.value(QLatin1String("qtres")));
    tracer->indexedImage.tracedLayers = tracer->batchtracelayers(
        tracer->batchinternodes(tracer->batchpathscan(tracer->layering(), shortest)), ltres, qtres);
    return tracer->getPolylines();
}

bool sameSums(const std::vector<ztrace::ColourSum> &a, const std::vector<ztrace::ColourSum> &b)
{
    return a.size() == b.size()
        && std::equal(a.begin(), a.end(), b.begin(),
                      [](const ztrace::ColourSum &left, const ztrace::ColourSum &right) {
                          return left.count == right.count
                              && std::equal(left.channel, left.channel + 4, right.channel);
                      });
}

bool samePlanes(const ztrace::IndexPlane &a, const ztrace::IndexPlane &b)
{
    const size_t bytes = size_t(a.stride()) * size_t(a.height() + 2) * size_t(a.cellBytes());
    return std::memcmp(a.cells<char>(), b.cells<char>(), bytes) == 0;
}

} // namespace

int run(int argc, char **argv, void (*registerAll)())
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QLatin1String("*.debug=false"));
    readArguments(&argc, argv);
    std::vector<char *> arguments(argv, argv + argc);
    char once[] = "--benchmark_min_time=0";
    if (settings.smoke)
        arguments.push_back(once);
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    return settings.failed ? 1 : 0;
}

bool smoke()
{
    return settings.smoke;
}

QStringList imageNames()
{
    return settings.smoke ? drawnNames() : corpusNames();
}

const BenchImage &imageNamed(const QString &name)
{
    static BenchImage last;
    if (last.name != name || last.image.isNull()) {
        last = BenchImage(); // frees it first
        last = settings.smoke ? drawnImage(name) : corpusImage(settings.corpus, name);
        last.name = name;
    }
    return last;
}

bool isRight(benchmark::State &state, const QString &key, const std::function<QString()> &check)
{
    static QHash<QString, QString> known;
    if (!known.contains(key))
        known.insert(key, settings.check ? check() : QString());
    const QString error = known.value(key);
    if (error.isEmpty())
        return true;
    settings.failed = true;
    state.SkipWithError(qPrintable(error));
    return false;
}

void setOptions(ZTraceBitmap *tracer, const QMap<QString, double> &options)
{
    for (QMap<QString, double>::const_iterator it = options.constBegin(); it != options.constEnd();
         ++it)
        tracer->setOption(it.key(), it.value());
}

void countPixels(benchmark::State &state, const QImage &image)
{
    const double pixels = double(image.width()) * image.height();
    state.counters["pixels"] = pixels;
    // A rate is per second of the thread's processor time.
    state.counters["ns_per_pixel"] = benchmark::Counter(
        pixels * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

QString traceError(const QImage &image, const QMap<QString, double> &options)
{
    if (image.isNull())
        return QLatin1String("no image");
    const int entries = std::max(1, int(options.value(QLatin1String("numberofcolors"), 16)));
    const QImage part = middleOf(image, std::min(kCheckedPixels, kCheckedCells / entries));
    ZTraceBitmap streamed;
    setOptions(&streamed, options);
    std::srand(kSeed);
    const QList<ZPolyline> polylines = streamed.trace(part);
    const int drawn = std::rand();

    ZTraceBitmap staged;
    setOptions(&staged, options);
    std::srand(kSeed);
    const QList<ZPolyline> expected = traceByStages(&staged, part);
    if (drawn != std::rand())
        return QLatin1String("trace draws random numbers that its stages do not");
    if (streamed.currentPalette != staged.currentPalette)
        return QLatin1String("trace and its stages disagree in the palette");
    if (streamed.indexedImage.indices != staged.indexedImage.indices)
        return QLatin1String("trace and its stages disagree in the indices");
    if (streamed.indexedImage.tracedLayers != staged.indexedImage.tracedLayers)
        return QLatin1String("trace and its stages disagree in the segments");
    if (polylines != expected)
        return QLatin1String("trace and its stages disagree in the polylines");
    return QString();
}

QString blurError(const QImage &image, int radius)
{
    if (image.isNull())
        return QLatin1String("no image");
    const QImage part = middleOf(image, kCheckedPixels);
    ZTraceBitmap tracer;
    tracer.loadImageData(part);
    for (const int limit : { 20, 1024 }) {
        QVector<char> fast = tracer.imageData;
        QVector<char> plain = tracer.imageData;
        ztrace::blurFast(reinterpret_cast<signed char *>(fast.data()), part.width(), part.height(),
                         radius, limit);
        ztrace::blurPlain(reinterpret_cast<signed char *>(plain.data()), part.width(),
                          part.height(), radius, limit);
        if (fast != plain)
            return QLatin1String("blurFast and blurPlain disagree");
    }
    return QString();
}

QString assignError(const QImage &image, const std::vector<signed char> &palette)
{
    if (image.isNull())
        return QLatin1String("no image");
    const QImage part = middleOf(image, kCheckedPixels);
    ZTraceBitmap tracer;
    tracer.loadImageData(part);
    const ztrace::PixelView pixels = pixelsOf(tracer);
    std::vector<ztrace::ColourSum> fastSums;
    std::vector<ztrace::ColourSum> plainSums;
    ztrace::IndexPlane fast;
    ztrace::IndexPlane plain;
    fast.resize(part.width(), part.height(), int(palette.size() / 4));
    plain.resize(part.width(), part.height(), int(palette.size() / 4));
    ztrace::assignPlain(pixels, palette, &plainSums, &plain);
    ztrace::assignFast(pixels, palette, &fastSums, nullptr);
    ztrace::assignFast(pixels, palette, nullptr, &fast);
    if (!sameSums(fastSums, plainSums))
        return QLatin1String("assignFast and assignPlain disagree in the sums");
    if (!samePlanes(fast, plain))
        return QLatin1String("assignFast and assignPlain disagree in the indices");
    return QString();
}

ztrace::PixelView pixelsOf(const ZTraceBitmap &tracer)
{
    return ztrace::PixelView { reinterpret_cast<const signed char *>(tracer.imageData.constData()),
                               tracer.imageWidth, tracer.imageHeight };
}

std::vector<signed char> sampledPalette(const QImage &image, int entries)
{
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    std::srand(kSeed);
    std::vector<signed char> flat;
    for (const QVector<char> &entry : tracer.samplepalette(entries)) {
        for (const char channel : entry)
            flat.push_back(static_cast<signed char>(channel));
    }
    return flat;
}

void fillPlane(const IndexedImage &indexed, int entries, ztrace::IndexPlane *plane)
{
    plane->resize(indexed.width, indexed.height, entries);
    plane->visit([&](auto *cells) {
        typedef std::remove_reference_t<decltype(*cells)> Cell;
        for (int y = 0; y < indexed.height; ++y) {
            const int *row = indexed.indices.at(y + 1).constData() + 1;
            Cell *target = cells + size_t(y + 1) * size_t(plane->stride()) + 1;
            for (int x = 0; x < indexed.width; ++x)
                target[x] = static_cast<Cell>(row[x]);
        }
    });
}

} // namespace bench
