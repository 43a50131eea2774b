// (c) the ztrace developers. Licence: see LICENSE.
//
// Turned and mirrored pictures give the turned and mirrored drawing: docs/tracing/shapes.md,
// "Turned pictures".
#include "Planes.h"

#include "drawing/pieces.h"
#include "imaging/Picture.h"
#include "tracing/pipeline.h"
#include "tracing/walks.h"

#include <QtTest>

#include <array>
#include <cmath>
#include <tuple>

using namespace ztrace;

namespace {

const double kSame = 1e-6; // pixels

// Mirrored left to right, then turned clockwise by so many quarters.
struct Turn
{
    bool mirrored;
    int quarters;
};

std::vector<Turn> allTurns()
{
    std::vector<Turn> turns;
    for (int k = 0; k < 8; ++k)
        turns.push_back({ k >= 4, k % 4 });
    return turns;
}

QImage turnedImage(const QImage &image, Turn turn)
{
    QImage result = turn.mirrored ? image.mirrored(true, false) : image;
    for (int k = 0; k < turn.quarters; ++k)
        result = result.transformed(QTransform().rotate(90));
    return result;
}

// From a turned picture back, y downwards; width and height of the one that was turned.
fit::Point backFrom(fit::Point p, Turn turn, double width, double height)
{
    for (int k = turn.quarters; k > 0; --k) {
        const double across = k % 2 != 0 ? height : width; // of what this quarter turned
        p = { p.y, across - p.x };
    }
    return { turn.mirrored ? width - p.x : p.x, p.y };
}

// A piece back in the picture: its kind, its points, and how far it bulges to the right.
struct Drawn
{
    PathPiece::Kind kind;
    std::vector<fit::Point> points;
    double bulge;
};

typedef std::vector<Drawn> Ring;

Ring ringOf(const Path &path, Turn turn, double width, double height)
{
    const double turnedHeight = turn.quarters % 2 != 0 ? width : height;
    const auto back = [&](Point p) {
        return backFrom({ p.x, turnedHeight - p.y }, turn, width, height);
    };
    Ring ring;
    for (const PathPiece p : path.pieces()) {
        Drawn drawn = { p.kind, { back(p.start) }, 0 };
        if (p.kind == PathPiece::Arc)
            drawn.bulge = turn.mirrored ? -p.bulge : p.bulge;
        if (p.kind == PathPiece::Quadratic || p.kind == PathPiece::Cubic)
            drawn.points.push_back(back(p.control1));
        if (p.kind == PathPiece::Cubic)
            drawn.points.push_back(back(p.control2));
        drawn.points.push_back(back(p.end));
        ring.push_back(drawn);
    }
    return ring;
}

Ring reversed(const Ring &ring)
{
    Ring result(ring.rbegin(), ring.rend());
    for (Drawn &drawn : result) {
        std::reverse(drawn.points.begin(), drawn.points.end());
        drawn.bulge = -drawn.bulge;
    }
    return result;
}

bool areSame(fit::Point a, fit::Point b)
{
    return std::fabs(a.x - b.x) <= kSame && std::fabs(a.y - b.y) <= kSame;
}

bool areSame(const Drawn &a, const Drawn &b)
{
    return a.kind == b.kind && std::fabs(a.bulge - b.bulge) <= kSame
        && std::equal(a.points.begin(), a.points.end(), b.points.begin(), b.points.end(),
                      [](fit::Point p, fit::Point q) { return areSame(p, q); });
}

// A circle is two arcs that may begin anywhere.
bool isCircle(const Ring &ring)
{
    return ring.size() == 2 && std::all_of(ring.begin(), ring.end(), [](const Drawn &d) {
               return d.kind == PathPiece::Arc && std::fabs(std::fabs(d.bulge) - 1) < 1e-9;
           });
}

bool areSameFrom(const Ring &a, const Ring &b, std::size_t start)
{
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (!areSame(a[k], b[(start + k) % b.size()]))
            return false;
    }
    return true;
}

bool areSameRings(const Ring &a, const Ring &b)
{
    if (a.size() != b.size())
        return false;
    if (a.empty())
        return true;
    if (isCircle(a) && isCircle(b)) {
        const auto centre
            = [](const Ring &r) { return 0.5 * (r[0].points.front() + r[0].points.back()); };
        const auto size = [](const Ring &r) {
            const fit::Point d = r[0].points.back() - r[0].points.front();
            return std::sqrt(dot(d, d));
        };
        return areSame(centre(a), centre(b)) && std::fabs(size(a) - size(b)) <= kSame;
    }
    for (const Ring &other : { b, reversed(b) }) {
        for (std::size_t start = 0; start < b.size(); ++start) {
            if (areSame(a[0], other[start]) && areSameFrom(a, other, start))
                return true;
        }
    }
    return false;
}

struct Area
{
    QRgb colour;
    Ring ring;
};

