// (c) the ztrace developers. Licence: see LICENSE.
//
// Places of a drawing that the colours of their labels are far from.
#include "imaging/unexplained.h"

#include <QImage>
#include <QRect>
#include <QtTest>

using namespace ztrace;

namespace {

const QRgb kWhite = 0xFFFFFFFFu;
const QRgb kBlack = 0xFF000000u;
const QRgb kGrey = 0xFF909090u;

QImage filled(int width, int height, QRgb word)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(word);
    return image;
}

void fill(const QRect &place, QRgb word, QImage *image)
{
    for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x)
            image->setPixel(x, y, word);
    }
}

// All of one label.
LabelPlane planeOf(const QImage &image, std::vector<QRgb> colours)
{
    return { image.width(), image.height(),
             std::vector<uint16_t>(std::size_t(image.width()) * std::size_t(image.height())),
             std::move(colours) };
}

} // namespace

class tst_Unexplained : public QObject
{
    Q_OBJECT

private slots:
    // Across the border of two words of 64 pixels as well.
    void solidPlacesAreNotExplained_data()
    {
        QTest::addColumn<int>("left");
        QTest::newRow("in the first word") << 10;
        QTest::newRow("in two words") << 60;
        QTest::newRow("where the second begins") << 63;
    }
    void solidPlacesAreNotExplained()
    {
        QFETCH(int, left);
        const QRect square(left, 5, 8, 8);
        QImage image = filled(90, 20, kWhite);
        fill(square, kGrey, &image);
        const std::vector<Explained> explained = unexplainedBy(planeOf(image, { kWhite }), image);
        QCOMPARE(explained.size(), std::size_t(90 * 20));
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 90; ++x) {
                const Explained expected = square.adjusted(1, 1, -1, -1).contains(x, y)
                    ? Explained::Not
                    : square.contains(x, y) ? Explained::Beside
                                            : Explained::Well;
                QCOMPARE(int(explained[std::size_t(90 * y + x)]), int(expected));
            }
        }
    }

    // Three columns of mixtures between a white half and a black one.
    void thinAndSoftIsExplained()
    {
        QImage image = filled(40, 40, kWhite);
        LabelPlane plane = planeOf(image, { kWhite, kBlack });
        for (int y = 0; y < 40; ++y) {
            for (int x = 21; x < 40; ++x) {
                const int light = x < 24 ? 255 - 64 * (x - 20) : 0;
                image.setPixel(x, y, qRgb(light, light, light));
                plane.labels[std::size_t(40 * y + x)] = x > 21 ? 1 : 0;
            }
        }
        fill(QRect(3, 0, 2, 40), 0xFFD02020u, &image);
        QVERIFY(unexplainedBy(plane, image).empty());
    }

    void othersAreExplained_data()
    {
        QTest::addColumn<QImage>("image");
        QImage small = filled(20, 20, kWhite);
        fill(QRect(4, 4, 5, 5), kGrey, &small); // nine pixels within
        QTest::newRow("little") << small;
        QTest::newRow("near to its label") << filled(20, 20, 0xFFF0F0F0u);
        QTest::newRow("what can be seen through") << filled(20, 20, 0x80909090u);
        QTest::newRow("one pixel") << filled(1, 1, kGrey);
        QTest::newRow("two rows") << filled(200, 2, kGrey);
        QTest::newRow("two columns") << filled(2, 200, kGrey);
    }
    void othersAreExplained()
    {
        QFETCH(QImage, image);
        QVERIFY(unexplainedBy(planeOf(image, { kWhite }), image).empty());
    }
};

QTEST_GUILESS_MAIN(tst_Unexplained)
#include "tst_unexplained.moc"
