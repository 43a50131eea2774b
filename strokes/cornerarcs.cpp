// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/cornerarcs.h"

#include "strokes/normalequations.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kPi = 3.14159265358979323846;

// Angles between the lines of a corner, radians: blunter ones tell no radius by their edges, and in
// more acute ones the inks of the lines are one for long.
const double kLeastAngle = 0.5;
const double kMostAngle = 2.5;
// Pixels from a corner that its arc may begin, and widths: plates with corners of 62 pixels in one
// bit had worse ones than their own cross-sections give at 7 widths (F1 of arcs .85 to .76).
const double kReachWidths = 3.0;
const double kReachPixels = 12.0;
// Radius of an arc: widths and pixels. The inner edge of a sharp corner is that of an arc of half a
// width, and steps of one bit make 1.2 pixels of it.
const double kLeastWidths = 1.0;
const double kLeastPixels = 1.5;
// Pixels that the inner edge of a corner is rounder than that of two lines, in the middle of it:
// steps of one bit made arcs of blunt corners of 45 degrees at .6.
const double kLeastShown = 0.6;
const double kLeastShownHard = 1.2;
// Part of an arc to either side of its middle that edges are read in, and places there.
const double kMostTurned = 0.8;
const int kPlaces = 15;
// Radians from the middle of an arc up to which its outer edge is seen where other arcs lie beside
// it, and what an edge there counts: with the inner edges alone an error of the width is ten times
// as large in the radius.
const double kHoleTurn = 0.1;
const double kHoleWeight = 1.0;
const double kStep = 0.25;
const double kAcross = 2.5; // pixels around the expected edge that the edge is looked for
const int kRounds = 6;
// Pixels that an edge lies off, and lines: in greys, and in one bit.
const double kEdgeError = 0.3;
const double kSoftError = 0.06;
const double kRowError = 0.3;
const double kFarthest = 14.0; // widths from a corner to the centre of its arc
const double kSeen = 0.75;     // part of the places where the inner edge has to be seen
// Pixels, root of mean square, that edges lie off; steps of one bit make .3 to .5.
const double kMostMissed = 0.35;
const double kMostMissedHard = 0.6;

class CornerFit
{
public:
    CornerFit(const Corner &k, const Coverage &c, bool u) : corner(k), coverage(c), uneven(u) { }

    bool fit(CornerArc *arc) const
    {
        const double cosine = fit::dot(corner.direction[0], corner.direction[1]);
        arc->angle = std::acos(std::clamp(cosine, -1.0, 1.0));
        if (arc->angle < kLeastAngle || arc->angle > kMostAngle)
            return false;
        arc->width = 0.5 * (corner.line[0]->width + corner.line[1]->width);
        const double half = 0.5 * arc->angle;
        const Point sum = corner.direction[0] + corner.direction[1];
        const Point middle = (1 / lengthOf(sum)) * sum;
        const double share = 1 / std::sin(half);
        const double most = cornerReach(arc->width);
        double edge = 0.0;
        if (!innerEdge(middle, 0.5 * arc->width * share, most, &edge))
            return false;
        arc->radius = (edge - 0.5 * arc->width) / (share - 1);
        if (!fitArc(middle, arc))
            return false;
        arc->tangent = arc->radius / std::tan(half);
        const double shown = (arc->radius - 0.5 * arc->width) * (share - 1);
        return arc->radius > kLeastWidths * arc->width + kLeastPixels
            && shown > (uneven ? kLeastShownHard : kLeastShown) && arc->tangent < most;
    }

private:
    // Pixels from a corner to where ink ends in the middle of its angle; `sharp` is where it does
    // between two lines alone.
    bool innerEdge(Point middle, double sharp, double most, double *edge) const
    {
        double s = std::max(0.0, sharp - 0.5);
        while (s < most && coverage.at(corner.place + s * middle) < 0.5)
            s += kStep;
        while (s < most && coverage.at(corner.place + s * middle) >= 0.5)
            s += kStep;
        *edge = s - 0.5 * kStep;
        return s < most;
    }

