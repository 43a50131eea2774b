// (c) the ztrace developers. Licence: see LICENSE.
#include "meetings.h"

#include "crossings.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ztrace {

namespace {

using fit::Point;

const double kNear = 0.1; // pixels
// The same, with what rounding may do: chords whose boxes are that far apart do not meet.
const double kPlainlyApart = kNear + 1e-6;
// Points on either side of a meeting that are fitted again with it, and of a piece that is cut; of
// soft edges each point tells the place.
const int kAround = 4;
const int kAroundSoft = 2;
const int kWorthCutting = 12;
const int kWorthCuttingSoft = 7;
const int kLeastBetween = 3;  // points that stay between two of its meetings
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
    fit::Box box;
};

fit::Box boxBetween(Point a, Point b)
{
    return { { std::min(a.x, b.x), std::min(a.y, b.y) },
             { std::max(a.x, b.x), std::max(a.y, b.y) } };
}

std::vector<Chord> chordsOf(const fit::Piece &piece)
{
    std::vector<double> ends;
    findEndsOfChords(piece, &ends);
    std::vector<Chord> chords;
    Point a = fit::isWhole(piece.kind) ? fit::pointAt(piece, 0) : piece.start;
    double from = 0;
    for (double to : ends) {
        const Point b = to < 1         ? fit::pointAt(piece, to)
            : fit::isWhole(piece.kind) ? fit::pointAt(piece, 1)
                                       : piece.end;
        chords.push_back({ a, b, from, to, boxBetween(a, b) });
        a = b;
        from = to;
    }
    return chords;
}

