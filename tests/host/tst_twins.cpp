// (c) the ztrace developers. Licence: see LICENSE.
//
// A script and the command `ztrace --raw` with the same seed give the same outlines, point for
// point.
#include "HostRun.h"

#include <QImage>
#include <QtTest>

class tst_Twins : public QObject
{
    Q_OBJECT

private slots:
    void sameOutlines_data();
    void sameOutlines();
    void seedsDiffer();

private:
    QStringList byScript(const QImage &image, int seed, const QStringList &options);
    QStringList byCommand(const QImage &image, int seed, const QStringList &options);

    QTemporaryDir folder;
};

namespace {

// The frame and the outlines of an SVG file, each with all its numbers.
QStringList outlinesOf(const QString &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QStringList();
    const QString text = QString::fromUtf8(file.readAll());
    QStringList list;
    const QRegularExpression part("viewBox=\"([^\"]*)\"| d=\"([^\"]*)\"");
    QRegularExpressionMatchIterator it = part.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        list.append(match.captured(1) + match.captured(2));
    }
    return list;
}

// Colours in patches, more of them than a palette has room for.
QImage patches(int width, int height, QImage::Format format)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int a = x / 7 + y / 5;
            const int b = (x * x + y * y) / 150;
            image.setPixel(x, y, qRgb(a * 37 & 255, b * 29 & 255, (a ^ b) * 53 & 255));
        }
    }
    return image.convertToFormat(format);
}

} // namespace

QStringList tst_Twins::byScript(const QImage &image, int seed, const QStringList &options)
{
    const QString input = folder.filePath("input.png");
    const QString output = folder.filePath("script.svg");
    QFile::remove(output);
    image.save(input);
    const QString script = QString(ZTRACE_SOURCE_DIR) + "/tests/host/trace_raw.js";
    const tests::HostRun r = tests::runScript(QStringList() << "--seed" << QString::number(seed)
                                                            << script << input << output << options,
                                              folder.path());
    return r.code == 0 ? outlinesOf(output) : QStringList(r.err);
}

QStringList tst_Twins::byCommand(const QImage &image, int seed, const QStringList &options)
{
    const QString input = folder.filePath("input.png");
    const QString output = folder.filePath("command.svg");
    QFile::remove(output);
    image.save(input);
    QStringList arguments = QStringList() << input << "--raw"
                                          << "--outline"
                                          << "--seed" << QString::number(seed) << "-o" << output;
    for (const QString &option : options)
        arguments << "--set" << option;
    const tests::HostRun r
        = tests::runProgram(tests::environment("ZTRACE_COMMAND"), arguments, folder.path());
    return r.code == 0 ? outlinesOf(output) : QStringList(r.err);
}

void tst_Twins::sameOutlines_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<int>("seed");
    QTest::addColumn<QString>("options");
    const QImage colours = patches(96, 64, QImage::Format_RGB32);
    QTest::newRow("defaults") << colours << 1 << "";
    QTest::newRow("colours") << colours << 1 << "monochrome=0";
    QTest::newRow("another seed") << colours << 4711 << "monochrome=0";
    QTest::newRow("few colours, many cycles")
        << colours << 3 << "monochrome=0 numberofcolors=5 colorquantcycles=7";
    QTest::newRow("blur and coarse lines")
        << colours << 1 << "monochrome=0 blurradius=4 blurdelta=300 ltres=9 qtres=0.25";
    QTest::newRow("ink") << colours << 1
                         << "alphathreshold=255 brightnessthreshold=99.5 numberofcolors=2";
    QTest::newRow("indexed") << patches(50, 50, QImage::Format_Indexed8) << 2 << "monochrome=0";
    QTest::newRow("bilevel") << patches(70, 40, QImage::Format_Mono) << 1 << "monochrome=0";
    QTest::newRow("narrow") << patches(3, 60, QImage::Format_RGB32) << 1
                            << "monochrome=0 pathomit=0";
}

void tst_Twins::sameOutlines()
{
    QFETCH(QImage, image);
    QFETCH(int, seed);
    QFETCH(QString, options);
    const QStringList list = options.split(' ', Qt::SkipEmptyParts);
    const QStringList script = byScript(image, seed, list);
    const QStringList command = byCommand(image, seed, list);
    QVERIFY2(script.size() > 1, qPrintable(script.join("\n")));
    QCOMPARE(script, command);
}

// So that the rows above would notice a seed that is not heeded.
void tst_Twins::seedsDiffer()
{
    const QImage image = patches(96, 64, QImage::Format_RGB32);
    const QStringList options("monochrome=0");
    QVERIFY(byScript(image, 1, options) != byScript(image, 2, options));
}

QTEST_GUILESS_MAIN(tst_Twins)
#include "tst_twins.moc"