    // Where coverage passes a half along a ray from a centre around a distance; 1e9 where it does
    // not. `way` 1: from paper to ink, -1: from ink to paper.
    double edgeAt(Point centre, Point normal, double around, double way) const
    {
        double found = 1e9;
        double before = coverage.at(centre + (around - kAcross) * normal);
        for (double r = around - kAcross + kStep; r <= around + kAcross; r += kStep) {
            const double here = coverage.at(centre + r * normal);
            const bool passes = way > 0 ? before < 0.5 && here >= 0.5 : before >= 0.5 && here < 0.5;
            if (passes) {
                const double place = r - kStep * (here - 0.5) / (here - before);
                found = std::fabs(place - around) < std::fabs(found - around) ? place : found;
            }
            before = here;
        }
        return found;
    }

    // Centre and radius by least squares, Gauss and Newton's method: the edges of the ink lie half
    // a width inside and outside of the arc, and its circle touches both lines, as well as these
    // are known.
    bool fitArc(Point middle, CornerArc *arc) const
    {
        const double half = 0.5 * arc->angle;
        const double span = kMostTurned * (0.5 * kPi - half);
        arc->centre = corner.place + (arc->radius / std::sin(half)) * middle;
        for (int round = 0; round <= kRounds; ++round) {
            Edges edges = edgesOf(*arc, middle, span, corner.alone);
            if (edges.inner < kSeen * kPlaces)
                return false;
            if (round == kRounds)
                return std::sqrt(edges.squares / edges.all)
                    < (uneven ? kMostMissedHard : kMostMissed);
            for (const Atom *line : corner.line) {
                const Point foot = line->carrier.foot(arc->centre);
                const Point from = arc->centre - foot;
                const double distance = lengthOf(from);
                if (!(distance > 0.0))
                    return false;
                const double error = errorOf(*line);
                const double row[4]
                    = { from.x / distance, from.y / distance, -1.0, arc->radius - distance };
                edges.add(row, kEdgeError * kEdgeError / (error * error));
            }
            double change[3] = {};
            if (!solveNormal(edges.a, 1e-9, change))
                return false;
            arc->centre = arc->centre + Point { change[0], change[1] };
            arc->radius += change[2];
            if (!(arc->radius > 0.5 * arc->width)
                || lengthOf(arc->centre - corner.place) > kFarthest * arc->width)
                return false;
        }
        return false;
    }

    // Pixels that a line lies off: in one bit one that keeps within a row of pixels, less one of
    // some steps.
    double errorOf(const Atom &line) const
    {
        if (!uneven)
            return kSoftError;
        const Point way = line.place[1] - line.place[0];
        return std::max(kSoftError,
                        kRowError / (1.0 + std::min(std::fabs(way.x), std::fabs(way.y))));
    }

    // Normal equations of centre and radius, of the edges that were seen.
    struct Edges
    {
        double a[3][4] = {};
        double squares = 0.0;
        int inner = 0;
        int all = 0;
        void add(const double row[4], double weight)
        {
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 4; ++j)
                    a[i][j] += weight * row[i] * row[j];
            }
        }
    };

    Edges edgesOf(const CornerArc &arc, Point middle, double span, bool outer) const
    {
        Edges edges;
        for (int k = 0; k < kPlaces; ++k) {
            const double turn = span * (2.0 * k / (kPlaces - 1) - 1.0);
            const double c = -std::cos(turn);
            const double s = -std::sin(turn);
            const Point normal = { c * middle.x - s * middle.y, s * middle.x + c * middle.y };
            for (const double side : { -0.5, 0.5 }) {
                if (side > 0 && !outer && std::fabs(turn) > kHoleTurn)
                    continue;
                const double wanted = arc.radius + side * arc.width;
                const double off = edgeAt(arc.centre, normal, wanted, -2 * side) - wanted;
                if (wanted < 0.5 || std::fabs(off) > kAcross)
                    continue;
                edges.inner += side < 0 ? 1 : 0;
                ++edges.all;
                edges.squares += off * off;
                const double row[4] = { normal.x, normal.y, 1.0, off };
                edges.add(row, side > 0 && !outer ? kHoleWeight : 1.0);
            }
        }
        return edges;
    }

    const Corner &corner;
    const Coverage &coverage;
    const bool uneven; // edges, by steps of one bit or by noise
};

} // namespace

double cornerReach(double width)
{
    return kReachWidths * width + kReachPixels;
}

bool arcIn(const Corner &corner, const Coverage &coverage, bool uneven, CornerArc *arc)
{
    return CornerFit(corner, coverage, uneven).fit(arc);
}

} // namespace ztrace::strokes
