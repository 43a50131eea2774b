// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas in which two colours take turns from pixel to pixel.
#include "imaging/checkers.h"

#include "RandomImages.h"

#include <QImage>
#include <QTest>

using namespace ztrace;

namespace {

const QRgb kGround = 0xFFF0F0F0u;
const QRgb kOne = 0xFFFFFFFFu;
const QRgb kOther = 0xFFD4D0C8u;
const QRgb kMean = 0xFFEAE8E4u;

QImage withChecker(int width, int height, QRgb one = kOne, QRgb other = kOther)
{
    QImage image(40, 30, QImage::Format_ARGB32);
    image.fill(kGround);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(10 + x, 10 + y, (x + y) % 2 != 0 ? one : other);
    }
    return image;
}

} // namespace

class tst_Checkers : public QObject
{
    Q_OBJECT

private slots:
    void areasGetTheMean()
    {
        QImage image = withChecker(12, 7);
        QVERIFY(evenCheckers(&image));
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool isInside = x >= 10 && x < 22 && y >= 10 && y < 17;
                QCOMPARE(image.pixel(x, y), isInside ? kMean : kGround);
            }
        }
    }

    void areasAsLargeAsThePicture()
    {
        QImage image = withChecker(12, 7).copy(10, 10, 12, 7);
        QVERIFY(evenCheckers(&image));
        for (int y = 0; y < 7; ++y) {
            for (int x = 0; x < 12; ++x)
                QCOMPARE(image.pixel(x, y), kMean);
        }
    }

    void twoAreasSideBySideHaveTheirOwnMeans()
    {
        QImage image = withChecker(8, 8);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x)
                image.setPixel(18 + x, 10 + y, (x + y) % 2 != 0 ? 0xFF000000u : 0xFF000080u);
        }
        QVERIFY(evenCheckers(&image));
        QCOMPARE(image.pixel(12, 12), kMean);
        QCOMPARE(image.pixel(17, 12), kMean);
        QCOMPARE(image.pixel(18, 12), 0xFF000040u);
        QCOMPARE(image.pixel(25, 17), 0xFF000040u);
    }

    void othersAreLeftAlone_data()
    {
        QTest::addColumn<QImage>("image");
        QImage dots = withChecker(0, 0); // a frame of dots, and a line that goes down in steps
        for (int k = 0; k < 24; k += 2) {
            dots.setPixel(4 + k, 3, 0xFF000000u);
            dots.setPixel(4 + k / 2, 5 + k / 2, 0xFF000000u);
        }
        QTest::newRow("dots and slanted lines") << dots;
        QTest::newRow("a small one") << withChecker(5, 5);
        QTest::newRow("one that can be seen through")
            << withChecker(12, 12, 0xFFFFFFFFu, 0x80FFFFFFu);
        QTest::newRow("black and white") << withChecker(12, 12, 0xFFFFFFFFu, 0xFF000000u);
        QTest::newRow("flat") << withChecker(12, 12, kOne, kOne);
        QTest::newRow("a pixel") << withChecker(1, 1).copy(10, 10, 1, 1);
        QTest::newRow("a row") << withChecker(30, 1).copy(10, 10, 30, 1);
        randomimages::Random random(randomimages::testSeed());
        QImage noise(60, 50, QImage::Format_ARGB32);
        for (int y = 0; y < 50; ++y) {
            for (int x = 0; x < 60; ++x)
                noise.setPixel(x, y, random.below(2) != 0 ? kOne : kOther);
        }
        QTest::newRow("noise of two colours") << noise;
    }
    void othersAreLeftAlone()
    {
        QFETCH(QImage, image);
        const QImage before = image;
        const uchar *bits = image.constBits();
        QVERIFY(!evenCheckers(&image));
        QCOMPARE(image, before);
        QCOMPARE(image.constBits(), bits);
    }
};

QTEST_GUILESS_MAIN(tst_Checkers)
#include "tst_checkers.moc"
