// (c) the ztrace developers. Licence: see LICENSE.
//
// The selective blur.
#include "engine/ZTraceBitmap.h"
#include "support/Comparison.h"
#include "support/Messages.h"
#include "support/Pictures.h"
#include "support/Reference.h"

#include <QtTest>

#include <limits>

using ztrace::difference;

namespace {

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

// Bytes of a picture after a blur.
QVector<char> blurred(const ztrace::Picture &picture, float radius, float delta)
{
    ZTraceBitmap tracer;
    tracer.loadImageData(picture.toImage());
    tracer.blur(radius, delta);
    return tracer.imageData;
}

QVector<char> loaded(const ztrace::Picture &picture)
{
    return blurred(picture, 0, 0);
}

ztrace::Picture noisePicture(int width, int height, quint64 seed = 1)
{
    ztrace::Random random(seed);
    ztrace::Picture picture = ztrace::uniformPicture(width, height);
    for (std::uint32_t &word : picture.words)
        word = random.word();
    return picture;
}

} // namespace

class tst_Blur : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ztrace::switchDebugOutput(false); }

    void radiusBelowOneChangesNothing_data();
    void radiusBelowOneChangesNothing();
    void radiusActsAs_data();
    void radiusActsAs();
    void deltaZeroChangesNothing();
    void largeDeltaKeepsEveryBlurredPixel_data();
    void largeDeltaKeepsEveryBlurredPixel();
    void deltaIsComparedWithTheSumOfTheChannels();
    void deltaActsAs_data();
    void deltaActsAs();
    void onePixelWideBecomesZero();
    void onePixelHighBecomesZero();
    void onePixelBecomesZero();
    void zeroPixelsAreTestedAgainstTheOriginal();
    void columnZeroTakesNoPart();
    void rowZeroTakesNoPart();
    void darkAndLightMeetInTheSignedMiddle();
    void quotientIsFloored();
    void emptyImage();
    void sizesAreKept();
    void equalsReference_data();
    void equalsReference();
};

void tst_Blur::radiusBelowOneChangesNothing_data()
{
    QTest::addColumn<float>("radius");
    QTest::newRow("0.9") << 0.9f;
    QTest::newRow("zero") << 0.0f;
    QTest::newRow("negative") << -2.0f;
    QTest::newRow("minus infinity") << -kInfinity;
    QTest::newRow("-1e30") << -1e30f;
    QTest::newRow("not a number") << kNan;
}

void tst_Blur::radiusBelowOneChangesNothing()
{
    QFETCH(float, radius);
    const ztrace::Picture picture = noisePicture(9, 7);
    QCOMPARE(difference(blurred(picture, radius, 2000), loaded(picture)), QString());
}

void tst_Blur::radiusActsAs_data()
{
    QTest::addColumn<float>("radius");
    QTest::addColumn<float>("same");
    QTest::newRow("7.5 as 5") << 7.5f << 5.0f;
    QTest::newRow("1.99 as 1") << 1.99f << 1.0f;
    QTest::newRow("5.5 as 5") << 5.5f << 5.0f;
    QTest::newRow("1e30 as 5") << 1e30f << 5.0f;
    QTest::newRow("infinity as 5") << kInfinity << 5.0f;
    QTest::newRow("2147483648 as 5") << 2147483648.0f << 5.0f;
}

void tst_Blur::radiusActsAs()
{
    QFETCH(float, radius);
    QFETCH(float, same);
    const ztrace::Picture picture = noisePicture(20, 15);
    const QVector<char> expected = blurred(picture, same, 2000);
    QVERIFY(expected != loaded(picture));
    QCOMPARE(difference(blurred(picture, radius, 2000), expected), QString());
}

void tst_Blur::deltaZeroChangesNothing()
{
    for (int radius = 1; radius <= 5; ++radius) {
        const ztrace::Picture picture = noisePicture(12, 12);
        const float r = static_cast<float>(radius);
        QCOMPARE(difference(blurred(picture, r, 0), loaded(picture)), QString());
    }
}

