// (c) the ztrace developers. Licence: see LICENSE.
//
// Shapes of boundaries that all but touch themselves.
#include "imaging/Picture.h"
#include "tracing/pipeline.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace ztrace;

namespace {

const int kWidth = 100;
const int kHeight = 80;
const int kSamples = 8;      // a side of a pixel
const std::size_t kSaw = 60; // pieces: a third of the points of the shorter of such outlines

struct Disc
{
    double x;
    double y;
    double radius;

    bool holds(double u, double v) const { return std::hypot(u - x, v - y) < radius; }
};

// Both in ink, antialiased.
QImage pictureOf(const Disc &a, const Disc &b)
{
    QImage image(kWidth, kHeight, QImage::Format_Grayscale8);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            int ink = 0;
            for (int k = 0; k < kSamples * kSamples; ++k) {
                const double u = x + (k % kSamples + 0.5) / kSamples;
                const double v = y + (k / kSamples + 0.5) / kSamples;
                ink += a.holds(u, v) || b.holds(u, v);
            }
            image.scanLine(y)[x] = uchar(255 - 255 * ink / (kSamples * kSamples));
        }
    }
    return image;
}

std::size_t piecesOf(const Drawing &drawing)
{
    std::size_t pieces = 0;
    for (const Outline &outline : drawing.outlines)
        pieces += outline.shape.pieces().size();
    return pieces;
}

} // namespace

class tst_Touching : public QObject
{
    Q_OBJECT

private slots:
    void discsThatAllButTouchAreNoSaws();
};

// From a neck of half a pixel to a gap of one, at many places and directions. Where the outline of
// both came so near to itself that nothing told where, it went through the middles of its cracks.
void tst_Touching::discsThatAllButTouchAreNoSaws()
{
    TracePlan plan;
    plan.segmentation = Ink();
    plan.geometry.fit = Geometry::Fit::Fair;
    int saws = 0;
    for (int k = 0; k < 160; ++k) {
        const Disc first = { 30 + std::fmod(0.37 * k, 1.0), 40 + std::fmod(0.73 * k, 1.0),
                             12 + std::fmod(0.59 * k, 6.0) };
        const double radius = 12 + std::fmod(0.83 * k, 6.0);
        const double apart = first.radius + radius - 0.5 + 1.5 * k / 160;
        const double angle = std::fmod(0.17 * k, 1.2) - 0.6;
        const Disc second
            = { first.x + apart * std::cos(angle), first.y + apart * std::sin(angle), radius };
        const TraceResult result = traceImage(Picture(pictureOf(first, second)), plan);
        saws += piecesOf(result.drawing) > kSaw ? 1 : 0;
    }
    QVERIFY2(saws == 0, qPrintable(QString::number(saws)));
}

QTEST_GUILESS_MAIN(tst_Touching)
#include "tst_touching.moc"
