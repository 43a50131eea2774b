// (c) the ztrace developers. Licence: see LICENSE.
//
// Chains whose points are the same, and what is drawn of them.
#include "tracing/equalchains.h"

#include "imaging/Picture.h"
#include "tracing/pipeline.h"

#include <QtTest>

#include <cmath>
#include <set>

using namespace ztrace;

namespace {

// Some points, none of them like those of another seed.
ChainPoints pointsOf(int seed, std::size_t count = 9)
{
    ChainPoints points;
    points.edge = fit::Edge::Soft;
    for (std::size_t k = 0; k < count; ++k) {
        points.x.push_back(double(k) + 0.125 * seed);
        points.y.push_back(0.25 * double(k % 3));
        points.sigma.push_back(0.05);
        points.crack.push_back(uint32_t(k));
    }
    return points;
}

// Of chains that are equal, how many there are of each kind.
std::multiset<std::size_t> kindsOf(const EqualChains &chains)
{
    std::multiset<std::size_t> kinds;
    for (uint32_t k = 0; k < chains.next.size(); ++k) {
        std::size_t count = 0;
        for (uint32_t i = k; chains.isFirst[k] && i != kNoReference; i = chains.next[i])
            ++count;
        if (count > 0)
            kinds.insert(count);
    }
    return kinds;
}

std::multiset<std::size_t> kindsOf(const std::vector<ChainPoints> &points)
{
    return kindsOf(equalChains(points, std::vector<char>(points.size(), 1)));
}

// The part of a pixel that a comma covers, by so many samples along each axis.
double partOfComma(int column, int row, int samples)
{
    int covered = 0;
    for (int k = 0; k < samples * samples; ++k) {
        const double x = column + (k % samples + 0.5) / samples - 0.5;
        const double y = row + (k / samples + 0.5) / samples - 0.5;
        const bool head = std::hypot(x - 20, y - 15) < 11.3;
        const bool tail = x > 20 && x < 30 - (y - 15) / 3 && y >= 15 && y < 38;
        covered += head || tail;
    }
    return double(covered) / (samples * samples);
}

// Where the pieces of the black outlines begin and what they go by, outline by outline, in the
// order of the drawing.
std::vector<std::vector<Point>> blackPlaces(const QImage &image)
{
    TracePlan plan;
    plan.segmentation = Ink();
    plan.geometry.fit = Geometry::Fit::Fair;
    std::vector<std::vector<Point>> places;
    for (const Outline &outline : traceImage(Picture(image), plan).drawing.outlines) {
        if (outline.colour != 0xFF000000u)
            continue;
        places.emplace_back();
        for (const PathPiece &piece : outline.shape.pieces()) {
            places.back().push_back(piece.start);
            if (piece.kind == PathPiece::Cubic)
                places.back().push_back(piece.control1);
        }
    }
    return places;
}

class tst_EqualChains : public QObject
{
    Q_OBJECT
private slots:
    void samePointsAreEqual();
    void whatDiffersStandsAlone_data();
    void whatDiffersStandsAlone();
    void openOnesAreNoLoops();
    void chainsWithoutPoints();
    void equalAreasHaveEqualShapes_data();
    void equalAreasHaveEqualShapes();
};

void tst_EqualChains::samePointsAreEqual()
{
    QCOMPARE(
        kindsOf({ pointsOf(1), pointsOf(2), pointsOf(1), pointsOf(3), pointsOf(2), pointsOf(1) }),
        (std::multiset<std::size_t> { 1, 2, 3 }));
}

void tst_EqualChains::whatDiffersStandsAlone_data()
{
    QTest::addColumn<int>("part");
    QTest::newRow("a place by its last bit") << 0;
    QTest::newRow("a deviation") << 1;
    QTest::newRow("a crack") << 2;
    QTest::newRow("the kind of edge") << 3;
    QTest::newRow("one point more") << 4;
}

void tst_EqualChains::whatDiffersStandsAlone()
{
    QFETCH(int, part);
    ChainPoints other = pointsOf(1, part == 4 ? 10 : 9);
    if (part == 0)
        other.y[4] = std::nextafter(other.y[4], 9.0);
    else if (part == 1)
        other.sigma[4] = 0.06;
    else if (part == 2)
        other.crack[4] = 5;
    else if (part == 3)
        other.edge = fit::Edge::Hard;
    QCOMPARE(kindsOf({ pointsOf(1), other, pointsOf(1) }), (std::multiset<std::size_t> { 1, 2 }));
}

void tst_EqualChains::openOnesAreNoLoops()
{
    const EqualChains chains = equalChains({ pointsOf(1), pointsOf(1) }, { 1, 0 });
    QCOMPARE(kindsOf(chains), (std::multiset<std::size_t> { 1, 1 }));
}

void tst_EqualChains::chainsWithoutPoints()
{
    QCOMPARE(kindsOf({ ChainPoints(), pointsOf(1), ChainPoints() }),
             (std::multiset<std::size_t> { 1, 1, 1 }));
}

void tst_EqualChains::equalAreasHaveEqualShapes_data()
{
    QTest::addColumn<int>("samples");
    QTest::newRow("black and white") << 1;
    QTest::newRow("soft edges, held against what they cover") << 8;
}

// A comma several times, at whole pixels: one is fitted, the others are where they belong.
void tst_EqualChains::equalAreasHaveEqualShapes()
{
    QFETCH(int, samples);
    QImage image(260, 90, QImage::Format_Grayscale8);
    image.fill(255);
    const QPoint places[] = { { 5, 4 }, { 71, 30 }, { 130, 8 }, { 200, 41 } };
    for (const QPoint &place : places) {
        for (int k = 0; k < 40 * 40; ++k) {
            const double part = partOfComma(k % 40, k / 40, samples);
            image.scanLine(place.y() + k / 40)[place.x() + k % 40] = uint8_t(255 - 255 * part);
        }
    }
    const std::vector<std::vector<Point>> commas = blackPlaces(image);
    QCOMPARE(commas.size(), std::size_t(4));
    // In the order of their first pixels: from the top. A drawing's y goes up.
    const int order[] = { 0, 2, 1, 3 };
    for (std::size_t k = 1; k < 4; ++k) {
        QCOMPARE(commas[k].size(), commas[0].size());
        const QPoint off = places[order[k]] - places[0];
        for (std::size_t i = 0; i < commas[k].size(); ++i) {
            QVERIFY(std::fabs(commas[k][i].x - commas[0][i].x - off.x()) < 1e-9);
            QVERIFY(std::fabs(commas[k][i].y - commas[0][i].y + off.y()) < 1e-9);
        }
    }
}

} // namespace

QTEST_GUILESS_MAIN(tst_EqualChains)
#include "tst_equalchains.moc"