void tst_Blur::largeDeltaKeepsEveryBlurredPixel_data()
{
    QTest::addColumn<float>("delta");
    QTest::newRow("1024") << 1024.0f;
    QTest::newRow("1020, the largest possible change") << 1020.0f;
    QTest::newRow("-1024") << -1024.0f;
    QTest::newRow("1e30") << 1e30f;
    QTest::newRow("-1e30") << -1e30f;
    QTest::newRow("infinity") << kInfinity;
    QTest::newRow("minus infinity") << -kInfinity;
    QTest::newRow("-2147483648") << -2147483648.0f;
}

void tst_Blur::largeDeltaKeepsEveryBlurredPixel()
{
    QFETCH(float, delta);
    const ztrace::Picture picture = noisePicture(12, 12);
    const QVector<char> expected = blurred(picture, 2, 2000);
    const QVector<char> original = loaded(picture);
    int changed = 0;
    for (int i = 0; i < original.size(); i += 4)
        changed += original.mid(i, 4) != expected.mid(i, 4) ? 1 : 0;
    QVERIFY(changed > 130); // of 144
    QCOMPARE(difference(blurred(picture, 2, delta), expected), QString());
}

void tst_Blur::deltaIsComparedWithTheSumOfTheChannels()
{
    const ztrace::Picture picture = noisePicture(16, 16);
    const QVector<char> original = loaded(picture);
    const QVector<char> all = blurred(picture, 3, 2000);
    for (int limit = 0; limit < 700; limit += 13) {
        const QVector<char> result = blurred(picture, 3, static_cast<float>(limit));
        for (int i = 0; i < original.size(); i += 4) {
            int d = 0;
            for (int c = 0; c < 4; ++c)
                d += qAbs(int(all.at(i + c)) - int(original.at(i + c)));
            QCOMPARE(result.mid(i, 4), (d > limit ? original : all).mid(i, 4));
        }
    }
}

void tst_Blur::deltaActsAs_data()
{
    QTest::addColumn<float>("delta");
    QTest::addColumn<float>("same");
    QTest::newRow("negative as its absolute value") << -300.0f << 300.0f;
    QTest::newRow("300.9 as 300") << 300.9f << 300.0f;
    QTest::newRow("-300.9 as 300") << -300.9f << 300.0f;
    QTest::newRow("0.9 as 0") << 0.9f << 0.0f;
    QTest::newRow("-0.9 as 0") << -0.9f << 0.0f;
    QTest::newRow("not a number as 0: no change is small enough") << kNan << 0.0f;
}

void tst_Blur::deltaActsAs()
{
    QFETCH(float, delta);
    QFETCH(float, same);
    for (quint64 seed = 0; seed < 30; ++seed) {
        const ztrace::Picture picture = noisePicture(12, 12, seed);
        QCOMPARE(difference(blurred(picture, 2, delta), blurred(picture, 2, same)), QString());
    }
}

void tst_Blur::onePixelWideBecomesZero()
{
    const ztrace::Picture picture = noisePicture(1, 6);
    QCOMPARE(difference(blurred(picture, 1, 2000), QVector<char>(24, 0)), QString());
}

void tst_Blur::onePixelHighBecomesZero()
{
    const ztrace::Picture picture = noisePicture(6, 1);
    QCOMPARE(difference(blurred(picture, 5, 2000), QVector<char>(24, 0)), QString());
}

void tst_Blur::onePixelBecomesZero()
{
    QCOMPARE(blurred(noisePicture(1, 1), 1, 2000), QVector<char>(4, 0));
}

void tst_Blur::zeroPixelsAreTestedAgainstTheOriginal()
{
    // Changes of 10 + 1 = 11 and 12 + 1 = 13 against a limit of 12.
    ztrace::Picture picture = ztrace::uniformPicture(1, 2, 0xFF0A0000u);
    picture.at(0, 1) = 0xFF0C0000u;
    QCOMPARE(blurred(picture, 1, 12), QVector<char>({ 0, 0, 0, 0, 12, 0, 0, -1 }));
}

