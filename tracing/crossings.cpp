// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/crossings.h"

#include "tracing/hulls.h"
#include "tracing/touchingcorners.h"
#include "tracing/workers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace ztrace {

namespace {

using fit::Point;

const double kPi = 3.14159265358979323846;
const double kFlatness = 0.005; // pixels that chords may be off from their arc
const int kLeastChords = 4;     // of curves
const int kMostChords = 256;
const uint32_t kNoPath = uint32_t(-1);
const std::size_t kPairsAtOnce = 64; // that a thread takes; half a millisecond

struct Segment
{
    Point a;
    Point b;
    float offset;     // of its begin from that of its piece, along it
    float rest;       // from its end to that of its piece
    bool startsPiece; // or the piece goes on across a and b
    bool endsPiece;
    bool startsPath;
    bool endsPath;
};

// Chords of a curve are off by an eighth of its second derivative, over the square of their number.
int chordsOf(const fit::Piece &piece)
{
    const auto bend = [](Point a, Point b, Point c) {
        const Point d = a - 2.0 * b + c;
        return std::sqrt(dot(d, d));
    };
    double second = 0;
    switch (piece.kind) {
    case fit::Kind::Line:
        return 1;
    case fit::Kind::Quadratic:
    case fit::Kind::EllipticArc: // its weight makes it bend more at its ends
        second = 4 * bend(piece.start, piece.control, piece.end);
        break;
    case fit::Kind::Cubic:
        second = 6
            * std::max(bend(piece.start, piece.control, piece.control2),
                       bend(piece.control, piece.control2, piece.end));
        break;
    case fit::Kind::Arc: {
        const fit::ArcShape shape = arcShape(piece);
        second = piece.bulge != 0 ? shape.radius * shape.sweep * shape.sweep : 0;
        break;
    }
    default: {
        // The radius times the square of the sweep; at most all the way round.
        const fit::Box box = fit::boxOf(piece);
        second = 20 * std::max(box.high.x - box.low.x, box.high.y - box.low.y);
    }
    }
    return std::min(kMostChords, kLeastChords + int(std::sqrt(second / (8 * kFlatness))));
}

// The places of a piece at equal steps.
class Places
{
public:
    explicit Places(const fit::Piece &p) : piece(p), isArc(p.kind == fit::Kind::Arc && p.bulge != 0)
    {
        if (isArc)
            shape = arcShape(piece);
    }

