// (c) the ztrace developers. Licence: see LICENSE.
//
// Paths, their bounds, and the border to the host's polylines.
#include "drawing/RareList.h"
#include "drawing/hostpath.h"

#include "ZPolyline.h"
#include "ZSpline.h"

#include <QTest>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace ztrace;

namespace {

class RandomPaths
{
public:
    explicit RandomPaths(unsigned seed) : random(seed) { }

    Path next()
    {
        Path path;
        path.moveTo(point());
        for (unsigned long i = random() % 12; i > 0; --i) {
            switch (random() % 5) {
            case 0:
                path.lineTo(point());
                break;
            case 1:
                path.arcTo(point(), number() / 5.0);
                break;
            case 2:
                path.quadraticTo(point(), point());
                break;
            case 3:
                path.cubicTo(point(), point(), point());
                break;
            default:
                path.splineTo(3, { point(), point(), point() }, point());
            }
        }
        return path;
    }

private:
    // One in two is such that single precision holds it.
    double number()
    {
        const double thousandths = double(random() % 20001) - 10000.0;
        return random() % 2 == 0 ? thousandths / 8.0 : thousandths / 1000.0;
    }
    Point point() { return Point(number(), number()); }

    std::mt19937 random;
};

} // namespace

class tst_Path : public QObject
{
    Q_OBJECT

private slots:
    void thereAndBack()
    {
        RandomPaths paths(3);
        for (int i = 0; i < 500; ++i) {
            const Path path = paths.next();
            QVERIFY(pathOf(polylineOf(path)) == path);
        }
    }

    void piecesAreWhatWasAdded()
    {
        std::mt19937 random(7);
        const double kinds[] = { 0.5,     -0.0,  1.0 / 3.0,
                                 1e7,     1e300, std::numeric_limits<double>::infinity(),
                                 123456.5 };
        const auto number = [&] { return kinds[random() % 7]; };
        const auto bits = [](double value) {
            uint64_t word;
            std::memcpy(&word, &value, sizeof word);
            return word;
        };
        const auto isSame = [&bits](const Point &a, const Point &b) {
            return bits(a.x) == bits(b.x) && bits(a.y) == bits(b.y);
        };
        for (int round = 0; round < 300; ++round) {
            Path path;
            std::vector<Point> points { Point(number(), number()) };
            path.moveTo(points[0]);
            std::vector<unsigned> added;
            for (unsigned long k = random() % 9; k > 0; --k) {
                added.push_back(unsigned(random() % 3));
                for (unsigned p = 0; p < 1 + added.back() * added.back(); ++p)
                    points.emplace_back(number(), number());
                const Point &end = points.back();
                if (added.back() == 0)
                    path.lineTo(end);
                else if (added.back() == 1)
                    path.quadraticTo(points[points.size() - 2], end);
                else
                    path.splineTo(5, { points.end() - 5, points.end() - 1 }, end);
            }
            const Path copy = path;
            QCOMPARE(copy.pieces().size(), added.size());
            std::size_t at = 0;
            std::size_t count = 0;
            for (const PathPiece piece : copy.pieces()) {
                const unsigned kind = added.at(count++);
                const std::size_t last = at + 1 + kind * kind;
                QVERIFY(isSame(piece.start, points[at]) && isSame(piece.end, points[last]));
                if (kind == 1)
                    QVERIFY(isSame(piece.control1, points[at + 1]));
                QCOMPARE(piece.innerCount, std::size_t(kind == 2 ? 4 : 0));
                for (std::size_t k = 0; k < piece.innerCount; ++k)
                    QVERIFY(isSame(piece.inner[k], points[at + 1 + k]));
                QCOMPARE(int(piece.degree), kind == 2 ? 5 : int(kind) + 1);
                at = last;
            }
            QCOMPARE(count, added.size());
            QCOMPARE(copy.pieces().lines(),
                     std::size_t(std::count(added.begin(), added.end(), 0u)));
            QVERIFY(isSame(copy.start(), points.front()) && isSame(copy.end(), points.back()));
        }
    }

