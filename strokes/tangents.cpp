// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/tangents.h"

#include "strokes/normalequations.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const std::size_t kBody = 8;    // cross-sections of a line that can be a tangent
const std::size_t kPooled = 16; // of its last ones, that may be the arc's
const int kRounds = 4;
// Pixels that a cross-section lies off, and how many of them in a row have the same error.
const double kSectionError = 0.1;
const double kSectionSigmas = 0.43; // of the deviation, which forgives 2.3 times the usual one
const double kAlikeInRow = 2.5;
// Pixels that a line lies off: in one bit one that keeps within a row of pixels, in greys in
// deviations of the cross-sections; at least.
const double kRowError = 0.3;
const double kLineSigmas = 0.15;
const double kLeastError = 0.04;
// Radians up to which an arc tells its circle badly. Half circles tell it better than lines beside
// them do, which are not quite their tangents in many drawings: the turns of a spring.
const double kMostSweep = 2.2;
// Errors of a line, and pixels, by which a circle fitted alone may miss its tangent.
const double kTangentErrors = 3.0;
const double kTangentSlack = 0.5;
const double kMostMoved = 0.35; // of the radius, and pixels, that centre and radius may change by
const double kMovedPixels = 1.0;
const double kWorse = 1.5; // times, and pixels, that the cross-sections may be missed farther by
const double kWorsePixels = 0.08;
// Widths at either end of an arc that see its line as well. Radii of half circles of less than 40
// pixels were .06 off in greys with them and are .012 without.
const double kBesideWidths = 1.0;
const std::size_t kWholeArc = 36; // that are to be left; of fewer each counts in one bit
const double kOnArc = 0.5;        // pixels beyond the foot that are the arc's

// A line that an arc goes on as.
struct Tangent
{
    fit::Primitive line;
    Point outwards = { 0, 0 };    // unit, along the line and away from the arc
    double side = 1.0;            // sign of the centre's distance from the line
    double error = 0.0;           // pixels
    std::vector<Section> samples; // the nearest
};

double errorOf(const Atom &line, const Measure &measure)
{
    if (!measure.hard)
        return std::max(kLeastError, kLineSigmas * measure.sigma);
    const Point way = line.samples.back().centre - line.samples.front().centre;
    const double steps = std::min(std::fabs(way.x), std::fabs(way.y));
    return std::max(kLeastError, kRowError / (1.0 + steps));
}

double signedDistance(const fit::Primitive &line, Point p)
{
    return fit::cross(line.direction, p - line.point);
}

// The only line that ends where an arc does, if the arc's circle touches it.
bool tangentAt(const Web &web, const Measure &measure, int number, int end, Tangent *tangent)
{
    const Atom &arc = web.atoms[std::size_t(number)];
    const int joint = arc.joint[end];
    if (joint < 0)
        return false;
    const Meeting &meeting = web.meetings[std::size_t(joint)];
    if (!meeting.through.empty() || meeting.ends.size() != 2)
        return false;
    const AtomEnd &other = meeting.ends[meeting.ends[0].atom == number ? 1 : 0];
    const Atom &line = web.atoms[std::size_t(other.atom)];
    if (other.atom == number || !line.alive || line.shape != Shape::Line
        || line.samples.size() < kBody || line.dashing.type != DashType::None)
        return false;
    tangent->line = line.carrier;
    tangent->error = errorOf(line, measure);
    const double from = signedDistance(line.carrier, arc.carrier.point);
    tangent->side = from < 0 ? -1.0 : 1.0;
    if (std::fabs(std::fabs(from) - arc.carrier.radius)
        > kTangentErrors * tangent->error + kTangentSlack)
        return false;
    const Section &near = other.end == 0 ? line.samples.front() : line.samples.back();
    const Section &far = other.end == 0 ? line.samples.back() : line.samples.front();
    const double way = fit::dot(far.centre - near.centre, line.carrier.direction);
    tangent->outwards = (way < 0 ? -1.0 : 1.0) * line.carrier.direction;
    const std::size_t count = std::min(kPooled, line.samples.size() / 2);
    for (std::size_t k = 0; k < count; ++k)
        tangent->samples.push_back(line.samples[other.end == 0 ? k : line.samples.size() - 1 - k]);
    return true;
}

