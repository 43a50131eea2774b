// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/joints.h"

#include "fit/frame.h"
#include "fit/index.h"
#include "fit/skyline.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const double kPi = 3.14159265358979323846;
// Pixels: how firmly a vertex stays where the free fits meet.
const double kAnchorSigma = 1;
// The same along the tangent of a joint without a corner: the pieces nearly coincide there, so that
// their points do not say where one ends.
const double kSlideSigma = 0.1;
// Pixels from the points at a break within which fits are intersected, cosine of the least turn.
const double kFarthestMeeting = 6;
const double kMeetingCosine = std::cos(12 * kPi / 180);
// Weight of a common tangent per squared radian: 1e4 times what 1000 points of .03 px weigh at a
// lever of 10 px, and still 1e6 below what doubles cannot add any more.
const double kTangentWeight = 1e10;
// It grows to that from round to round; at once, it lets no vertex move but along the kinks.
const double kFirstTangentWeight = 1e7;
const double kTangentGrowth = 1e3;
const double kPinWeight = 1e12;
// Twelve, and a settled step of .0003 px, change no mean of thirteen pictures.
const int kRounds = 8;
// Pixels a vertex may move in one round.
const double kLongestStep = 1.5;
const double kSettled = 2e-3; // pixels; the next step is far below
// Rounds in which smooth joints may become corners.
const int kReleases = 3;
// Pixels by which a vertex may leave its anchor, and a step that nothing comes back from.
const double kStrays = 3;
const double kDiverged = 1e3;
const double kMissed = 1.5; // pixels

double wrapped(double angle)
{
    return angle - 2 * kPi * std::floor(angle / (2 * kPi) + 0.5);
}

class Joiner
{
public:
    Joiner(const Table &t, std::vector<Span> s)
        : table(t), points(t.points), spans(std::move(s)), count(static_cast<int>(spans.size())),
          vertices(points.closed ? count : count + 1)
    {
        smooth.assign(static_cast<std::size_t>(count), 0);
        for (int k = 0; k < count; ++k)
            smooth[index(k)] = spans[index(k)].smooth && hasJoint(k);
        if (points.closed && count > 1)
            smooth[0] = closesSmoothly();
        for (const Span &span : spans)
            moments.push_back(span.first < span.last ? table.sums.over(span.first, span.last)
                                                     : Moments {});
    }

    std::vector<Piece> run()
    {
        placeAnchors();
        start();
        for (int release = 0; release <= kReleases; ++release) {
            if (solve()) {
                if (!releaseCostlyTangents(release == kReleases))
                    break;
                continue;
            }
            // The vertices that ran away stay at their anchors from now on.
            start();
            if (!holdStrays())
                break;
        }
        straightenStrays();
        return pieces();
    }

private:
    // Joint k lies before span k.
    bool hasJoint(int k) const { return k > 0 || (points.closed && count > 1); }
    int before(int k) const { return k > 0 ? k - 1 : count - 1; }
    int after(int k) const { return points.closed && k + 1 == count ? 0 : k + 1; }
    const Primitive &primitive(int k) const { return spans[index(k)].primitive; }

    bool closesSmoothly() const
    {
        bool result = false;
        const Span &last = spans.back();
        const Span &first = spans.front();
        SpanEnd end = meeting(last, 0);
        SpanEnd begin = meeting(first, 0);
        jointCost(table, end, begin, 0, &result);
        return result;
    }

    Point breakPoint(int k) const
    {
        const int n = points.size();
        if (k == count)
            return points.at(n - 1);
        if (!hasJoint(k))
            return points.at(spans[index(k)].first);
        return 0.5
            * (points.at((spans[index(before(k))].last - 1 + n) % n)
               + points.at(spans[index(k)].first % n));
    }

    SpanEnd meeting(const Span &span, int k) const
    {
        const Point p = breakPoint(k);
        return { span.primitive.arc, span.primitive.foot(p), span.primitive.tangent(p),
                 kMetBefore };
    }

