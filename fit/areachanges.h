// (c) the ztrace developers. Licence: see LICENSE.
//
// How what pieces cover of pixels changes when their ends move: docs/fit/areas.md, "Rule".
#ifndef ZTRACE_FIT_AREACHANGES_H
#define ZTRACE_FIT_AREACHANGES_H

#include "fit/areas.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace ztrace::fit {

const int kLeastChordsOfBend = 4; // of an arc whose height changes
const double kBulgeStep = 1e-5;   // of a difference
const double kNoChord = 1e-12;    // squared pixels

// Of one pixel of a window, by what one chord of a piece does there.
struct AreaChange
{
    // Per pixel that the start goes along x, along y, the end likewise; per unit of bulge; per
    // pixel that the control of a quadratic goes, or each one of a cubic.
    enum Way {
        StartX,
        StartY,
        EndX,
        EndY,
        Bend,
        ControlX = Bend,
        ControlY,
        Control2X,
        Control2Y,
        Ways
    };

    std::size_t pixel;
    std::array<double, Ways> by;
};

// Moving both ends moves a piece: a place w of the way along its chord, as a complex number, goes w
// times as far as the end and 1 - w times as far as the start. A line's w is real, as are those of
// curves whose controls go half the way of the nearer end, or all of it.
class AreaChanges
{
public:
    // `bends`: the bulge of an arc, or the controls of a curve, as well
    AreaChanges(const Piece &p, const Coverage &c, bool bends, std::vector<AreaChange> *to)
        : piece(p), window(c), changes(to)
    {
        Place before = { piece.start, { 0, 0 }, { 0, 0 } };
        const bool isArc = piece.kind == Kind::Arc;
        isCurve = bends && !isArc;
        isStraight = piece.kind == Kind::Line;
        const int count
            = isArc && bends ? std::max(kLeastChordsOfBend, chordsOf(piece)) : chordsOf(piece);
        Walk walk(piece, count);
        const bool bulges = bends && isArc;
        Walk bent(bulges ? arcPiece(p.start, p.end, p.bulge + kBulgeStep) : p, bulges ? count : 1);
        for (int k = 1; k < count; ++k) {
            const double t = double(k) / count;
            Place place = { walk.next(), { 0, 0 }, { 0, 0 } };
            place.share = shareAt(place.at, t);
            if (isCurve)
                place.bend = controlsAt(t);
            if (bulges)
                place.bend = (1 / kBulgeStep) * (bent.next() - place.at);
            addChord(before, place);
            before = place;
        }
        addChord(before, { piece.end, { 1, 0 }, { 0, 0 } });
    }

private:
    struct Place
    {
        Point at;
        Point share; // w
        Point bend;  // how far it goes per unit of bulge; of a curve, as often as each control
    };

    // The places of a piece at equal steps; of an arc by turning the spoke.
    class Walk
    {
    public:
        Walk(const Piece &p, int count) : piece(p), step(1.0 / count)
        {
            if (count == 1 || p.kind != Kind::Arc || p.bulge == 0)
                return;
            const ArcShape shape = arcShape(p);
            centre = shape.centre;
            spoke = p.start - centre;
            turn = { std::cos(shape.sweep * step), std::sin(shape.sweep * step) };
            isRound = true;
        }

        Point next()
        {
            at += step;
            if (!isRound)
                return pointAt(piece, at);
            spoke = { turn.x * spoke.x - turn.y * spoke.y, turn.y * spoke.x + turn.x * spoke.y };
            return centre + spoke;
        }

    private:
        const Piece piece;
        const double step;
        double at = 0;
        bool isRound = false;
        Point centre = {};
        Point spoke = {};
        Point turn = {};
    };

    Point shareAt(Point place, double t) const
    {
        const double u = 1 - t;
        switch (piece.kind) {
        case Kind::Cubic:
            return { t * t * (t + 3 * u), 0 };
        case Kind::EllipticArc: {
            const double middle = u * t * piece.weight;
            return { (t * t + middle) / (u * u + 2 * middle + t * t), 0 };
        }
        case Kind::Arc: {
            const Point chord = piece.end - piece.start;
            const Point way = place - piece.start;
            const double squared = dot(chord, chord);
            if (squared < kNoChord)
                return { t, 0 };
            return { dot(way, chord) / squared, cross(chord, way) / squared };
        }
        default:
            return { t, 0 };
        }
    }

    // How far a place of a curve goes as its controls do.
    Point controlsAt(double t) const
    {
        const double u = 1 - t;
        return piece.kind == Kind::Cubic ? Point { 3 * u * u * t, 3 * u * t * t }
                                         : Point { 2 * u * t, 0 };
    }

    // Pixel by pixel.
    void addChord(const Place &from, const Place &to)
    {
        const Point a = { from.at.x - window.left, from.at.y - window.top };
        const Point d = to.at - from.at;
        int x = floorOf(a.x);
        int y = floorOf(a.y);
        const double perX = d.x != 0 ? 1 / std::fabs(d.x) : 0;
        const double perY = d.y != 0 ? 1 / std::fabs(d.y) : 0;
        const double never = 2;
        double nextX = d.x > 0 ? (x + 1 - a.x) * perX : d.x < 0 ? (a.x - x) * perX : never;
        double nextY = d.y > 0 ? (y + 1 - a.y) * perY : d.y < 0 ? (a.y - y) * perY : never;
        double s = 0;
        while (s < 1) {
            const double next = std::min(1.0, std::min(nextX, nextY));
            if (next > s && x >= 0 && x < window.width && y >= 0 && y < window.height)
                addIn(static_cast<std::size_t>(y * window.width + x), from, to, d, s, next);
            s = std::max(s, next);
            if (nextX <= nextY) {
                x += d.x > 0 ? 1 : -1;
                nextX += perX;
            } else {
                y += d.y > 0 ? 1 : -1;
                nextY += perY;
            }
        }
    }

    // From s0 to s1 of the chord, along which everything changes evenly.
    void addIn(std::size_t pixel, const Place &from, const Place &to, Point d, double s0, double s1)
    {
        if (!window.counts[pixel])
            return;
        const double ofEnd = 0.5 * (s1 * s1 - s0 * s0);
        const double ofStart = s1 - s0 - ofEnd;
        if (isStraight) {
            changes->push_back(
                { pixel, { ofStart * d.y, -(ofStart * d.x), ofEnd * d.y, -(ofEnd * d.x) } });
            return;
        }
        const Point w = ofStart * from.share + ofEnd * to.share;
        const Point bend = ofStart * from.bend + ofEnd * to.bend;
        const Point rest = { s1 - s0 - w.x, -w.y };
        AreaChange change = { pixel,
                              { cross(rest, d), cross({ -rest.y, rest.x }, d), cross(w, d),
                                cross({ -w.y, w.x }, d), cross(bend, d) } };
        if (isCurve) {
            change.by[AreaChange::ControlX] = bend.x * d.y;
            change.by[AreaChange::ControlY] = -bend.x * d.x;
            change.by[AreaChange::Control2X] = bend.y * d.y;
            change.by[AreaChange::Control2Y] = -bend.y * d.x;
        }
        changes->push_back(change);
    }

    const Piece &piece;
    const Coverage &window;
    std::vector<AreaChange> *changes;
    bool isCurve = false;    // whose controls move
    bool isStraight = false; // from its start to its end in one
};

} // namespace ztrace::fit

#endif
