// (c) the ztrace developers. Licence: see LICENSE.
#include "meetings.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace {

namespace {

using fit::Point;

const double kNear = 0.1;     // pixels
const int kChords = 16;       // of what is no line
const int kAround = 4;        // points on either side of a meeting that are fitted again with it
const int kWorthCutting = 12; // points of a piece
const double kAtJoint = 0.02; // of a piece

const double kCell = 16.0;       // pixels; most pieces are shorter
const double kMostCells = 256.0; // that a piece is put in

// The cells that a box may share with boxes near to it; columns and rows from -2^20 on.
struct CellRange
{
    int64_t left, top, right, bottom;

    double count() const { return double(right - left + 1) * double(bottom - top + 1); }

    template<typename Use>
    void forEach(const Use &use) const
    {
        for (int64_t row = top; row <= bottom; ++row) {
            for (int64_t column = left; column <= right; ++column)
                use((uint64_t(row + (1 << 20)) << 32) + uint64_t(column + (1 << 20)));
        }
    }
};

CellRange cellsOf(const fit::Box &box)
{
    const auto cell = [](double at) {
        const double most = double(1 << 19);
        return int64_t(std::floor(std::min(most, std::max(-most, at / kCell))));
    };
    return { cell(box.low.x - kNear), cell(box.low.y - kNear), cell(box.high.x + kNear),
             cell(box.high.y + kNear) };
}

fit::Box united(const fit::Box &a, const fit::Box &b)
{
    return { { std::min(a.low.x, b.low.x), std::min(a.low.y, b.low.y) },
             { std::max(a.high.x, b.high.x), std::max(a.high.y, b.high.y) } };
}

struct Chord
{
    Point a;
    Point b;
    double from; // of its piece
    double to;
};

std::vector<Chord> chordsOf(const fit::Piece &piece)
{
    const int count = piece.kind == fit::Kind::Line ? 1
        : fit::isWhole(piece.kind)                  ? 4 * kChords
                                                    : kChords;
    std::vector<Chord> chords;
    Point a = count == 1 ? piece.start : fit::pointAt(piece, 0);
    for (int k = 1; k <= count; ++k) {
        const Point b = count == 1 ? piece.end : fit::pointAt(piece, double(k) / count);
        chords.push_back({ a, b, double(k - 1) / count, double(k) / count });
        a = b;
    }
    return chords;
}

bool areApart(const fit::Box &a, const fit::Box &b)
{
    return a.high.x + kNear < b.low.x || b.high.x + kNear < a.low.x || a.high.y + kNear < b.low.y
        || b.high.y + kNear < a.low.y;
}

double alongChord(const Chord &chord, Point p)
{
    const Point d = chord.b - chord.a;
    const double square = dot(d, d);
    return square > 0 ? std::min(1.0, std::max(0.0, dot(p - chord.a, d) / square)) : 0;
}

bool isNear(const Chord &chord, Point p)
{
    const double t = alongChord(chord, p);
    const Point away = p - (chord.a + t * (chord.b - chord.a));
    return dot(away, away) <= kNear * kNear;
}

void widen(const Chord &chord, double t, Meeting *meeting)
{
    const double at = chord.from + t * (chord.to - chord.from);
    meeting->from = std::min(meeting->from, at);
    meeting->to = std::max(meeting->to, at);
}

// Where two chords cross; false where they do not.
bool crossingOf(const Chord &one, const Chord &other, double *t)
{
    const Point d = one.b - one.a;
    const Point e = other.b - other.a;
    const double determinant = cross(d, e);
    if (determinant == 0)
        return false;
    *t = cross(other.a - one.a, e) / determinant;
    const double u = cross(other.a - one.a, d) / determinant;
    return *t >= 0 && *t <= 1 && u >= 0 && u <= 1;
}

void addMeeting(const Chord &one, const Chord &other, Meeting *meeting)
{
    double t = 0;
    if (crossingOf(one, other, &t))
        widen(one, t, meeting);
    for (Point p : { other.a, other.b }) {
        if (isNear(one, p))
            widen(one, alongChord(one, p), meeting);
    }
    if (isNear(other, one.a))
        widen(one, 0, meeting);
    if (isNear(other, one.b))
        widen(one, 1, meeting);
}

// Of a piece and the one before or after it in the path.
void addCrossing(const Chord &one, const Chord &other, Point joint, Meeting *meeting)
{
    double t = 0;
    if (!crossingOf(one, other, &t))
        return;
    const Point away = one.a + t * (one.b - one.a) - joint;
    if (dot(away, away) > kNear * kNear)
        widen(one, t, meeting);
}

// Of the place on a line or an arc that is nearest to p.
double placeOf(const fit::Piece &piece, Point p)
{
    if (piece.kind == fit::Kind::Line || piece.bulge == 0)
        return alongChord({ piece.start, piece.end, 0, 1 }, p);
    const fit::ArcShape arc = fit::arcShape(piece);
    const Point from = piece.start - arc.centre;
    const Point to = p - arc.centre;
    const double angle = std::atan2(cross(from, to), dot(from, to)) / arc.sweep;
    const double turn = std::fabs(2 * std::acos(-1.0) / arc.sweep);
    return std::min(1.0, std::max(0.0, angle < 0.5 - 0.5 * turn ? angle + turn : angle));
}

fit::Piece part(const fit::Piece &piece, double from, double to, int first, int past)
{
    const Point a = from <= 0 ? piece.start : fit::pointAt(piece, from);
    const Point b = to >= 1 ? piece.end : fit::pointAt(piece, to);
    fit::Piece result = piece.kind == fit::Kind::Line
        ? fit::linePiece(a, b)
        : fit::arcPiece(a, b, std::tan((to - from) * std::atan(piece.bulge)));
    result.first = first;
    result.count = past - first;
    result.smooth = from <= 0 ? piece.smooth : true;
    return result;
}

// The piece in up to three, and which of them meets something.
void cut(const fit::Piece &piece, const Meeting &meeting, const ChainPoints &points,
         std::vector<fit::Piece> *pieces, std::vector<char> *meets)
{
    const int size = int(points.x.size());
    const auto add = [&](const fit::Piece &added, bool isMeeting) {
        pieces->push_back(added);
        meets->push_back(isMeeting);
    };
    const bool straight = piece.kind == fit::Kind::Line || piece.kind == fit::Kind::Arc;
    const auto placeOfPoint = [&](int k) {
        const auto i = std::size_t((piece.first + k) % size);
        return placeOf(piece, { points.x[i], points.y[i] });
    };
    if (meeting.isNone() || !straight || piece.count < kWorthCutting || piece.count > size) {
        add(piece, !meeting.isNone());
        return;
    }
    int begin = 0;
    while (begin < piece.count && placeOfPoint(begin) < meeting.from)
        ++begin;
    int end = piece.count;
    while (end > begin && placeOfPoint(end - 1) > meeting.to)
        --end;
    begin -= kAround;
    end += kAround;
    const double from = begin > 1 ? placeOfPoint(begin) : 0;
    const double to = end < piece.count - 1 ? placeOfPoint(end) : 1;
    if (!(from < to)) {
        add(piece, true);
        return;
    }
    const int first = from > 0 ? begin : 0;
    const int past = to < 1 ? end : piece.count;
    if (from > 0)
        add(part(piece, 0, from, piece.first, piece.first + first), false);
    add(part(piece, from, to, (piece.first + first) % size,
             (piece.first + first) % size + past - first),
        true);
    if (to < 1)
        add(part(piece, to, 1, (piece.first + past) % size,
                 (piece.first + past) % size + piece.count - past),
            false);
}

} // namespace