    // Where two fits meet near a break: their tangents' intersection, followed along arcs; where
    // they hardly turn half way between them, with the tangent.
    Point meet(int k, Point *tangent) const
    {
        const Primitive &a = primitive(before(k));
        const Primitive &b = primitive(k);
        const Point at = breakPoint(k);
        const Point between = 0.5 * (a.foot(at) + b.foot(at));
        if (dot(a.tangent(at), b.tangent(at)) > kMeetingCosine) {
            *tangent = b.tangent(at);
            return between;
        }
        Point p = at;
        for (int round = 0; round < 4; ++round) {
            const Point ta = a.tangent(p);
            const Point tb = b.tangent(p);
            const Point fa = a.foot(p);
            const double sine = cross(ta, tb);
            if (std::fabs(sine) < 1 - kMeetingCosine)
                return between;
            p = fa + (cross(b.foot(p) - fa, tb) / sine) * ta;
            const Point off = p - at;
            if (!(dot(off, off) < kFarthestMeeting * kFarthestMeeting))
                return between;
        }
        return p;
    }

    void placeAnchors()
    {
        anchors.clear();
        slide.assign(index(vertices), Point { 0, 0 });
        strays.assign(index(vertices), 0);
        held.assign(index(vertices), 0);
        for (int k = 0; k < vertices; ++k) {
            const Point at = breakPoint(k);
            if (k < count && hasJoint(k))
                anchors.push_back(meet(k, &slide[index(k)]));
            else
                anchors.push_back(primitive(std::min(k, count - 1)).foot(at));
        }
        if (points.pinnedStart)
            anchors.front() = points.at(0);
        if (points.pinnedEnd)
            anchors.back() = points.at(points.size() - 1);
    }

    void start()
    {
        vertex = anchors;
        sagitta.assign(index(count), 0.0);
        for (int k = 0; k < count; ++k)
            sagitta[index(k)] = freeSagitta(k);
        measureFrames();
    }

    double freeSagitta(int k) const
    {
        const Primitive &arc = primitive(k);
        if (!arc.arc)
            return 0;
        const Point a = anchors[index(k)];
        const Point b = anchors[index(after(k))];
        const Span &span = spans[index(k)];
        const Frame chord(a, b, 0);
        // The circle's top over this chord: the far one where the points go more than half round.
        const double half = chord.length / 2;
        const double root = std::sqrt(std::max(0.0, arc.radius * arc.radius - half * half));
        const Point from = points.at(span.first) - arc.point;
        const Point to = points.at(span.last - 1) - arc.point;
        const bool wide = arc.turn * cross(from, to) < 0;
        return arc.turn * (wide ? arc.radius + root : arc.radius - root);
    }

    // Unknowns: x and y of vertex k, then the sagitta of span k.
    int unknown(int k) const { return 3 * k; }

    bool isSmooth(int k) const { return k >= 0 && k < count && smooth[index(k)] != 0; }

    // A span ties its vertices together, a common tangent those of two spans; the last vertex of a
    // closed path is tied to the first.
    std::vector<int> rowStarts() const
    {
        std::vector<int> starts;
        for (int k = 0; k < vertices; ++k) {
            const bool tied = points.closed
                && (k == vertices - 1 || (k == vertices - 2 && isSmooth(vertices - 1)));
            starts.push_back(tied ? 0 : std::max(0, isSmooth(k - 1) ? k - 2 : k - 1));
        }
        return starts;
    }

    bool solve()
    {
        const int n = 3 * vertices;
        Skyline matrix(rowStarts());
        std::vector<double> right;
        const bool tangents = std::any_of(smooth.begin(), smooth.end(), [](char s) { return s; });
        double tangentWeight = tangents ? kFirstTangentWeight : kTangentWeight;
        for (int round = 0; round < kRounds; ++round) {
            matrix.clear();
            right.assign(index(n), 0.0);
            addAnchors(&matrix, &right);
            for (int k = 0; k < count; ++k)
                addPoints(k, &matrix, &right);
            for (int k = 0; k < count; ++k) {
                if (smooth[index(k)])
                    addTangent(k, tangentWeight, &matrix, &right);
            }
            const double step = matrix.solve(&right) ? take(right) : INFINITY;
            if (!(step < kDiverged)) {
                strays.assign(index(vertices), 1);
                return false;
            }
            const bool firm = tangentWeight >= kTangentWeight;
            if (step < kSettled && firm)
                break;
            tangentWeight = std::min(kTangentWeight, kTangentGrowth * tangentWeight);
        }
        return staysNear();
    }

