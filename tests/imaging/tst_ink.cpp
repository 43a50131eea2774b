// (c) the ztrace developers. Licence: see LICENSE.
//
// Ink and paper as runs, on the pixels' grid and on finer ones, against a plain statement.
#include "imaging/ink.h"

#include <QTest>

#include <algorithm>
#include <random>

using namespace ztrace;

namespace {

// Blobs with soft rims and noise, so that every kind of border is there.
QImage randomPage(int width, int height, unsigned seed)
{
    std::mt19937 random(seed);
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int step = static_cast<int>(random() % 120) - 60;
            const int left
                = x > 0 ? image.constScanLine(y)[x - 1] : static_cast<int>(random() % 256);
            const int above = y > 0 ? image.constScanLine(y - 1)[x] : left;
            image.scanLine(y)[x]
                = static_cast<uchar>(std::max(0, std::min(255, (left + above) / 2 + step)));
        }
    }
    return image;
}

std::vector<int> labelsOf(const Runs &runs)
{
    std::vector<int> labels;
    forEachRun(runs, [&](uint32_t run, int, int begin, int end) {
        labels.insert(labels.end(), static_cast<std::size_t>(end - begin), runs.label[run]);
    });
    return labels;
}

double weight(double t, int tap)
{
    switch (tap) {
    case 0:
        return ((-t + 2.0) * t - 1.0) * t / 2.0;
    case 1:
        return ((3.0 * t - 5.0) * t * t + 2.0) / 2.0;
    case 2:
        return ((-3.0 * t + 4.0) * t + 1.0) * t / 2.0;
    }
    return (t - 1.0) * t * t / 2.0;
}

int clamped(int value, int size)
{
    return std::max(0, std::min(size - 1, value));
}

// Lightness at a point of the page, in pixels, the first one's middle at 0.5.
double plainInterpolation(const QImage &page, double x, double y)
{
    const int column = static_cast<int>(std::floor(x - 0.5));
    const int row = static_cast<int>(std::floor(y - 0.5));
    double sum = 0.0;
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 4; ++i) {
            sum += weight(y - 0.5 - row, j) * weight(x - 0.5 - column, i)
                * page.constScanLine(
                    clamped(row - 1 + j, page.height()))[clamped(column - 1 + i, page.width())];
        }
    }
    return std::max(0.0, std::min(255.0, sum));
}

bool isOnBorder(const QImage &page, int x, int y, int threshold)
{
    const bool own = page.constScanLine(y)[x] > threshold;
    for (int v = std::max(0, y - 1); v <= std::min(page.height() - 1, y + 1); ++v) {
        for (int u = std::max(0, x - 1); u <= std::min(page.width() - 1, x + 1); ++u) {
            if ((page.constScanLine(v)[u] > threshold) != own)
                return true;
        }
    }
    return false;
}

QImage edgeAt(double edge, int width = 12, int height = 6)
{
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.scanLine(y)[x]
                = static_cast<uchar>(qRound(255.0 * qBound(0.0, x + 1.0 - edge, 1.0)));
    }
    return image;
}

bool isSoft(const QImage &image)
{
    const GreyPicture page(image);
    return hasSoftInk(page, tonesOf(page).counts, 127);
}

} // namespace

class tst_Ink : public QObject
{
    Q_OBJECT

private slots:
    void whatIsAtMostAsLightIsInk()
    {
        QImage image(4, 1, QImage::Format_Grayscale8);
        const uchar tones[] = { 99, 100, 101, 255 };
        std::copy(tones, tones + 4, image.scanLine(0));
        QCOMPARE(labelsOf(inkRuns(GreyPicture(image), 100)), (std::vector<int> { 0, 0, 1, 1 }));
    }

