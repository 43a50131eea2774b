// (c) the ztrace developers. Licence: see LICENSE.
//
// Transparency settled: what is rounded, which levels stay, and that opaque images stay untouched.
#include "imaging/alpha.h"
#include "imaging/palette.h"

#include <QImage>
#include <QtTest>

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace ztrace;

namespace {

typedef void (*Settle)(QImage *image);

void settleForEight(QImage *image)
{
    settleAlpha(image, 8);
}

QImage filled(int width, int height, QRgb word)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(word);
    return image;
}

QRgb rounded(QRgb word)
{
    QImage image = filled(1, 1, word);
    roundAlpha(&image);
    return *reinterpret_cast<const QRgb *>(image.constBits());
}

QRgb binary(QRgb word)
{
    QImage image = filled(1, 1, word);
    makeAlphaBinary(&image);
    return *reinterpret_cast<const QRgb *>(image.constBits());
}

} // namespace

Q_DECLARE_METATYPE(Settle)

class tst_Alpha : public QObject
{
    Q_OBJECT

private slots:
    void opaqueImagesAreKnown()
    {
        QImage image = filled(37, 5, 0xFF102030u);
        QVERIFY(isOpaque(image));
        image.setPixel(36, 4, 0xFE102030u);
        QVERIFY(!isOpaque(image));
        QVERIFY(isOpaque(QImage()));
    }

    void opaqueImagesAreNotCopied_data()
    {
        QTest::addColumn<Settle>("settle");
        QTest::newRow("rounded") << &roundAlpha;
        QTest::newRow("made binary") << &makeAlphaBinary;
        QTest::newRow("settled") << &settleForEight;
    }

    void opaqueImagesAreNotCopied()
    {
        QFETCH(Settle, settle);
        const QImage image = filled(9, 9, 0xFF102030u);
        QImage shared = image;
        settle(&shared);
        QCOMPARE(shared.constBits(), image.constBits());
    }

    void sharedImagesKeepTheirPixels_data() { opaqueImagesAreNotCopied_data(); }

    void sharedImagesKeepTheirPixels()
    {
        QFETCH(Settle, settle);
        const QImage image = filled(9, 9, 0x05102030u);
        QImage shared = image;
        settle(&shared);
        QCOMPARE(image.pixel(0, 0), 0x05102030u);
    }

    void nearlyOpaqueAndNearlyClearAreRounded()
    {
        QCOMPARE(rounded(0x0C123456u), 0u);
        QCOMPARE(rounded(0x0D123456u), 0x0D123456u);
        QCOMPARE(rounded(0xF2123456u), 0xF2123456u);
        QCOMPARE(rounded(0xF3123456u), 0xFF123456u);
        QCOMPARE(rounded(0x00123456u), 0u);
    }

    void halfOpaqueIsOpaque()
    {
        QCOMPARE(binary(0x7F123456u), 0u);
        QCOMPARE(binary(0x80123456u), 0xFF123456u);
    }

    // An area has at least kLeastTranslucent pixels that equal their three neighbours.
    void areasAreKeptFromTheirLeastSizeOn()
    {
        QImage image = filled(40, 40, 0xFF000000u);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 9; ++x)
                image.setPixel(10 + x, 10 + y, 0x60FF0000u);
        }
        QImage kept = image;
        settleAlpha(&kept, 8);
        QCOMPARE(kept.pixel(10, 10), 0x60FF0000u); // 8 x 8 of the 9 x 9 are such
        image.setPixel(18, 18, 0xFF000000u);
        settleAlpha(&image, 8);
        QCOMPARE(image.pixel(10, 10), 0u);
    }

    void areasAtTheRimOfTheImageCountOnce()
    {
        QImage image = filled(9, 9, 0x60FF0000u);
        QImage wide = filled(18, 9, 0xFF000000u);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 9; ++x)
                wide.setPixel(9 + x, y, image.pixel(x, y));
        }
        settleAlpha(&wide, 8);
        QCOMPARE(wide.pixel(17, 8), 0x60FF0000u);
    }

    void onePixelHasNoArea()
    {
        QImage image = filled(1, 1, 0xA0FF0000u);
        settleAlpha(&image, 8);
        QCOMPARE(image.pixel(0, 0), 0xFFFF0000u);
    }

    void settledAlphaKeepsAreasAndGivesEdgesAway()
    {
        QImage image(30, 30, QImage::Format_ARGB32);
        image.fill(0x60FF0000u);
        image.setPixel(3, 3, 0xC0FF0000u);
        image.setPixel(9, 9, 0x10FF0000u);
        QImage faint = image;
        settleAlpha(&faint, 3);
        QCOMPARE(faint.pixel(0, 0), 0x60FF0000u); // or nothing would be left
        for (int i = 0; i < 100; ++i)
            image.setPixel(20 + i % 10, 20 + i / 10, 0xFFFF0000u);
        QImage one = image;
        settleAlpha(&one, 3);
        QCOMPARE(one.pixel(0, 0), 0u); // three colours have no room for it
        settleAlpha(&image, 4);
        QCOMPARE(image.pixel(0, 0), 0x60FF0000u);
        QCOMPARE(image.pixel(3, 3), 0xFFFF0000u);
        QCOMPARE(image.pixel(9, 9), 0u);
    }

    void levelsOfTransparencyAreColoursToo()
    {
        QImage image(200, 200, QImage::Format_ARGB32); // a shadow of ten levels beside a red area
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 200; ++x)
                image.setPixel(x, y, x < 100 ? 0xFFE02020u : qRgba(0, 0, 0, 20 * ((x - 100) / 10)));
        }
        settleAlpha(&image, 8);
        const std::vector<QRgb> palette = medianPalette(image, 8);
        QCOMPARE(std::count_if(palette.begin(), palette.end(),
                               [](QRgb c) { return qAlpha(c) != 0 && qAlpha(c) != 255; }),
                 std::ptrdiff_t(2));
        QVERIFY(palette.size() <= 8 + 1);
        for (int x = 100; x < 200; ++x) // to the nearest that stays
            QVERIFY(qAbs(qAlpha(image.pixel(x, 0)) - 20 * ((x - 100) / 10)) <= 60);
    }
};

QTEST_GUILESS_MAIN(tst_Alpha)
#include "tst_alpha.moc"
