// (c) the ztrace developers. Licence: see LICENSE.
//
// The tracer object: options, tables, and the lines that its construction writes.
#include "engine/ZTraceBitmap.h"
#include "engine/qtcompat.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"

#include <QtTest>

#include <cmath>
#include <cstdlib>

using ztrace::CaughtMessages;
using ztrace::difference;

class tst_Options : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void defaults_data();
    void defaults();
    void newTracerHoldsNothingElse();
    void newTracerHasNoImage();
    void setOptionOverwrites();
    void setOptionKeepsOddValues();
    void unknownNameIsStoredAndChangesNothing();
    void missingOptionReadsAsZero();
    void numberOfColoursActsOnTheFirstTraceOnly();
    void monochromeOffActsOnTheNextTrace();
    void gaussianKernels_data();
    void gaussianKernels();
    void kernelsAreSymmetricAndSumToOne();
    void startDirections();
    void holeCodes();
    void walkTable_data();
    void walkTable();
    void usedWalkEntriesMoveOneStepInTheNewDirection();
    void traceLeavesTheTablesAlone();
    void constructionWritesSeventeenLines();
    void twoTracersWrite34Lines();
    void debugLinesAreNotWrittenWhenSwitchedOff();
    void debugLinesAreNotFormattedWhenSwitchedOff();
    void deletedThroughThePointer();
};

void tst_Options::defaults_data()
{
    QTest::addColumn<double>("value");
    QTest::newRow("mincolorratio") << 0.02;
    QTest::newRow("blurdelta") << 2000.0;
    QTest::newRow("monochrome") << 1.0;
    QTest::newRow("numberofcolors") << 16.0;
    QTest::newRow("colorquantcycles") << 3.0;
    QTest::newRow("colorsampling") << 1.0;
    QTest::newRow("blurradius") << 1.0;
    QTest::newRow("pathomit") << 8.0;
    QTest::newRow("ltres") << 1.0;
    QTest::newRow("qtres") << 1.0;
    QTest::newRow("alphathreshold") << 200.0;
    QTest::newRow("brightnessthreshold") << 200.0;
}

void tst_Options::defaults()
{
    QFETCH(double, value);
    const ZTraceBitmap tracer;
    const QString name = QTest::currentDataTag();
    QVERIFY(tracer.options.contains(name));
    QVERIFY(tracer.options.value(name) == value);
}

void tst_Options::newTracerHoldsNothingElse()
{
    QCOMPARE(ZTraceBitmap().options.size(), 12);
}

void tst_Options::newTracerHasNoImage()
{
    const ZTraceBitmap tracer;
    QCOMPARE(tracer.imageWidth, 0);
    QCOMPARE(tracer.imageHeight, 0);
    QVERIFY(tracer.imageData.isEmpty());
    QVERIFY(tracer.currentPalette.isEmpty());
    QCOMPARE(tracer.indexedImage.width, 0);
    QCOMPARE(tracer.indexedImage.height, 0);
    QVERIFY(tracer.indexedImage.indices.isEmpty());
    QVERIFY(tracer.indexedImage.palette.isEmpty());
    QVERIFY(tracer.indexedImage.tracedLayers.isEmpty());
}

void tst_Options::setOptionOverwrites()
{
    ZTraceBitmap tracer;
    tracer.setOption("ltres", 0.25);
    tracer.setOption("ltres", 0.5);
    QCOMPARE(tracer.options.value("ltres"), 0.5);
    QCOMPARE(tracer.options.size(), 12);
}

void tst_Options::setOptionKeepsOddValues()
{
    ZTraceBitmap tracer;
    tracer.setOption("ltres", std::numeric_limits<double>::quiet_NaN());
    tracer.setOption("qtres", -std::numeric_limits<double>::infinity());
    tracer.setOption("pathomit", -3.75);
    QVERIFY(std::isnan(tracer.options.value("ltres")));
    QVERIFY(tracer.options.value("qtres") == -std::numeric_limits<double>::infinity());
    QVERIFY(tracer.options.value("pathomit") == -3.75);
}

void tst_Options::unknownNameIsStoredAndChangesNothing()
{
    const QImage image = ztrace::uniformPicture(6, 5).toImage();
    ZTraceBitmap plain;
    ZTraceBitmap tracer;
    tracer.setOption("nosuchoption", 7);
    QCOMPARE(tracer.options.size(), 13);
    QCOMPARE(tracer.options.value("nosuchoption"), 7.0);
    for (auto it = plain.options.begin(); it != plain.options.end(); ++it)
        QCOMPARE(tracer.options.value(it.key()), it.value());

    std::srand(1);
    const QList<ZPolyline> expected = plain.trace(image);
    std::srand(1);
    QCOMPARE(difference(tracer.trace(image), expected), QString());
}

