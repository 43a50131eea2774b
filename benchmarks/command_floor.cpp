// (c) the ztrace developers. Licence: see LICENSE.
//
// What the command cannot do without: the toolkit's decoding of a file, and the engine's own trace
// of what is in it, in one process and without the command.
//
//   command_floor KIND FILE [RUNS]   prints the processor seconds of the two, least of RUNS (2)
//
// KIND   scan    traced with a threshold into two levels
//        others  16 colours, 3 cycles, blur of radius 1, from ARGB32 with inverted top bits
//
// As in bench_trace, making pixels of the tracer's format, the tracer, and freeing the result are
// the caller's and not counted.
#include "CorpusImages.h"
#include "ZTraceBitmap.h"

#include <QCoreApplication>
#include <QImageReader>
#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

const int kRuns = 2; // the first one also pays for the machine's caches

double processorSeconds()
{
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double decodeSeconds(const QString &file, QImage *image)
{
    *image = QImage(); // frees it before the time begins
    const double start = processorSeconds();
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    *image = reader.read();
    return processorSeconds() - start;
}

double traceSeconds(const QImage &image, const QMap<QString, double> &options, int *outlines)
{
    ZTraceBitmap tracer;
    for (QMap<QString, double>::const_iterator it = options.constBegin(); it != options.constEnd();
         ++it)
        tracer.setOption(it.key(), it.value());
    std::srand(1);
    const double start = processorSeconds();
    const QList<ZPolyline> polylines = tracer.trace(image);
    const double used = processorSeconds() - start;
    *outlines = int(polylines.size());
    return used;
}

int measure(bool scan, const QString &file, int runs)
{
    double decode = std::numeric_limits<double>::max();
    double trace = decode;
    QImage image;
    for (int run = 0; run < runs; ++run)
        decode = std::min(decode, decodeSeconds(file, &image));
    if (image.isNull()) {
        std::fprintf(stderr, "command_floor: no image %s\n", qPrintable(file));
        return 1;
    }
    image = scan ? image.convertToFormat(QImage::Format_ARGB32) : withInvertedTopBits(image);
    int outlines = 0;
    for (int run = 0; run < runs; ++run)
        trace = std::min(trace,
                         traceSeconds(image, scan ? lineartOptions() : colourOptions(), &outlines));
    std::printf("%.6f %.6f %d\n", decode, trace, outlines);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QLatin1String("*.debug=false"));
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const int runs = arguments.size() > 2 ? arguments.at(2).toInt() : kRuns;
    if (arguments.size() < 2 || arguments.size() > 3 || runs < 1) {
        std::fprintf(stderr, "usage: command_floor KIND FILE [RUNS]\n");
        return 2;
    }
    return measure(arguments.at(0) == QLatin1String("scan"), arguments.at(1), runs);
}
