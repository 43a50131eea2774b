// (c) the ztrace developers. Licence: see LICENSE.
#include "chainfit.h"
#include "fit/areashapes.h"
#include "fit/segment.h"
#include "meetings.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

namespace ztrace {

namespace {

const double kCheaper = 0.4; // of the price of a number, where the first fit is not good enough
const int kCheaperTimes = 3;
const double kFar = 0.45;        // pixels from the path that a point may be
const double kFarBySigma = 4;    // standard deviations, where that is more
const double kFarOfStairs = 1.0; // pixels; of hard edges, whose points are half a pixel off anyway
const double kFarOfWhole = 0.85; // the same of circles and other whole shapes
const double kLeftOutWithin
    = 0.6;               // pixels from the path; the program allows .45 from its free fits
const double kTip = 0.5; // pixels more by which corners stand out from the line through the points
const int kLeftOutAtOnce = 4; // points
// Points beside a joint that may lie beyond it: of soft edges the one from which it was cut.
const int kMostBehind = 6;
const int kMostBehindSoft = 1;
const double kLeastAhead = 0.25; // pixels from a joint along the path to the next point of it
const int kSamples = 5;          // of a piece that are looked at
const double kHalfTurn = 3.14159265358979323846; // radians

fit::Chain viewOf(const ChainPoints &p, bool closed)
{
    return { p.x.data(), p.y.data(), p.sigma.data(), int(p.x.size()),
             closed,     p.edge,     !closed,        !closed };
}

// What a Path of a drawing can hold: no elliptic arcs; ellipses go in as four cubics.
fit::Settings usualSettings()
{
    fit::Prices prices = fit::svgPrices();
    prices.ellipticArc = fit::kNotOffered;
    return fit::settingsFor(prices);
}

double farFrom(const ChainPoints &points, int k)
{
    if (!points.isSoft())
        return points.sigma[std::size_t(k)] > fit::kHardFloor ? kFarOfStairs : kFar;
    return std::min(kFarFromPoints, std::max(kFar, kFarBySigma * points.sigma[std::size_t(k)]));
}

// A piece whose distance from many points is asked for.
class Probe
{
public:
    explicit Probe(const fit::Piece &p) : piece(p) { }

    // Whether distanceTo(piece, q) <= most: most points are, which a place of the piece near to
    // them tells at once.
    bool isWithin(fit::Point q, double most)
    {
        if (piece.kind == fit::Kind::Arc && piece.bulge != 0)
            return isWithinOfArc(q, most);
        if (!isCurved())
            return distanceTo(piece, q) <= most;
        if (places.empty())
            takePlaces();
        // Around the place that the last point was near to, then all of them: points come in the
        // order of the walk.
        if (isNear(last, q, most) || (last + 1 < places.size() && isNear(last + 1, q, most)))
            return true;
        for (std::size_t k = 0; k < places.size(); ++k) {
            if (isNear(k, q, most))
                return true;
        }
        return distanceTo(piece, q) <= most;
    }

    // pointAt(piece, t).
    fit::Point at(double t)
    {
        if (piece.kind != fit::Kind::Arc || piece.bulge == 0)
            return pointAt(piece, t);
        const double angle = ofArc().startAngle + t * ofArc().sweep;
        return shape.centre + shape.radius * fit::Point { std::cos(angle), std::sin(angle) };
    }

private:
    const fit::ArcShape &ofArc()
    {
        if (!hasShape)
            shape = arcShape(piece);
        hasShape = true;
        return shape;
    }

    bool isCurved() const
    {
        return piece.kind == fit::Kind::Ellipse || piece.kind == fit::Kind::Quadratic
            || piece.kind == fit::Kind::Cubic || piece.kind == fit::Kind::EllipticArc;
    }

    // The places from which distanceTo sets out, so that it never finds a farther one.
    void takePlaces()
    {
        for (int k = 0; k <= fit::kPlacesOnCurve; ++k)
            places.push_back(pointAt(piece, double(k) / fit::kPlacesOnCurve));
    }