PiecePlaces::PiecePlaces(const fit::Path &path) : own(path)
{
    for (std::size_t k = 0; k < own.pieces.size(); ++k) {
        const fit::Box box = fit::boxOf(own.pieces[k]);
        boxes.push_back(box);
        all = k == 0 ? box : united(all, box);
        const CellRange range = cellsOf(box);
        if (range.count() > kMostCells) {
            large.push_back(uint32_t(k));
            continue;
        }
        range.forEach([&](uint64_t cell) { cells.emplace_back(cell, uint32_t(k)); });
    }
    std::sort(cells.begin(), cells.end());
}

void PiecePlaces::findNear(const fit::Box &box, std::vector<uint32_t> *pieces) const
{
    const CellRange range = cellsOf(box);
    if (range.count() > std::min(kMostCells, double(boxes.size()))) {
        pieces->resize(boxes.size());
        std::iota(pieces->begin(), pieces->end(), 0u);
        return;
    }
    *pieces = large;
    range.forEach([&](uint64_t cell) {
        auto place = std::lower_bound(cells.begin(), cells.end(), std::make_pair(cell, 0u));
        for (; place != cells.end() && place->first == cell; ++place)
            pieces->push_back(place->second);
    });
    std::sort(pieces->begin(), pieces->end());
    pieces->erase(std::unique(pieces->begin(), pieces->end()), pieces->end());
}