    double take(const std::vector<double> &step)
    {
        double largest = 0;
        for (const double d : step)
            largest = std::isfinite(d) ? std::max(largest, std::fabs(d)) : INFINITY;
        const double part = largest > kLongestStep ? kLongestStep / largest : 1;
        for (int k = 0; k < vertices; ++k) {
            const double *d = &step[index(unknown(k))];
            vertex[index(k)] = vertex[index(k)] + part * Point { d[0], d[1] };
            if (k < count && primitive(k).arc)
                sagitta[index(k)] += part * d[2];
        }
        measureFrames();
        return largest;
    }

    void addAnchors(Skyline *matrix, std::vector<double> *right) const
    {
        for (int k = 0; k < vertices; ++k) {
            const bool pinned
                = (k == 0 && points.pinnedStart) || (k == vertices - 1 && points.pinnedEnd);
            const double weight
                = pinned || held[index(k)] ? kPinWeight : 1 / (kAnchorSigma * kAnchorSigma);
            const Point off = anchors[index(k)] - vertex[index(k)];
            const int at = unknown(k);
            const Point t = slide[index(k)];
            const double firmness = 1 / (kSlideSigma * kSlideSigma);
            const double along = firmness * dot(off, t);
            (*right)[index(at)] += weight * off.x + along * t.x;
            (*right)[index(at + 1)] += weight * off.y + along * t.y;
            const double xy = firmness * t.x * t.y;
            // A line has no sagitta, an arc one that its points hold.
            const double held3 = k < count && primitive(k).arc ? 1e-3 : 1;
            matrix->add(k,
                        { weight + firmness * t.x * t.x, xy, 0, xy, weight + firmness * t.y * t.y,
                          0, 0, 0, held3 });
        }
    }

    const Frame &frame(int k) const { return frames[index(k)]; }

    void measureFrames()
    {
        frames.clear();
        for (int k = 0; k < count; ++k)
            frames.emplace_back(vertex[index(k)], vertex[index(after(k))], sagitta[index(k)]);
    }

    void addPoints(int k, Skyline *matrix, std::vector<double> *right) const
    {
        if (!primitive(k).arc && sagitta[index(k)] == 0) {
            addPointsOfLine(k, matrix, right);
            return;
        }
        const Frame &f = frame(k);
        const Products sums = f.products(moments[index(k)]);
        const std::array<Terms, 5> change = f.changeTerms(primitive(k).arc);
        const Terms distance = sums.with(f.distanceTerms());
        const int a = k;
        const int b = after(k);
        Block own = {}, both = {}, other = {};
        for (std::size_t r = 0; r < 5; ++r) {
            const Terms weighted = sums.with(change[r]);
            double *pull = &(*right)[index(unknown(r < 3 ? a : b))];
            pull[r < 3 ? r : r - 3] -= sumOf(change[r], distance);
            for (std::size_t c = 0; c <= r; ++c) {
                const double product = sumOf(change[c], weighted);
                if (r < 3)
                    own[3 * r + c] = own[3 * c + r] = product;
                else if (c < 3)
                    both[3 * (r - 3) + c] = product;
                else
                    other[3 * (r - 3) + c - 3] = other[3 * (c - 3) + r - 3] = product;
            }
        }
        matrix->add(a, own);
        matrix->addBoth(b, a, both);
        matrix->add(b, other);
    }

