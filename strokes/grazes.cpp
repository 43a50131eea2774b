// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/grazes.h"

#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kOff = 0.5;      // pixels beside the line that an end lies which has not met it
const double kTouching = 0.6; // pixels that an arc may pass by without crossing
const double kGrazing = 0.5;  // sine of the angle at the end, at most
const double kStep = 0.25;    // pixels along the arc
const double kReach = 1.3;    // times the way on which the inks are one
const std::size_t kBody = 16; // cross-sections of an arc and of a line that tell where they go
// An arc that goes on beyond its line and comes back makes their ink wider: pixels that tell, and
// the part of what it would be.
const double kPlainRise = 0.3;
const double kPartOfRise = 0.33;

class Grazes
{
public:
    Grazes(const Coverage &c, Web *w) : coverage(c), web(*w) { }

    void settle()
    {
        for (std::size_t j = 0; j < web.joints.size(); ++j) {
            for (const AtomEnd &end : web.meetings[j].ends) {
                for (int number : web.meetings[j].through)
                    lead(end, living(number));
            }
        }
    }

private:
    int living(int number) const
    {
        while (number >= 0 && !web.atoms[std::size_t(number)].alive)
            number = web.atoms[std::size_t(number)].heir;
        return number;
    }

    static bool isWhole(const Atom &atom, Shape shape)
    {
        return atom.alive && atom.shape == shape && atom.dashing.type == DashType::None
            && atom.role == Role::Line && atom.samples.size() >= kBody;
    }

    void lead(const AtomEnd &end, int through)
    {
        Atom &arc = web.atoms[std::size_t(end.atom)];
        if (through < 0 || !isWhole(arc, Shape::Arc)
            || !isWhole(web.atoms[std::size_t(through)], Shape::Line))
            return;
        const Atom &line = web.atoms[std::size_t(through)];
        const double most
            = kReach * std::sqrt(2 * arc.carrier.radius * (arc.width + line.width)) + line.width;
        const double sine = std::fabs(fit::cross(outwardsOf(arc, end.end), line.carrier.direction));
        if (std::fabs(line.carrier.distance(arc.place[end.end])) < kOff || sine > kGrazing)
            return;
        const double ink = inkAhead(coverage, arc, end.end, most, 0.0);
        const double met = meetingAlong(arc, end.end, line, std::min(most, ink));
        if (met > 0.0)
            arc.place[end.end] = alongCarrier(arc, end.end, met);
    }

    // Pixels along the arc to where it meets the line; 0 for nowhere.
    double meetingAlong(const Atom &arc, int end, const Atom &line, double most) const
    {
        const auto beside
            = [&](double s) { return line.carrier.distance(alongCarrier(arc, end, s)); };
        const double side = beside(0.0) < 0 ? -1.0 : 1.0;
        double nearest = 1e300;
        double touch = 0.0;
        double first = 0.0;
        for (double s = kStep; s < most; s += kStep) {
            const double d = side * beside(s);
            if (d < nearest) {
                nearest = d;
                touch = s;
            }
            if (d < 0 && first <= 0.0)
                first = s;
            if (d > 0 && first > 0.0)
                return -nearest > kPlainRise && isWider(arc, end, line, touch, s, -nearest) ? s
                    : -nearest > kPlainRise                                                 ? first
                                                                                            : touch;
        }
        if (first > 0.0)
            return first;
        return nearest < kTouching && touch + kStep < most ? touch : 0.0;
    }

    // Whether the line's ink is wider where the arc would be beyond it than it is farther on.
    bool isWider(const Atom &arc, int end, const Atom &line, double touch, double last,
                 double rise) const
    {
        const Point middle = alongCarrier(arc, end, touch);
        const Point far = alongCarrier(arc, end, last);
        const Point onwards = (fit::dot(far - middle, line.carrier.direction) < 0 ? -1.0 : 1.0)
            * line.carrier.direction;
        const double half = fit::dot(far - middle, onwards);
        const Point foot = line.carrier.foot(middle);
        const Point beyond = (1 / std::max(1e-9, rise)) * (middle - foot);
        const double inside = edgeOf(line, foot, onwards, beyond, -0.5 * half, 0.5 * half);
        const double outside = edgeOf(line, foot, onwards, beyond, 1.5 * half, 2.5 * half);
        return inside - outside > kPartOfRise * rise;
    }

    // Pixels of ink beside the line's middle, in the mean of a stretch.
    double edgeOf(const Atom &line, Point foot, Point onwards, Point beyond, double from,
                  double to) const
    {
        double sum = 0.0;
        int count = 0;
        for (double x = from; x <= to; x += 1.0, ++count) {
            for (double u = 0.5 * kStep; u < 0.5 * line.width + 2.0; u += kStep)
                sum += kStep * coverage.at(foot + x * onwards + u * beyond);
        }
        return sum / std::max(1, count);
    }

    const Coverage &coverage;
    Web &web;
};

} // namespace

void settleGrazes(const Coverage &coverage, Web *web)
{
    Grazes(coverage, web).settle();
}

} // namespace ztrace::strokes
