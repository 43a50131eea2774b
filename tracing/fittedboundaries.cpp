// (c) the ztrace developers. Licence: see LICENSE.
#include "fittedboundaries.h"

#include "shapewriter.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ztrace {

namespace {

// Pixels between two pieces and the one that takes their place: what SVG rounds to.
const double kJoinedWithin = 0.005;
const double kAsGoodAsLine = 0.03; // likewise from a line that stands for a part of a curve,
const double kShortLine = 6;       // which is so long at most
const double kLargestArc = 1.2;    // radians, a quarter of the sweep: less than a whole circle

// Whether a line goes straight on: exactly, as those through the middles of cracks do.
bool goesOn(const fit::Piece &a, const fit::Piece &b)
{
    if (a.kind != fit::Kind::Line || b.kind != fit::Kind::Line)
        return false;
    const fit::Point first = a.end - a.start;
    const fit::Point second = b.end - b.start;
    return cross(first, second) == 0 && dot(first, second) > 0;
}

// Appends a piece; lines of one chain that go straight on are one.
void append(const fit::Piece &piece, std::size_t begin, std::vector<fit::Piece> *pieces)
{
    if (pieces->size() > begin && goesOn(pieces->back(), piece))
        pieces->back().end = piece.end;
    else
        pieces->push_back(piece);
}

// Pieces in the direction of the reference.
void append(const std::vector<fit::Path> &paths, uint32_t reference,
            std::vector<fit::Piece> *pieces)
{
    const std::vector<fit::Piece> &own = paths[chainOf(reference)].pieces;
    const std::size_t begin = pieces->size();
    if (!isReversed(reference)) {
        for (const fit::Piece &piece : own)
            append(piece, begin, pieces);
        return;
    }
    for (auto piece = own.rbegin(); piece != own.rend(); ++piece)
        append(fit::reversed(*piece), begin, pieces);
}

double speed(const fit::Piece &piece, bool atEnd)
{
    const fit::Point d = piece.kind == fit::Kind::Quadratic
        ? (atEnd ? piece.end - piece.control : piece.control - piece.start)
        : (atEnd ? piece.end - piece.control2 : piece.control - piece.start);
    return std::sqrt(dot(d, d));
}

// A curve and a short line that stands for the part of it that goes on.
std::optional<fit::Piece> joinedWithLine(const fit::Piece &curve, const fit::Piece &line)
{
    const fit::Point d = line.end - line.start;
    const double length = std::sqrt(dot(d, d));
    fit::Piece whole = curve;
    if (length > kShortLine || curve.kind > fit::Kind::Cubic
        || curve.kind == fit::Kind::EllipticArc)
        return std::nullopt;
    if (curve.kind == fit::Kind::Arc) {
        const double radius = fit::arcShape(curve).radius;
        if (length >= radius || curve.bulge == 0)
            return std::nullopt;
        const double quarter = std::copysign(0.5 * std::asin(0.5 * length / radius), curve.bulge)
            + std::atan(curve.bulge);
        if (std::fabs(quarter) > kLargestArc)
            return std::nullopt;
        whole.bulge = std::tan(quarter);
    } else {
        const double pace = (curve.kind == fit::Kind::Cubic ? 3 : 2) * speed(curve, true);
        if (!(pace > length))
            return std::nullopt;
        whole = fit::cutOut(curve, 0, 1 + length / pace);
        const fit::Point gap = whole.end - line.end;
        if (std::sqrt(dot(gap, gap)) > kAsGoodAsLine)
            return std::nullopt;
    }
    whole.end = line.end;
    for (double t : { 0.25, 0.5, 0.75, 1.0 }) {
        if (distanceTo(whole, pointAt(curve, t)) > kJoinedWithin
            || distanceTo(whole, pointAt(line, t)) > kAsGoodAsLine)
            return std::nullopt;
    }
    return whole;
}

// One piece that is where two are, as the two parts of a curve that a node divides.
std::optional<fit::Piece> joined(const fit::Piece &a, const fit::Piece &b)
{
    if (a.kind != b.kind && b.kind == fit::Kind::Line)
        return joinedWithLine(a, b);
    if (a.kind != b.kind && a.kind == fit::Kind::Line) {
        const std::optional<fit::Piece> back = joinedWithLine(fit::reversed(b), fit::reversed(a));
        return back ? std::optional<fit::Piece>(fit::reversed(*back)) : std::nullopt;
    }
    if (a.kind != b.kind || fit::isWhole(a.kind) || a.kind == fit::Kind::EllipticArc)
        return std::nullopt;
    fit::Piece whole = a;
    if (a.kind == fit::Kind::Arc) {
        const double quarter = std::atan(a.bulge) + std::atan(b.bulge);
        if (a.bulge * b.bulge <= 0 || std::fabs(quarter) > kLargestArc)
            return std::nullopt;
        whole.bulge = std::tan(quarter);
    } else if (a.kind != fit::Kind::Line) {
        const double before = speed(a, true);
        const double after = speed(b, false);
        if (before <= 0 || after <= 0)
            return std::nullopt;
        whole = fit::cutOut(a, 0, 1 + after / before);
        const fit::Point gap = whole.end - b.end;
        if (std::sqrt(dot(gap, gap)) > kJoinedWithin)
            return std::nullopt;
    } else if (dot(a.end - a.start, b.end - b.start) <= 0) {
        return std::nullopt;
    }
    whole.end = b.end;
    for (double t : { 0.25, 0.5, 0.75, 1.0 }) {
        if (distanceTo(whole, pointAt(a, t)) > kJoinedWithin
            || distanceTo(whole, pointAt(b, t)) > kJoinedWithin)
            return std::nullopt;
    }
    return whole;
}

// Over the ends of chains as well. A ring begins where it does not go on.
void joinPieces(std::vector<fit::Piece> *pieces)
{
    std::size_t first = 0;
    while (first + 1 < pieces->size()
           && joined((*pieces)[(first + pieces->size() - 1) % pieces->size()], (*pieces)[first]))
        ++first;
    std::rotate(pieces->begin(), pieces->begin() + std::ptrdiff_t(first), pieces->end());
    std::size_t kept = 0;
    for (const fit::Piece &piece : *pieces) {
        const std::optional<fit::Piece> whole
            = kept == 0 ? std::nullopt : joined((*pieces)[kept - 1], piece);
        if (whole)
            (*pieces)[kept - 1] = *whole;
        else if (&(*pieces)[kept++] != &piece)
            (*pieces)[kept - 1] = piece;
    }
    pieces->erase(pieces->begin() + std::ptrdiff_t(kept), pieces->end());
}

} // namespace

Path FittedBoundaries::pathAlong(const uint32_t *references, std::size_t count,
                                 bool withNodes) const
{
    std::size_t most = 0;
    for (std::size_t k = 0; k < count; ++k)
        most += paths[chainOf(references[k])].pieces.size();
    std::vector<fit::Piece> pieces;
    pieces.reserve(most);
    for (std::size_t k = 0; k < count; ++k)
        append(paths, references[k], &pieces);
    if (!withNodes)
        joinPieces(&pieces);
    return pathOf(pieces, map.runs.height);
}

} // namespace ztrace
