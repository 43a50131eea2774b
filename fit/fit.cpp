// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/fit.h"

#include "fit/curves.h"
#include "fit/joints.h"
#include "fit/merge.h"
#include "fit/program.h"
#include "fit/shapes.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

// Chains of fewer points are not worth a lattice.
const int kShortChain = 24;

Path emptyPath(const Points &points)
{
    return { {}, points.closed, 0, 0 };
}

// One or two points: a line, and for a closed chain the way back.
Path fewPoints(const Points &points)
{
    Path path = emptyPath(points);
    const int n = points.size();
    if (n == 0)
        return path;
    Piece line = linePiece(points.at(0), points.at(n - 1));
    line.count = n;
    path.pieces.push_back(line);
    if (points.closed && n > 1) {
        Piece back = reversed(line);
        back.count = 0;
        path.pieces.push_back(back);
    }
    return path;
}

bool explains(const Points &points, const Span &span)
{
    return points.edge == Edge::Soft
        ? isAsExpected(Edge::Soft, span.primitive.chi2, span.last - span.first)
        : isConsistent(points, span.primitive, span.first, span.last);
}

// A line, else an arc, that explains an open chain as well as its errors let anything.
bool fitWhole(const Table &table, std::vector<Span> *spans)
{
    const SpanPair pair = spansOf(table, 0, table.points.size(), kAnyCost);
    if (pair.hasLine && explains(table.points, pair.line))
        spans->assign(1, pair.line);
    else if (pair.hasArc && explains(table.points, pair.arc))
        spans->assign(1, pair.arc);
    return !spans->empty();
}

std::vector<Span> refined(const Table &table, const std::vector<Span> &spans, const Reach &reach)
{
    const std::vector<Span> better = runProgram(table, reach).spans;
    return mergeSteps(table, better.empty() ? spans : better);
}

// The break of the sharpest corner of those about half way round: where two pieces meet sharply,
// their fits tell the place, whichever of the points beside it belongs to which.
std::size_t sharpestHalfWay(const Points &points, const std::vector<Span> &spans)
{
    const std::size_t count = spans.size();
    std::size_t sharpest = (count + 1) / 2;
    double least = 2;
    for (std::size_t k = std::max<std::size_t>(1, count / 4);
         k < std::min(count, 2 + 3 * count / 4); ++k) {
        const double cosine
            = dot(endOf(points, spans[k - 1]).tangent, startOf(points, spans[k]).tangent);
        if (cosine < least) {
            least = cosine;
            sharpest = k;
        }
    }
    return sharpest;
}

// The chain begins with span `begin`.
void rotateTo(std::size_t begin, Points *points, std::vector<Span> *spans)
{
    const int start = (*spans)[begin].first;
    const int n = points->size();
    *points = rotated(*points, start);
    std::rotate(spans->begin(), spans->begin() + static_cast<std::ptrdiff_t>(begin), spans->end());
    for (Span &span : *spans) {
        span.first = (span.first - start + n) % n;
        span.last = (span.last - start + n - 1) % n + 1;
    }
}

// A closed chain is cut where it turns least, then where the answer has a sharp corner, so that the
// breaks beside the first cut are refined as well.
std::vector<Span> spansOfClosed(Points *points, const Settings &settings,
                                const Judgement &judgement)
{
    *points = rotated(*points, flattestBreak(*points));
    const bool few = points->size() < kShortChain;
    std::vector<Span> spans;
    {
        const Sums sums(*points);
        const Table table = { *points, sums, settings.prices, judgement };
        spans = runProgram(table,
                           few ? Reach::every(points->size())
                               : Reach::lattice(*points, settings.search))
                    .spans;
    }
    if (spans.size() < 2)
        return spans;
    rotateTo(sharpestHalfWay(*points, spans), points, &spans);
    const Sums sums(*points);
    const Table table = { *points, sums, settings.prices, judgement };
    return refined(table, spans, Reach::refinement(table, spans, settings.search.refinement));
}

std::vector<Span> spansOfOpen(const Table &table, const Search &search)
{
    std::vector<Span> spans;
    if (fitWhole(table, &spans))
        return spans;
    const int n = table.points.size();
    if (n < kShortChain)
        return mergeSteps(table, runProgram(table, Reach::every(n)).spans);
    spans = runProgram(table, Reach::lattice(table.points, search)).spans;
    return refined(table, spans, Reach::refinement(table, spans, search.refinement));
}