    Point at(double t) const
    {
        if (!isArc)
            return pointAt(piece, t);
        const double angle = shape.startAngle + t * shape.sweep;
        return shape.centre + shape.radius * Point { std::cos(angle), std::sin(angle) };
    }

private:
    const fit::Piece &piece;
    const bool isArc;
    fit::ArcShape shape = {};
};

// The chords of one piece of a path.
void flatten(const fit::Path &path, uint32_t number, std::vector<Segment> *segments)
{
    const fit::Piece &piece = path.pieces[number];
    thread_local std::vector<double> ends;
    findEndsOfChords(piece, &ends);
    const bool isFirst = number == 0;
    const bool isLast = number + 1 == path.pieces.size();
    const bool whole = fit::isWhole(piece.kind);
    const Places places(piece);
    const std::size_t begin = segments->size();
    segments->reserve(begin + ends.size());
    double along = 0;
    Point a = whole ? places.at(0) : piece.start;
    for (std::size_t k = 0; k < ends.size(); ++k) {
        const bool isEnd = k + 1 == ends.size() && !whole;
        const Point b = isEnd ? piece.end : places.at(ends[k]);
        const bool starts = k == 0 && !whole;
        const double offset = along;
        along += std::sqrt(dot(b - a, b - a));
        segments->push_back({ a, b, float(offset), float(along), starts, isEnd, isFirst && starts,
                              isLast && isEnd });
        a = b;
    }
    for (std::size_t k = begin; k < segments->size(); ++k)
        (*segments)[k].rest = float(along - double((*segments)[k].rest));
}

bool isLine(const Segment &segment)
{
    return segment.startsPiece && segment.endsPiece;
}

bool areApart(const Segment &a, const Segment &b)
{
    return std::max(a.a.x, a.b.x) + kTouching < std::min(b.a.x, b.b.x)
        || std::max(b.a.x, b.b.x) + kTouching < std::min(a.a.x, a.b.x)
        || std::max(a.a.y, a.b.y) + kTouching < std::min(b.a.y, b.b.y)
        || std::max(b.a.y, b.b.y) + kTouching < std::min(a.a.y, a.b.y);
}

bool isLeft(const Segment &line, Point p)
{
    return cross(line.b - line.a, p - line.a) < 0;
}

// A point on the other line is on its right, so that of two chords that meet there one crosses.
bool crosses(const Segment &a, const Segment &b)
{
    return isLeft(a, b.a) != isLeft(a, b.b) && isLeft(b, a.a) != isLeft(b, a.b);
}

bool isSame(Point a, Point b)
{
    return a.x == b.x && a.y == b.y;
}

bool isNear(const Segment &line, Point p)
{
    const Point along = line.b - line.a;
    const double squared = dot(along, along);
    const double t = squared > 0 ? dot(p - line.a, along) / squared : 0.0;
    const Point off = p - line.a - std::min(std::max(t, 0.0), 1.0) * along;
    return dot(off, off) < kTouching * kTouching;
}

// Two lines from one point, one upon the other.
bool foldsBack(Point from, Point a, Point b)
{
    const auto line
        = [](Point p, Point q) { return Segment { p, q, 0, 0, true, true, true, true }; };
    return dot(a - from, b - from) > 0 && (isNear(line(from, a), b) || isNear(line(from, b), a));
}

bool endsAt(const Segment &a, const Segment &b)
{
    return (b.startsPiece && isNear(a, b.a)) || (b.endsPiece && isNear(a, b.b));
}

// Both come from one point: a node, where paths may end together, or a joint between them.
bool meetAt(bool isNode, bool oneCorner, Point from, const Segment &a, const Segment &b)
{
    if (!isNode && !oneCorner)
        return true;
    const Point one = isSame(a.a, from) ? a.b : a.a;
    const Point other = isSame(b.a, from) ? b.b : b.a;
    return isLine(a) && isLine(b) && foldsBack(from, one, other);
}

// The ways out of a joint of a path, back and onwards; false at the end of an open one.
bool waysOut(const fit::Path &path, uint32_t piece, bool atEnd, Point out[2])
{
    const std::vector<fit::Piece> &pieces = path.pieces;
    const std::size_t next = atEnd ? (piece + 1) % pieces.size() : piece;
    const std::size_t before = next > 0 ? next - 1 : pieces.size() - 1;
    if (!isSame(pieces[before].end, pieces[next].start))
        return false;
    out[0] = -1.0 * endTangent(pieces[before]);
    out[1] = startTangent(pieces[next]);
    return true;
}

// Where the pieces of a path begin along it, and its length in the end: those between two others
// as the crow flies, but corners of them, which may be no more than a turn on the spot.
std::vector<double> placesAlong(const fit::Path &path)
{
    std::vector<double> along(1, 0.0);
    for (const fit::Piece &piece : path.pieces) {
        const Hull hull = hullOf(piece);
        double length = std::sqrt(dot(piece.end - piece.start, piece.end - piece.start));
        if (length <= 2 * kSameCorner) {
            length = 0;
            for (int k = 1; k < hull.count; ++k) {
                const Point leg = hull.corner[k] - hull.corner[k - 1];
                length += std::sqrt(dot(leg, leg));
            }
        }
        along.push_back(along.back() + length);
    }
    return along;
}

// The chords of curves, which are compared with many: those that were asked for last.
class Flattened
{
public:
    const std::vector<Segment> &of(const fit::Path &path, const PlaceOfPiece &place)
    {
        Kept &kept = all[(place.path * 31 + place.piece) % kKept];
        if (!kept.isSet || !(kept.place == place)) {
            kept.isSet = true;
            kept.place = place;
            kept.segments.clear();
            flatten(path, place.piece, &kept.segments);
        }
        return kept.segments;
    }

private:
    static constexpr std::size_t kKept = 64; // 1 MB a thread at the most
    struct Kept
    {
        bool isSet = false;
        PlaceOfPiece place = {};
        std::vector<Segment> segments;
    };
    std::array<Kept, kKept> all;
};

// Compares pieces chord by chord.
class Comparison
{
public:
    explicit Comparison(const std::vector<fit::Path> &p) : paths(p) { }

    bool meets(const PiecePair &p)
    {
        pair = p;
        own = pair.a.path == pair.b.path;
        if (own && pair.a.path != pathOfAlong) {
            along = placesAlong(paths[pair.a.path]);
            pathOfAlong = pair.a.path;
        }
        takeChords(pair.a, &ones);
        if (pair.a == pair.b)
            return meetsItself(pair.a.piece);
        takeChords(pair.b, &others);
        for (const Segment &one : ones) {
            for (const Segment &other : others) {
                if (!areApart(one, other)
                    && meet(one, other,
                            own && areOneCorner(one, pair.a.piece, other, pair.b.piece)))
                    return true;
            }
        }
        return false;
    }

private:
    // The chords that may meet what the pair has in common.
    void takeChords(const PlaceOfPiece &place, std::vector<Segment> *segments)
    {
        const auto outside = [this](const Segment &s) {
            return std::max(s.a.x, s.b.x) < pair.common.low.x
                || std::min(s.a.x, s.b.x) > pair.common.high.x
                || std::max(s.a.y, s.b.y) < pair.common.low.y
                || std::min(s.a.y, s.b.y) > pair.common.high.y;
        };
        const std::vector<Segment> &all = flattened.of(paths[place.path], place);
        segments->clear();
        std::remove_copy_if(all.begin(), all.end(), std::back_inserter(*segments), outside);
    }

