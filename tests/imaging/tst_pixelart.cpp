// (c) the ztrace developers. Licence: see LICENSE.
//
// Small pictures in which every pixel counts.
#include "imaging/pixelart.h"

#include <QImage>
#include <QtTest>

#include <cmath>
#include <vector>

using namespace ztrace;

namespace {

const QRgb kYellow = 0xFFFFDC00u;
const QRgb kBlack = 0xFF000000u;

// Nothing, yellow and black, by letters.
QImage drawn(const std::vector<const char *> &rows)
{
    QImage image(int(qstrlen(rows[0])), int(rows.size()), QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const char letter = rows[std::size_t(y)][x];
            image.setPixel(x, y, letter == 'y' ? kYellow : letter == '#' ? kBlack : 0u);
        }
    }
    return image;
}

QImage face()
{
    return drawn({ "..yyyy..", ".yyyyyy.", "yy#yy#yy", "yyyyyyyy", "y#yyyy#y", "yy####yy",
                   ".yyyyyy.", "..yyyy.." });
}

QImage withPixel(QImage image, QRgb word)
{
    image.setPixel(3, 3, word);
    return image;
}

// As many colours on two circles, none between two others.
QImage coloured(int count)
{
    QImage image(count, 2, QImage::Format_ARGB32);
    for (int k = 0; k < count; ++k) {
        const double angle = 6.2831853 * (k / 2) / ((count + 1) / 2);
        const QRgb word = qRgb(128 + int(120 * std::cos(angle)), 128 + int(120 * std::sin(angle)),
                               k % 2 == 0 ? 40 : 220);
        image.setPixel(k, 0, word);
        image.setPixel(k, 1, word);
    }
    return image;
}

} // namespace

class tst_PixelArt : public QObject
{
    Q_OBJECT

private slots:
    void everyPixelHasItsColour_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("colours");
        QTest::newRow("a face") << face() << 3;
        QTest::newRow("one pixel") << drawn({ "y" }) << 1;
        QTest::newRow("nothing") << drawn({ "..", ".." }) << 1;
        QTest::newRow("clear pixels of two words") << withPixel(face(), 0x00FF0000u) << 3;
        QTest::newRow("16 colours") << coloured(16) << 16;
        QTest::newRow("as large as may be") << coloured(2).scaled(64, 64) << 2;
    }
    void everyPixelHasItsColour()
    {
        QFETCH(QImage, image);
        QFETCH(int, colours);
        const LabelPlane plane = labelPixelArt(image, 64);
        QCOMPARE(int(plane.colours.size()), colours);
        QCOMPARE(plane.labels.size(), std::size_t(image.width()) * std::size_t(image.height()));
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb word = image.pixel(x, y);
                const QRgb expected = qAlpha(word) == 0 ? 0u : word;
                QCOMPARE(plane.colours[plane.labels[std::size_t(y * image.width() + x)]], expected);
            }
        }
    }

    void othersHaveNoLabels_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("most");
        QTest::newRow("a mixture of two colours") << withPixel(face(), 0xFF806E00u) << 64;
        QTest::newRow("what can be seen through") << withPixel(face(), 0x80FFDC00u) << 64;
        QTest::newRow("17 colours") << coloured(17) << 64;
        QTest::newRow("more colours than asked for") << face() << 2;
        QTest::newRow("too large") << coloured(2).scaled(65, 64) << 64;
        QTest::newRow("too long") << coloured(2).scaled(1, 4097) << 64;
        QTest::newRow("no pixel") << QImage() << 64;
    }
    void othersHaveNoLabels()
    {
        QFETCH(QImage, image);
        QFETCH(int, most);
        QVERIFY(labelPixelArt(image, most).labels.empty());
    }
};

QTEST_GUILESS_MAIN(tst_PixelArt)
#include "tst_pixelart.moc"