std::vector<Piece> fitPieces(Points *points, const Settings &settings, const Judgement &judgement)
{
    Settings working = settings;
    working.prices = workingPrices(settings.prices);
    std::vector<Span> spans;
    if (points->closed)
        spans = spansOfClosed(points, working, judgement);
    const Sums sums(*points);
    const Table table = { *points, sums, working.prices, judgement };
    if (!points->closed)
        spans = spansOfOpen(table, settings.search);
    std::vector<Piece> pieces = joinSpans(table, withCaps(table, spans));
    if (!settings.curves && offered(settings.prices.arc))
        return pieces;
    const Table written = { *points, sums, settings.prices, judgement };
    return withCurves(written, pieces, points->closed);
}

bool isDrawable(const std::vector<Piece> &pieces)
{
    for (const Piece &piece : pieces) {
        const double sum = piece.start.x + piece.start.y + piece.end.x + piece.end.y + piece.bulge
            + piece.control.x + piece.control.y + piece.control2.x + piece.control2.y
            + piece.misfit;
        if (!std::isfinite(sum))
            return false;
    }
    return !pieces.empty();
}

// Lines from point to point: where nothing else holds, the points do.
std::vector<Piece> polyline(const Points &points)
{
    std::vector<Piece> pieces;
    const int n = points.size();
    for (int i = 0; i + 1 < n + (points.closed ? 1 : 0); ++i) {
        Piece line = linePiece(points.at(i), points.at((i + 1) % n));
        line.first = i;
        line.count = 1;
        pieces.push_back(line);
    }
    return pieces;
}

double leftOutCost(const Points &points, const std::vector<Piece> &pieces,
                   const Judgement &judgement)
{
    int counted = 0;
    for (const Piece &piece : pieces)
        counted += piece.count;
    return judgement.leftOut * std::max(0, points.size() - counted);
}

// From the working copy back to the chain's coordinates and numbers.
void toChain(const Points &points, std::vector<Piece> *pieces)
{
    for (Piece &piece : *pieces) {
        move(&piece, points.origin);
        if (piece.first < points.size())
            piece.first = points.source[static_cast<std::size_t>(piece.first)];
    }
}

// Neighbours end and start in the very same doubles, pinned ends in the chain's own.
void close(const Chain &chain, const Points &points, Path *path)
{
    std::vector<Piece> &pieces = path->pieces;
    for (std::size_t k = 0; k + 1 < pieces.size(); ++k)
        pieces[k + 1].start = pieces[k].end;
    if (path->closed && !pieces.empty() && !isWhole(pieces.front().kind))
        pieces.back().end = pieces.front().start;
    const auto original = [&](int i) {
        const int at = points.source[static_cast<std::size_t>(i)];
        return Point { chain.x[at], chain.y[at] };
    };
    if (points.pinnedStart && !pieces.empty())
        pieces.front().start = original(0);
    if (points.pinnedEnd && !pieces.empty())
        pieces.back().end = original(points.size() - 1);
}

} // namespace

Path fitChain(const Chain &chain, const Settings &settings)
{
    Points points = pointsOf(chain);
    const Judgement &judgement = chain.edge == Edge::Soft ? settings.soft : settings.hard;
    Path path = emptyPath(points);
    std::vector<WholeShape> shapes;
    if (settings.shapes && points.size() > 2) {
        const Sums none((Points()));
        shapes = wholeShapes({ points, none, settings.prices, judgement });
    }
    if (!shapes.empty() && shapes.front().asExpected) {
        path.pieces.assign(1, shapes.front().piece);
    } else if (points.size() <= 2) {
        path = fewPoints(points);
    } else {
        path.pieces = fitPieces(&points, settings, judgement);
        if (!isDrawable(path.pieces))
            path.pieces = polyline(points);
        double cost = leftOutCost(points, path.pieces, judgement)
            + judgement.lambda * numbersOf(path.pieces, path.closed, settings.prices);
        for (const Piece &piece : path.pieces)
            cost += piece.misfit;
        for (const WholeShape &shape : shapes) {
            if (shape.cost < cost) {
                cost = shape.cost;
                path.pieces.assign(1, shape.piece);
            }
        }
    }
    toChain(points, &path.pieces);
    close(chain, points, &path);
    for (Piece &piece : path.pieces) {
        path.misfit += piece.misfit;
        if (isWhole(piece.kind))
            piece.start = piece.end = pointAt(piece, 0);
    }
    path.numbers = numbersOf(path.pieces, path.closed, settings.prices);
    return path;
}

} // namespace ztrace::fit
