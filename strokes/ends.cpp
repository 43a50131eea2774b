// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;
const double kNoInk = 0.15;     // part of the inside's coverage that is left where ink has ended, ...
const double kRests = 1.0;      // ... over so many pixels
const double kRises = 0.3;      // part by which the ink of something else announces itself
const double kFarthest = 3.0;   // widths that ink is followed for
const double kMiddle = 0.25;    // of the half width, between the rows of the middle
const double kBack = 1.0;       // widths before the last cross-section that an end is looked at from
const double kInside = 3.0;     // widths before these that the coverage inside is taken from
const double kLeastWidth = 1.8; // pixels of lines that do not show the form of their ends
const double kPrior = 3.0;      // pixels of round ends: pens are round, unless ends tell otherwise
// Of a round end the ink beside the middle is .4 of the half width shorter, which is .2 widths.
const double kShorter = 0.2;
const double kMostVote = 1.0; // that an end may lie beyond both forms, for noise to cancel out

// The rows along an end, from before its last cross-section outwards.
class EndRows
{
public:
    EndRows(const Coverage &c, const Atom &a, int e) : coverage(c), atom(a), end(e)
    {
        back = std::min(kBack * atom.width, 0.3 * double(atom.samples.size()));
        inside = back + std::min(kInside * atom.width, 0.5 * double(atom.samples.size()));
        const double most = kFarthest * atom.width + 4.0;
        double rests = 0.0;
        double least = 1.0;
        double leastAt = 0.0;
        const double full = std::max(0.05, levelInside(0.0));
        for (limit = 0.5 * kStep; limit < most && rests < kRests; limit += kStep) {
            const double part = level(limit, 0.0) / full;
            rests = part < kNoInk ? rests + kStep : 0.0;
            if (part < least) {
                least = part;
                leastAt = limit;
            } else if (least < 0.5 && part > least + kRises) {
                limit = leastAt;
                break;
            }
        }
    }

    // Pixels of ink beyond the last cross-section in the rows at a distance to either side of the
    // middle, each as long as its coverage over that inside of the line sums up to. Blur makes an
    // end fade over as many pixels in all rows of a square end alike.
    double inkBeyond(double beside) const
    {
        const double full = std::max(0.05, levelInside(beside));
        double sum = 0.0;
        for (double s = 0.5 * kStep - back; s < limit; s += kStep)
            sum += level(s, beside) * kStep;
        return sum / full - back;
    }

private:
    double levelInside(double beside) const
    {
        double sum = 0.0;
        int count = 0;
        for (double s = -inside; s < 1e-9 - back; s += kStep) {
            sum += level(s, beside);
            ++count;
        }
        return count > 0 ? sum / count : 1.0;
    }

    // Beside the middle on both sides; in the middle of three rows, since noise is of one pixel.
    double level(double s, double beside) const
    {
        const Point p = alongCarrier(atom, end, s);
        const Point q = alongCarrier(atom, end, s + 0.1);
        const double length = std::hypot(q.x - p.x, q.y - p.y);
        const Point normal = { (q.y - p.y) / length, (p.x - q.x) / length };
        const double away = beside > 0.0 ? beside : kMiddle * 0.5 * atom.width;
        const double sides = coverage.at(p + away * normal) + coverage.at(p - away * normal);
        return beside > 0.0 ? 0.5 * sides : (sides + coverage.at(p)) / 3.0;
    }

    const Coverage &coverage;
    const Atom &atom;
    int end;
    double back = 0.0;
    double inside = 0.0;
    double limit = 0.0;
};

} // namespace

Point outwardsOf(const Atom &atom, int end)
{
    const std::size_t n = atom.samples.size();
    const std::size_t back = std::min<std::size_t>(n - 1, 12);
    const Point last = atom.samples[end == 0 ? 0 : n - 1].centre;
    const Point before = atom.samples[end == 0 ? back : n - 1 - back].centre;
    Point tangent = atom.carrier.tangent(last);
    if (fit::dot(tangent, last - before) < 0)
        tangent = -1.0 * tangent;
    return tangent;
}

Point alongCarrier(const Atom &atom, int end, double pixels)
{
    const Point last = atom.samples[end == 0 ? 0 : atom.samples.size() - 1].centre;
    const Point foot = atom.carrier.foot(last);
    const Point out = outwardsOf(atom, end);
    if (!atom.carrier.arc)
        return foot + pixels * out;
    const Point arm = foot - atom.carrier.point;
    const double turn = (fit::cross(arm, out) > 0 ? 1.0 : -1.0) * pixels / atom.carrier.radius;
    const double c = std::cos(turn);
    const double s = std::sin(turn);
    return atom.carrier.point + Point { c * arm.x - s * arm.y, s * arm.x + c * arm.y };
}

FreeEnd freeEndOf(const Coverage &coverage, const Atom &atom, int end)
{
    const EndRows rows(coverage, atom, end);
    FreeEnd result;
    result.middle = rows.inkBeyond(0.0);
    result.side = rows.inkBeyond(kBeside * 0.5 * atom.width);
    return result;
}

double inkAhead(const Coverage &coverage, const Atom &atom, int end, double most)
{
    double s = 0.0;
    while (s < most && coverage.at(alongCarrier(atom, end, s + kStep)) >= 0.5)
        s += kStep;
    return s;
}

double roundPart(const std::vector<FreeEnd> &ends, const std::vector<double> &widths,
                 const EndLimits &limits)
{
    double score = kPrior;
    double all = kPrior;
    for (std::size_t k = 0; k < ends.size(); ++k) {
        // Each end has a vote as clear as its line is wide; of two pixels it says nothing.
        const double weight = widths[k] - kLeastWidth;
        if (!(weight > 0.0))
            continue;
        const double round = (ends[k].middle - ends[k].side) / (kShorter * widths[k]);
        score += weight * std::clamp(round, -kMostVote, 1.0 + kMostVote);
        all += weight;
    }
    const double vote = score / all;
    return std::clamp((vote - limits.square) / (limits.round - limits.square), 0.0, 1.0);
}

EndLimits endLimits(bool hard, bool noisy)
{
    if (hard)
        return noisy ? EndLimits { 0.1, 1.3 } : EndLimits { 0.37, 0.47 };
    return noisy ? EndLimits { 0.08, 0.24 } : EndLimits { 0.24, 0.36 };
}

} // namespace ztrace::strokes
