// (c) the ztrace developers. Licence: see LICENSE.
//
// Whole traces against kept results, byte for byte.
//
// Every folder beside this file is a case: input.png, options.txt with one "name value" a line
// ("seed" is handed to srand(), the rest to setOption), and expected.txt, doubles as hexadecimal
// floats. Where a result differs, the actual one is written to the build folder and its path
// printed. With ZTRACE_UPDATE_GOLDEN set, expected.txt is rewritten (scripts/update-golden.sh).
//
// Palettes may be drawn from rand(): results are those of the C library of glibc.
#include "engine/ZTraceBitmap.h"
#include "support/Messages.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QtTest>

#include <cstdio>
#include <cstdlib>

namespace {

QString caseFile(const QString &name, const char *file)
{
    return QString("%1/%2/%3").arg(ZTRACE_GOLDEN_CASES, name, QLatin1String(file));
}

QByteArray contents(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &fileName, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(fileName).path());
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Sets the options of a case and seeds rand(). False where a line is not understood.
bool applyOptions(const QByteArray &text, ZTraceBitmap *tracer)
{
    for (const QByteArray &line : text.split('\n')) {
        if (line.trimmed().isEmpty() || line.startsWith('#'))
            continue;
        const QList<QByteArray> words = line.simplified().split(' ');
        bool isNumber = false;
        const double value = words.value(1).toDouble(&isNumber);
        const QString name = QString::fromLatin1(words.value(0));
        if (!isNumber || words.size() != 2)
            return false;
        if (name == "seed")
            std::srand(static_cast<unsigned>(value));
        else if (tracer->options.contains(name))
            tracer->setOption(name, value);
        else
            return false;
    }
    return true;
}

QByteArray hexadecimal(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%a", value); // the toolkit's own formats have no %a
    return text;
}

QByteArray describePoint(const ZVector &point)
{
    return ' ' + hexadecimal(point.x) + ' ' + hexadecimal(point.y);
}

QByteArray describeImage(const IndexedImage &image)
{
    QByteArray text
        = "size " + QByteArray::number(image.width) + ' ' + QByteArray::number(image.height) + '\n';
    for (const QVector<char> &entry : image.palette) {
        text += "entry";
        for (const char channel : entry)
            text += ' ' + QByteArray::number(int(channel));
        text += '\n';
    }
    // Up to 36 entries one digit a pixel, beyond numbers.
    const bool digits = image.palette.size() <= 36;
    for (int y = 0; y < image.height; ++y) {
        text += "row ";
        for (int x = 0; x < image.width; ++x) {
            const int index = image.indices.at(y + 1).at(x + 1);
            text += digits ? QByteArray::number(index, 36) : QByteArray::number(index) + ' ';
        }
        text = text.trimmed() + '\n';
    }
    return text;
}

QByteArray describePolylines(const QList<ZPolyline> &polylines)
{
    QByteArray text;
    for (const ZPolyline &polyline : polylines) {
        text += "polyline" + describePoint(polyline.getStartPoint()) + '\n';
        for (int i = 0; i < polyline.countPieces(); ++i) {
            const bool isLine = polyline.getPieceKind(i) == ZPolyline::LinePiece;
            text += isLine ? "line" : "curve";
            // Each piece starts where the one before it ended.
            for (int p = 1; p < polyline.countPiecePoints(i); ++p)
                text += describePoint(polyline.getPiecePointAt(i, p));
            text += '\n';
        }
    }
    return text;
}

QByteArray describeLayers(const IndexedImage &image)
{
    QByteArray text;
    for (int k = 0; k < image.tracedLayers.size(); ++k) {
        int segments = 0;
        for (const auto &path : image.tracedLayers.at(k))
            segments += path.size();
        text += "layer " + QByteArray::number(k) + ": "
            + QByteArray::number(image.tracedLayers.at(k).size()) + " outlines, "
            + QByteArray::number(segments) + " segments\n";
    }
    return text;
}

} // namespace

class tst_Golden : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }
    void kept_data();
    void kept();
};

void tst_Golden::kept_data()
{
    QTest::addColumn<QString>("name");
    const QStringList names
        = QDir(ZTRACE_GOLDEN_CASES).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << name;
}

void tst_Golden::kept()
{
    QFETCH(QString, name);
    const QImage image(caseFile(name, "input.png"));
    QVERIFY2(!image.isNull(), "input.png cannot be read");
    ZTraceBitmap tracer;
    QVERIFY2(applyOptions(contents(caseFile(name, "options.txt")), &tracer),
             "options.txt is not understood");
    const QList<ZPolyline> polylines = tracer.trace(image);
    const QByteArray actual = describeImage(tracer.indexedImage)
        + describeLayers(tracer.indexedImage) + describePolylines(polylines);

    const QString expectedFile = caseFile(name, "expected.txt");
    if (qEnvironmentVariableIsSet("ZTRACE_UPDATE_GOLDEN")) {
        QVERIFY(write(expectedFile, actual));
        return;
    }
    const QByteArray expected = contents(expectedFile);
    if (actual == expected)
        return;
    const QString actualFile = QString("%1/%2.txt").arg(ZTRACE_GOLDEN_ACTUAL, name);
    QVERIFY(write(actualFile, actual));
    QFAIL(qPrintable(QString("the result differs: diff %1 %2").arg(expectedFile, actualFile)));
}

QTEST_GUILESS_MAIN(tst_Golden)
#include "tst_golden.moc"