    // Segments of one corner do not meet unless they fold back.
    bool meet(const Segment &a, const Segment &b, bool oneCorner) const
    {
        if (isSame(a.a, b.a))
            return meetAt((a.startsPath && b.startsPath) || touch(a, false, b, false), oneCorner,
                          a.a, a, b);
        if (isSame(a.a, b.b))
            return meetAt((a.startsPath && b.endsPath) || touch(a, false, b, true), oneCorner, a.a,
                          a, b);
        if (isSame(a.b, b.a))
            return meetAt((a.endsPath && b.startsPath) || touch(a, true, b, false), oneCorner, a.b,
                          a, b);
        if (isSame(a.b, b.b))
            return meetAt((a.endsPath && b.endsPath) || touch(a, true, b, true), oneCorner, a.b, a,
                          b);
        return crosses(a, b) || (!oneCorner && (endsAt(a, b) || endsAt(b, a)));
    }

    // Whether two segments from one point are of corners that touch there, of areas corner to
    // corner.
    bool touch(const Segment &a, bool atEndOfA, const Segment &b, bool atEndOfB) const
    {
        if (!(atEndOfA ? a.endsPiece : a.startsPiece) || !(atEndOfB ? b.endsPiece : b.startsPiece))
            return false;
        Point one[2], other[2];
        return waysOut(paths[pair.a.path], pair.a.piece, atEndOfA, one)
            && waysOut(paths[pair.b.path], pair.b.piece, atEndOfB, other)
            && goOnInEachOther(one, other);
    }

    bool meetsItself(uint32_t piece) const
    {
        for (std::size_t k = 0; k < ones.size(); ++k) {
            for (std::size_t i = k + 1; i < ones.size(); ++i) {
                if (!areApart(ones[k], ones[i])
                    && meet(ones[k], ones[i], areOneCorner(ones[k], piece, ones[i], piece)))
                    return true;
            }
        }
        return false;
    }

    // Whether the path comes to both of them without having gone away between.
    bool areOneCorner(const Segment &a, uint32_t pieceOfA, const Segment &b,
                      uint32_t pieceOfB) const
    {
        if (pieceOfB < pieceOfA || (pieceOfB == pieceOfA && b.offset < a.offset))
            return areOneCorner(b, pieceOfB, a, pieceOfA);
        const double around = double(b.rest) + along.back() - along[pieceOfB + 1] + along[pieceOfA]
            + double(a.offset);
        const double gap = pieceOfA == pieceOfB
            ? double(b.offset - a.offset) - std::sqrt(dot(a.b - a.a, a.b - a.a))
            : double(a.rest) + along[pieceOfB] - along[pieceOfA + 1] + double(b.offset);
        return std::min(gap, around) < kSameCorner;
    }

    const std::vector<fit::Path> &paths;
    PiecePair pair = {};
    bool own = false;
    std::vector<double> along; // per piece of the path, where both are of one
    uint32_t pathOfAlong = kNoPath;
    Flattened flattened;
    std::vector<Segment> ones;
    std::vector<Segment> others;
};

} // namespace

// A rectangle's corners are among them: chords across them would not meet what pokes in there.
void findEndsOfChords(const fit::Piece &piece, std::vector<double> *result)
{
    std::vector<double> &ends = *result;
    ends.clear();
    const int count = chordsOf(piece);
    for (int k = 1; k <= count; ++k)
        ends.push_back(double(k) / count);
    if (piece.kind != fit::Kind::RoundedRectangle)
        return;
    const double radius = std::min(piece.radius, std::min(piece.half[0], piece.half[1]));
    const double upright = piece.half[1] - radius;
    const double round = 0.5 * kPi * radius;
    const double quarter = piece.half[0] - radius + upright + round;
    for (int side = 0; quarter > 0 && side < 4; ++side) {
        for (double at : { upright / quarter, (upright + round) / quarter })
            ends.push_back(0.25 * (side % 2 == 0 ? side + at : side + 1 - at));
    }
    std::sort(ends.begin(), ends.end());
}

std::vector<std::pair<uint32_t, uint32_t>> crossingsOf(const std::vector<fit::Path> &paths,
                                                       int width, int height,
                                                       const std::vector<char> &looked,
                                                       unsigned threads)
{
    const std::vector<PiecePair> near = piecesThatMayMeet(paths, width, height, looked, threads);
    std::vector<char> meet(near.size());
    const std::size_t parts = (near.size() + kPairsAtOnce - 1) / kPairsAtOnce;
    forEachOnThreads(parts, threads, [&](std::size_t part) {
        Comparison comparison(paths);
        for (std::size_t k = part * kPairsAtOnce;
             k < std::min(near.size(), (part + 1) * kPairsAtOnce); ++k)
            meet[k] = comparison.meets(near[k]);
    });
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    for (std::size_t k = 0; k < near.size(); ++k) {
        const auto pair = std::make_pair(near[k].a.path, near[k].b.path);
        if (meet[k] && (pairs.empty() || pairs.back() != pair))
            pairs.push_back(pair);
    }
    return pairs;
}

} // namespace ztrace
