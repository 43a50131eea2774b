// (c) the ztrace developers. Licence: see LICENSE.
//
// Drawings as TopoJSON, and boundaries that rings share. What another program reads of it is in
// tests/cli/test_maps.py.
#include "SmallAreas.h"

#include "drawing/arcsofrings.h"
#include "drawing/topojson.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <utility>

using namespace ztrace;

namespace {

QJsonObject written(const Drawing &drawing, int decimals = kDecimalsOfDrawing)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (!writeTopoJson(drawing, decimals, &buffer))
        return QJsonObject();
    return QJsonDocument::fromJson(buffer.data()).object();
}

QJsonArray geometries(const QJsonObject &topology)
{
    const QJsonObject areas = topology.value("objects").toObject().value("areas").toObject();
    return areas.value("geometries").toArray();
}

// The points of an arc as they are meant.
Ring decoded(const QJsonObject &topology, int number)
{
    const QJsonObject transform = topology.value("transform").toObject();
    const auto pair = [&transform](const char *name, int k, double usual) {
        return transform.value(name).toArray().at(k).toDouble(usual);
    };
    double x = 0.0;
    double y = 0.0;
    Ring points;
    for (const QJsonValue value : topology.value("arcs").toArray().at(number).toArray()) {
        const double column = value.toArray().at(0).toDouble();
        const double row = value.toArray().at(1).toDouble();
        x = transform.isEmpty() ? column : x + column;
        y = transform.isEmpty() ? row : y + row;
        points.push_back(Point(x * pair("scale", 0, 1.0) + pair("translate", 0, 0.0),
                               y * pair("scale", 1, 1.0) + pair("translate", 1, 0.0)));
    }
    return points;
}

// Two halves, with a hole in the left one that an area fills.
Drawing sheet()
{
    Drawing drawing;
    drawing.width = 40;
    drawing.height = 30;
    drawing.outlines
        = { area(rectangle(0, 0, 20, 30), 0xFFFFFFFFu), area(rectangle(20, 0, 40, 30), 0xFF0000CCu),
            area(rectangle(5.25, 5, 10, 20), 0xFFCC0000u) };
    drawing.outlines[0].holes = { 2 };
    return drawing;
}

// The points of a chain, put together from its arcs.
Ring joined(const SharedArcs &shared, const std::vector<int> &references)
{
    Ring points;
    for (int reference : references) {
        Ring arc = shared.arcs[std::size_t(reference < 0 ? ~reference : reference)];
        if (reference < 0)
            std::reverse(arc.begin(), arc.end());
        if (!points.empty())
            points.pop_back();
        points.insert(points.end(), arc.begin(), arc.end());
    }
    return points;
}

std::vector<std::pair<std::pair<double, double>, std::pair<double, double>>>
sidesOf(const Ring &ring)
{
    std::vector<std::pair<std::pair<double, double>, std::pair<double, double>>> sides;
    for (std::size_t k = 1; k < ring.size(); ++k)
        sides.push_back({ { ring[k - 1].x, ring[k - 1].y }, { ring[k].x, ring[k].y } });
    std::sort(sides.begin(), sides.end());
    return sides;
}

// A ring of lattice points around each cell of a grid that is divided at random.
std::vector<Ring> cells(std::minstd_rand *random)
{
    std::vector<Ring> rings;
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 5; ++x) {
            if ((*random)() % 4 == 0)
                continue;
            Ring ring = { Point(x, y), Point(x + 1, y), Point(x + 1, y + 1), Point(x, y + 1) };
            std::rotate(ring.begin(), ring.begin() + std::ptrdiff_t((*random)() % 4), ring.end());
            ring.push_back(ring.front());
            rings.push_back(ring);
        }
    }
    return rings;
}

} // namespace

class tst_TopoJson : public QObject
{
    Q_OBJECT

private slots:
    void neighboursReferToOneArc()
    {
        const QJsonObject topology = written(sheet());
        QCOMPARE(topology.value("type").toString(), QString("Topology"));
        QCOMPARE(topology.value("arcs").toArray().size(), 4); // left, middle, right, hole
        const QJsonArray areas = geometries(topology);
        QCOMPARE(areas.size(), 3);
        std::multiset<int> uses;
        for (const QJsonValue area : areas) {
            for (const QJsonValue ring : area.toObject().value("arcs").toArray()) {
                for (const QJsonValue arc : ring.toArray())
                    uses.insert(arc.toInt() < 0 ? ~arc.toInt() : arc.toInt());
            }
        }
        QCOMPARE(uses.size(), std::size_t(6));
        QCOMPARE(std::set<int>(uses.begin(), uses.end()).size(), std::size_t(4));
        QCOMPARE(areas.at(0).toObject().value("arcs").toArray().size(), 2);
        const QJsonObject properties = areas.at(2).toObject().value("properties").toObject();
        QCOMPARE(properties.value("color").toString(), QString("#cc0000"));
    }

