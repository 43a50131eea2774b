// (c) the ztrace developers. Licence: see LICENSE.
//
// Transparency of shaded pictures: levels of shadows and glass, soft edges, thin and faint things.
#include "imaging/shaded.h"
#include "imaging/shadedalpha.h"

#include <QImage>
#include <QtTest>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <set>

using namespace ztrace;

namespace {

const double kPrice = 400.0; // as usual

QImage drawn(int width, int height, const std::function<QRgb(int, int)> &wordOf)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, wordOf(x, y));
    }
    return image;
}

QImage settled(QImage image, int colours = 128)
{
    settleShadedAlpha(&image, colours, kPrice);
    return image;
}

std::set<int> levelsOf(const QImage &image)
{
    std::set<int> levels;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            levels.insert(qAlpha(image.pixel(x, y)));
    }
    return levels;
}

// Pairs of neighbours in a row that have different levels.
int changesOf(const QImage &image)
{
    int changes = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 1; x < image.width(); ++x)
            changes += qAlpha(image.pixel(x, y)) != qAlpha(image.pixel(x - 1, y));
    }
    return changes;
}

// A black shadow that falls from 200 in the middle to nothing 40 pixels away.
QImage shadow()
{
    return drawn(120, 120, [](int x, int y) {
        const double away = std::hypot(x - 60.0, y - 60.0);
        return qRgba(0, 0, 0, std::max(0, int(200.0 - 5.0 * away)));
    });
}

} // namespace

class tst_ShadedAlpha : public QObject
{
    Q_OBJECT

private slots:
    void opaqueImagesAreNotCopied()
    {
        const QImage image = drawn(9, 9, [](int, int) { return 0xFF102030u; });
        QImage shared = image;
        settleShadedAlpha(&shared, 128, kPrice);
        QCOMPARE(shared.constBits(), image.constBits());
    }

    void softShadowsStaySoft()
    {
        const QImage source = shadow();
        const QImage image = settled(source);
        QVERIFY(levelsOf(image).size() >= 6);
        for (int y = 0; y < 120; ++y) {
            for (int x = 0; x < 120; ++x)
                QVERIFY(std::abs(qAlpha(image.pixel(x, y)) - qAlpha(source.pixel(x, y))) <= 24);
        }
    }

    // Alphas about the middle were either clear or opaque, pixel by pixel.
    void grainOfAlphaIsCalm()
    {
        const QImage image = settled(drawn(64, 64, [](int x, int y) {
            return qRgba(80, 70, 90, 122 + (x * 7 + y * 13 + x * y) % 12);
        }));
        QVERIFY2(changesOf(image) < 64, qPrintable(QString::number(changesOf(image))));
        for (int level : levelsOf(image))
            QVERIFY(level > 110 && level < 146);
    }

    void edgesGoToOneOfTheirSides_data()
    {
        QTest::addColumn<int>("left");
        QTest::addColumn<int>("between");
        QTest::addColumn<int>("right");
        QTest::addColumn<int>("settled");
        QTest::newRow("opaque beside clear") << 255 << 140 << 0 << 255;
        QTest::newRow("hardly covered") << 255 << 90 << 0 << 0;
        QTest::newRow("opaque beside glass") << 255 << 150 << 100 << 100;
        QTest::newRow("glass beside clear") << 120 << 70 << 0 << 120;
    }

    void edgesGoToOneOfTheirSides()
    {
        QFETCH(int, left);
        QFETCH(int, between);
        QFETCH(int, right);
        QFETCH(int, settled);
        const QImage image = ::settled(drawn(31, 20, [&](int x, int) {
            return qRgba(10, 20, 200, x < 15 ? left : x == 15 ? between : right);
        }));
        QCOMPARE(qAlpha(image.pixel(0, 10)), left);
        QCOMPARE(qAlpha(image.pixel(15, 10)), settled);
        QCOMPARE(qAlpha(image.pixel(30, 10)), right);
    }

    // Coverage changes along a slanted line; what has half of the line's own stays.
    void thinLinesHaveNoGaps()
    {
        for (const double own : { 130.0, 255.0 }) {
            const QImage image = settled(drawn(80, 60, [own](int x, int y) {
                const double away = std::fabs(y - 10.0 - 0.4 * x);
                return qRgba(40, 40, 40, int(own * std::max(0.0, 1.0 - away)));
            }));
            for (int x = 2; x < 78; ++x) {
                const int y = int(std::lround(10.0 + 0.4 * x));
                QVERIFY2(std::abs(qAlpha(image.pixel(x, y)) - own) <= 32,
                         qPrintable(QString::number(x)));
            }
        }
    }

    void faintPicturesStay()
    {
        const QImage image = settled(drawn(
            60, 60, [](int x, int y) { return (x + y) % 12 == 0 ? qRgba(0, 0, 0, 24) : 0u; }));
        QCOMPARE(qAlpha(image.pixel(6, 6)), 24);
        QCOMPARE(levelsOf(image), std::set<int>({ 0, 24 }));
    }

    void levelsAreColoursToo_data()
    {
        QTest::addColumn<int>("most");
        for (int most : { 1, 2, 3, 4, 8, 12, 16, 64, 128 })
            QTest::addRow("%d colours", most) << most;
    }

    void levelsAreColoursToo()
    {
        QFETCH(int, most);
        QImage image = shadow();
        for (int y = 0; y < 120; ++y) { // lines of four levels and an opaque area
            for (int x = 0; x < 30; ++x)
                image.setPixel(x, y, y % 9 == 0 ? qRgba(0, 0, 0, 60 * (y / 30 + 1)) : 0u);
            image.setPixel(119, y, 0xFF800000u);
            image.setPixel(118, y, 0xFF800000u);
        }
        image = settled(image, most);
        std::set<int> levels = levelsOf(image);
        levels.erase(0);
        QVERIFY2(int(levels.size()) <= most, qPrintable(QString::number(levels.size())));
        const LabelPlane plane = reduceShaded(image, most, kPrice);
        int colours = 0;
        for (QRgb colour : plane.colours)
            colours += qAlpha(colour) != 0;
        QVERIFY2(colours <= most, qPrintable(QString::number(colours)));
    }

    void thinPictures()
    {
        for (const QSize size : { QSize(1, 1), QSize(50, 1), QSize(1, 50) }) {
            const QImage image
                = settled(drawn(size.width(), size.height(), [](int, int) { return 0xA0FF0000u; }));
            QCOMPARE(image.pixel(0, 0), 0xA0FF0000u);
        }
    }

    void onWhite()
    {
        const QImage image = seenOnWhite(
            drawn(3, 1, [](int x, int) { return qRgba(10, 110, 255, x == 0 ? 0 : 51 * x + 102); }));
        QCOMPARE(image.pixel(0, 0), qRgba(10, 110, 255, 0));
        QCOMPARE(image.pixel(1, 0), qRgba(108, 168, 255, 153));
        QCOMPARE(image.pixel(2, 0), qRgba(59, 139, 255, 204));
    }
};

QTEST_GUILESS_MAIN(tst_ShadedAlpha)
#include "tst_shadedalpha.moc"
