// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;
const double kPaper = 0.06;    // coverage that counts as none
const double kFarthest = 3.0;  // widths that ink is followed for
const double kLeastWidth = 2.0; // pixels of lines that show the form of their ends
// Of a round end the ink beside the middle is .4 of the half width shorter, which is .2 widths.
const double kShorter = 0.2;
const int kInsideSteps = 4;       // places up to a width before an end that tell the ink there
const double kLeastInside = 0.25; // coverage; less is no ink to compare with

// Beside a line at an end, that many pixels outwards.
Point besideEnd(const Atom &atom, int end, double pixels, double beside)
{
    const Point p = alongCarrier(atom, end, pixels);
    const Point q = alongCarrier(atom, end, pixels + 0.1);
    const double length = std::hypot(q.x - p.x, q.y - p.y);
    return p + (beside / length) * Point { q.y - p.y, p.x - q.x };
}

// Pixels of ink, in parts of what the line has inside: blur takes from thin lines and from what
// lies beside the middle all along, which is no sign of a round end.
double inkBeyond(const Coverage &coverage, const Atom &atom, int end, double beside)
{
    const double most = kFarthest * atom.width + 4.0;
    double sum = 0.0;
    for (double s = 0.5 * kStep; s < most; s += kStep) {
        const double part = coverage.at(besideEnd(atom, end, s, beside));
        if (part < kPaper)
            break;
        sum += part * kStep;
    }
    double inside = 0.0;
    const double length = double(atom.samples.size());
    for (int k = 1; k <= kInsideSteps; ++k) {
        const double back = std::min(atom.width, 0.8 * length) * k / kInsideSteps;
        inside += coverage.at(besideEnd(atom, end, -back, beside)) / kInsideSteps;
    }
    return inside > kLeastInside ? sum / inside : sum;
}

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
    FreeEnd result;
    result.middle = inkBeyond(coverage, atom, end, 0.0);
    const double beside = kBeside * 0.5 * atom.width;
    result.side = 0.5
        * (inkBeyond(coverage, atom, end, beside) + inkBeyond(coverage, atom, end, -beside));
    return result;
}

double inkAhead(const Coverage &coverage, const Atom &atom, int end, double most)
{
    double s = 0.0;
    while (s < most && coverage.at(alongCarrier(atom, end, s + kStep)) >= 0.5)
        s += kStep;
    return s;
}

bool hasRoundEnds(const std::vector<FreeEnd> &ends, const std::vector<double> &widths)
{
    double score = 0.0;
    double all = 0.0;
    for (std::size_t k = 0; k < ends.size(); ++k) {
        if (widths[k] < kLeastWidth)
            continue;
        // Each end has a vote as clear as its line is wide.
        const double round = (ends[k].middle - ends[k].side) / (kShorter * widths[k]);
        score += widths[k] * std::clamp(round, 0.0, 1.0);
        all += widths[k];
    }
    return !(all > 0.0) || score > 0.5 * all;
}

} // namespace ztrace::strokes
