// (c) the ztrace developers. Licence: see LICENSE.
//
// From a picture to a drawing: plans at the edge of what they may say.
#include "tracing/pipeline.h"

#include <QTest>

#include <limits>

using namespace ztrace;

namespace {

// A small mark on a large area.
QImage mark()
{
    QImage image(16, 16, QImage::Format_ARGB32);
    image.fill(0xFFFFFFFFu);
    for (int y = 6; y < 9; ++y) {
        for (int x = 6; x < 9; ++x)
            image.setPixel(x, y, 0xFFC8281Eu);
    }
    return image;
}

std::size_t outlinesWith(double leastBorder)
{
    TracePlan plan;
    Flat flat;
    flat.colours = 4;
    plan.segmentation = flat;
    plan.geometry.leastBorder = leastBorder;
    return traceImage(Picture(mark()), plan).drawing.outlines.size();
}

} // namespace

class tst_LeastBorder : public QObject
{
    Q_OBJECT

private slots:
    void smallAreasGoBelowTheLeastBorder()
    {
        QCOMPARE(outlinesWith(12.0), std::size_t(2));
        QCOMPARE(outlinesWith(13.0), std::size_t(1));
    }

    void leastBorderThatIsNoNumberKeepsAll()
    {
        QCOMPARE(outlinesWith(std::numeric_limits<double>::quiet_NaN()), std::size_t(2));
        QCOMPARE(outlinesWith(-std::numeric_limits<double>::infinity()), std::size_t(2));
        QCOMPARE(outlinesWith(std::numeric_limits<double>::infinity()), std::size_t(1));
    }
};

QTEST_GUILESS_MAIN(tst_LeastBorder)
#include "tst_leastborder.moc"