    void bitsAreBytes_data()
    {
        QTest::addColumn<int>("width");
        for (int width : { 1, 2, 7, 8, 9, 15, 17, 63, 64, 65, 127, 129, 300 })
            QTest::addRow("%d pixels", width) << width;
    }
    void bitsAreBytes()
    {
        QFETCH(int, width);
        for (unsigned seed = 0; seed < 40; ++seed) {
            std::mt19937 random(seed);
            QImage bits(width, 5, QImage::Format_Mono);
            // Either bit may be the ink.
            bits.setColorTable(seed % 2 ? QVector<QRgb> { 0xFFFFFFFFu, 0xFF000000u }
                                        : QVector<QRgb> { 0xFF101010u, 0xFFF0F0F0u });
            const unsigned long change = 1 + random() % 40; // long runs and short ones
            uint bit = 0;
            for (int y = 0; y < 5; ++y) {
                for (int x = 0; x < width; ++x) {
                    if (random() % change == 0)
                        bit ^= 1;
                    bits.setPixel(x, y, bit);
                }
                bits.scanLine(y)[(width - 1) / 8] |= static_cast<uchar>(
                    width % 8 == 0 ? 0 : 0xFF >> (width % 8)); // beyond the row's end
            }
            const QImage bytes = bits.convertToFormat(QImage::Format_Grayscale8);
            QCOMPARE(labelsOf(inkRuns(GreyPicture(bits), 127)),
                     labelsOf(inkRuns(GreyPicture(bytes), 127)));
        }
    }

    void finerGridIsThePlainStatement_data()
    {
        QTest::addColumn<int>("factor");
        for (int factor : { 1, 2, 3, 8 })
            QTest::addRow("%d times", factor) << factor;
    }
    void finerGridIsThePlainStatement()
    {
        QFETCH(int, factor);
        for (unsigned seed = 0; seed < 20; ++seed) {
            const int width = 1 + static_cast<int>(seed) * 2;
            const int height = 1 + static_cast<int>(seed * 7 % 15);
            const QImage image = randomPage(width, height, seed);
            const GreyPicture page(image);
            const std::vector<int> fine = labelsOf(fineInkRuns(page, 120, factor));
            QCOMPARE(int(fine.size()), width * height * factor * factor);
            for (int v = 0; v < height * factor; ++v) {
                for (int u = 0; u < width * factor; ++u) {
                    const int x = u / factor;
                    const int y = v / factor;
                    const double plain = isOnBorder(image, x, y, 120)
                        ? plainInterpolation(image, (u + 0.5) / factor, (v + 0.5) / factor)
                        : image.constScanLine(y)[x];
                    if (std::fabs(plain - 120.5) < 1e-6)
                        continue; // rounding decides
                    QCOMPARE(fine[static_cast<std::size_t>(v * width * factor + u)],
                             int(std::floor(plain + 0.5) > 120));
                }
            }
        }
    }

    // The eye of a letter, a light pixel among dark ones, is not closed.
    void narrowPeaksKeepTheirHeight()
    {
        QImage image(7, 7, QImage::Format_Grayscale8);
        image.fill(40);
        image.scanLine(3)[3] = 180;
        const std::vector<int> fine = labelsOf(fineInkRuns(GreyPicture(image), 127, 2));
        QCOMPARE(std::count(fine.begin(), fine.end(), 1), std::ptrdiff_t(4));
    }

    void onlySoftEdgesAreSoft()
    {
        QVERIFY(isSoft(edgeAt(4.5)));
        QVERIFY(!isSoft(edgeAt(4.0)));
        QImage plain(5, 5, QImage::Format_Grayscale8);
        plain.fill(255);
        QVERIFY(!isSoft(plain));
        QVERIFY(!isSoft(edgeAt(4.0).convertToFormat(QImage::Format_Mono)));
    }

    void tooFineIsRefused()
    {
        const GreyPicture page(edgeAt(4.5, 6000, 3000));
        QVERIFY_EXCEPTION_THROWN(fineInkRuns(page, 127, 8), std::length_error);
    }
};

QTEST_GUILESS_MAIN(tst_Ink)
#include "tst_ink.moc"