std::vector<Area> areasOf(const Drawing &drawing, Turn turn, const QImage &image)
{
    std::vector<Area> areas;
    for (const Outline &outline : drawing.outlines)
        areas.push_back(
            { outline.colour, ringOf(outline.shape, turn, image.width(), image.height()) });
    return areas;
}

// How many of the one have no partner among the other.
int differences(const std::vector<Area> &areas, std::vector<Area> others)
{
    int missing = int(others.size()) - int(areas.size());
    missing = std::max(0, missing);
    for (const Area &area : areas) {
        const auto found = std::find_if(others.begin(), others.end(), [&](const Area &other) {
            return area.colour == other.colour && areSameRings(area.ring, other.ring);
        });
        if (found == others.end())
            ++missing;
        else
            others.erase(found);
    }
    return missing;
}

// Discs, bars and bent polygons in a few colours, `finer` times as fine in both directions.
QImage drawnAt(unsigned seed, int finer, const std::vector<QRgb> &colours, QRgb ground)
{
    planes::Random random(seed);
    const int width = 61 * finer;
    const int height = 47 * finer;
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(ground);
    for (int n = 0; n < 7; ++n) {
        const QRgb colour = colours[std::size_t(planes::below(&random, int(colours.size())))];
        const double x = planes::below(&random, width);
        const double y = planes::below(&random, height);
        const double size = width / 12 + planes::below(&random, width / 4);
        const double angle = planes::below(&random, 628) / 100.0;
        const int kind = planes::below(&random, 3);
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                const double u = (column - x) * std::cos(angle) + (row - y) * std::sin(angle);
                const double v = (row - y) * std::cos(angle) - (column - x) * std::sin(angle);
                const bool inside = kind == 0 ? u * u + 2 * v * v < size * size
                    : kind == 1
                    ? std::fabs(u) < 2 * size && std::fabs(v) < 1.7 * finer
                    : u > 0 && v > 0 && u + 1.3 * v < 1.6 * size && u * v < size * size / 4;
                if (inside)
                    reinterpret_cast<QRgb *>(image.scanLine(row))[column] = colour;
            }
        }
    }
    return image;
}

// The mean of 8 x 8 places a pixel.
QImage soft(const QImage &fine)
{
    QImage image(fine.width() / 8, fine.height() / 8, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            int sums[4] = { 0, 0, 0, 0 };
            for (int k = 0; k < 64; ++k) {
                const QRgb pixel = fine.pixel(8 * x + k % 8, 8 * y + k / 8);
                sums[0] += qRed(pixel) * qAlpha(pixel);
                sums[1] += qGreen(pixel) * qAlpha(pixel);
                sums[2] += qBlue(pixel) * qAlpha(pixel);
                sums[3] += qAlpha(pixel);
            }
            const int all = std::max(1, sums[3]);
            image.setPixel(x, y, qRgba(sums[0] / all, sums[1] / all, sums[2] / all, sums[3] / 64));
        }
    }
    return image;
}

const std::vector<QRgb> kInk = { 0xFF000000u, 0xFF000000u, 0xFFFFFFFFu };
const std::vector<QRgb> kColours
    = { 0xFFC81E1Eu, 0xFF1E5AC8u, 0xFF141414u, 0xFFF0C828u, 0xFF3CA03Cu };

TracePlan planOf(Segmentation segmentation, bool layers, bool edges)
{
    TracePlan plan;
    plan.segmentation = std::move(segmentation);
    plan.geometry.fit = Geometry::Fit::Fair;
    plan.geometry.edges = edges;
    plan.composition.byLayer = layers;
    return plan;
}

reference::Plane turnedPlane(const reference::Plane &plane, Turn turn)
{
    reference::Plane result = plane;
    const auto turnOnce = [](const reference::Plane &p) {
        reference::Plane q { p.height, p.width, p.labels };
        for (int y = 0; y < p.height; ++y) {
            for (int x = 0; x < p.width; ++x)
                q.labels[planes::at(x * q.width + p.height - 1 - y)]
                    = p.labels[planes::at(y * p.width + x)];
        }
        return q;
    };
    for (int y = 0; turn.mirrored && y < plane.height; ++y)
        std::reverse(result.labels.begin() + y * plane.width,
                     result.labels.begin() + (y + 1) * plane.width);
    for (int k = 0; k < turn.quarters; ++k)
        result = turnOnce(result);
    return result;
}

// The corners of every chain in the order of its walk, back in the plane that was turned, with
// whether its right is on the left there.
typedef std::pair<std::vector<std::pair<int, int>>, bool> Walk;