bool areApart(const fit::Box &a, const fit::Box &b, double near = kNear)
{
    return a.high.x + near < b.low.x || b.high.x + near < a.low.x || a.high.y + near < b.low.y
        || b.high.y + near < a.low.y;
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

// What two chords have in common, as places on the first one.
struct Common
{
    double from = 1;
    double to = 0;

    void include(double t)
    {
        from = std::min(from, t);
        to = std::max(to, t);
    }
};

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

Common commonOf(const Chord &one, const Chord &other)
{
    Common common;
    double t = 0;
    if (crossingOf(one, other, &t))
        common.include(t);
    for (Point p : { other.a, other.b }) {
        if (isNear(one, p))
            common.include(alongChord(one, p));
    }
    if (isNear(other, one.a))
        common.include(0);
    if (isNear(other, one.b))
        common.include(1);
    return common;
}

// Of a piece and the one before or after it in the path.
Common crossed(const Chord &one, const Chord &other, Point joint)
{
    Common common;
    double t = 0;
    if (!crossingOf(one, other, &t))
        return common;
    const Point away = one.a + t * (one.b - one.a) - joint;
    if (dot(away, away) > kNear * kNear)
        common.include(t);
    return common;
}

void add(const Chord &chord, const Common &common, Meeting *meeting)
{
    const double length = chord.to - chord.from;
    if (common.from <= common.to)
        meeting->add(chord.from + common.from * length, chord.from + common.to * length);
}

// Of the place on a line or an arc that is nearest to p.
double placeOf(const fit::Piece &piece, Point p)
{
    if (piece.kind == fit::Kind::Line || piece.bulge == 0)
        return alongChord({ piece.start, piece.end, 0, 1, {} }, p);
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

// Whether the piece is long enough for a part of it to stay.
bool isWorthCutting(const fit::Piece &piece, bool soft)
{
    return (piece.kind == fit::Kind::Line || piece.kind == fit::Kind::Arc)
        && piece.count >= (soft ? kWorthCuttingSoft : kWorthCutting);
}

int aroundOf(bool soft)
{
    return soft ? kAroundSoft : kAround;
}

// Of the points of a piece, `begin` to before `end`.
struct PointRange
{
    int begin;
    int end;
};

// Those that are fitted again because of its meetings, in order; `places` are where the points are
// on the piece.
std::vector<PointRange> rangesOf(const Meeting &meeting, const std::vector<double> &places,
                                 int around)
{
    std::vector<Meeting::Stretch> stretches = meeting.all();
    std::sort(stretches.begin(), stretches.end(),
              [](const Meeting::Stretch &a, const Meeting::Stretch &b) { return a.from < b.from; });
    const int count = int(places.size());
    std::vector<PointRange> ranges;
    for (const Meeting::Stretch &stretch : stretches) {
        int begin = 0;
        while (begin < count && places[std::size_t(begin)] < stretch.from)
            ++begin;
        int end = count;
        while (end > begin && places[std::size_t(end - 1)] > stretch.to)
            --end;
        begin = std::max(0, begin - around);
        end = std::min(count, end + around);
        if (ranges.empty() || begin - ranges.back().end >= kLeastBetween)
            ranges.push_back({ begin, end });
        if (begin - ranges.back().end < kLeastBetween)
            ranges.back().end = std::max(ranges.back().end, end);
    }
    return ranges;
}

// The piece in parts, and which of them meets something.
void cut(const fit::Piece &piece, const Meeting &meeting, const ChainPoints &points,
         std::vector<fit::Piece> *pieces, std::vector<char> *meets)
{
    const int size = int(points.x.size());
    if (meeting.isNone() || !isWorthCutting(piece, points.isSoft()) || piece.count > size) {
        pieces->push_back(piece);
        meets->push_back(!meeting.isNone());
        return;
    }
    std::vector<double> places;
    for (int k = 0; k < piece.count; ++k) {
        const auto i = std::size_t((piece.first + k) % size);
        places.push_back(placeOf(piece, { points.x[i], points.y[i] }));
    }
    double at = 0;
    int number = 0;
    const auto addTo = [&](double place, int point, bool isMeeting) {
        const int first = (piece.first + number) % size;
        pieces->push_back(part(piece, at, place, first, first + point - number));
        meets->push_back(isMeeting);
        at = place;
        number = point;
    };
    for (const PointRange &range : rangesOf(meeting, places, aroundOf(points.isSoft()))) {
        const bool atStart = range.begin <= 1;
        const bool atEnd = range.end >= piece.count - 1;
        const double from = atStart ? 0 : places[std::size_t(range.begin)];
        const double to = atEnd ? 1 : places[std::size_t(range.end)];
        if (!(from < to) || from < at)
            continue;
        if (from > at)
            addTo(from, range.begin, false);
        addTo(to, atEnd ? piece.count : range.end, true);
    }
    if (at < 1)
        addTo(1, piece.count, at == 0);
}

} // namespace

double Meeting::from() const
{
    double least = 1;
    for (const Stretch &stretch : stretches)
        least = std::min(least, stretch.from);
    return least;
}

double Meeting::to() const
{
    double most = 0;
    for (const Stretch &stretch : stretches)
        most = std::max(most, stretch.to);
    return most;
}

void Meeting::add(double from, double to)
{
    if (!stretches.empty() && from <= stretches.back().to && stretches.back().from <= to) {
        stretches.back().from = std::min(stretches.back().from, from);
        stretches.back().to = std::max(stretches.back().to, to);
    } else {
        stretches.push_back({ from, to });
    }
}

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

namespace {

// The chords of a path's pieces, of each when it is first asked for.
class ChordsOfPieces
{
public:
    explicit ChordsOfPieces(const fit::Path &p) : path(p), kept(p.pieces.size()) { }

    const std::vector<Chord> &of(std::size_t piece)
    {
        if (kept[piece].empty())
            kept[piece] = chordsOf(path.pieces[piece]);
        return kept[piece];
    }

private:
    const fit::Path &path;
    std::vector<std::vector<Chord>> kept;
};

// Of piece k of a path, by the chords of a piece that is not joined to it.
void addCommon(const std::vector<Chord> &chords, const fit::Box &box,
               const std::vector<Chord> &others, Meeting *meeting)
{
    for (const Chord &chord : others) {
        if (areApart(box, chord.box, kPlainlyApart))
            continue;
        for (const Chord &one : chords) {
            if (!areApart(one.box, chord.box, kPlainlyApart))
                add(one, commonOf(one, chord), meeting);
        }
    }
}

// The same, of one that is joined to it.
void addCrossed(const std::vector<Chord> &chords, const std::vector<Chord> &others, Point joint,
                Meeting *meeting)
{
    for (const Chord &chord : others) {
        for (const Chord &one : chords)
            add(one, crossed(one, chord, joint), meeting);
    }
}

} // namespace

void addMeetings(const PiecePlaces &path, const PiecePlaces &other, std::vector<Meeting> *meetings)
{
    const std::vector<fit::Piece> &pieces = path.path().pieces;
    const bool isOwn = &path.path() == &other.path();
    const bool isClosed = path.path().closed;
    const std::size_t count = pieces.size();
    std::vector<uint32_t> near;
    std::vector<uint32_t> others;
    ChordsOfPieces chordsOfOthers(other.path());
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
            if (isNext || isBefore)
                addCrossed(chords, chordsOfOthers.of(i), isNext ? pieces[k].end : pieces[k].start,
                           &(*meetings)[k]);
            else
                addCommon(chords, path.box(k), chordsOfOthers.of(i), &(*meetings)[k]);
        }
    }
}

void spreadMeetings(const fit::Path &path, bool soft, int steps, std::vector<Meeting> *meetings)
{
    const std::size_t count = path.pieces.size();
    for (int step = 0; step < steps; ++step) {
        const std::vector<Meeting> before = *meetings;
        for (std::size_t k = 0; k < count; ++k) {
            if (before[k].isNone())
                continue;
            const fit::Piece &piece = path.pieces[k];
            const bool isShort = !isWorthCutting(piece, soft);
            if ((k + 1 < count || path.closed)
                && (isShort || (1 - before[k].to()) * piece.count <= aroundOf(soft)))
                (*meetings)[(k + 1) % count].add(0, 0);
            if ((k > 0 || path.closed)
                && (isShort || before[k].from() * piece.count <= aroundOf(soft)))
                (*meetings)[(k + count - 1) % count].add(1, 1);
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
        beside[before] = char(beside[before] | (meetings[k].from() < kAtJoint ? 1 : 0));
        beside.back() = char(beside.back() | (meetings[k].to() > 1 - kAtJoint ? 2 : 0));
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
