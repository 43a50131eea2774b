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
const int kSamples = 8;              // a side of a pixel
const std::size_t kSawOfBoard = 170; // likewise of boards, of three times their sides
const std::size_t kSaw = 60; // pieces: a third of the points of the shorter of such outlines

struct Disc
{
    double x;
    double y;
    double radius;

    bool holds(double u, double v) const { return std::hypot(u - x, v - y) < radius; }
};

// A chequered board of 5 x 5 squares, the ones at its corners in ink, in the middle of the picture.
struct Board
{
    double side; // of a square
    double angle;

    bool holds(double u, double v) const
    {
        const Point at = onBoard(u, v);
        const double column = std::floor(at.x);
        const double row = std::floor(at.y);
        return column >= 0 && column < 5 && row >= 0 && row < 5
            && std::fmod(column + row, 2.0) == 0;
    }

    // Pixels between a place and the nearest corner of a square.
    double fromCorner(double u, double v) const
    {
        const Point at = onBoard(u, v);
        return side * std::hypot(at.x - std::round(at.x), at.y - std::round(at.y));
    }

private:
    // In squares from one corner of the board.
    Point onBoard(double u, double v) const
    {
        const double x = u - 0.5 * kWidth - 0.3;
        const double y = v - 0.5 * kHeight + 0.2;
        return Point((std::cos(angle) * x + std::sin(angle) * y) / side + 2.5,
                     (std::cos(angle) * y - std::sin(angle) * x) / side + 2.5);
    }
};

// What holds ink, antialiased, or half and more of a pixel in one bit.
template<typename Holds>
QImage pictureOf(const Holds &holds, bool bit)
{
    QImage image(kWidth, kHeight, QImage::Format_Grayscale8);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            int ink = 0;
            for (int k = 0; k < kSamples * kSamples; ++k) {
                const double u = x + (k % kSamples + 0.5) / kSamples;
                const double v = y + (k / kSamples + 0.5) / kSamples;
                ink += holds(u, v);
            }
            const int paper = 255 - 255 * ink / (kSamples * kSamples);
            image.scanLine(y)[x] = uchar(!bit ? paper : paper < 128 ? 0 : 255);
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

template<typename Holds>
Drawing drawingOf(const Holds &holds, bool bit)
{
    TracePlan plan;
    plan.segmentation = Ink();
    plan.geometry.fit = Geometry::Fit::Fair;
    return traceImage(Picture(pictureOf(holds, bit)), plan).drawing;
}

template<typename Holds>
std::size_t piecesFor(const Holds &holds, bool bit)
{
    return piecesOf(drawingOf(holds, bit));
}

} // namespace

class tst_Touching : public QObject
{
    Q_OBJECT

private slots:
    void discsThatAllButTouchAreNoSaws_data();
    void discsThatAllButTouchAreNoSaws();
    void boardsAreNoSaws_data();
    void boardsAreNoSaws();
    void cornersOfSquaresAreOnePoint_data();
    void cornersOfSquaresAreOnePoint();
    void squaresOnPixelsAreExact();
};

void tst_Touching::discsThatAllButTouchAreNoSaws_data()
{
    QTest::addColumn<bool>("bit");
    QTest::newRow("antialiased") << false;
    QTest::newRow("one bit") << true;
}

// From a neck of half a pixel to a gap of one, at many places and directions. Where the outline of
// both came so near to itself that nothing told where, it went through the middles of its cracks.
void tst_Touching::discsThatAllButTouchAreNoSaws()
{
    QFETCH(bool, bit);
    int saws = 0;
    for (int k = 0; k < 160; ++k) {
        const Disc first = { 30 + std::fmod(0.37 * k, 1.0), 40 + std::fmod(0.73 * k, 1.0),
                             12 + std::fmod(0.59 * k, 6.0) };
        const double radius = 12 + std::fmod(0.83 * k, 6.0);
        const double apart = first.radius + radius - 0.5 + 1.5 * k / 160;
        const double angle = std::fmod(0.17 * k, 1.2) - 0.6;
        const Disc second
            = { first.x + apart * std::cos(angle), first.y + apart * std::sin(angle), radius };
        const auto holds
            = [&](double u, double v) { return first.holds(u, v) || second.holds(u, v); };
        saws += piecesFor(holds, bit) > kSaw ? 1 : 0;
    }
    QVERIFY2(saws == 0, qPrintable(QString::number(saws)));
}

void tst_Touching::boardsAreNoSaws_data()
{
    discsThatAllButTouchAreNoSaws_data();
}

// Squares that touch at their corners, turned: the fits of neighbours cross there, and as these
// were parted whole sides came to be drawn crack by crack. 13 squares have 52 sides.
void tst_Touching::boardsAreNoSaws()
{
    QFETCH(bool, bit);
    int saws = 0;
    for (int k = 0; k < 40; ++k) {
        const Board board = { 8 + 0.1 * k, 0.07 + 0.035 * k };
        const auto holds = [&](double u, double v) { return board.holds(u, v); };
        saws += piecesFor(holds, bit) > kSawOfBoard ? 1 : 0;
    }
    QVERIFY2(saws == 0, qPrintable(QString::number(saws)));
}

void tst_Touching::cornersOfSquaresAreOnePoint_data()
{
    discsThatAllButTouchAreNoSaws_data();
}

// All joints but those of the frame are corners of squares: neither of two that touch is cut off
// for the other.
void tst_Touching::cornersOfSquaresAreOnePoint()
{
    QFETCH(bool, bit);
    int joints = 0;
    int far = 0;
    for (int k = 0; k < 40; ++k) {
        const Board board = { 8 + 0.1 * k, 0.07 + 0.035 * k };
        const auto holds = [&](double u, double v) { return board.holds(u, v); };
        const Drawing drawing = drawingOf(holds, bit);
        for (const Outline &outline : drawing.outlines) {
            for (const PathPiece piece : outline.shape.pieces()) {
                const Point p = piece.start;
                if (p.x == 0 || p.y == 0 || p.x == kWidth || p.y == kHeight)
                    continue;
                ++joints;
                far += board.fromCorner(p.x, kHeight - p.y) > (bit ? 0.5 : 0.15) ? 1 : 0;
            }
        }
    }
    QVERIFY(joints > 2000);
    QVERIFY2(far < joints / 12, qPrintable(QString("%1 of %2").arg(far).arg(joints)));
}

// Ten squares of 20 pixels on a ground that goes on across their corners.
void tst_Touching::squaresOnPixelsAreExact()
{
    QImage image(kWidth, kHeight, QImage::Format_RGB32);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x)
            image.setPixel(x, y, (x / 20 + y / 20) % 2 != 0 ? 0xFFB58763u : 0xFFF0D9B5u);
    }
    Flat flat;
    flat.colours = 2;
    TracePlan plan;
    plan.segmentation = flat;
    plan.geometry.fit = Geometry::Fit::Fair;
    const Drawing drawing = traceImage(Picture(image), plan).drawing;
    QCOMPARE(drawing.outlines.size(), std::size_t(11));
    for (const Outline &outline : drawing.outlines) {
        if (outline.colour == 0xFFB58763u)
            QCOMPARE(outline.shape.pieces().size(), std::size_t(4));
        for (const PathPiece piece : outline.shape.pieces()) {
            QCOMPARE(std::remainder(piece.start.x, 20.0), 0.0);
            QCOMPARE(std::remainder(piece.start.y, 20.0), 0.0);
        }
    }
}

QTEST_GUILESS_MAIN(tst_Touching)
#include "tst_touching.moc"
