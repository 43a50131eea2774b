// (c) the ztrace developers. Licence: see LICENSE.
//
// Flat art that went through JPEG.
#include "imaging/blockunrest.h"
#include "imaging/flatinks.h"
#include "imaging/huepicture.h"
#include "imaging/ringing.h"

#include "RandomImages.h"
#include "drawnpictures.h"

#include <QPolygonF>
#include <QTest>
#include <QtMath>

#include <map>

using namespace ztrace;

namespace {

const QRgb kBlue = 0xFF10305Au;
const QRgb kRed = 0xFFC02020u;
const QRgb kWhite = 0xFFFFFFFFu;

QPolygonF star(QPointF middle, double radius)
{
    QPolygonF points;
    for (int k = 0; k < 10; ++k) {
        const double angle = k * M_PI / 5.0;
        const double r = k % 2 == 0 ? radius : 0.4 * radius;
        points << middle + QPointF(r * std::sin(angle), -r * std::cos(angle));
    }
    return points;
}

// Blue with a red rim and white stars, on white.
QImage badge()
{
    return drawn(220, 200, Qt::white, [](QPainter *painter) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor(kRed));
        painter->drawEllipse(QPointF(108.3, 99.6), 92, 92);
        painter->setBrush(QColor(kBlue));
        painter->drawEllipse(QPointF(108.3, 99.6), 84, 84);
        painter->setBrush(Qt::white);
        for (const QPointF &at : { QPointF(70, 70), QPointF(150, 62), QPointF(110, 130) })
            painter->drawPolygon(star(at, 22));
        for (int k = 0; k < 6; ++k)
            painter->drawPolygon(star(QPointF(50 + 22 * k, 100), 7));
    });
}

// Lines a pixel and a half wide of one colour.
QImage lines(QRgb ink, QRgb ground)
{
    return drawn(200, 160, QColor(ground), [ink](QPainter *painter) {
        painter->setPen(QPen(QColor(ink), 1.5));
        for (int k = 0; k < 5; ++k) {
            painter->drawEllipse(QPointF(38.3 + 30 * k, 50.7), 14.2 + k, 21.1);
            painter->drawLine(QPointF(20 + 30 * k, 90), QPointF(60 + 25 * k, 146.5));
        }
    });
}

bool isNear(QRgb a, QRgb b, int most)
{
    return qAbs(qRed(a) - qRed(b)) <= most && qAbs(qGreen(a) - qGreen(b)) <= most
        && qAbs(qBlue(a) - qBlue(b)) <= most;
}

double meanError(const QImage &a, const QImage &b)
{
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb v = a.pixel(x, y);
            const QRgb w = b.pixel(x, y);
            sum += qAbs(qRed(v) - qRed(w)) + qAbs(qGreen(v) - qGreen(w))
                + qAbs(qBlue(v) - qBlue(w));
        }
    }
    return sum / (3.0 * a.width() * a.height());
}

QImage asArt(const QImage &image, int quality)
{
    return asJpeg(image, quality).convertToFormat(QImage::Format_ARGB32);
}

// The same signs under each other at places that happen to be borders of blocks.
QImage listOf(int rows)
{
    QImage image(200, 18 * rows, QImage::Format_ARGB32);
    image.fill(kWhite);
    for (int k = 0; k < rows; ++k) {
        for (int y = 2; y < 16; ++y) {
            for (int x = 16; x < 32; ++x) {
                const int light = x == 16 || y == 2 ? 250 : 120 + (x * 37 + y * 11) % 120;
                image.setPixel(x, 18 * k + y, qRgb(light, light, 250));
            }
        }
    }
    return image;
}

QImage rampImage()
{
    return drawn(240, 200, Qt::white, [](QPainter *painter) {
        QLinearGradient ramp(0, 0, 240, 120);
        ramp.setColorAt(0, QColor(40, 90, 180));
        ramp.setColorAt(1, QColor(230, 200, 120));
        painter->fillRect(QRectF(0, 0, 240, 200), ramp);
        painter->setBrush(Qt::black);
        painter->drawEllipse(QPointF(120, 100), 30, 20);
    });
}

} // namespace

