// (c) the ztrace developers. Licence: see LICENSE.
#include "mapshapes.h"

#include "TextSink.h"
#include "coarseness.h"
#include "pens.h"
#include "pieces.h"
#include "text.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kFinest = 1e-4;  // pixels that coordinates are rounded to, so that rings stay simple
const std::size_t kLeast = 4; // points of a closed ring, the first one again at its end
const int kMostDecimals = 15;

bool isBefore(const Point &a, const Point &b)
{
    return a.x != b.x ? a.x < b.x : a.y < b.y;
}

PathPiece reversed(PathPiece piece)
{
    std::swap(piece.start, piece.end);
    if (piece.kind == PathPiece::Cubic)
        std::swap(piece.control1, piece.control2);
    piece.bulge = -piece.bulge;
    return piece;
}

// Appends points without the start. A boundary that two areas share in opposite directions has the
// same points in both.
void appendPoints(const PathPiece &piece, double flatness, std::vector<Point> *points)
{
    if (!isBefore(piece.end, piece.start)) {
        flatten(piece, flatness, points);
        return;
    }
    std::vector<Point> backwards;
    flatten(reversed(piece), flatness, &backwards);
    backwards.pop_back();
    points->insert(points->end(), backwards.rbegin(), backwards.rend());
    points->push_back(piece.end);
}

} // namespace

MapShapes::MapShapes(const Drawing &d, int decimalsOfPixels)
    : drawing(d), height(d.height > 0 ? d.height : 0), places(decimalsFor(decimalsOfPixels)),
      flatness(kUsualFlatness * coarsenessOf(d))
{ }

// Length of the shorter side of a pixel, in units of the coordinates.
double MapShapes::pixelSize() const
{
    const Placement &p = drawing.placement;
    if (!p.isKnown)
        return drawing.unitsPerPixel();
    return std::min(std::hypot(p.columnX, p.columnY), std::hypot(p.rowX, p.rowY));
}

int MapShapes::decimalsFor(int asked) const
{
    if (asked == kExactDecimals)
        return kExactDecimals;
    const double ofPixel = asked == kDecimalsOfDrawing ? kFinest : std::pow(10.0, -asked);
    const double count = std::ceil(-std::log10(ofPixel * pixelSize()) - 1e-9);
    return int(std::min(std::max(count, 0.0), double(kMostDecimals)));
}

std::vector<MapShape> MapShapes::shapesOf(const Outline &outline) const
{
    std::vector<MapShape> shapes;
    if (qAlpha(outline.colour) == 0)
        return shapes;
    Ring points = pointsOf(outline.shape);
    if (outline.pen >= 0) {
        if (points.size() < 2)
            return shapes;
        place(&points);
        shapes.push_back({ &outline, true, { std::move(points) } });
        return shapes;
    }
    if (points.size() > 1 && points.front() == points.back())
        points.pop_back(); // as every format fills an outline that does not return to its start
    if (points.size() + 1 < kLeast)
        return shapes;
    for (Polygon &polygon : simplePolygons(std::move(points), holesOf(outline))) {
        MapShape shape;
        shape.outline = &outline;
        addRing(std::move(polygon.outer), true, &shape);
        for (Ring &hole : polygon.holes)
            addRing(std::move(hole), false, &shape);
        shapes.push_back(std::move(shape));
    }
    return shapes;
}

void MapShapes::addRing(Ring ring, bool isOuter, MapShape *shape) const
{
    ring.push_back(ring.front());
    if (ring.size() < kLeast)
        return;
    place(&ring);
    turn(&ring, !isOuter);
    shape->rings.push_back(std::move(ring));
}

void MapShapes::appendReference(std::string *result) const
{
    std::string &text = *result;
    const Placement &placement = drawing.placement;
    if (!placement.isKnown) {
        text += "\"coordinates\":\"of the picture in ";
        text += nameOf(drawing.unit);
        text += ", y upwards; no coordinate reference system\",";
    } else if (placement.epsg > 0) {
        text += "\"crs\":{\"type\":\"name\",\"properties\":{\"name\":\"urn:ogc:def:crs:EPSG::";
        appendWhole(&text, placement.epsg);
        text += "\"}},";
    }
}

void MapShapes::appendProperties(const Outline &outline, std::string *text) const
{
    QJsonObject properties;
    properties.insert(QLatin1String("layer"), layerName(outline));
    properties.insert(QLatin1String("color"), QString::fromLatin1(colourName(outline.colour)));
    if (qAlpha(outline.colour) < 255)
        properties.insert(QLatin1String("alpha"), qAlpha(outline.colour) / 255.0);
    if (outline.pen >= 0)
        properties.insert(QLatin1String("width"), penOf(drawing, outline).width);
    *text += QJsonDocument(properties).toJson(QJsonDocument::Compact);
}

Ring MapShapes::pointsOf(const Path &shape) const
{
    std::vector<PathPiece> pieces;
    piecesOf(shape, &pieces);
    Ring points;
    if (pieces.empty())
        return points;
    points.push_back(pieces.front().start);
    for (const PathPiece &piece : pieces)
        appendPoints(piece, flatness, &points);
    return points;
}

// Holes that lie side by side are one: those of a polygon may not share sides.
std::vector<Ring> MapShapes::holesOf(const Outline &outline) const
{
    std::vector<Ring> rings;
    for (int hole : outline.holes)
        rings.push_back(pointsOf(drawing.outlines[std::size_t(hole)].shape));
    return unitedRings(rings);
}

void MapShapes::place(Ring *points) const
{
    const double units = drawing.unitsPerPixel();
    for (Point &point : *points)
        point = drawing.placement.isKnown ? drawing.placement.at(point.x, height - point.y)
                                          : Point(point.x * units, point.y * units);
}

} // namespace ztrace