    // The same without the terms that are zero: the distance is v, and changes by 1 and u only.
    void addPointsOfLine(int k, Skyline *matrix, std::vector<double> *right) const
    {
        const Frame &f = frame(k);
        const LineProducts sums = f.lineProducts(moments[index(k)]);
        const double turn = 1 / f.length;
        // Both ends change the distance by the same share of 1, and by opposite ones of u.
        const double flat = 0.25 * sums.w;
        const double lean = 0.5 * turn * sums.u;
        const double steep = turn * turn * sums.uu;
        const int a = k;
        const int b = after(k);
        const Point n = f.outward;
        const double pull[2] = { 0.5 * sums.v - turn * sums.uv, 0.5 * sums.v + turn * sums.uv };
        for (const int end : { 0, 1 }) {
            double *at = &(*right)[index(unknown(end == 0 ? a : b))];
            at[0] += pull[end] * n.x;
            at[1] += pull[end] * n.y;
        }
        const auto normals = [n](double factor) {
            const double xy = factor * n.x * n.y;
            return Block { factor * n.x * n.x, xy, 0, xy, factor * n.y * n.y, 0, 0, 0, 0 };
        };
        matrix->add(a, normals(flat - 2 * lean + steep));
        matrix->addBoth(b, a, normals(flat - steep));
        matrix->add(b, normals(flat + 2 * lean + steep));
    }

    // How the direction at a span's start or end changes with its five unknowns.
    void tangentGradient(int k, bool atEnd, double gradient[5]) const
    {
        const Frame &f = frame(k);
        const double sign = atEnd ? 1 : -1;
        const double bySagitta = primitive(k).arc ? sign * f.sweepBySagitta() : 0;
        const double byHalf = sign * f.sweepByHalf() * 0.5;
        // Chord direction: (outward of start - outward of end) / length.
        const double turn = 1 / f.length;
        gradient[0] = -byHalf * f.along.x + turn * f.outward.x;
        gradient[1] = -byHalf * f.along.y + turn * f.outward.y;
        gradient[2] = bySagitta;
        gradient[3] = byHalf * f.along.x - turn * f.outward.x;
        gradient[4] = byHalf * f.along.y - turn * f.outward.y;
    }

    double kink(int k) const
    {
        const Frame &a = frame(before(k));
        const Frame &b = frame(k);
        const double chords = std::atan2(cross(a.along, b.along), dot(a.along, b.along));
        return wrapped(chords - a.halfSweep() - b.halfSweep());
    }

