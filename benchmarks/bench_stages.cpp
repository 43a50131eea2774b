// (c) the ztrace developers. Licence: see LICENSE.
//
// The stages by themselves, on the named images:
//
//   load/IMAGE              ARGB32 scan lines to imageData
//   preprocess/IMAGE        reduction to black and white in place
//   blur R/IMAGE            radius 1 to 5, the default largest change
//   sums N/IMAGE            one cycle over N sampled entries that only sums up, as all but the last
//   indices N/IMAGE         the last cycle, which only leaves indices
//   outlines N/IMAGE        the outlines of the traced image, in a plane with room for N entries
//   outlines, fit/IMAGE     the same with fitting
//   polylines/IMAGE         getPolylines from the fitted outlines
#include "BenchRig.h"

#include "kernels/blur.h"
#include "kernels/fit.h"
#include "kernels/outline.h"

#include <cstdlib>
#include <string>

namespace {

typedef void (*Benchmark)(benchmark::State &state, const QString &image, int number);

const int kDefaultDelta = 1024; // above any change: what the option's default of 2000 stands for
const float kShortest = 8;

void load(benchmark::State &state, const QString &name, int)
{
    const QImage image = bench::imageNamed(name).image;
    const auto check = [&] {
        ZTraceBitmap tracer;
        const QImage part = middleOf(image, 10000);
        tracer.loadImageData(part);
        for (int i = 0; i < part.width() * part.height(); ++i) {
            const QRgb word = part.pixel(i % part.width(), i / part.width());
            const char *pixel = tracer.imageData.constData() + 4 * i;
            if (pixel[0] != char(qRed(word)) || pixel[1] != char(qGreen(word))
                || pixel[2] != char(qBlue(word)) || pixel[3] != char(qAlpha(word)))
                return QString::fromLatin1("imageData differs from QImage::pixel");
        }
        return image.isNull() ? QString::fromLatin1("no image") : QString();
    };
    if (!bench::isRight(state, QLatin1String("load/") + name, check))
        return;
    ZTraceBitmap tracer;
    for (auto iteration : state) {
        (void)iteration;
        tracer.loadImageData(image);
        benchmark::DoNotOptimize(tracer.imageData.constData());
    }
    bench::countPixels(state, image);
}

void preprocess(benchmark::State &state, const QString &name, int)
{
    const BenchImage &picture = bench::imageNamed(name);
    const auto check = [&] { return bench::traceError(picture.image, lineartOptions()); };
    if (!bench::isRight(state, QLatin1String("preprocess/") + name, check))
        return;
    ZTraceBitmap tracer;
    bench::setOptions(&tracer, lineartOptions());
    QImage image;
    for (auto iteration : state) {
        (void)iteration;
        state.PauseTiming();
        image = picture.image.copy();
        state.ResumeTiming();
        tracer.preprocess(image);
    }
    bench::countPixels(state, picture.image);
}

void blur(benchmark::State &state, const QString &name, int radius)
{
    const QImage image = bench::imageNamed(name).image;
    const auto check = [&] { return bench::blurError(image, radius); };
    if (!bench::isRight(state, QString::fromLatin1("blur/%1/%2").arg(name).arg(radius), check))
        return;
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    QVector<char> blurred = tracer.imageData;
    for (auto iteration : state) {
        (void)iteration;
        state.PauseTiming();
        std::copy(tracer.imageData.constBegin(), tracer.imageData.constEnd(), blurred.begin());
        state.ResumeTiming();
        ztrace::blurPixels(reinterpret_cast<signed char *>(blurred.data()), image.width(),
                           image.height(), radius, kDefaultDelta);
    }
    bench::countPixels(state, image);
}

bool assignmentIsRight(benchmark::State &state, const QString &name,
                       const std::vector<signed char> &palette)
{
    const QImage image = bench::imageNamed(name).image;
    return bench::isRight(state, QString::fromLatin1("assign/%1/%2").arg(name).arg(palette.size()),
                          [&] { return bench::assignError(image, palette); });
}

void sums(benchmark::State &state, const QString &name, int entries)
{
    const QImage image = bench::imageNamed(name).image;
    const std::vector<signed char> palette = bench::sampledPalette(image, entries);
    if (!assignmentIsRight(state, name, palette))
        return;
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    std::vector<ztrace::ColourSum> result;
    for (auto iteration : state) {
        (void)iteration;
        ztrace::assignPixels(bench::pixelsOf(tracer), palette, &result, nullptr);
    }
    bench::countPixels(state, image);
}

void indices(benchmark::State &state, const QString &name, int entries)
{
    const QImage image = bench::imageNamed(name).image;
    const std::vector<signed char> palette = bench::sampledPalette(image, entries);
    if (!assignmentIsRight(state, name, palette))
        return;
    ZTraceBitmap tracer;
    tracer.loadImageData(image);
    ztrace::IndexPlane plane;
    plane.resize(image.width(), image.height(), entries);
    for (auto iteration : state) {
        (void)iteration;
        ztrace::assignPixels(bench::pixelsOf(tracer), palette, nullptr, &plane);
    }
    bench::countPixels(state, image);
}

// A tracer that has traced the image, with the picture's own options.
void traceOnce(const BenchImage &picture, ZTraceBitmap *tracer)
{
    bench::setOptions(tracer, picture.options);
    std::srand(1);
    tracer->trace(picture.image);
}

bool outlinesAreRight(benchmark::State &state, const BenchImage &picture)
{
    return bench::isRight(state, QLatin1String("outlines/") + picture.name,
                          [&] { return bench::traceError(picture.image, picture.options); });
}

void outlines(benchmark::State &state, const QString &name, int entries)
{
    const BenchImage &picture = bench::imageNamed(name);
    if (!outlinesAreRight(state, picture))
        return;
    ZTraceBitmap tracer;
    traceOnce(picture, &tracer);
    ztrace::IndexPlane plane;
    bench::fillPlane(tracer.indexedImage, entries, &plane);
    int count = 0;
    for (auto iteration : state) {
        (void)iteration;
        count = 0;
        ztrace::scanOutlines(plane, kShortest,
                             [&](int, const ztrace::PathView<uint8_t> &) { ++count; });
    }
    bench::countPixels(state, picture.image);
    state.counters["outlines"] = count;
}

void outlinesAndFit(benchmark::State &state, const QString &name, int)
{
    const BenchImage &picture = bench::imageNamed(name);
    if (!outlinesAreRight(state, picture))
        return;
    ZTraceBitmap tracer;
    traceOnce(picture, &tracer);
    ztrace::IndexPlane plane;
    bench::fillPlane(tracer.indexedImage, tracer.currentPalette.size(), &plane);
    const ztrace::Tolerances tolerances = { 1.0, 1.0 };
    double count = 0;
    for (auto iteration : state) {
        (void)iteration;
        ztrace::Fitter fitter(tolerances);
        std::vector<ztrace::Segment> segments;
        count = 0;
        ztrace::scanOutlines(plane, kShortest, [&](int, const ztrace::PathView<uint8_t> &path) {
            segments.clear();
            fitter.fitPath(path, &segments);
            count += double(segments.size());
        });
    }
    bench::countPixels(state, picture.image);
    state.counters["segments"] = count;
}

void polylines(benchmark::State &state, const QString &name, int)
{
    const BenchImage &picture = bench::imageNamed(name);
    if (!outlinesAreRight(state, picture))
        return;
    ZTraceBitmap tracer;
    traceOnce(picture, &tracer);
    QList<ZPolyline> result;
    for (auto iteration : state) {
        (void)iteration;
        state.PauseTiming();
        result = QList<ZPolyline>();
        state.ResumeTiming();
        result = tracer.getPolylines();
    }
    bench::countPixels(state, picture.image);
    state.counters["outlines"] = result.size();
}

void add(const std::string &stage, Benchmark benchmark, const QString &image, int number)
{
    benchmark::RegisterBenchmark((stage + '/' + image.toStdString()).c_str(),
                                 [=](benchmark::State &state) { benchmark(state, image, number); })
        ->Unit(benchmark::kMillisecond);
}

void addAll()
{
    for (const QString &name : bench::imageNames()) {
        add("load", load, name, 0);
        add("preprocess", preprocess, name, 0);
        for (int radius = 1; radius <= 5; ++radius)
            add("blur " + std::to_string(radius), blur, name, radius);
        for (const int entries : { 2, 16, 256 }) {
            add("sums " + std::to_string(entries), sums, name, entries);
            add("indices " + std::to_string(entries), indices, name, entries);
        }
        for (const int entries : { 16, 255, 256 })
            add("outlines " + std::to_string(entries), outlines, name, entries);
        add("outlines, fit", outlinesAndFit, name, 0);
        add("polylines", polylines, name, 0);
    }
}

} // namespace

int main(int argc, char **argv)
{
    return bench::run(argc, argv, addAll);
}