void tst_Options::missingOptionReadsAsZero()
{
    const ztrace::Picture picture = ztrace::uniformPicture(3, 2, 0xFF336699u);
    ZTraceBitmap tracer;
    tracer.setOption("blurradius", 0);
    tracer.options.remove("monochrome");
    tracer.options.remove("colorquantcycles");
    tracer.trace(picture.toImage());
    QCOMPARE(int(tracer.imageData.at(0)), 0x33);           // not turned black or white
    QCOMPARE(tracer.options.value("monochrome", -1), 0.0); // and added with value 0
    QCOMPARE(tracer.options.value("colorquantcycles", -1), 0.0);
}

void tst_Options::numberOfColoursActsOnTheFirstTraceOnly()
{
    const QImage image = ztrace::uniformPicture(4, 4).toImage();
    ZTraceBitmap tracer;
    tracer.setOption("numberofcolors", 8);
    tracer.trace(image);
    QCOMPARE(tracer.currentPalette.size(), 8);
    tracer.setOption("numberofcolors", 3);
    tracer.trace(image);
    QCOMPARE(tracer.currentPalette.size(), 8);
}

void tst_Options::monochromeOffActsOnTheNextTrace()
{
    const QImage image = ztrace::uniformPicture(2, 2, 0xFF336699u).toImage();
    ZTraceBitmap tracer;
    tracer.setOption("blurradius", 0);
    tracer.trace(image);
    QCOMPARE(tracer.imageData.mid(0, 4), QVector<char>({ 0, 0, 0, -1 }));
    tracer.setOption("monochrome", 0);
    tracer.trace(image);
    QCOMPARE(tracer.imageData.mid(0, 4), QVector<char>({ 0x33, 0x66, char(0x99), -1 }));
}

void tst_Options::gaussianKernels_data()
{
    QTest::addColumn<QVector<double>>("weights");
    QTest::newRow("radius 1") << QVector<double>({ 0.27901, 0.44198, 0.27901 });
    QTest::newRow("radius 2") << QVector<double>(
        { 0.135336, 0.228569, 0.272192, 0.228569, 0.135336 });
    QTest::newRow("radius 3") << QVector<double>(
        { 0.086776, 0.136394, 0.178908, 0.195843, 0.178908, 0.136394, 0.086776 });
    QTest::newRow("radius 4") << QVector<double>({ 0.063327, 0.093095, 0.122589, 0.144599, 0.152781,
                                                   0.144599, 0.122589, 0.093095, 0.063327 });
    QTest::newRow("radius 5") << QVector<double>({ 0.049692, 0.069304, 0.089767, 0.107988, 0.120651,
                                                   0.125194, 0.120651, 0.107988, 0.089767, 0.069304,
                                                   0.049692 });
}

void tst_Options::gaussianKernels()
{
    QFETCH(QVector<double>, weights);
    const ZTraceBitmap tracer;
    QCOMPARE(tracer.gaussianKernels.size(), 5);
    const int index = int(weights.size()) / 2 - 1;
    QCOMPARE(difference(tracer.gaussianKernels.at(index), weights), QString());
}

void tst_Options::kernelsAreSymmetricAndSumToOne()
{
    const ZTraceBitmap tracer;
    for (const QVector<double> &kernel : tracer.gaussianKernels) {
        double sum = 0;
        for (int i = 0; i < kernel.size(); ++i) {
            sum += kernel.at(i);
            QCOMPARE(kernel.at(i), kernel.at(kernel.size() - 1 - i));
        }
        QVERIFY(std::fabs(sum - 1) <= 0.0000021);
    }
}

void tst_Options::startDirections()
{
    const QVector<char> expected({ 0, 0, 3, 0, 1, 0, 3, 0, 0, 3, 3, 1, 0, 3, 0, 0 });
    QCOMPARE(difference(ZTraceBitmap().pathscanDirLookup, expected), QString());
}

void tst_Options::holeCodes()
{
    const ZTraceBitmap tracer;
    QCOMPARE(tracer.pathscanHoleLookup.size(), 16);
    for (int code = 0; code < 16; ++code) {
        const bool hole = code == 7 || code == 11 || code == 13 || code == 14;
        QCOMPARE(bool(tracer.pathscanHoleLookup.at(code)), hole);
    }
}