std::vector<Walk> walksOf(const reference::Plane &plane, Turn turn, int width, int height)
{
    const std::size_t labels
        = 1 + std::size_t(*std::max_element(plane.labels.begin(), plane.labels.end()));
    BoundaryMap map = makeBoundaryMap(scanRuns(plane.labels.data(), plane.width, plane.height));
    WalkKeys keys;
    for (std::size_t k = 0; k < labels; ++k)
        keys.ofLabel.push_back(k);
    const std::vector<Pose> poses = settleWalks(&map, keys);
    std::vector<Walk> walks;
    for (uint32_t k = 0; k < map.chains.size(); ++k) {
        Walk walk = { {}, poses[k].mirrored != turn.mirrored };
        forEachMove(map, referenceTo(k, false), [&](int x, int y, Heading, int) {
            const fit::Point p = backFrom({ double(x), double(y) }, turn, width, height);
            walk.first.push_back({ int(p.x), int(p.y) });
        });
        walks.push_back(walk);
    }
    std::sort(walks.begin(), walks.end());
    return walks;
}

} // namespace

class tst_Turned : public QObject
{
    Q_OBJECT

private slots:
    void walksOfTurnedPlanesAreTurned()
    {
        planes::Random random(3);
        for (int round = 0; round < 400; ++round) {
            const reference::Plane plane = planes::noise(&random, 9, 7, 2 + round % 3);
            const std::vector<Walk> walks = walksOf(plane, { false, 0 }, 9, 7);
            for (const Turn turn : allTurns())
                QVERIFY2(walksOf(turnedPlane(plane, turn), turn, 9, 7) == walks,
                         qPrintable(planes::describe(plane)));
        }
    }

    // References and sides are as before, whichever way the chains go.
    void ringsKeepTheirAreas()
    {
        planes::Random random(4);
        for (int round = 0; round < 400; ++round) {
            const reference::Plane plane = planes::noise(&random, 11, 8, 2 + round % 4);
            const Runs runs = scanRuns(plane.labels.data(), plane.width, plane.height);
            const BoundaryMap before = makeBoundaryMap(runs);
            BoundaryMap map = before;
            WalkKeys keys;
            keys.ofLabel.assign(8, 0);
            settleWalks(&map, keys);
            for (std::size_t area = 0; area + 1 < map.firstRing.size(); ++area) {
                for (uint32_t r = map.firstRing[area]; r < map.firstRing[area + 1]; ++r) {
                    QCOMPARE(enclosedArea(map, r), enclosedArea(before, r));
                    for (uint32_t k = map.firstReference[r]; k < map.firstReference[r + 1]; ++k) {
                        const Chain &chain = map.chains[chainOf(map.references[k])];
                        QCOMPARE(isReversed(map.references[k]) ? chain.left : chain.right,
                                 int(area));
                    }
                }
            }
            for (const Node &node : map.nodes) {
                for (uint32_t leaving : node.leaving) {
                    if (leaving == kNoReference)
                        continue;
                    QCOMPARE(map.startX(leaving), node.x);
                    QCOMPARE(map.startY(leaving), node.y);
                }
            }
        }
    }

    void turnedPicturesGiveTurnedDrawings_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<int>("kind"); // 0 ink, 1 flat
        for (unsigned seed = 1; seed <= 6; ++seed) {
            const auto row = [seed](const char *name) -> QTestData & {
                return QTest::newRow(qPrintable(
                    QString::fromLatin1("%1, %2").arg(QLatin1String(name), QString::number(seed))));
            };
            row("soft ink") << soft(drawnAt(seed, 8, kInk, 0xFFFFFFFFu)) << 0;
            row("ink in one bit") << drawnAt(seed + 10, 1, kInk, 0xFFFFFFFFu) << 0;
            row("soft colours") << soft(drawnAt(seed + 20, 8, kColours, 0xFFFFFFFFu)) << 1;
            row("hard colours") << drawnAt(seed + 30, 1, kColours, 0xFFFFFFFFu) << 1;
            row("soft colours on nothing") << soft(drawnAt(seed + 40, 8, kColours, 0u)) << 1;
        }
    }

    void turnedPicturesGiveTurnedDrawings()
    {
        QFETCH(QImage, image);
        QFETCH(int, kind);
        Flat flat;
        flat.colours = 16;
        const Segmentation segmentation = kind == 0 ? Segmentation(Ink()) : Segmentation(flat);
        for (const auto &[layers, edges] :
             { std::pair(false, false), std::pair(true, false), std::pair(false, true) }) {
            const TracePlan plan = planOf(segmentation, layers, edges);
            const std::vector<Area> areas
                = areasOf(traceImage(Picture(image), plan).drawing, { false, 0 }, image);
            QVERIFY(areas.size() > 1);
            for (const Turn turn : allTurns()) {
                const Drawing turned = traceImage(Picture(turnedImage(image, turn)), plan).drawing;
                const int missing = differences(areas, areasOf(turned, turn, image));
                QVERIFY2(missing == 0,
                         qPrintable(QString::fromLatin1("%1 of %2 areas, mirrored %3, quarters %4")
                                        .arg(missing)
                                        .arg(areas.size())
                                        .arg(turn.mirrored)
                                        .arg(turn.quarters)));
            }
        }
    }
};

QTEST_GUILESS_MAIN(tst_Turned)
#include "tst_turned.moc"