    void addTangent(int k, double weight, Skyline *matrix, std::vector<double> *right) const
    {
        const double residual = kink(k);
        double to[5];
        double from[5];
        tangentGradient(k, false, to);
        tangentGradient(before(k), true, from);
        // By the vertex before, this one, the next one.
        const int at[3] = { before(k), k, after(k) };
        const double gradient[3][3] = { { -from[0], -from[1], -from[2] },
                                        { to[0] - from[3], to[1] - from[4], to[2] },
                                        { to[3], to[4], 0 } };
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t i = 0; i < 3; ++i)
                (*right)[index(unknown(at[r])) + i] -= weight * gradient[r][i] * residual;
            for (std::size_t c = 0; c <= r; ++c) {
                Block products;
                for (std::size_t i = 0; i < 9; ++i)
                    products[i] = weight * gradient[r][i / 3] * gradient[c][i % 3];
                if (r == c)
                    matrix->add(at[r], products);
                else
                    matrix->addBoth(at[r], at[c], products);
            }
        }
    }

    // Marks vertices that left their anchors, and both ends of arcs that went round; true for none.
    bool staysNear()
    {
        bool near = true;
        for (int k = 0; k < count; ++k) {
            const bool round = !(std::fabs(2 * frame(k).halfSweep()) < kLargestSweep + 1);
            for (const int end : { k, after(k) }) {
                const Point off = vertex[index(end)] - anchors[index(end)];
                const bool stray = round || !(dot(off, off) < kStrays * kStrays);
                strays[index(end)] = strays[index(end)] || stray;
                near = near && !stray;
            }
        }
        return near;
    }

    bool holdStrays()
    {
        bool any = false;
        for (int k = 0; k < vertices; ++k) {
            if (!strays[index(k)] || held[index(k)])
                continue;
            held[index(k)] = 1;
            any = true;
            if (k < count)
                smooth[index(k)] = 0;
        }
        return any;
    }

    // An arc of few points may miss them all, or go round much farther than they do: then its chord
    // is better, and its joints are corners.
    void straightenStrays()
    {
        for (int k = 0; k < count; ++k) {
            if (sagitta[index(k)] == 0 || !isStray(k))
                continue;
            sagitta[index(k)] = 0;
            smooth[index(k)] = 0;
            if (after(k) < count)
                smooth[index(after(k))] = 0;
        }
        measureFrames();
    }

    bool isStray(int k) const
    {
        const Frame &f = frame(k);
        const Span &span = spans[index(k)];
        const double length = 2 * f.halfSweep() / f.curvature;
        if (!(length < 1.3 * points.walk(span.first, std::max(span.first, span.last - 1)) + 3))
            return true;
        for (int i = span.first; i < span.last; ++i) {
            if (!(std::fabs(f.distance(points.at(i))) < kMissed))
                return true;
        }
        return false;
    }

    double misfitOf(int k) const
    {
        const Span &span = spans[index(k)];
        if (span.first == span.last)
            return 0;
        const Frame &f = frame(k);
        double chi2 = 0;
        if (sagitta[index(k)] == 0) {
            chi2 = f.lineProducts(moments[index(k)]).vv;
        } else {
            const Terms terms = f.distanceTerms();
            chi2 = sumOf(terms, f.products(moments[index(k)]).with(terms));
        }
        return table.judgement.misfit(std::max(0.0, chi2), span.last - span.first);
    }

    // Makes corners of the joints whose spans lost more than a corner is worth. True where one was.
    bool releaseCostlyTangents(bool last)
    {
        const double worth = table.numbers(table.prices.corner);
        bool released = false;
        std::vector<double> rise(index(count), 0.0);
        for (int k = 0; k < count; ++k)
            rise[index(k)] = misfitOf(k) - spans[index(k)].misfit;
        for (int k = 0; k < count && !last; ++k) {
            if (!smooth[index(k)])
                continue;
            // A span between two smooth joints shares its loss.
            const double a = rise[index(before(k))] / (smooth[index(before(k))] ? 2 : 1);
            const int next = after(k);
            const double b = rise[index(k)] / (next < count && smooth[index(next)] ? 2 : 1);
            if (a + b > worth) {
                smooth[index(k)] = 0;
                released = true;
            }
        }
        return released;
    }

    std::vector<Piece> pieces() const
    {
        std::vector<Piece> result;
        for (int k = 0; k < count; ++k) {
            const Span &span = spans[index(k)];
            const Point a = vertex[index(k)];
            const Point b = points.closed && count == 1 ? a : vertex[index(after(k))];
            const Frame &f = frame(k);
            const bool arc = primitive(k).arc && std::fabs(sagitta[index(k)]) > 0;
            Piece piece = arc ? arcPiece(a, b, 2 * sagitta[index(k)] / f.length) : linePiece(a, b);
            piece.first = span.first;
            piece.count = span.last - span.first;
            piece.smooth = smooth[index(k)] != 0;
            piece.misfit = misfitOf(k);
            result.push_back(piece);
        }
        if (points.pinnedStart && !result.empty())
            result.front().start = points.at(0);
        if (points.pinnedEnd && !result.empty())
            result.back().end = points.at(points.size() - 1);
        return result;
    }

    const Table &table;
    const Points &points;
    const std::vector<Span> spans;
    const int count;
    const int vertices;
    std::vector<Moments> moments; // per span
    std::vector<char> smooth;     // per joint
    std::vector<Point> anchors;
    std::vector<Point> slide; // per vertex: the joint's tangent, 0 at corners
    std::vector<Point> vertex;
    std::vector<double> sagitta;
    std::vector<Frame> frames; // per span, of vertices and sagitta
    std::vector<char> strays;  // per vertex: left its points in the last solve
    std::vector<char> held;    // per vertex: stays at its anchor
};

} // namespace

std::vector<Piece> joinSpans(const Table &table, std::vector<Span> spans)
{
    if (spans.empty())
        return {};
    return Joiner(table, std::move(spans)).run();
}

double misfitAlong(const Table &table, const Piece &piece, int first, int last)
{
    double chi2 = 0;
    for (int i = first; i < last; ++i) {
        const double d = distanceTo(piece, table.points.at(i));
        chi2 += d * d * table.points.weightOf(i);
    }
    return table.judgement.misfit(chi2, last - first);
}

} // namespace ztrace::fit