void tst_Options::walkTable_data()
{
    using Entry = QVector<char>;
    using Row = QVector<Entry>;
    const Entry none({ -1, -1, -1, -1 });
    const Entry right({ 0, 0, 1, 0 });
    const Entry up({ 0, 1, 0, -1 });
    const Entry left({ 0, 2, -1, 0 });
    const Entry down({ 0, 3, 0, 1 });

    QTest::addColumn<Row>("row");
    QTest::newRow("0") << Row({ none, none, none, none });
    QTest::newRow("1") << Row({ up, none, none, left });
    QTest::newRow("2") << Row({ none, none, up, right });
    QTest::newRow("3") << Row({ right, none, left, none });
    QTest::newRow("4") << Row({ none, right, down, none });
    QTest::newRow("5") << Row({ Entry({ 13, 3, 0, 1 }), Entry({ 13, 2, -1, 0 }),
                                Entry({ 7, 1, 0, -1 }), Entry({ 7, 0, 1, 0 }) });
    QTest::newRow("6") << Row({ none, up, none, down });
    QTest::newRow("7") << Row({ down, left, none, none });
    QTest::newRow("8") << Row({ down, left, none, none });
    QTest::newRow("9") << Row({ none, up, none, down });
    QTest::newRow("10") << Row({ Entry({ 11, 1, 0, -1 }), Entry({ 14, 0, 1, 0 }),
                                 Entry({ 14, 3, 0, 1 }), Entry({ 11, 2, -1, 0 }) });
    QTest::newRow("11") << Row({ none, right, down, none });
    QTest::newRow("12") << Row({ right, none, left, none });
    QTest::newRow("13") << Row({ none, none, up, right });
    QTest::newRow("14") << Row({ up, none, none, left });
    QTest::newRow("15") << Row({ none, none, none, none });
}

void tst_Options::walkTable()
{
    QFETCH(QVector<QVector<char>>, row);
    const ZTraceBitmap tracer;
    QCOMPARE(tracer.pathscanCombinedLookup.size(), 16);
    const int code = QString(QTest::currentDataTag()).toInt();
    QCOMPARE(difference(tracer.pathscanCombinedLookup.at(code), row), QString());
}

void tst_Options::usedWalkEntriesMoveOneStepInTheNewDirection()
{
    const int dx[4] = { 1, 0, -1, 0 };
    const int dy[4] = { 0, -1, 0, 1 };
    const ZTraceBitmap tracer;
    int used = 0;
    for (const QVector<QVector<char>> &row : tracer.pathscanCombinedLookup) {
        for (const QVector<char> &entry : row) {
            if (entry.at(0) < 0)
                continue;
            ++used;
            QCOMPARE(int(entry.at(2)), dx[int(entry.at(1))]);
            QCOMPARE(int(entry.at(3)), dy[int(entry.at(1))]);
        }
    }
    QCOMPARE(used, 32);
}

void tst_Options::traceLeavesTheTablesAlone()
{
    const ZTraceBitmap fresh;
    ztrace::Random random(7);
    ZTraceBitmap tracer;
    tracer.setOption("blurradius", 5);
    tracer.trace(ztrace::randomPicture(random, 30).toImage());
    QCOMPARE(difference(tracer.gaussianKernels, fresh.gaussianKernels), QString());
    QCOMPARE(difference(tracer.pathscanDirLookup, fresh.pathscanDirLookup), QString());
    QCOMPARE(difference(tracer.pathscanHoleLookup, fresh.pathscanHoleLookup), QString());
    QCOMPARE(difference(tracer.pathscanCombinedLookup, fresh.pathscanCombinedLookup), QString());
}

void tst_Options::constructionWritesSeventeenLines()
{
    const CaughtMessages messages;
    const ZTraceBitmap tracer;
    const QStringList lines = messages.lines();
    QCOMPARE(lines.size(), 17);
    for (int code = 0; code < 16; ++code) {
        const QVector<QVector<char>> row = tracer.pathscanCombinedLookup.at(code);
        QVERIFY(lines.at(code).startsWith("tuples: QVector(QVector("));
        QCOMPARE(lines.at(code), ztrace::debugLine("tuples:", row));
    }
    QVERIFY(lines.at(16).startsWith("lines: QVector(QVector(QVector("));
    QCOMPARE(lines.at(16), ztrace::debugLine("lines:", tracer.pathscanCombinedLookup));
}

void tst_Options::twoTracersWrite34Lines()
{
    const CaughtMessages messages;
    const ZTraceBitmap one;
    const ZTraceBitmap two;
    QCOMPARE(messages.lines().size(), 34);
    QCOMPARE(messages.lines("tuples:").size(), 32);
    QCOMPARE(messages.lines("lines:").size(), 2);
}

void tst_Options::debugLinesAreNotWrittenWhenSwitchedOff()
{
    const CaughtMessages messages;
    ztrace::switchDebugOutput(false);
    ZTraceBitmap tracer;
    tracer.setOption("alphathreshold", 255);
    QVERIFY(!tracer.trace(ztrace::uniformPicture(9, 9).toImage()).isEmpty());
    QCOMPARE(messages.lines(), QStringList());
}

// Formatting itself leaves no trace; what decides about it is asked instead.
void tst_Options::debugLinesAreNotFormattedWhenSwitchedOff()
{
    ztrace::switchDebugOutput(false);
    QVERIFY(!ztrace::debugOutputIsOn());
    ztrace::switchDebugOutput(true);
    QVERIFY(ztrace::debugOutputIsOn());
}

void tst_Options::deletedThroughThePointer()
{
    auto *tracer = new ZTraceBitmap;
    tracer->trace(ztrace::uniformPicture(3, 3).toImage());
    delete tracer;
}

QTEST_GUILESS_MAIN(tst_Options)
#include "tst_options.moc"
