// (c) the ztrace developers. Licence: see LICENSE.
#include "dxf_entities.h"

#include <cmath>

namespace ztrace {

namespace {

const int kClosed = 1;
const int kPatternGoesOn = 128; // around the vertices of a polyline
const int kPlanar = 8;
const int kOuterRing = 1;
const int kPolylineRing = 2;
const double kTurn = 8.0 * std::atan(1.0);

// What the splines of a degree have in common: counts and knots of a Bezier curve.
std::string splineHead(int degree)
{
    std::string head;
    DxfText out(&head);
    out.group(100, "AcDbSpline");
    out.group(70, kPlanar);
    out.group(71, degree);
    out.group(72, 2 * (degree + 1));
    out.group(73, degree + 1);
    out.group(74, 0);
    for (int i = 0; i < 2 * (degree + 1); ++i)
        out.number(40, i <= degree ? 0.0 : 1.0);
    return head;
}

// The same direction from 0 to less than a turn.
double positive(double angle)
{
    const double turned = std::fmod(angle, kTurn);
    const double result = turned < 0.0 ? turned + kTurn : turned;
    return result < kTurn ? result : 0.0;
}

double degrees(double angle)
{
    return positive(angle) * 360.0 / kTurn;
}

} // namespace

DxfEntities::DxfEntities(DxfText *target, DxfVersion version, double s)
    : out(*target), old(version == DxfVersion::R12), scale(s), quadraticHead(splineHead(2)),
      cubicHead(splineHead(3))
{ }

void DxfEntities::begin(const char *kind, const char *subclass)
{
    out.group(0, kind);
    if (!old) {
        out.handle();
        out.group(330, kDxfModelSpace);
        out.group(100, "AcDbEntity");
    }
    out.group(8, look.layer->name);
    if (look.lineType)
        out.group(6, look.lineType->name);
    colour();
    if (!old && look.lineType)
        out.number(48, look.lineTypeScale);
    if (!old && look.lineWeight >= 0)
        out.group(370, look.lineWeight);
    if (!old && subclass)
        out.group(100, subclass);
}

void DxfEntities::colour()
{
    if (!((look.colour ^ look.layer->colour) & 0xFFFFFFu))
        return;
    out.group(62, dxfColourIndex(look.colour));
    if (!old && !isDxfInk(look.colour))
        out.group(420, static_cast<int>(look.colour & 0xFFFFFFu));
}

void DxfEntities::point(int code, const Point &p)
{
    out.number(code, p.x * scale);
    out.number(code + 10, p.y * scale);
}

void DxfEntities::point3(int code, const Point &p)
{
    point(code, p);
    out.number(code + 20, 0.0);
}

void DxfEntities::line(const PathPiece &piece)
{
    begin("LINE", "AcDbLine");
    point3(10, piece.start);
    point3(11, piece.end);
}

void DxfEntities::circle(const Point &center, double radius)
{
    begin("CIRCLE", "AcDbCircle");
    point3(10, center);
    out.number(40, radius * scale);
}

// Arcs run counter-clockwise.
void DxfEntities::arc(const PathPiece &piece)
{
    const Circle c = circleOf(piece);
    begin("ARC", "AcDbCircle");
    point3(10, c.center);
    out.number(40, c.radius * scale);
    if (!old)
        out.group(100, "AcDbArc");
    out.number(50, degrees(c.sweep < 0.0 ? c.startAngle + c.sweep : c.startAngle));
    out.number(51, degrees(c.sweep < 0.0 ? c.startAngle : c.startAngle + c.sweep));
}

void DxfEntities::ellipse(const PathPiece &piece)
{
    const Ellipse e = ellipseOf(piece);
    const double end = e.start + e.sweep;
    ellipse(e, positive(e.sweep < 0.0 ? end : e.start), positive(e.sweep < 0.0 ? e.start : end));
}

void DxfEntities::wholeEllipse(const Ellipse &e)
{
    ellipse(e, 0.0, kTurn);
}

void DxfEntities::ellipse(const Ellipse &e, double start, double end)
{
    begin("ELLIPSE", "AcDbEllipse");
    point3(10, e.center);
    point3(11, Point(e.major * std::cos(e.angle), e.major * std::sin(e.angle)));
    out.number(40, e.minor / e.major);
    out.number(41, start);
    out.number(42, end);
}

void DxfEntities::spline(const PathPiece &piece)
{
    begin("SPLINE", nullptr);
    out.groups(piece.kind == PathPiece::Quadratic ? quadraticHead : cubicHead);
    point3(10, piece.start);
    point3(10, piece.control1);
    if (piece.kind == PathPiece::Cubic)
        point3(10, piece.control2);
    point3(10, piece.end);
}

void DxfEntities::polyline(std::vector<BulgeVertex> vertices)
{
    const Point &first = vertices.front().point;
    const Point &last = vertices.back().point;
    const bool closed = vertices.size() > 2 && first.x == last.x && first.y == last.y;
    if (closed)
        vertices.pop_back();
    if (old)
        oldPolyline(vertices, closed);
    else
        lightPolyline(vertices, closed);
}

void DxfEntities::fill(const std::vector<std::vector<BulgeVertex>> &rings)
{
    begin("HATCH", "AcDbHatch");
    point3(10, Point(0.0, 0.0));
    out.number(210, 0.0);
    out.number(220, 0.0);
    out.number(230, 1.0);
    out.group(2, "SOLID");
    out.group(70, 1);
    out.group(71, 0);
    out.group(91, static_cast<int>(rings.size()));
    for (const std::vector<BulgeVertex> &ring : rings) {
        const bool isFirst = &ring == &rings.front();
        out.group(92, kPolylineRing | (isFirst ? kOuterRing : 0));
        out.group(72, 1);
        out.group(73, kClosed);
        out.group(93, static_cast<int>(ring.size()) - 1);
        for (std::size_t k = 0; k + 1 < ring.size(); ++k) {
            point(10, ring[k].point);
            out.number(42, ring[k].bulge);
        }
        out.group(97, 0);
    }
    out.group(75, 0);
    out.group(76, 1);
    out.group(98, 1);
    point(10, rings.front().front().point);
}

void DxfEntities::lightPolyline(const std::vector<BulgeVertex> &vertices, bool closed)
{
    begin("LWPOLYLINE", "AcDbPolyline");
    out.group(90, static_cast<int>(vertices.size()));
    out.group(70, (closed ? kClosed : 0) | (look.lineType ? kPatternGoesOn : 0));
    for (const BulgeVertex &vertex : vertices) {
        point(10, vertex.point);
        if (vertex.bulge != 0.0)
            out.number(42, vertex.bulge);
    }
}

void DxfEntities::oldPolyline(const std::vector<BulgeVertex> &vertices, bool closed)
{
    begin("POLYLINE", nullptr);
    out.group(66, 1);
    point3(10, Point(0.0, 0.0));
    out.group(70, (closed ? kClosed : 0) | (look.lineType ? kPatternGoesOn : 0));
    for (const BulgeVertex &vertex : vertices) {
        begin("VERTEX", nullptr);
        point3(10, vertex.point);
        if (vertex.bulge != 0.0)
            out.number(42, vertex.bulge);
    }
    begin("SEQEND", nullptr);
}

} // namespace ztrace