    void roundedCoordinatesAreWholeNumbers()
    {
        const QJsonObject exact = written(sheet(), kExactDecimals);
        const QJsonObject rounded = written(sheet(), 2);
        QVERIFY(!exact.contains("transform"));
        QVERIFY(rounded.contains("transform"));
        for (int arc = 0; arc < 4; ++arc) {
            const Ring points = decoded(exact, arc);
            const Ring again = decoded(rounded, arc);
            QCOMPARE(again.size(), points.size());
            for (std::size_t k = 0; k < points.size(); ++k) {
                QVERIFY(std::fabs(again[k].x - points[k].x) < 1e-9);
                QVERIFY(std::fabs(again[k].y - points[k].y) < 1e-9);
            }
        }
        for (const QJsonValue point : rounded.value("arcs").toArray().at(3).toArray())
            QCOMPARE(point.toArray().at(0).toDouble(),
                     std::round(point.toArray().at(0).toDouble()));
    }

    void aMapHasItsPlace()
    {
        Drawing drawing = sheet();
        QVERIFY(written(drawing).contains("coordinates"));
        drawing.placement.isKnown = true;
        drawing.placement.columnX = 2.0;
        drawing.placement.rowY = -2.0;
        drawing.placement.origin = Point(1000.0, 5000.0);
        drawing.placement.epsg = 32633;
        const QJsonObject topology = written(drawing);
        QVERIFY(topology.contains("crs"));
        Bounds bounds;
        for (int arc = 0; arc < 4; ++arc) {
            for (const Point &point : decoded(topology, arc))
                bounds.grow(point);
        }
        QVERIFY(bounds.low == Point(1000.0, 4940.0));
        QVERIFY(bounds.high == Point(1080.0, 5000.0));
    }

    void centreLinesAreLines()
    {
        Drawing drawing;
        drawing.width = drawing.height = 10;
        drawing.pens = { Pen() };
        Outline line;
        line.shape.moveTo(Point(1, 1));
        line.shape.lineTo(Point(9, 1));
        line.pen = 0;
        drawing.outlines = { line };
        const QJsonObject topology = written(drawing);
        const QJsonObject geometry = geometries(topology).at(0).toObject();
        QCOMPARE(geometry.value("type").toString(), QString("LineString"));
        QCOMPARE(geometry.value("arcs").toArray(), QJsonArray({ 0 }));
        QVERIFY(decoded(topology, 0) == Ring({ Point(1, 1), Point(9, 1) }));
    }

    void emptyDrawings()
    {
        QCOMPARE(geometries(written(Drawing())).size(), 0);
        QCOMPARE(written(Drawing()).value("arcs").toArray().size(), 0);
    }

    void everySideIsInOneArc()
    {
        std::minstd_rand random(5);
        for (int n = 0; n < 200; ++n) {
            const std::vector<Ring> rings = cells(&random);
            const SharedArcs shared = sharedArcs(rings);
            QCOMPARE(shared.references.size(), rings.size());
            std::set<std::pair<std::pair<double, double>, std::pair<double, double>>> seen;
            for (const Ring &arc : shared.arcs) {
                for (auto side : sidesOf(arc)) {
                    if (side.second < side.first)
                        std::swap(side.first, side.second);
                    QVERIFY(seen.insert(side).second);
                }
            }
            for (std::size_t k = 0; k < rings.size(); ++k)
                QVERIFY(sidesOf(joined(shared, shared.references[k])) == sidesOf(rings[k]));
        }
    }

    // Found from both sides, wherever the rings begin.
    void aRingThatMeetsNothingIsOneArc()
    {
        const Ring outer = { Point(0, 0), Point(4, 0), Point(4, 4), Point(0, 0) };
        const Ring hole = { Point(4, 0), Point(0, 0), Point(4, 4), Point(4, 0) };
        const SharedArcs shared = sharedArcs({ outer, hole });
        QCOMPARE(shared.arcs.size(), std::size_t(1));
        QCOMPARE(shared.references[0], std::vector<int>({ 0 }));
        QCOMPARE(shared.references[1], std::vector<int>({ ~0 }));
    }
};

QTEST_GUILESS_MAIN(tst_TopoJson)
#include "tst_topojson.moc"
