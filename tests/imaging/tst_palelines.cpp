// (c) the ztrace developers. Licence: see LICENSE.
//
// Thin lines about as light as the threshold, in greys of a scanner.
#include "imaging/palelines.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <random>

using namespace ztrace;

namespace {

const int kWidth = 160;
const int kHeight = 120;
const int kThreshold = 140;
const int kPaper = 240;

// How dark a pixel is at most, by its columns and rows: 0 is paper.
template<typename Depth>
GreyPicture painted(Depth depth, int noise = 8)
{
    QImage image(kWidth, kHeight, QImage::Format_Grayscale8);
    std::mt19937 random(7);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double grain = noise * (double(random() % 2001) / 1000.0 - 1.0);
            const double tone = kPaper - depth(x, y) + grain;
            image.scanLine(y)[x] = uint8_t(std::clamp(tone, 0.0, 255.0));
        }
    }
    return GreyPicture(image);
}

// Of a line a pixel wide through a soft lens, `away` from its middle.
double soft(double away)
{
    return std::exp(-away * away);
}

int inkOf(const GreyPicture &page)
{
    int ink = 0;
    for (int y = 0; y < page.height(); ++y) {
        const uint8_t *tones = page.row(y, nullptr);
        ink += int(std::count_if(tones, tones + page.width(),
                                 [](uint8_t tone) { return tone <= kThreshold; }));
    }
    return ink;
}

} // namespace

class tst_PaleLines : public QObject
{
    Q_OBJECT

private slots:
    void linesAreWhole_data()
    {
        QTest::addColumn<double>("slope");
        QTest::addColumn<bool>("down");
        QTest::newRow("across") << 0.0 << false;
        QTest::newRow("across, crooked") << 0.06 << false;
        QTest::newRow("down") << 0.0 << true;
        QTest::newRow("down, crooked") << -0.06 << true;
        QTest::newRow("slanted") << 0.5 << false;
    }
    void linesAreWhole()
    {
        QFETCH(double, slope);
        QFETCH(bool, down);
        GreyPicture page = painted([&](int x, int y) {
            const double away = down ? x - 60.0 - slope * y : y - 20.0 - slope * x;
            return 100.0 * soft(away);
        });
        const auto gaps = [&]() {
            int count = 0;
            for (int k = 5; k < 115; ++k) {
                bool isInk = false;
                for (int i = -1; i <= 1; ++i) {
                    const int x = down ? int(std::lround(60.0 + slope * k)) + i : k;
                    const int y = down ? k : int(std::lround(20.0 + slope * k)) + i;
                    isInk = isInk || page.row(y, nullptr)[x] <= kThreshold;
                }
                count += isInk ? 0 : 1;
            }
            return count;
        };
        QVERIFY2(gaps() > 15, qPrintable(QString::number(gaps())));
        mendPaleLines(kThreshold, kPaper, &page);
        QVERIFY2(gaps() == 0, qPrintable(QString::number(gaps())));
    }

    void othersStay_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("dark dots") << 0;
        QTest::newRow("dashes of the same grey") << 1;
        QTest::newRow("a fold") << 2;
        QTest::newRow("a short line") << 3;
        QTest::newRow("the edge of a grey area") << 4;
        QTest::newRow("nothing") << 5;
    }
    void othersStay()
    {
        QFETCH(int, kind);
        GreyPicture page = painted([&](int x, int y) {
            switch (kind) {
            case 0:
                return (140.0 + 60.0 * std::cos(x * 1.2)) * soft(y - 40.0);
            case 1:
                return x % 24 < 14 ? 115.0 * soft(y - 40.0) : 0.0;
            case 2:
                return 80.0 * soft(y - 40.0);
            case 3:
                return x > 40 && x < 70 ? 100.0 * soft(y - 40.0) : 0.0;
            case 4:
                return y > 40 ? 100.0 : 0.0;
            default:
                return 0.0;
            }
        });
        const QImage before = page.asImage().copy();
        mendPaleLines(kThreshold, kPaper, &page);
        QVERIFY(page.asImage() == before);
    }

    void sharedPicturesKeepTheirPixels()
    {
        GreyPicture page = painted([](int, int y) { return 100.0 * soft(y - 40.0); });
        const QImage shared = page.asImage();
        const QImage before = shared.copy();
        mendPaleLines(kThreshold, kPaper, &page);
        QVERIFY(inkOf(page) > inkOf(GreyPicture(before)));
        QVERIFY(shared == before);
    }

    void pagesWithoutRoomStay()
    {
        for (const QSize &size : { QSize(1, 1), QSize(6, 200), QSize(200, 6), QSize(7, 7) }) {
            QImage image(size, QImage::Format_Grayscale8);
            image.fill(kThreshold);
            GreyPicture page(image);
            mendPaleLines(kThreshold, kPaper, &page);
            QVERIFY(page.asImage() == image);
        }
        GreyPicture none;
        mendPaleLines(kThreshold, kPaper, &none);
        QVERIFY(none.isNull());
        QImage bits(200, 50, QImage::Format_Mono);
        bits.fill(1);
        GreyPicture page(bits);
        mendPaleLines(kThreshold, kPaper, &page);
        QVERIFY(page.isBilevel());
    }

    void paperDarkerThanTheThresholdHasNone()
    {
        GreyPicture page = painted([](int, int y) { return 100.0 * soft(y - 40.0); });
        const QImage before = page.asImage().copy();
        mendPaleLines(kThreshold, kThreshold - 20, &page);
        QVERIFY(page.asImage() == before);
    }
};

QTEST_GUILESS_MAIN(tst_PaleLines)
#include "tst_palelines.moc"
