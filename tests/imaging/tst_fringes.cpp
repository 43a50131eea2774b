// (c) the ztrace developers. Licence: see LICENSE.
//
// Coloured fringes of text drawn for the stripes of a screen.
#include "imaging/fringes.h"

#include "RandomImages.h"

#include <QTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;
using randomimages::Random;
using randomimages::randomImage;

namespace {

const int kWidth = 120;
const int kHeight = 40;

// Stems at places between the pixels, as a screen's stripes see them; with `blueFirst` the other
// way round, with `grey` as whole pixels do.
QImage stems(QRgb ground, QRgb ink, bool blueFirst = false, bool grey = false)
{
    QImage image(kWidth, kHeight, QImage::Format_ARGB32);
    image.fill(ground);
    Random random(5);
    for (int y = 2; y < kHeight - 2; ++y) {
        for (int x = 6; x + 8 < kWidth; x += 9) {
            const double left = x + random.below(1000) / 1000.0;
            const double right = left + 1.4;
            for (int u = x - 2; u < x + 6; ++u) {
                const auto covered = [&](double middle) {
                    const double from = std::max(left, middle - 0.5);
                    return std::max(0.0, std::min(right, middle + 0.5) - from);
                };
                const double stripe = grey ? 0.0 : blueFirst ? -1.0 / 3.0 : 1.0 / 3.0;
                const auto mix
                    = [](int a, int b, double part) { return int(a + (b - a) * part + 0.5); };
                image.setPixel(u, y,
                               qRgb(mix(qRed(ground), qRed(ink), covered(u + 0.5 - stripe)),
                                    mix(qGreen(ground), qGreen(ink), covered(u + 0.5)),
                                    mix(qBlue(ground), qBlue(ink), covered(u + 0.5 + stripe))));
            }
        }
    }
    return image;
}

// Largest distance of a pixel from the straight line between two colours, a channel's steps.
double farthestFromMixtures(const QImage &image, QRgb a, QRgb b)
{
    const double along[3]
        = { double(qRed(b) - qRed(a)), double(qGreen(b) - qGreen(a)), double(qBlue(b) - qBlue(a)) };
    const double whole = along[0] * along[0] + along[1] * along[1] + along[2] * along[2];
    double farthest = 0.0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb w = image.pixel(x, y);
            const double from[3] = { double(qRed(w) - qRed(a)), double(qGreen(w) - qGreen(a)),
                                     double(qBlue(w) - qBlue(a)) };
            const double part
                = (from[0] * along[0] + from[1] * along[1] + from[2] * along[2]) / whole;
            for (int c = 0; c < 3; ++c)
                farthest = std::max(farthest, std::fabs(from[c] - part * along[c]));
        }
    }
    return farthest;
}

} // namespace

class tst_Fringes : public QObject
{
    Q_OBJECT

private slots:
    void textIsOfItsColour_data()
    {
        QTest::addColumn<QRgb>("ground");
        QTest::addColumn<QRgb>("ink");
        QTest::addColumn<bool>("blueFirst");
        QTest::newRow("black on white") << 0xFFFFFFFFu << 0xFF000000u << false;
        QTest::newRow("black on white, stripes the other way")
            << 0xFFFFFFFFu << 0xFF000000u << true;
        QTest::newRow("white on blue") << 0xFF28509Au << 0xFFFFFFFFu << false;
        QTest::newRow("red on white") << 0xFFFFFFFFu << 0xFFC80000u << false;
    }
    void textIsOfItsColour()
    {
        QFETCH(QRgb, ground);
        QFETCH(QRgb, ink);
        QFETCH(bool, blueFirst);
        QImage image = stems(ground, ink, blueFirst);
        QVERIFY(farthestFromMixtures(image, ground, ink) > 30.0);
        QVERIFY(removeFringes(&image));
        QVERIFY(farthestFromMixtures(image, ground, ink) <= 13.0); // so little counts as the ground
    }

    // Letters that touch each other and were sharpened: white cuts off what is brighter than it.
    void lettersThatTouchAreOfTheirColour()
    {
        QImage image = stems(0xFFFFFFFFu, 0xFF41403Bu);
        const QRgb letters[] = { 0xFF814D3Au, 0xFF3C3C49u, 0xFF5B5758u, 0xFF51535Au, 0xFF6F849Fu,
                                 0xFFE3F5FCu, 0xFFFFFFFFu, 0xFFF3DDBDu, 0xFF3C3C49u, 0xFFD8F7FFu,
                                 0xFFE5B981u, 0xFF364872u, 0xFFFDFFFFu };
        const int kLetters = int(sizeof letters / sizeof letters[0]);
        for (int x = 0; x < kWidth; ++x)
            image.setPixel(x, 20, 0xFFFFFFFFu);
        for (int x = 0; x < kLetters; ++x)
            image.setPixel(x + 40, 20, letters[x]);
        QVERIFY(removeFringes(&image));
        for (int x = 0; x < kLetters; ++x) {
            const QRgb word = image.pixel(x + 40, 20);
            QVERIFY2(std::abs(qRed(word) - qBlue(word)) <= 24, qPrintable(QString::number(x)));
        }
    }

