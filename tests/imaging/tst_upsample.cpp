// (c) the ztrace developers. Licence: see LICENSE.
//
// Labels on a grid finer than pixels.
#include "imaging/upsample.h"

#include <QTest>

using namespace ztrace;

namespace {

const QRgb kBlack = 0xFF000000u;
const QRgb kWhite = 0xFFFFFFFFu;

// Black up to `edge`, which may lie within a pixel, white to the right of it.
QImage edgeAt(double edge, int width = 12, int height = 6)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int grey = qRound(255.0 * qBound(0.0, x + 1.0 - edge, 1.0));
            image.setPixel(x, y, qRgb(grey, grey, grey));
        }
    }
    return image;
}

LabelPlane blackAndWhite(const QImage &image)
{
    LabelPlane plane;
    plane.width = image.width();
    plane.height = image.height();
    plane.colours = { kBlack, kWhite };
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x)
            plane.labels.push_back(qGray(image.pixel(x, y)) > 127);
    }
    return plane;
}

int blackInRow(const LabelPlane &plane, int y)
{
    const auto begin = plane.labels.begin() + std::ptrdiff_t(y) * plane.width;
    return static_cast<int>(std::count(begin, begin + plane.width, uint16_t(0)));
}

} // namespace

class tst_Upsample : public QObject
{
    Q_OBJECT

private slots:
    void softEdgesRunBetweenPixels_data()
    {
        QTest::addColumn<double>("edge");
        for (double edge : { 4.0, 4.3, 4.5, 4.7, 5.0 })
            QTest::newRow(qPrintable(QString::number(edge))) << edge;
    }

    void softEdgesRunBetweenPixels()
    {
        QFETCH(double, edge);
        const QImage image = edgeAt(edge);
        for (int factor : { 2, 4, kMostUpsampling }) {
            const LabelPlane fine = upsampled(image, blackAndWhite(image), factor);
            QCOMPARE(fine.width, image.width() * factor);
            QCOMPARE(fine.height, image.height() * factor);
            for (int y : { 0, fine.height - 1 }) {
                const double found = double(blackInRow(fine, y)) / factor;
                QVERIFY2(qAbs(found - edge) <= 0.5 / factor + 0.13,
                         qPrintable(QString::number(found)));
            }
        }
    }

    // At twice as fine, what is pure in the image is only drawn larger, corners too.
    void pureColoursStayAsTheyAre()
    {
        QImage image(23, 17, QImage::Format_ARGB32);
        quint32 state = 7;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                state = state * 1664525u + 1013904223u;
                image.setPixel(x, y, state >> 31 ? kBlack : kWhite);
            }
        }
        const LabelPlane plane = blackAndWhite(image);
        const LabelPlane fine = upsampled(image, plane, 2);
        for (int y = 1; y < image.height() - 1; ++y) {
            for (int x = 1; x < image.width() - 1; ++x) {
                const uint16_t own = plane.labels[std::size_t(y * image.width() + x)];
                for (int part = 0; part < 4; ++part) {
                    const int at = (2 * y + part / 2) * fine.width + 2 * x + part % 2;
                    QCOMPARE(fine.labels[std::size_t(at)], own);
                }
            }
        }
    }

    void labelsComeFromAround()
    {
        // The grey between black and white is a colour of the palette, but not here.
        const QImage image = edgeAt(4.5);
        LabelPlane plane = blackAndWhite(image);
        plane.colours.push_back(qRgb(128, 128, 128));
        const LabelPlane fine = upsampled(image, plane, 4);
        QCOMPARE(*std::max_element(fine.labels.begin(), fine.labels.end()), uint16_t(1));
    }

    void factorOneChangesNothing()
    {
        const QImage image = edgeAt(4.3);
        const LabelPlane plane = blackAndWhite(image);
        QCOMPARE(upsampled(image, plane, 1).labels, plane.labels);
    }

    void whatIsTransparentHasNoHue()
    {
        // Green under an alpha of 0 is not mixed into the red beside it.
        const QRgb mixture = qRgba(110, 120, 5, 150);
        QImage image(8, 1, QImage::Format_ARGB32);
        image.fill(qRgba(0, 255, 0, 0));
        for (int x = 0; x < 3; ++x)
            image.setPixel(x, 0, qRgba(200, 10, 10, 255));
        image.setPixel(4, 0, mixture);
        LabelPlane plane;
        plane.width = 8;
        plane.height = 1;
        plane.colours = { qRgba(200, 10, 10, 255), 0u, mixture };
        plane.labels = { 0, 0, 0, 1, 2, 1, 1, 1 };
        const LabelPlane fine = upsampled(image, plane, 2);
        const std::vector<uint16_t> row(fine.labels.begin(), fine.labels.begin() + 16);
        QCOMPARE(row, (std::vector<uint16_t> { 0, 0, 0, 0, 0, 0, 1, 1, 2, 2, 1, 1, 1, 1, 1, 1 }));
    }

    // A line thinner than a pixel shows its colour nowhere; it is no reason to lose it.
    void dilutedLinesStay()
    {
        QImage image(9, 9, QImage::Format_ARGB32);
        image.fill(qRgb(255, 255, 255));
        LabelPlane plane;
        plane.width = plane.height = 9;
        plane.colours = { qRgb(255, 255, 255), qRgb(0, 0, 0) };
        plane.labels.assign(81, 0);
        for (int x = 0; x < 9; ++x) {
            image.setPixel(x, 4, qRgb(150, 150, 150));
            plane.labels[static_cast<std::size_t>(36 + x)] = 1;
        }
        const LabelPlane fine = upsampled(image, plane, 2);
        QCOMPARE(std::count(fine.labels.begin(), fine.labels.end(), uint16_t(1)),
                 std::ptrdiff_t(36));
    }

    void onlySoftEdgesAreWorthIt()
    {
        const QImage soft = edgeAt(4.5);
        QCOMPARE(usefulUpsampling(soft, blackAndWhite(soft)), 2);
        const QImage pure = edgeAt(4.0);
        QCOMPARE(usefulUpsampling(pure, blackAndWhite(pure)), 1);
        QImage plain(5, 5, QImage::Format_ARGB32);
        plain.fill(kWhite);
        QCOMPARE(usefulUpsampling(plain, blackAndWhite(plain)), 1);
    }

    void largeImagesAreFineEnough()
    {
        const QImage image = edgeAt(4.5, 12, 250000);
        QCOMPARE(usefulUpsampling(image, blackAndWhite(image)), 1);
    }
};

QTEST_GUILESS_MAIN(tst_Upsample)
#include "tst_upsample.moc"