void addMeetings(const PiecePlaces &path, const PiecePlaces &other, std::vector<Meeting> *meetings)
{
    const std::vector<fit::Piece> &pieces = path.path().pieces;
    const bool isOwn = &path.path() == &other.path();
    const bool isClosed = path.path().closed;
    const std::size_t count = pieces.size();
    std::vector<uint32_t> near;
    std::vector<uint32_t> others;
    path.findNear(other.whole(), &near);
    for (std::size_t k : near) {
        std::vector<Chord> chords;
        other.findNear(path.box(k), &others);
        for (std::size_t i : others) {
            if ((isOwn && i == k) || areApart(path.box(k), other.box(i)))
                continue;
            if (chords.empty())
                chords = chordsOf(pieces[k]);
            const bool isNext = isOwn && (i == k + 1 || (isClosed && i == (k + 1) % count));
            const bool isBefore = isOwn && (k == i + 1 || (isClosed && k == (i + 1) % count));
            for (const Chord &chord : chordsOf(other.path().pieces[i])) {
                for (const Chord &one : chords) {
                    if (isNext || isBefore)
                        addCrossing(one, chord, isNext ? pieces[k].end : pieces[k].start,
                                    &(*meetings)[k]);
                    else
                        addMeeting(one, chord, &(*meetings)[k]);
                }
            }
        }
    }
}

std::vector<char> cutAround(const std::vector<Meeting> &meetings, const ChainPoints &points,
                            fit::Path *path)
{
    std::vector<fit::Piece> pieces;
    std::vector<char> meets;
    std::vector<char>
        beside; // pieces whose neighbours at the joint count as well: 1 before, 2 after
    for (std::size_t k = 0; k < path->pieces.size(); ++k) {
        const std::size_t before = pieces.size();
        cut(path->pieces[k], meetings[k], points, &pieces, &meets);
        beside.resize(pieces.size(), 0);
        if (meetings[k].isNone())
            continue;
        beside[before] = char(beside[before] | (meetings[k].from < kAtJoint ? 1 : 0));
        beside.back() = char(beside.back() | (meetings[k].to > 1 - kAtJoint ? 2 : 0));
    }
    const std::size_t count = pieces.size();
    for (std::size_t k = 0; k < count; ++k) {
        if ((beside[k] & 1) && (k > 0 || path->closed))
            meets[(k + count - 1) % count] = 1;
        if ((beside[k] & 2) && (k + 1 < count || path->closed))
            meets[(k + 1) % count] = 1;
    }
    path->pieces = std::move(pieces);
    return meets;
}

} // namespace ztrace