class tst_Ringing : public QObject
{
    Q_OBJECT

private slots:
    void artIsNearlyWhatItWas_data()
    {
        QTest::addColumn<int>("quality");
        QTest::addColumn<double>("most"); // of the error that compression left
        QTest::newRow("quality 60") << 60 << 0.7;
        QTest::newRow("quality 75") << 75 << 0.6;
        QTest::newRow("quality 90") << 90 << 0.6;
    }
    void artIsNearlyWhatItWas()
    {
        QFETCH(int, quality);
        QFETCH(double, most);
        const QImage compressed = asArt(badge(), quality);
        QImage image = compressed;
        QVERIFY(removeRinging(&image));
        const double before = meanError(compressed, badge());
        const double after = meanError(image, badge());
        QVERIFY2(after < most * before, qPrintable(QString("%1 %2").arg(before).arg(after)));
    }

    // Of the pixels amid those of one colour, how many have the commonest word there is in it.
    void areasHaveOneColour()
    {
        const QImage clean = badge();
        const auto shareOfCommonest = [&clean](const QImage &image) {
            std::map<QRgb, std::map<QRgb, int>> counts;
            int all = 0;
            for (int y = 1; y + 1 < clean.height(); ++y) {
                for (int x = 1; x + 1 < clean.width(); ++x) {
                    const QRgb own = clean.pixel(x, y);
                    bool isInside = true;
                    for (int k = 0; k < 9; ++k)
                        isInside = isInside && clean.pixel(x + k / 3 - 1, y + k % 3 - 1) == own;
                    counts[own][image.pixel(x, y)] += isInside;
                    all += isInside;
                }
            }
            int commonest = 0;
            for (const auto &area : counts) {
                int most = 0;
                for (const auto &word : area.second)
                    most = std::max(most, word.second);
                commonest += most;
            }
            return double(commonest) / all;
        };
        QImage image = asArt(badge(), 75);
        const double before = shareOfCommonest(image);
        QVERIFY(removeRinging(&image));
        const double after = shareOfCommonest(image);
        QVERIFY2(before < 0.9 && after > 0.97, qPrintable(QString("%1 %2").arg(before).arg(after)));
    }

    void thinLinesKeepTheirHue_data()
    {
        QTest::addColumn<QRgb>("ink");
        QTest::addColumn<QRgb>("ground");
        QTest::newRow("red on white") << QRgb(0xFFD00000u) << kWhite;
        QTest::newRow("blue on white") << QRgb(0xFF0050C0u) << kWhite;
        QTest::newRow("yellow on dark blue") << QRgb(0xFFFFCC00u) << QRgb(0xFF003366u);
    }
    void thinLinesKeepTheirHue()
    {
        QFETCH(QRgb, ink);
        QFETCH(QRgb, ground);
        const QImage compressed = asArt(lines(ink, ground), 75);
        QImage image = compressed;
        QVERIFY(removeRinging(&image));
        const auto countInk = [ink](const QImage &of) {
            int pixels = 0;
            for (int y = 0; y < of.height(); ++y) {
                for (int x = 0; x < of.width(); ++x)
                    pixels += isNear(of.pixel(x, y), ink, 48);
            }
            return pixels;
        };
        const int clean = countInk(lines(ink, ground));
        QVERIFY2(countInk(compressed) < 0.5 * clean, "nothing to be restored");
        QVERIFY2(
            countInk(image) > 0.6 * clean,
            qPrintable(
                QString("%1 %2 %3").arg(countInk(compressed)).arg(countInk(image)).arg(clean)));
    }

