// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/curves.h"

#include "fit/cubics.h"
#include "fit/index.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
// Cosines of the turns up to which a curve may pass over a corner, and two curves get one tangent.
const double kPassedCosine = std::cos(35 * kPi / 180);
const double kSharedCosine = std::cos(20 * kPi / 180);
// Radians that one curve may turn in all.
const double kMostTurn = 3.2;
// Radians of an arc per quadratic or cubic where arcs are not offered: .0027 and .0003 radii off.
const double kQuadraticSweep = 0.8;
const double kCubicSweep = 1.6;
const double kRounding = 1e-6; // nats

struct Choice
{
    double cost;
    int from;       // vertex where the last part begins
    bool curve;     // what the last part is
    bool fromCurve; // what ended at `from`
    Piece piece;    // the curve
};

class Curves
{
public:
    Curves(const Table &t, const std::vector<Piece> &p, bool c)
        : table(t), pieces(p), closed(c), count(static_cast<int>(p.size()))
    {
        for (int k = 0; k <= count; ++k)
            measureVertex(k);
    }

    std::vector<Piece> run()
    {
        best.assign(static_cast<std::size_t>(2 * (count + 1)),
                    Choice { kAnyCost, 0, false, false, {} });
        at(0, false).cost = 0;
        for (int to = 1; to <= count; ++to) {
            keep(to);
            for (int from = to - 1; from >= std::max(0, to - kMostReplaced); --from) {
                if (from + 1 < to && !vertices[index(from + 1)].passable)
                    break;
                replace(from, to);
            }
        }
        return trail();
    }

private:
    struct Vertex
    {
        bool smooth;    // common tangent already
        bool passable;  // a curve may go over it
        bool shareable; // two curves may get a common tangent
        Point shared;
        Point before; // tangents of the pieces
        Point after;
    };

    Choice &at(int vertex, bool curve) { return best[index(2 * vertex + (curve ? 1 : 0))]; }
    const Piece &piece(int k) const { return pieces[index(k)]; }

    void measureVertex(int k)
    {
        const bool joint = (k > 0 && k < count) || (closed && count > 1);
        Vertex v = {};
        v.after = startTangent(piece(k < count ? k : 0));
        v.before = endTangent(piece(k > 0 ? k - 1 : count - 1));
        const double cosine = dot(v.before, v.after);
        v.smooth = joint && piece(k % count).smooth;
        v.passable = k > 0 && k < count && (v.smooth || cosine > kPassedCosine);
        v.shareable = v.passable && cosine > kSharedCosine;
        const Point sum = v.before + v.after;
        const double length = std::hypot(sum.x, sum.y);
        v.shared = length > 0 ? (1 / length) * sum : v.after;
        vertices.push_back(v);
    }

    double jointCost(int vertex, bool curveBefore, bool curveAfter) const
    {
        const Vertex &v = vertices[index(vertex)];
        const bool smooth = v.smooth || (v.shareable && curveBefore && curveAfter);
        return vertex == 0 || smooth ? 0 : table.numbers(table.prices.corner);
    }

    double keptCost(int k) const
    {
        const Prices working = workingPrices(table.prices);
        return piece(k).misfit + table.numbers(priceOf(piece(k), working));
    }

    void keep(int to)
    {
        for (const bool before : { false, true }) {
            const double cost
                = at(to - 1, before).cost + jointCost(to - 1, before, false) + keptCost(to - 1);
            if (cost < at(to, false).cost)
                at(to, false) = { cost, to - 1, false, before, {} };
        }
    }

    CurveEnds endsOf(int from, int to) const
    {
        const Vertex &a = vertices[index(from)];
        const Vertex &b = vertices[index(to)];
        CurveEnds ends;
        ends.start = piece(from).start;
        ends.end = piece(to - 1).end;
        ends.startFixed = a.smooth || a.shareable;
        ends.endFixed = b.smooth || b.shareable;
        ends.startTangent = !a.smooth && a.shareable ? a.shared : a.after;
        ends.endTangent = !b.smooth && b.shareable ? b.shared : b.before;
        return ends;
    }

    // Nats below which the misfit of a curve of this price has to be, for a way that ends with it
    // to become part of the answer: one that ends with what was there before and is cheaper by a
    // corner is as good whatever comes next.
    double mostMisfit(int from, int to, double price)
    {
        double before = kAnyCost;
        for (const bool curve : { false, true })
            before = std::min(before, at(from, curve).cost + jointCost(from, curve, true));
        const double most
            = std::min(at(to, true).cost, at(to, false).cost + table.numbers(table.prices.corner));
        return most - before - price + kRounding;
    }