void tst_Blur::columnZeroTakesNoPart()
{
    // Whatever stands in column 0, all columns come out the same.
    for (int radius = 1; radius <= 5; ++radius) {
        ztrace::Picture picture = noisePicture(9, 9);
        const QVector<char> expected = blurred(picture, static_cast<float>(radius), 2000);
        for (int y = 0; y < 9; ++y)
            picture.at(0, y) ^= 0x70307010u;
        const QVector<char> result = blurred(picture, static_cast<float>(radius), 2000);
        QCOMPARE(difference(result, expected), QString());
    }
}

void tst_Blur::rowZeroTakesNoPart()
{
    for (int radius = 1; radius <= 5; ++radius) {
        ztrace::Picture picture = noisePicture(9, 9);
        const QVector<char> expected = blurred(picture, static_cast<float>(radius), 2000);
        for (int x = 0; x < 9; ++x)
            picture.at(x, 0) ^= 0x70307010u;
        const QVector<char> result = blurred(picture, static_cast<float>(radius), 2000);
        QCOMPARE(difference(result, expected), QString());
    }
}

void tst_Blur::darkAndLightMeetInTheSignedMiddle()
{
    // Columns 1 and 2 of a two-row picture: 0 and 255 (read as -1). Row 1 alone is the tap.
    ztrace::Picture picture = ztrace::uniformPicture(3, 2, 0x00000000u);
    picture.at(2, 0) = 0x00FF0000u;
    picture.at(2, 1) = 0x00FF0000u;
    const QVector<char> result = blurred(picture, 1, 2000);
    QCOMPARE(int(result.at(4)), -1); // a mean between 0 and -1, floored
    QCOMPARE(int(result.at(8)), -1);
    QCOMPARE(int(result.at(0)), 0); // column 0 sees column 1 only
}

void tst_Blur::quotientIsFloored()
{
    // (10 * 0.27901) / (0.27901 + 0.44198) = 3.86..., and its negative -3.86...
    ztrace::Picture picture = ztrace::uniformPicture(3, 2, 0x00000000u);
    picture.at(2, 1) = 0x000AF600u;
    const QVector<char> result = blurred(picture, 1, 2000);
    QCOMPARE(int(result.at(4 * 4)), 3);
    QCOMPARE(int(result.at(4 * 4 + 1)), -4);
}

void tst_Blur::emptyImage()
{
    ZTraceBitmap tracer;
    tracer.blur(3, 100);
    QVERIFY(tracer.imageData.isEmpty());
    QCOMPARE(tracer.imageWidth, 0);
}

void tst_Blur::sizesAreKept()
{
    ZTraceBitmap tracer;
    tracer.loadImageData(noisePicture(7, 3).toImage());
    tracer.blur(2, 100);
    QCOMPARE(tracer.imageWidth, 7);
    QCOMPARE(tracer.imageHeight, 3);
    QCOMPARE(tracer.imageData.size(), 84);
}

void tst_Blur::equalsReference_data()
{
    QTest::addColumn<int>("radius");
    for (int radius = 1; radius <= 5; ++radius)
        QTest::addRow("radius %d", radius) << radius;
}

void tst_Blur::equalsReference()
{
    QFETCH(int, radius);
    ztrace::Random random(ztrace::testSeed() + static_cast<quint64>(radius));
    for (int round = 0; round < 400; ++round) {
        const ztrace::Picture picture = round % 2 == 0
            ? ztrace::randomPicture(random, 40)
            : noisePicture(random.between(1, 40), random.between(1, 40), random.word());
        const float r = static_cast<float>(radius) + static_cast<float>(random.unit());
        const float delta = static_cast<float>(random.between(-1100, 1100));
        ztrace::reference::Reference expected;
        expected.loadImageData(picture.words, picture.width, picture.height);
        expected.blur(r, delta);
        const QString found = difference(blurred(picture, r, delta), expected.imageData);
        if (!found.isEmpty())
            QFAIL(qPrintable(QString("%1, radius %2, delta %3: byte %4")
                                 .arg(picture.describe())
                                 .arg(double(r))
                                 .arg(double(delta))
                                 .arg(found)));
    }
}

QTEST_GUILESS_MAIN(tst_Blur)
#include "tst_blur.moc"
