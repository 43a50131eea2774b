// (c) the ztrace developers. Licence: see LICENSE.
#include "geojson.h"

#include "TextSink.h"
#include "coarseness.h"
#include "pens.h"
#include "pieces.h"
#include "rings.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace ztrace {

namespace {

const double kFinest = 1e-4;  // pixels that coordinates are rounded to, so that rings stay simple
const std::size_t kLeast = 4; // points of a ring, the first one again at its end
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

class GeoJsonWriter
{
public:
    GeoJsonWriter(const Drawing &d, int decimalsOfPixels, QIODevice *device)
        : drawing(d), height(d.height > 0 ? d.height : 0), decimals(decimalsFor(decimalsOfPixels)),
          flatness(kUsualFlatness * coarsenessOf(d)), sink(device)
    { }

    bool write()
    {
        std::string &text = sink.text();
        text += "{\"type\":\"FeatureCollection\",";
        writeReference();
        text += "\"features\":[";
        for (const Outline &outline : drawing.outlines) {
            if (qAlpha(outline.colour) != 0)
                writeFeature(outline);
            sink.flushIfLarge();
        }
        text += "\n]}\n";
        return sink.finish();
    }

private:
    // Length of the shorter side of a pixel, in units of the coordinates.
    double pixelSize() const
    {
        const Placement &p = drawing.placement;
        if (!p.isKnown)
            return drawing.unitsPerPixel();
        return std::min(std::hypot(p.columnX, p.columnY), std::hypot(p.rowX, p.rowY));
    }

    int decimalsFor(int asked) const
    {
        if (asked == kExactDecimals)
            return kExactDecimals;
        const double ofPixel = asked == kDecimalsOfDrawing ? kFinest : std::pow(10.0, -asked);
        const double places = std::ceil(-std::log10(ofPixel * pixelSize()) - 1e-9);
        return int(std::min(std::max(places, 0.0), double(kMostDecimals)));
    }

    void writeReference()
    {
        std::string &text = sink.text();
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

    void writeFeature(const Outline &outline)
    {
        std::vector<Point> points = pointsOf(outline.shape);
        const bool isLine = outline.pen >= 0;
        if (points.size() < (isLine ? 2 : kLeast))
            return;
        std::string &text = sink.text();
        text += isFirst ? "\n" : ",\n";
        isFirst = false;
        text += "{\"type\":\"Feature\",\"properties\":";
        writeProperties(outline);
        text += isLine ? ",\"geometry\":{\"type\":\"LineString\",\"coordinates\":"
                       : ",\"geometry\":{\"type\":\"Polygon\",\"coordinates\":[";
        if (isLine) {
            place(&points);
            writePoints(points);
        } else {
            writeRing(points, true);
            for (const Ring &hole : holesOf(outline)) {
                if (hole.size() < kLeast - 1)
                    continue;
                sink.text() += ',';
                writeRing(hole, false);
            }
            sink.text() += ']';
        }
        sink.text() += "}}";
    }

    void writeProperties(const Outline &outline)
    {
        QJsonObject properties;
        properties.insert(QLatin1String("layer"), layerName(outline));
        properties.insert(QLatin1String("color"), QString::fromLatin1(colourName(outline.colour)));
        if (qAlpha(outline.colour) < 255)
            properties.insert(QLatin1String("alpha"), qAlpha(outline.colour) / 255.0);
        if (outline.pen >= 0)
            properties.insert(QLatin1String("width"), penOf(drawing, outline).width);
        sink.text() += QJsonDocument(properties).toJson(QJsonDocument::Compact);
    }

    std::vector<Point> pointsOf(const Path &shape) const
    {
        std::vector<PathPiece> pieces;
        piecesOf(shape, &pieces);
        std::vector<Point> points;
        if (pieces.empty())
            return points;
        points.push_back(pieces.front().start);
        for (const PathPiece &piece : pieces)
            appendPoints(piece, flatness, &points);
        return points;
    }

    // Holes that lie side by side are one: those of a polygon may not share sides.
    std::vector<Ring> holesOf(const Outline &outline) const
    {
        std::vector<Ring> rings;
        for (int hole : outline.holes)
            rings.push_back(pointsOf(drawing.outlines[std::size_t(hole)].shape));
        return unitedRings(rings);
    }

    void place(std::vector<Point> *points) const
    {
        const double units = drawing.unitsPerPixel();
        for (Point &point : *points)
            point = drawing.placement.isKnown ? drawing.placement.at(point.x, height - point.y)
                                              : Point(point.x * units, point.y * units);
    }

    // An outer ring counterclockwise, a hole clockwise, closed.
    void writeRing(std::vector<Point> points, bool isOuter)
    {
        if (!(points.front() == points.back()))
            points.push_back(points.front());
        place(&points);
        double twice = 0.0;
        const Point &origin = points.front();
        for (std::size_t k = 1; k < points.size(); ++k)
            twice += (points[k - 1].x - origin.x) * (points[k].y - origin.y)
                - (points[k].x - origin.x) * (points[k - 1].y - origin.y);
        if ((twice > 0.0) != isOuter)
            std::reverse(points.begin(), points.end());
        writePoints(points);
    }

    void writePoints(const std::vector<Point> &points)
    {
        std::string &text = sink.text();
        text += '[';
        for (std::size_t k = 0; k < points.size(); ++k) {
            text += k == 0 ? "[" : ",[";
            appendNumber(&text, points[k].x, decimals);
            text += ',';
            appendNumber(&text, points[k].y, decimals);
            text += ']';
            sink.flushIfLarge();
        }
        text += ']';
    }

    const Drawing &drawing;
    const double height;
    const int decimals;
    const double flatness; // pixels that lines may be from the curves that they stand for
    TextSink sink;
    bool isFirst = true;
};

} // namespace

bool writeGeoJson(const Drawing &drawing, int decimals, QIODevice *device)
{
    return GeoJsonWriter(drawing, decimals, device).write();
}

} // namespace ztrace