// Normal equations of centre and radius.
struct Equations
{
    double a[3][4] = {};
    void add(double dx, double dy, double dr, double rest, double weight)
    {
        const double row[4] = { dx, dy, dr, rest };
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 4; ++j)
                a[i][j] += weight * row[i] * row[j];
        }
    }
};

std::vector<Point> pointsOnArc(const Atom &arc, const std::vector<Tangent> &tangents, Point centre)
{
    const auto isBefore = [&](Point p) {
        return std::all_of(tangents.begin(), tangents.end(), [&](const Tangent &tangent) {
            const Point foot = tangent.line.foot(centre);
            return fit::dot(p - foot, tangent.outwards) < kOnArc;
        });
    };
    std::vector<Point> points;
    const auto take = [&](const std::vector<Section> &samples) {
        for (const Section &section : samples) {
            if (isBefore(section.centre))
                points.push_back(section.centre);
        }
    };
    take(arc.samples);
    for (const Tangent &tangent : tangents)
        take(tangent.samples);
    return points;
}

double missedBy(const std::vector<Point> &points, Point centre, double radius)
{
    double sum = 0.0;
    for (Point p : points) {
        const double d = std::hypot(p.x - centre.x, p.y - centre.y) - radius;
        sum += d * d;
    }
    return points.empty() ? 0.0 : std::sqrt(sum / double(points.size()));
}

void fitToTangents(const std::vector<Tangent> &tangents, const Measure &measure, Atom *arc)
{
    Point centre = arc->carrier.point;
    double radius = arc->carrier.radius;
    const double error = std::max(kSectionError, kSectionSigmas * measure.sigma);
    const double weight = 1 / (kAlikeInRow * error * error);
    std::vector<Point> points;
    for (int round = 0; round < kRounds; ++round) {
        points = pointsOnArc(*arc, tangents, centre);
        Equations equations;
        for (Point p : points) {
            const Point d = p - centre;
            const double r = std::hypot(d.x, d.y);
            if (r > 0)
                equations.add(d.x / r, d.y / r, 1.0, r - radius, weight);
        }
        for (const Tangent &tangent : tangents) {
            const Point normal = { -tangent.line.direction.y, tangent.line.direction.x };
            const double rest = radius - tangent.side * signedDistance(tangent.line, centre);
            equations.add(tangent.side * normal.x, tangent.side * normal.y, -1.0, rest,
                          1 / (tangent.error * tangent.error));
        }
        double change[3] = {};
        if (points.size() < 3 || !solveNormal(equations.a, 1e-9, change))
            return;
        centre = centre + Point { change[0], change[1] };
        radius += change[2];
    }
    const double most = kMostMoved * arc->carrier.radius + kMovedPixels;
    const Point moved = centre - arc->carrier.point;
    const double before = missedBy(points, arc->carrier.point, arc->carrier.radius);
    if (!(radius > 0.5 * arc->width) || std::hypot(moved.x, moved.y) > most
        || missedBy(points, centre, radius) > kWorse * before + kWorsePixels)
        return;
    arc->carrier.point = centre;
    arc->carrier.radius = radius;
}

// The circle of an arc that tells it, without the cross-sections that see the lines it goes on as.
void fitAlone(Atom *arc)
{
    const std::size_t n = arc->samples.size();
    const std::size_t beside = std::size_t(kBesideWidths * arc->width);
    if (n < kWholeArc + 2 * beside)
        return;
    const auto from = arc->samples.begin() + std::ptrdiff_t(beside);
    polishCircle(std::vector<Section>(from, arc->samples.end() - std::ptrdiff_t(beside)),
                 &arc->carrier);
}

} // namespace

void settleTangents(const Measure &measure, Web *web)
{
    for (std::size_t k = 0; k < web->atoms.size(); ++k) {
        Atom &arc = web->atoms[k];
        if (!arc.alive || arc.shape != Shape::Arc || arc.dashing.type != DashType::None)
            continue;
        if (std::fabs(sweepOf(arc.samples, arc.carrier.point).turned) > kMostSweep) {
            fitAlone(&arc);
            continue;
        }
        std::vector<Tangent> tangents;
        for (int end = 0; end < 2; ++end) {
            Tangent tangent;
            if (tangentAt(*web, measure, int(k), end, &tangent))
                tangents.push_back(std::move(tangent));
        }
        if (!tangents.empty())
            fitToTangents(tangents, measure, &arc);
    }
}

} // namespace ztrace::strokes
