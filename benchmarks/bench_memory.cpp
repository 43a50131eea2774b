// (c) the ztrace developers. Licence: see LICENSE.
//
// Peak memory of trace, beyond the caller's image and the result:
//
//   bench_memory [--smoke] [--json] [--corpus DIR]   runs all cases, each in a process of its own
//
// The peak is the resident set's (getrusage), taken right before trace, when the process holds the
// image and little else, and right after it. The result is what freeing the returned polylines and
// tracedLayers gives back to the allocator; the tracer's own copies of the image and the indices
// count as trace's.
#include "CorpusImages.h"
#include "ZTraceBitmap.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>

#include <malloc.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Bytes at the peak so far. Linux counts in units of 1024.
double peakBytes()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) * 1024;
}

double allocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks) + double(info.hblkhd);
}

QImage flatImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(0xFF4060A0u);
    return image;
}

// Words of a file as they are in memory, so that reading needs no memory of its own.
QImage rawImage(const QString &path, int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    QFile file(path);
    const qint64 bytes = qint64(image.bytesPerLine()) * height;
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)
        || file.read(reinterpret_cast<char *>(image.bits()), bytes) != bytes)
        return QImage();
    return image;
}

bool writeRaw(const QImage &image, const QString &path)
{
    QFile file(path);
    const qint64 bytes = qint64(image.bytesPerLine()) * image.height();
    return file.open(QIODevice::WriteOnly)
        && file.write(reinterpret_cast<const char *>(image.constBits()), bytes) == bytes;
}

// One case; prints what trace used beyond image and result, and the result, in bytes a pixel.
int measure(const QImage &image, int colours)
{
    if (image.isNull()) {
        std::fprintf(stderr, "bench_memory: no image\n");
        return 1;
    }
    const double pixels = double(image.width()) * image.height();
    ZTraceBitmap tracer;
    const QMap<QString, double> options = colourOptions(colours);
    for (QMap<QString, double>::const_iterator it = options.constBegin(); it != options.constEnd();
         ++it)
        tracer.setOption(it.key(), it.value());
    std::srand(1);
    const double before = peakBytes();
    QList<ZPolyline> polylines = tracer.trace(image);
    const double used = peakBytes() - before;
    const int outlines = polylines.size();
    const double withResult = allocatedBytes();
    polylines = QList<ZPolyline>();
    tracer.indexedImage.tracedLayers.clear();
    const double result = withResult - allocatedBytes();
    std::printf("%.2f %.2f %d\n", (used - result) / pixels, result / pixels, outlines);
    return 0;
}

struct Case
{
    QString image; // "flat" or a file of words
    const char *name;
    int width;
    int height;
    int colours;
};

bool runCase(const Case &one, bool json)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  QStringList() << QLatin1String("--case") << one.image
                                << QString::number(one.width) << QString::number(one.height)
                                << QString::number(one.colours));
    process.waitForFinished(-1);
    const QStringList fields
        = QString::fromLatin1(process.readAllStandardOutput()).simplified().split(QLatin1Char(' '));
    if (process.exitCode() != 0 || fields.size() != 3)
        return false;
    if (json)
        std::printf("{\"image\": \"%s\", \"pixels\": %d, \"colours\": %d, \"bytes_per_pixel\": %s, "
                    "\"result_bytes_per_pixel\": %s, \"outlines\": %s}\n",
                    one.name, one.width * one.height, one.colours, qPrintable(fields.at(0)),
                    qPrintable(fields.at(1)), qPrintable(fields.at(2)));
    else
        std::printf("%-10s %4d colours  %6.2f bytes a pixel, result %7.2f (%s outlines)\n",
                    one.name, one.colours, fields.at(0).toDouble(), fields.at(1).toDouble(),
                    qPrintable(fields.at(2)));
    std::fflush(stdout);
    return true;
}

// Decodes in a process of its own, so that none of it is in the peak of the cases' processes,
// which begins with that of the process that starts them.
bool exportPhotograph(const QStringList &source, const QString &path, int *width, int *height)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  QStringList() << QLatin1String("--export") << path << source);
    process.waitForFinished(-1);
    const QStringList fields
        = QString::fromLatin1(process.readAllStandardOutput()).simplified().split(QLatin1Char(' '));
    if (process.exitCode() != 0 || fields.size() != 2)
        return false;
    *width = fields.at(0).toInt();
    *height = fields.at(1).toInt();
    return true;
}

int exportOne(const QStringList &arguments)
{
    const BenchImage picture = arguments.size() > 3
        ? corpusImage(arguments.at(3), QLatin1String("photo 12M"))
        : drawnImage(QLatin1String("drawn smooth"));
    if (picture.image.isNull() || !writeRaw(picture.image, arguments.at(2)))
        return 1;
    std::printf("%d %d\n", picture.image.width(), picture.image.height());
    return 0;
}

int runAll(const QStringList &arguments)
{
    const bool smoke = arguments.contains(QLatin1String("--smoke"));
    const bool json = arguments.contains(QLatin1String("--json"));
    const QByteArray named = qgetenv("ZTRACE_CORPUS");
    QString corpus
        = named.isEmpty() ? QString::fromLatin1("build/corpus") : QString::fromLocal8Bit(named);
    const int given = arguments.indexOf(QLatin1String("--corpus"));
    if (given >= 0 && given + 1 < arguments.size())
        corpus = arguments.at(given + 1);

    QTemporaryDir folder;
    const QString raw = folder.filePath(QLatin1String("photo.raw"));
    const int width = smoke ? 400 : 4000;
    const int height = smoke ? 300 : 3000;
    bool good = true;
    for (const int colours : { 2, 16, 256, 1000 })
        good = runCase({ QLatin1String("flat"), "flat", width, height, colours }, json) && good;
    Case photo = { raw, "photo 12M", 0, 0, 0 };
    const QStringList source = smoke ? QStringList() : QStringList(corpus);
    if (!exportPhotograph(source, raw, &photo.width, &photo.height))
        return 1;
    for (const int colours : { 2, 16, 256 }) {
        photo.colours = colours;
        good = runCase(photo, json) && good;
    }
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QLatin1String("*.debug=false"));
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--export") && arguments.size() > 2)
        return exportOne(arguments);
    if (arguments.value(1) != QLatin1String("--case") || arguments.size() < 6)
        return runAll(arguments);
    const int width = arguments.at(3).toInt();
    const int height = arguments.at(4).toInt();
    const QString image = arguments.at(2);
    return measure(image == QLatin1String("flat") ? flatImage(width, height)
                                                  : rawImage(image, width, height),
                   arguments.at(5).toInt());
}