    void roomMakesNoDifference()
    {
        Path path;
        path.reserve(100, 200);
        QVERIFY(path.isEmpty());
        path.moveTo(Point(1, 2));
        path.lineTo(Point(3, 4));
        path.reserve(1, 1);
        path.arcTo(Point(5, 0.1), 0.5);
        Path other;
        other.moveTo(Point(7, 7));
        other.lineTo(Point(8, 8));
        other.moveTo(Point(1, 2)); // begins anew
        other.lineTo(Point(3, 4));
        QVERIFY(other != path);
        other.arcTo(Point(5, 0.1), 0.5);
        QVERIFY(other == path);
        Path taken = std::move(other);
        QVERIFY(taken == path && other.isEmpty()); // NOLINT(bugprone-use-after-move)
        taken = Path();
        QVERIFY(taken.isEmpty() && taken.pieces().empty() && taken == Path());
        QVERIFY(!(taken.pieces().begin() != taken.pieces().end()));
        QCOMPARE(taken.pieces().lines(), std::size_t(0));
    }

    void rareListsAreCopiedAndCompared()
    {
        RareList<int> none;
        QVERIFY(none.empty() && none.begin() == none.end() && none == RareList<int>());
        RareList<int> some { 3, 4 };
        some.push_back(5);
        RareList<int> copy = some;
        copy[1] = 7;
        QCOMPARE(std::vector<int>(some.begin(), some.end()), (std::vector<int> { 3, 4, 5 }));
        QCOMPARE(std::vector<int>(copy.begin(), copy.end()), (std::vector<int> { 3, 7, 5 }));
        QVERIFY(copy != some && copy != none);
        none = copy;
        QVERIFY(none == copy);
        copy.clear();
        QVERIFY(copy.empty() && copy == RareList<int>(std::vector<int>()));
        QCOMPARE(none.size(), std::size_t(3));
    }

    void emptyAndSinglePoints()
    {
        QVERIFY(pathOf(ZPolyline()).isEmpty());
        QVERIFY(polylineOf(Path()).isEmpty());
        ZPolyline single;
        single.appendVertex(ZVector(3, 4));
        const Path path = pathOf(single);
        QVERIFY(!path.isEmpty());
        QVERIFY(path.pieces().empty());
        QVERIFY(path.end() == Point(3, 4));
        QVERIFY(polylineOf(path) == single);
    }

    void shapesOfTheUsualDegreesAreCurves()
    {
        Path path;
        path.moveTo(Point(0, 0));
        path.splineTo(2, { Point(1, 1) }, Point(2, 0));
        path.splineTo(3, { Point(3, 1), Point(4, 1) }, Point(5, 0));
        path.splineTo(2, { Point(6, 1), Point(7, 1) }, Point(8, 0));
        path.arcTo(Point(9, 0), 0.0);
        std::vector<int> kinds;
        for (const PathPiece piece : path.pieces())
            kinds.push_back(piece.kind);
        QCOMPARE(kinds,
                 (std::vector<int> { PathPiece::Quadratic, PathPiece::Cubic, PathPiece::Spline,
                                     PathPiece::Line }));
    }

    void boundsAreThoseOfThePolyline()
    {
        RandomPaths paths(4);
        for (int i = 0; i < 500; ++i) {
            const Path path = paths.next();
            const Bounds bounds = boundsOf(path);
            const ZBox box = polylineOf(path).getBoundingBox();
            QVERIFY(bounds.valid);
            for (double difference :
                 { bounds.low.x - box.minimum.x, bounds.low.y - box.minimum.y,
                   bounds.high.x - box.maximum.x, bounds.high.y - box.maximum.y })
                QVERIFY(std::fabs(difference) < 1e-9);
        }
    }

    void whatIsNoNumberIsOutOfBounds()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        Path path;
        path.moveTo(Point(nan, 0));
        QVERIFY(!boundsOf(path).valid);
        path.lineTo(Point(1, 2));
        path.lineTo(Point(nan, 5));
        const Bounds bounds = boundsOf(path);
        QVERIFY(bounds.valid);
        QCOMPARE(bounds.low.x, 1.0);
        QCOMPARE(bounds.high.x, 1.0);
        QVERIFY(!boundsOf(Path()).valid);
    }

    void pathsDifferByEveryNumber()
    {
        Path one;
        one.moveTo(Point(0, 0));
        one.arcTo(Point(1, 0), 0.5);
        Path other = one;
        QVERIFY(one == other);
        other = Path();
        other.moveTo(Point(0, 0));
        other.arcTo(Point(1, 0), 0.25);
        QVERIFY(one != other);
        QVERIFY(Path() != one);
    }
};

QTEST_GUILESS_MAIN(tst_Path)
#include "tst_path.moc"