    void replace(int from, int to)
    {
        double kept = 0;
        double turn = 0;
        bool arcs = false;
        for (int k = from; k < to; ++k) {
            kept += keptCost(k) + (k > from ? jointCost(k, false, false) : 0);
            turn += turningOf(piece(k));
            arcs = arcs || piece(k).kind == Kind::Arc;
        }
        const Prices &prices = table.prices;
        const double least = table.numbers(std::min(prices.quadratic, prices.cubic));
        // Room for the corners at both ends that a curve can make smooth.
        if (!arcs || turn > kMostTurn || least >= kept + 2 * table.numbers(prices.corner))
            return;
        const int first = piece(from).first;
        const int last = piece(to - 1).first + piece(to - 1).count;
        if (last - first < kArcPoints || !(mostMisfit(from, to, least) > 0))
            return;
        const CurveEnds ends = endsOf(from, to);
        Piece curve;
        double most = mostMisfit(from, to, table.numbers(prices.quadratic));
        if (offered(prices.quadratic) && most > 0
            && fitQuadratic(table, ends, first, last, most, &curve))
            enter(from, to, first, last, curve);
        most = mostMisfit(from, to, table.numbers(prices.cubic));
        if (offered(prices.cubic) && most > 0 && fitCubic(table, ends, first, last, most, &curve))
            enter(from, to, first, last, curve);
        if (offered(prices.ellipticArc) && prices.ellipticArc < prices.cubic
            && fitConic(table, ends, first, last, &curve))
            enter(from, to, first, last, curve);
    }

    void enter(int from, int to, int first, int last, Piece curve)
    {
        curve.first = first;
        curve.count = last - first;
        const double own = curve.misfit + table.numbers(priceOf(curve, table.prices));
        for (const bool before : { false, true }) {
            const double cost = at(from, before).cost + jointCost(from, before, true) + own;
            if (cost < at(to, true).cost)
                at(to, true) = { cost, from, true, before, curve };
        }
    }

    std::vector<Piece> trail()
    {
        std::vector<Piece> result;
        bool curve = at(count, true).cost < at(count, false).cost;
        for (int to = count; to > 0;) {
            const Choice &choice = at(to, curve);
            Piece part = choice.curve ? choice.piece : piece(to - 1);
            const Vertex &v = vertices[index(choice.from)];
            part.smooth = v.smooth || (v.shareable && choice.curve && choice.fromCurve);
            result.push_back(part);
            to = choice.from;
            curve = choice.fromCurve;
        }
        std::reverse(result.begin(), result.end());
        return result;
    }

    const Table &table;
    const std::vector<Piece> &pieces;
    const bool closed;
    const int count;
    std::vector<Vertex> vertices;
    std::vector<Choice> best;
};

// Parts of an arc as quadratics, or cubics, with the arc's own tangents.
void appendParts(const Piece &arc, const Prices &prices, std::vector<Piece> *result)
{
    const bool quadratic = offered(prices.quadratic);
    const ArcShape shape = arcShape(arc);
    const double most = quadratic ? kQuadraticSweep : kCubicSweep;
    const int parts = std::max(1, static_cast<int>(std::ceil(std::fabs(shape.sweep) / most)));
    const double sweep = shape.sweep / parts;
    for (int k = 0; k < parts; ++k) {
        const Point start = k == 0 ? arc.start : pointAt(arc, static_cast<double>(k) / parts);
        const Point end = k + 1 == parts ? arc.end : pointAt(arc, (k + 1.0) / parts);
        const Piece part = arcPiece(start, end, std::tan(sweep / 4));
        const double handle = shape.radius
            * (quadratic ? std::tan(std::fabs(sweep) / 2)
                         : 4.0 / 3 * std::tan(std::fabs(sweep) / 4));
        const Point control = start + handle * startTangent(part);
        Piece curve = quadratic ? quadraticPiece(start, control, end)
                                : cubicPiece(start, control, end - handle * endTangent(part), end);
        const int from = arc.count * k / parts;
        curve.first = arc.first + from;
        curve.count = arc.count * (k + 1) / parts - from;
        curve.misfit = arc.misfit / parts;
        curve.smooth = k > 0 || arc.smooth;
        result->push_back(curve);
    }
}

} // namespace

Prices workingPrices(const Prices &prices)
{
    Prices working = prices;
    if (!offered(prices.arc))
        working.arc = std::min(prices.quadratic, prices.cubic);
    return working;
}

std::vector<Piece> withCurves(const Table &table, const std::vector<Piece> &pieces, bool closed)
{
    if (pieces.empty())
        return pieces;
    std::vector<Piece> result = Curves(table, pieces, closed).run();
    if (offered(table.prices.arc))
        return result;
    std::vector<Piece> parts;
    for (const Piece &piece : result) {
        if (piece.kind == Kind::Arc && offered(workingPrices(table.prices).arc))
            appendParts(piece, table.prices, &parts);
        else
            parts.push_back(piece);
    }
    return parts;
}

} // namespace ztrace::fit
