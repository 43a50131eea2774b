// (c) the ztrace developers. Licence: see LICENSE.
//
// Writes the named images as the peers take them: export_images [--smoke] [--corpus DIR] TARGET
//
//   NAME.rgba     width * height pixels R, G, B, A as a viewer shows them
//   NAME.png      the same, losslessly
//   NAME.KK.pbm   one mask a palette entry: black where the traced image has entry KK. A scan has
//                 the mask of its ink alone.
//   images.tsv    per image: name, file name without extension, width, height, number of masks
#include "CorpusImages.h"
#include "ZTraceBitmap.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>

#include <cstdio>
#include <cstdlib>

namespace {

bool writeMask(const IndexedImage &indexed, int entry, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(
        QString::fromLatin1("P4\n%1 %2\n").arg(indexed.width).arg(indexed.height).toLatin1());
    QByteArray row((indexed.width + 7) / 8, 0);
    for (int y = 0; y < indexed.height; ++y) {
        row.fill(0);
        const QVector<int> &cells = indexed.indices.at(y + 1);
        for (int x = 0; x < indexed.width; ++x) {
            if (cells.at(x + 1) == entry)
                row[x / 8] = char(row.at(x / 8) | (0x80 >> (x % 8)));
        }
        if (file.write(row) != row.size())
            return false;
    }
    return true;
}

bool writePixels(const QImage &image, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QImage bytes = image.convertToFormat(QImage::Format_RGBA8888);
    for (int y = 0; y < bytes.height(); ++y)
        file.write(reinterpret_cast<const char *>(bytes.constScanLine(y)), 4LL * bytes.width());
    return file.error() == QFileDevice::NoError;
}

// The number of masks, or -1.
int writeMasks(const BenchImage &picture, const QString &stem)
{
    ZTraceBitmap tracer;
    const QMap<QString, double> &options = picture.options;
    for (QMap<QString, double>::const_iterator it = options.constBegin(); it != options.constEnd();
         ++it)
        tracer.setOption(it.key(), it.value());
    const bool scan = options.value(QLatin1String("monochrome")) > 0;
    QImage image = picture.image;
    std::srand(1);
    tracer.preprocess(image);
    tracer.loadImageData(image);
    tracer.colorquantization();
    const int masks = scan ? 1 : tracer.currentPalette.size();
    for (int k = 0; k < masks; ++k) {
        const QString path
            = QString::fromLatin1("%1.%2.pbm").arg(stem).arg(k, 2, 10, QLatin1Char('0'));
        if (!writeMask(tracer.indexedImage, k, path))
            return -1;
    }
    return masks;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QLatin1String("*.debug=false"));
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const bool smoke = arguments.removeAll(QLatin1String("--smoke")) > 0;
    QString corpus = QString::fromLocal8Bit(qgetenv("ZTRACE_CORPUS"));
    const int given = arguments.indexOf(QLatin1String("--corpus"));
    if (given >= 0 && given + 1 < arguments.size()) {
        corpus = arguments.at(given + 1);
        arguments.removeAt(given + 1);
        arguments.removeAt(given);
    }
    if (corpus.isEmpty())
        corpus = QLatin1String("build/corpus");
    const QDir target(arguments.value(0));
    if (arguments.size() != 1 || !target.mkpath(QLatin1String("."))) {
        std::fprintf(stderr, "usage: export_images [--smoke] [--corpus DIR] TARGET\n");
        return 2;
    }

    QFile list(target.filePath(QLatin1String("images.tsv")));
    if (!list.open(QIODevice::WriteOnly))
        return 1;
    int failures = 0;
    for (const QString &name : smoke ? drawnNames() : corpusNames()) {
        const BenchImage picture = smoke ? drawnImage(name) : corpusImage(corpus, name);
        QString file = name;
        file.replace(QLatin1Char(' '), QLatin1Char('_'));
        const QString stem = target.filePath(file);
        if (picture.image.isNull()) {
            ++failures;
            continue;
        }
        const int masks = writeMasks(picture, stem);
        if (masks < 0 || !writePixels(picture.source, stem + QLatin1String(".rgba"))
            || !picture.source.save(stem + QLatin1String(".png"))) {
            std::fprintf(stderr, "export_images: cannot write %s\n", qPrintable(stem));
            return 1;
        }
        list.write(QString::fromLatin1("%1\t%2\t%3\t%4\t%5\n")
                       .arg(name, file)
                       .arg(picture.image.width())
                       .arg(picture.image.height())
                       .arg(masks)
                       .toUtf8());
    }
    return failures ? 1 : 0;
}
