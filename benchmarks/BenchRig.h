// (c) the ztrace developers. Licence: see LICENSE.
//
// What the benchmark programs share: command line, images, answers checked before timing.
#ifndef ZTRACE_BENCHMARKS_BENCHRIG_H
#define ZTRACE_BENCHMARKS_BENCHRIG_H

#include <benchmark/benchmark.h>

#include "CorpusImages.h"
#include "ZTraceBitmap.h"
#include "kernels/IndexPlane.h"
#include "kernels/assign.h"

#include <functional>
#include <vector>

namespace bench {

// The whole program: reads --smoke, --corpus DIR and --no-check, passes on all other arguments to
// the benchmark library, switches debug output off, lets `registerAll` name the benchmarks and runs
// them. Fails when an answer was wrong.
int run(int argc, char **argv, void (*registerAll)());

// True in a run that is only to show that everything still works.
bool smoke();

// The names of the corpus, or of the drawn pictures in a smoke run.
QStringList imageNames();

// An image by its name; the last one is kept. Null where the corpus lacks it.
const BenchImage &imageNamed(const QString &name);

// Runs a check once a key and remembers the answer: empty when it is right. A benchmark whose
// answer is wrong, or whose image is missing, is not timed.
bool isRight(benchmark::State &state, const QString &key, const std::function<QString()> &check);

void setOptions(ZTraceBitmap *tracer, const QMap<QString, double> &options);

// Nanoseconds a pixel of the thread's processor time.
void countPixels(benchmark::State &state, const QImage &image);

// What is wrong with trace: it is compared with the stage operations called one after the other,
// on a part that their nested vectors can hold.
QString traceError(const QImage &image, const QMap<QString, double> &options);

// What is wrong with the fast kernels, compared with the plain ones on a part of the image.
QString blurError(const QImage &image, int radius);
QString assignError(const QImage &image, const std::vector<signed char> &palette);

// The view of a tracer's loaded image that kernels take.
ztrace::PixelView pixelsOf(const ZTraceBitmap &tracer);

// So many entries sampled from the image with a fixed seed, as kernels take them.
std::vector<signed char> sampledPalette(const QImage &image, int entries);

// The quantised image of a tracer as a plane with cells for so many entries.
void fillPlane(const IndexedImage &indexed, int entries, ztrace::IndexPlane *plane);

} // namespace bench

#endif