    // A shaded ball in a badge of flat colours.
    void shadesInArtStay()
    {
        const QRect ball(90, 80, 36, 36);
        QImage clean = badge();
        {
            QPainter painter(&clean);
            QLinearGradient ramp(ball.topLeft(), ball.bottomRight());
            ramp.setColorAt(0, QColor(255, 240, 200));
            ramp.setColorAt(1, QColor(170, 120, 60));
            painter.fillRect(ball, ramp);
        }
        const QImage compressed = asArt(clean, 75);
        QImage image = compressed;
        QVERIFY(removeRinging(&image));
        const QRect inside = ball.adjusted(6, 6, -6, -6);
        QVERIFY(meanError(image.copy(inside), clean.copy(inside)) < 3.0);
    }

    void inksAreThoseThatWereDrawn()
    {
        const std::vector<FlatInk> inks = inksOfAreas(asArt(badge(), 75));
        for (QRgb colour : { kWhite, kBlue }) {
            const auto same = [colour](const FlatInk &ink) { return isNear(ink.word, colour, 4); };
            QCOMPARE(std::count_if(inks.begin(), inks.end(), same), 1);
        }
    }

    void othersAreLeftAlone_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::newRow("clean art") << badge();
        QTest::newRow("clean lines") << lines(kRed, kWhite);
        QTest::newRow("a list") << listOf(30);
        QTest::newRow("shades") << asArt(rampImage(), 75);
        QTest::newRow("clean shades") << rampImage();
        Dice dice(3);
        QTest::newRow("noise") << withNoise(badge(), &dice, 6);
        QImage translucent = asArt(badge(), 75);
        translucent.setPixel(0, 0, 0x80FFFFFFu);
        QTest::newRow("a translucent pixel") << translucent;
        for (const QSize size : { QSize(1, 1), QSize(7, 40), QSize(40, 1) }) {
            QImage image(size, QImage::Format_ARGB32);
            image.fill(kRed);
            QTest::newRow(qPrintable(QString("%1 x %2").arg(size.width()).arg(size.height())))
                << image;
        }
    }
    void othersAreLeftAlone()
    {
        QFETCH(QImage, image);
        const QImage before = image.copy();
        const uchar *bits = image.constBits();
        QImage shared(image);
        QVERIFY(!removeRinging(&shared));
        QCOMPARE(shared, before);
        QCOMPARE(shared.constBits(), bits);
    }

    // Where hues were kept whole they are not made stronger.
    void wholeHuesStay()
    {
        const QImage clean = lines(QRgb(0xFF0050C0u), kWhite);
        HuePicture picture(clean);
        const HuePicture before(clean);
        picture.sharpen();
        for (int y = 0; y < clean.height(); ++y) {
            for (int x = 0; x < clean.width(); ++x)
                QVERIFY(apart(picture[picture.at(x, y)], before[before.at(x, y)]) < 1.0f);
        }
    }

    void coloursThereAndBack()
    {
        for (QRgb word : { 0xFF000000u, 0xFFFFFFFFu, kBlue, kRed, 0xFF00FF00u, 0xFF7F8081u })
            QCOMPARE(wordOf(hueOf(word)), QRgb(word));
    }

    void overshootsAreOfTheirSide()
    {
        const Hue dark = hueOf(qRgb(40, 40, 40));
        const Hue light = hueOf(qRgb(200, 200, 200));
        const Hue below = hueOf(qRgb(20, 20, 20));
        QVERIFY(mixtureNear(below, dark, light, 0.25f, 0.0f).squared > 300.0f);
        QVERIFY(mixtureNear(below, dark, light, 0.25f, 0.25f).squared < 1.0f);
        QCOMPARE(wordOf(mixtureNear(below, dark, light, 0.25f, 0.25f).hue), qRgb(40, 40, 40));
        const Hue between = hueOf(qRgb(120, 120, 120));
        QCOMPARE(wordOf(mixtureNear(between, dark, light, 0.25f, 0.0f).hue), qRgb(120, 120, 120));
    }
};

QTEST_GUILESS_MAIN(tst_Ringing)
#include "tst_ringing.moc"