    bool isNear(std::size_t place, fit::Point q, double most)
    {
        const fit::Point gap = places[place] - q;
        if (!(std::sqrt(dot(gap, gap)) <= most))
            return false;
        last = place;
        return true;
    }

    // Beside the arc by the signs of two products; beyond its ends it is they that are near.
    bool isWithinOfArc(fit::Point q, double most)
    {
        const fit::Point d = q - ofArc().centre;
        const double side = shape.sweep < 0 ? -1 : 1;
        const bool afterStart = side * cross(piece.start - shape.centre, d) >= 0;
        const bool beforeEnd = side * cross(d, piece.end - shape.centre) >= 0;
        const bool wide = std::fabs(shape.sweep) > kHalfTurn;
        if (wide ? afterStart || beforeEnd : afterStart && beforeEnd)
            return std::fabs(std::sqrt(dot(d, d)) - shape.radius) <= most;
        const fit::Point a = q - piece.start;
        const fit::Point b = q - piece.end;
        return std::sqrt(std::min(dot(a, a), dot(b, b))) <= most;
    }

    const fit::Piece &piece;
    bool hasShape = false;
    fit::ArcShape shape = {};
    std::vector<fit::Point> places;
    std::size_t last = 0;
};

// Point k, before the first and past the last one round a closed chain, of an open one its ends.
fit::Point pointOf(const ChainPoints &points, bool closed, int k)
{
    const int size = int(points.x.size());
    int i = k;
    while (i < 0)
        i = closed ? i + size : 0;
    while (i >= size)
        i = closed ? i - size : size - 1;
    return { points.x[std::size_t(i)], points.y[std::size_t(i)] };
}

// Whether a place some way along a piece is within `most` pixels of the line through the points
// that it explains, the ones beside it included. It begins with the points that are as far along.
bool isBeside(fit::Point p, double part, const ChainPoints &points, bool closed,
              const fit::Piece &piece, double most)
{
    const int begin = piece.first - 2;
    const int end = piece.first + piece.count + 1;
    const auto isNear = [&](int k) {
        return toSegment(p, pointOf(points, closed, k), pointOf(points, closed, k + 1)) <= most;
    };
    const int middle = std::min(end - 1, piece.first + int(part * piece.count));
    for (int k = middle, i = middle - 1; k < end || i >= begin; ++k, --i) {
        if ((k < end && isNear(k)) || (i >= begin && isNear(i)))
            return true;
    }
    return false;
}

// Where the points that a piece explains lie neither on it nor on those beside it, as shares of it;
// all of it where it is not near the line through them.
Meeting missedBy(const std::vector<fit::Piece> &pieces, std::size_t number,
                 std::vector<Probe> *probes, const ChainPoints &points, bool closed)
{
    const fit::Piece &piece = pieces[number];
    const int size = int(points.x.size());
    const std::size_t before = (number + pieces.size() - 1) % pieces.size();
    const std::size_t after = (number + 1) % pieces.size();
    const bool whole = fit::isWhole(piece.kind) && !points.isSoft();
    double far = farFrom(points, piece.first % size);
    Meeting all;
    all.add(0, 1);
    Meeting missed;
    for (int k = 0; k < piece.count; ++k) {
        const int i = piece.first + k;
        const double most = whole ? kFarOfWhole : farFrom(points, i % size);
        far = std::max(far, most);
        const fit::Point p = pointOf(points, closed, i);
        if ((*probes)[number].isWithin(p, most) || (*probes)[before].isWithin(p, most)
            || (*probes)[after].isWithin(p, most))
            continue;
        missed.add(double(k) / piece.count, double(k + 1) / piece.count);
    }
    for (int sample = 1; sample < kSamples; ++sample) {
        const double part = double(sample) / kSamples;
        if (!isBeside((*probes)[number].at(part), part, points, closed, piece, far + kTip))
            return all;
    }
    return missed;
}

// Points beside corners may be left out where pixels see both sides, but serifs, caps and small
// radii are made of such points, too. Marks the pieces beside points that were left out wrongly.
void markLeftOut(const fit::Path &path, const ChainPoints &points, std::vector<Probe> *probes,
                 std::vector<char> *bad)
{
    const int size = int(points.x.size());
    std::vector<char> explained(std::size_t(size), 0);
    for (const fit::Piece &piece : path.pieces) {
        for (int k = 0; k < piece.count; ++k)
            explained[std::size_t((piece.first + k) % size)] = 1;
    }
    for (int k = 0; k < size; ++k) {
        if (explained[std::size_t(k)])
            continue;
        const fit::Point p = { points.x[std::size_t(k)], points.y[std::size_t(k)] };
        std::vector<std::size_t> beside;
        bool near = false;
        for (std::size_t i = 0; i < path.pieces.size() && !near; ++i) {
            const fit::Piece &piece = path.pieces[i];
            const int after = k - piece.first + (k < piece.first ? size : 0);
            if (after > piece.count + kLeftOutAtOnce && after < size - kLeftOutAtOnce)
                continue;
            near = (*probes)[i].isWithin(p, kLeftOutWithin);
            beside.push_back(i);
        }
        for (std::size_t i : near ? std::vector<std::size_t>() : beside)
            (*bad)[i] = 1;
    }
}

// Whether the chords of the pieces on either side of one cross: its corners are the wrong way
// round.
bool isTwisted(const std::vector<fit::Piece> &pieces, std::size_t number, bool closed)
{
    const std::size_t count = pieces.size();
    if (count < 4 || (!closed && (number == 0 || number + 1 == count)))
        return false;
    const fit::Piece &a = pieces[(number + count - 1) % count];
    const fit::Piece &b = pieces[(number + 1) % count];
    if (a.kind != fit::Kind::Line || b.kind != fit::Kind::Line)
        return false;
    const auto side = [](const fit::Piece &piece, fit::Point p) {
        return cross(piece.end - piece.start, p - piece.start);
    };
    return side(a, b.start) * side(a, b.end) < 0 && side(b, a.start) * side(b, a.end) < 0;
}

// Per piece whether it is not where its points are; one more that is set where the path as a whole
// is none.
std::vector<char> badPieces(const fit::Path &path, const ChainPoints &points, bool closed)
{
    const std::size_t count = path.pieces.size();
    std::vector<char> bad(count + 1, 0);
    bad[count] = count == 0 || (closed && count == 1 && !fit::isWhole(path.pieces.front().kind));
    std::vector<Probe> probes(path.pieces.begin(), path.pieces.end());
    for (std::size_t k = 0; k < count; ++k)
        bad[k] = !missedBy(path.pieces, k, &probes, points, closed).isNone()
            || isTwisted(path.pieces, k, closed);
    if (points.isSoft())
        markLeftOut(path, points, &probes, &bad);
    // A joint beside a bad piece is a bad one.
    const std::vector<char> found = bad;
    for (std::size_t k = 0; k < count; ++k) {
        if (!found[k])
            continue;
        if (k > 0 || closed)
            bad[(k + count - 1) % count] = 1;
        if (k + 1 < count || closed)
            bad[(k + 1) % count] = 1;
    }
    return bad;
}

bool isGood(const std::vector<char> &bad)
{
    return std::none_of(bad.begin(), bad.end(), [](char b) { return b; });
}

fit::Path lineByLine(const ChainPoints &points, bool closed)
{
    fit::Path path = {};
    path.closed = closed;
    const std::size_t size = points.x.size();
    for (std::size_t k = 0; k + (closed ? 0 : 1) < size; ++k) {
        const std::size_t next = (k + 1) % size;
        path.pieces.push_back(
            fit::linePiece({ points.x[k], points.y[k] }, { points.x[next], points.y[next] }));
        path.pieces.back().first = int(k);
        path.pieces.back().count = 1;
    }
    return path;
}

// The points of a stretch of a path between two places.
struct Part
{
    ChainPoints points; // the first and the last one are the places
    int first;          // number of the second one in all
    int count;          // without the places
    int size;           // of all
};

// How many of the points from `first` on in steps of `step` do not lie ahead of a place in the
// direction that the path takes there. A joint of a staircase is where two fits meet, some pixels
// from the points that tell them apart; a line through all of these would go to and fro.
int countBehind(fit::Point place, fit::Point direction, const ChainPoints &points, bool closed,
                int first, int step, int most)
{
    int behind = 0;
    for (int k = 0; k < std::min(most, points.isSoft() ? kMostBehindSoft : kMostBehind); ++k) {
        if (dot(pointOf(points, closed, first + k * step) - place, direction) <= kLeastAhead)
            behind = k + 1;
    }
    return behind;
}

// Of the pieces from `from` to before `to`, between where the first one begins and the last one
// ends.
Part partOf(const std::vector<fit::Piece> &pieces, std::size_t from, std::size_t to,
            const ChainPoints &points, bool closed)
{
    const int size = int(points.x.size());
    Part part = { {}, pieces[from].first, 0, size };
    part.points.edge = points.edge;
    const auto add = [&](fit::Point p, double sigma, uint32_t crack) {
        part.points.x.push_back(p.x);
        part.points.y.push_back(p.y);
        part.points.crack.push_back(crack);
        part.points.sigma.push_back(sigma);
    };
    const fit::Piece &last = pieces[to - 1];
    const int end = last.first + last.count;
    int count = ((end - pieces[from].first) % size + size) % size;
    const int explained = std::accumulate(
        pieces.begin() + std::ptrdiff_t(from), pieces.begin() + std::ptrdiff_t(to), 0,
        [](int sum, const fit::Piece &p) { return sum + p.count; });
    // All of them, where what is left is a cap without points of its own. Where points are left out
    // a stretch may seem to end before it begins: that is not once around.
    if (count == 0 && 2 * explained > size)
        count = size;
    else if (2 * (count - explained) > size)
        count = 0;
    // Points that are left out beside the stretch have their cracks in it.
    const auto crackOf = [&](int k) { return points.crack[std::size_t((k + size) % size)]; };
    const fit::Piece &before = pieces[from > 0 ? from - 1 : pieces.size() - 1];
    uint32_t past = to < pieces.size() ? crackOf(pieces[to].first)
        : closed                       ? crackOf(pieces.front().first)
                                       : crackOf(size - 1);
    uint32_t crack = from > 0 || closed ? crackOf(before.first + before.count - 1) + 1 : crackOf(0);
    const int behind = countBehind(pieces[from].start, startTangent(pieces[from]), points, closed,
                                   part.first, 1, count);
    part.first += behind;
    count -= behind;
    const int ahead = countBehind(last.end, -1.0 * endTangent(last), points, closed,
                                  part.first + count - 1, -1, count);
    count -= ahead;
    if (behind > 0 && count > 0)
        crack = crackOf(part.first);
    if (ahead > 0 && count > 0)
        past = crackOf(part.first + count - 1) + 1;
    part.count = count;
    add(pieces[from].start, fit::kSoftSigma, crack);
    for (int k = 0; k < count; ++k) {
        const auto i = std::size_t((part.first + k) % size);
        add({ points.x[i], points.y[i] }, points.sigma[i], points.crack[i]);
    }
    add(last.end, fit::kSoftSigma, past);
    return part;
}

// Of a piece that was fitted to a part: the points that it explains, by their numbers in all.
void renumber(const Part &part, fit::Piece *piece)
{
    const int begin = std::max(0, piece->first - 1);
    const int end = std::max(begin, std::min(part.count, piece->first + piece->count - 1));
    piece->first = (part.first + begin) % part.size;
    piece->count = end - begin;
}

// Fits the bad stretches of a path once more, each by itself; the rest stays.
template<typename Fit>
fit::Path repaired(fit::Path path, std::vector<char> bad, const ChainPoints &points, bool closed,
                   const Fit &fitAgain)
{
    std::vector<fit::Piece> pieces = path.pieces;
    if (closed) {
        // No bad stretch goes over the end.
        const auto good = std::find(bad.begin(), bad.end() - 1, 0) - bad.begin();
        std::rotate(pieces.begin(), pieces.begin() + good, pieces.end());
        std::rotate(bad.begin(), bad.begin() + good, bad.end() - 1);
    }
    path.pieces.clear();
    for (std::size_t from = 0; from < pieces.size();) {
        if (!bad[from]) {
            path.pieces.push_back(pieces[from++]);
            continue;
        }
        std::size_t to = from + 1;
        while (to < pieces.size() && bad[to])
            ++to;
        const Part part = partOf(pieces, from, to, points, closed);
        fit::Path again = fitAgain(part.points);
        for (fit::Piece &piece : again.pieces)
            renumber(part, &piece);
        path.pieces.insert(path.pieces.end(), again.pieces.begin(), again.pieces.end());
        path.pieces[path.pieces.size() - again.pieces.size()].smooth = false;
        if (to < pieces.size())
            pieces[to].smooth = false;
        else if (closed)
            path.pieces.front().smooth = false;
        from = to;
    }
    return path;
}

fit::Path fitCloser(const ChainPoints &points, bool closed, int times, bool shapes);

// Long lines and arcs that miss a few of their points, cut around these and fitted again there: of
// two discs that all but touch the arcs are right but where they meet. Nothing where that does not
// mend it.
std::optional<fit::Path> mendedAround(fit::Path path, const ChainPoints &points, bool closed)
{
    std::vector<Probe> probes(path.pieces.begin(), path.pieces.end());
    std::vector<Meeting> missed;
    for (std::size_t k = 0; k < path.pieces.size(); ++k)
        missed.push_back(missedBy(path.pieces, k, &probes, points, closed));
    const std::size_t before = path.pieces.size();
    std::vector<char> again = cutAround(missed, points, &path);
    const auto count = std::size_t(std::count(again.begin(), again.end(), 1));
    if (path.pieces.size() == before || count == 0 || count == again.size())
        return std::nullopt;
    again.push_back(0);
    path = repaired(std::move(path), again, points, closed,
                    [](const ChainPoints &part) { return fitCloser(part, false, 1, true); });
    if (!isGood(badPieces(path, points, closed)))
        return std::nullopt;
    return path;
}

// Numbers at .4 of their price for every time, all misfit counted, and no points left out; what is
// not good then cheaper still, and line by line in the end.
fit::Path fitCloser(const ChainPoints &points, bool closed, int times, bool shapes)
{
    if (times > kCheaperTimes)
        return lineByLine(points, closed);
    fit::Settings settings = usualSettings();
    settings.soft = fit::judgementOfNoise();
    settings.shapes = shapes;
    settings.soft.lambda *= std::pow(kCheaper, times);
    settings.hard.lambda *= std::pow(kCheaper, times);
    fit::Path path = fit::fitChain(viewOf(points, closed), settings);
    const std::vector<char> bad = badPieces(path, points, closed);
    if (isGood(bad))
        return path;
    const auto count = std::count(bad.begin(), bad.end() - 1, 1);
    if (bad.back() || std::size_t(count) == path.pieces.size())
        return fitCloser(points, closed, times + 1, shapes);
    return repaired(std::move(path), bad, points, closed, [&](const ChainPoints &part) {
        return fitCloser(part, false, times + 1, false);
    });
}

} // namespace

fit::Path fitPointsCloser(const ChainPoints &points, bool closed, int times)
{
    return times >= kCloserTimes ? lineByLine(points, closed)
                                 : fitCloser(points, closed, times, times < 2);
}

fit::Path fitPartsCloser(const fit::Path &path, const std::vector<char> &again,
                         const ChainPoints &points, bool closed, int times)
{
    std::vector<char> bad = again;
    bad.push_back(0);
    if (std::size_t(std::count(again.begin(), again.end(), 1)) == again.size())
        return fitPointsCloser(points, closed, times);
    return repaired(path, bad, points, closed,
                    [&](const ChainPoints &part) { return fitPointsCloser(part, false, times); });
}

namespace {

// From one place to another one through the middles of cracks.
fit::Path lineThrough(fit::Point start, const ChainPoints &cracks, uint32_t first, uint32_t count,
                      fit::Point end)
{
    ChainPoints line;
    const auto add = [&line](fit::Point p) {
        line.x.push_back(p.x);
        line.y.push_back(p.y);
    };
    add(start);
    for (uint32_t k = 0; k < count; ++k) {
        const std::size_t i = (first + k) % cracks.x.size();
        add({ cracks.x[i], cracks.y[i] });
    }
    add(end);
    return lineByLine(line, false);
}

// The points of a part that each of such lines explains: those of the crack in which it ends, the
// last one also all that is left.
void tellPoints(const ChainPoints &part, uint32_t first, uint32_t cracks, fit::Path *lines)
{
    const int count = int(part.x.size()) - 1; // the last place is no point
    int k = 1;
    for (std::size_t line = 0; line < lines->pieces.size(); ++line) {
        fit::Piece &piece = lines->pieces[line];
        const bool isLast = line + 1 == lines->pieces.size();
        piece.first = k;
        while (k < count
               && (isLast || (part.crack[std::size_t(k)] + cracks - first) % cracks <= line))
            ++k;
        piece.count = k - piece.first;
    }
}

} // namespace

fit::Path drawCracks(const fit::Path &path, const std::vector<char> &again,
                     const ChainPoints &points, const ChainPoints &cracks, bool closed)
{
    const auto size = uint32_t(cracks.x.size());
    if (std::size_t(std::count(again.begin(), again.end(), 1)) == again.size())
        return closed
            ? lineByLine(cracks, true)
            : lineThrough(path.pieces.front().start, cracks, 0, size, path.pieces.back().end);
    std::vector<char> bad = again;
    bad.push_back(0);
    return repaired(path, bad, points, closed, [&](const ChainPoints &part) {
        const uint32_t first = part.crack.front() % size;
        const uint32_t past = std::min(part.crack.back(), size);
        uint32_t count = first <= past ? past - first : closed ? past + size - first : 0;
        // A stretch that seems to end before it begins does not go all the way round.
        if (count > size / 2 && 2 * part.x.size() < points.x.size())
            count = 0;
        fit::Path lines = lineThrough({ part.x.front(), part.y.front() }, cracks, first, count,
                                      { part.x.back(), part.y.back() });
        tellPoints(part, first, size, &lines);
        return lines;
    });
}

fit::Path fitToAreas(const fit::Path &path, const fit::Coverage &coverage, bool isSharp)
{
    return fit::fitToCoverage(path, coverage, usualSettings().soft.lambda, isSharp);
}

bool tellsAreas(const fit::Path &path, const fit::Coverage &coverage)
{
    const bool whole = path.pieces.size() == 1 && fit::isWhole(path.pieces.front().kind);
    return whole ? fit::wholeShowsAreas(path, coverage, usualSettings().soft.lambda)
                 : fit::showsAreas(path, coverage);
}

fit::Path fitPoints(const ChainPoints &points, bool closed, bool wholeShapes)
{
    fit::Settings settings = usualSettings();
    settings.shapes = wholeShapes;
    fit::Path path = fit::fitChain(viewOf(points, closed), settings);
    std::vector<char> bad = badPieces(path, points, closed);
    if (!isGood(bad) && path.pieces.size() == 1 && fit::isWhole(path.pieces.front().kind)) {
        settings.shapes = false;
        path = fit::fitChain(viewOf(points, closed), settings);
        bad = badPieces(path, points, closed);
    }
    if (isGood(bad))
        return path;
    if (std::optional<fit::Path> mended = mendedAround(path, points, closed))
        return *std::move(mended);
    const auto count = std::count(bad.begin(), bad.end() - 1, 1);
    if (!bad.back() && std::size_t(count) < path.pieces.size())
        return repaired(std::move(path), bad, points, closed,
                        [](const ChainPoints &part) { return fitCloser(part, false, 1, true); });
    return fitCloser(points, closed, 1, true);
}

} // namespace ztrace