    // A photograph beside a dialog has more runs of differing channels than its text.
    void textBesideAPhotographIsOfItsColour()
    {
        const QImage text = stems(0xFFFFFFFFu, 0xFF000000u);
        QImage image(600, 600, QImage::Format_ARGB32);
        image.fill(0xFFFFFFFFu);
        Random random(3);
        for (int y = 0; y < 600; ++y) {
            for (int x = 240; x < 600; ++x) {
                const auto channel = [&random] { return 80 + 30 * random.below(4); };
                const bool isDull = x % 8 < 3; // grounds between what differs
                image.setPixel(x, y, isDull ? 0xFF808080u : qRgb(channel(), channel(), channel()));
            }
        }
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x)
                image.setPixel(x, y, text.pixel(x, y));
        }
        const QImage before = image;
        QVERIFY(removeFringes(&image));
        QVERIFY(farthestFromMixtures(image.copy(0, 0, kWidth, kHeight), 0xFFFFFFFFu, 0xFF000000u)
                <= 13.0);
        QCOMPARE(image.copy(280, 0, 320, 600), before.copy(280, 0, 320, 600));
    }

    // A field with a frame lies between two pixels of one ground as letters do. Its own ground
    // stays, and its text is text, although one pixel alone may be between that and the frame.
    void textInAFieldIsOfItsColour()
    {
        const QRgb ground = 0xFFA0C0F0u;
        QImage image(kWidth, 2 * kHeight, QImage::Format_ARGB32);
        image.fill(ground);
        const QImage outside = stems(ground, 0xFF000000u);
        const QImage inside = stems(0xFFFFFFFFu, 0xFF000000u);
        const QRect field(20, kHeight, 54, kHeight);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x)
                image.setPixel(x, y, outside.pixel(x, y));
            image.setPixel(field.left() - 2, kHeight + y, 0xFF808080u);
            image.setPixel(field.left() - 1, kHeight + y, 0xFF404040u);
            for (int x = 0; x < field.width(); ++x)
                image.setPixel(field.left() + x, kHeight + y, inside.pixel(4 + x, y));
        }
        const QImage before = image;
        QVERIFY(removeFringes(&image));
        QVERIFY(farthestFromMixtures(image.copy(field), 0xFFFFFFFFu, 0xFF000000u) <= 13.0);
        for (int y = field.top(); y <= field.bottom(); ++y) {
            for (int x = 0; x < kWidth; ++x) {
                if (before.pixel(x, y) == 0xFFFFFFFFu || x < field.left())
                    QCOMPARE(image.pixel(x, y), before.pixel(x, y));
            }
        }
    }

    // As much ink as there was.
    void inkIsKept()
    {
        const QImage before = stems(0xFFFFFFFFu, 0xFF000000u);
        QImage after = before;
        QVERIFY(removeFringes(&after));
        for (int y = 0; y < kHeight; ++y) {
            int sums[2] = { 0, 0 };
            for (int x = 0; x < kWidth; ++x) {
                sums[0] += qGreen(before.pixel(x, y));
                sums[1] += qGreen(after.pixel(x, y));
            }
            QVERIFY(std::abs(sums[0] - sums[1]) <= kWidth / 2);
        }
    }

    void otherPicturesAreLeftAlone_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::newRow("text of whole pixels") << stems(0xFFFFFFFFu, 0xFF000000u, false, true);
        QTest::newRow("coloured text of whole pixels")
            << stems(0xFFFFFFFFu, 0xFF2050C0u, false, true);
        Random random(randomimages::testSeed());
        for (int i = 0; i < 30; ++i)
            QTest::addRow("random %d", i) << randomImage(random, 60);
    }
    void otherPicturesAreLeftAlone()
    {
        QFETCH(QImage, image);
        const QImage before = image;
        const uchar *bits = image.constBits();
        QVERIFY(!removeFringes(&image));
        QCOMPARE(image, before);
        QCOMPARE(image.constBits(), bits);
    }
};

QTEST_GUILESS_MAIN(tst_Fringes)
#include "tst_fringes.moc"
