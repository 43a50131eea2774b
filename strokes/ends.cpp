// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

const double kStep = 0.5;
const double kPaper = 0.06;   // coverage that counts as none
const double kFarthest = 3.0; // widths that ink is followed for
// Pixels of lines that show the form of their ends, in greys and in black and white.
const double kLeastWidth = 2.0;
const double kLeastHardWidth = 3.0;
// Part of what sharp round ends fall short by beside the middle from which ends are round. Blur
// leaves square ends as they are, row by row, and takes from the roundness: of lines of 4 to 7
// pixels blurred by 1.2 it leaves .2 to .6. Cut to black and white it rounds the corners of square
// ends, to .54 of lines 7 pixels wide; what steps leave of round ones is .57 and more.
const double kSoftRound = 0.185;
const double kHardRound = 0.555;
// The same where there are few ends: most pens are round.
const double kFewRound = 0.5;
const std::size_t kFewEnds = 8;
// The same of ends that are pointed, the tips of arrow heads: they tell nothing of lines' ends.
// Steps of one bit make 2.5 of round ends at most.
const double kPointed = 3.0;
const double kSameLook = 1e-6;         // pixels that two ends of one look differ by
const std::size_t kMostDistinct = 400; // ends are enough to tell, however many there are
// In scans what lies between two such parts tells nothing. In greys noise and blur leave .08 to .6
// of round ends and up to .3 of square ones. In black and white only wide lines tell: a threshold
// that thins leaves .5 to .9 of square ends, and .4 to 1.2 of round ones.
struct Band
{
    double square = 0.0;
    double round = 0.0;
};
const Band kSoftUnsure = { 0.16, 0.33 };
const Band kHardUnsure = { 0.62, 0.90 };
const double kLeastWornWidth = 6.5; // pixels
// Parts of half a width that ends of no known form are put back. A threshold that thins takes from
// the ends as well, so that it is less there.
const double kUnsurePart = 0.5;
const double kWornPart = 0.35;
const int kInsideSteps = 4;       // places up to a width before an end that tell the ink there
const double kLeastInside = 0.25; // coverage; less is no ink to compare with
const double kPaperBeside = 2.0;  // pixels from the edges of a line to what is not its own
const double kMostDots = 40.0;    // pixels that dots ahead of a line are followed for
// Pixels from the edges of a line to where paper makes it alone, and coverage that is paper there.
const double kAloneBeside = 1.5;
const double kAlonePaper = 0.4;
const double kDotAside = 0.7; // pixels that a dot of a broken line may lie beside its middle

// Widths before an end that a line has to be alone to show the form of its ends: two arcs of eight
// widths' radius that meet in a tip part there. A coil of one bit and greys had square ends put
// back by half a width for its six tips.
const double kTellingWidths = 3.0;

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
double inkBeyond(const Coverage &coverage, const Atom &atom, int end, double ahead, double beside)
{
    const double most = kFarthest * atom.width + 4.0;
    double sum = 0.0;
    for (double s = ahead + 0.5 * kStep; s < ahead + most; s += kStep) {
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

// What ends fall short by beside the middle, in parts of what sharp round ends do: those of lines
// that are at least so wide.
struct Roundness
{
    double value = 0.0;
    std::size_t count = 0;
};

Roundness roundnessOf(const std::vector<FreeEnd> &ends, const std::vector<double> &widths,
                      double leastWidth, double mostRound)
{
    Roundness result;
    for (int row = 0; row < kRowsBeside; ++row) {
        const double sharp = 0.5 * (1.0 - std::sqrt(1.0 - kBeside[row] * kBeside[row]));
        std::vector<double> parts;
        for (std::size_t k = 0; k < ends.size(); ++k) {
            const double part = (ends[k].middle - ends[k].side[row]) / (sharp * widths[k]);
            if (widths[k] >= leastWidth && part < mostRound)
                parts.push_back(part);
        }
        result.count = parts.size();
        if (parts.empty())
            return result;
        // The median alone takes one of few steps, the mean alone is led astray by other ink.
        double mean = 0.0;
        for (double part : parts)
            mean += std::clamp(part, 0.0, 1.0) / double(parts.size());
        const auto middle = parts.begin() + std::ptrdiff_t(parts.size() / 2);
        std::nth_element(parts.begin(), middle, parts.end());
        result.value += 0.5 * (mean + *middle) / kRowsBeside;
    }
    return result;
}

// Leaves one of all ends that look the same. In black and white lines of one pen that begin in one
// column have the very same pixels, as in a row of pins: thirty of them tell what one does.
void keepDistinct(std::vector<FreeEnd> *ends, std::vector<double> *widths)
{
    const auto looksLike = [](const FreeEnd &a, const FreeEnd &b) {
        return std::fabs(a.middle - b.middle) < kSameLook
            && std::fabs(a.side[0] - b.side[0]) < kSameLook
            && std::fabs(a.side[1] - b.side[1]) < kSameLook;
    };
    std::size_t kept = 0;
    for (std::size_t k = 0; k < ends->size(); ++k) {
        bool isNew = true;
        for (std::size_t i = 0; i < kept && isNew; ++i)
            isNew = (*widths)[i] != (*widths)[k] || !looksLike((*ends)[i], (*ends)[k]);
        if (!isNew)
            continue;
        (*ends)[kept] = (*ends)[k];
        (*widths)[kept++] = (*widths)[k];
        if (kept == kMostDistinct)
            break;
    }
    ends->resize(kept);
    widths->resize(kept);
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

FreeEnd freeEndOf(const Coverage &coverage, const Atom &atom, int end, double ahead)
{
    FreeEnd result;
    result.middle = inkBeyond(coverage, atom, end, ahead, 0.0);
    for (int row = 0; row < kRowsBeside; ++row) {
        const double beside = kBeside[row] * 0.5 * atom.width;
        result.side[row] = 0.5
            * (inkBeyond(coverage, atom, end, ahead, beside)
               + inkBeyond(coverage, atom, end, ahead, -beside));
    }
    return result;
}

double inkAhead(const Coverage &coverage, const Atom &atom, int end, double most, double gap)
{
    double last = 0.0;
    for (double s = kStep; s < most + kStep && s <= last + gap + kStep; s += kStep) {
        if (coverage.at(alongCarrier(atom, end, s)) >= 0.5)
            last = s;
    }
    return last;
}

double lastInk(const Coverage &coverage, const Atom &atom, int end, double gap)
{
    const double beside = 0.5 * atom.width + kPaperBeside;
    double last = 0.0;
    for (double s = kStep; s < std::min(last + gap + kStep, kMostDots); s += kStep) {
        const double middle = std::max({ coverage.at(besideEnd(atom, end, s, 0.0)),
                                         coverage.at(besideEnd(atom, end, s, kDotAside)),
                                         coverage.at(besideEnd(atom, end, s, -kDotAside)) });
        const double around = std::max(coverage.at(besideEnd(atom, end, s, beside)),
                                       coverage.at(besideEnd(atom, end, s, -beside)));
        if (around >= 0.5)
            break;
        if (middle >= 0.5)
            last = s;
    }
    return last;
}

bool isAlone(const Coverage &coverage, const Atom &atom, int end, double ahead)
{
    const double beside = 0.5 * atom.width + kAloneBeside;
    return coverage.at(besideEnd(atom, end, ahead, beside)) < kAlonePaper
        && coverage.at(besideEnd(atom, end, ahead, -beside)) < kAlonePaper;
}

bool isAloneUpTo(const Coverage &coverage, const Atom &atom, int end)
{
    const double step = 0.25 * atom.width;
    const double back = std::min(kTellingWidths * atom.width, 0.5 * double(atom.samples.size()));
    for (double s = -back; s <= 0.5 * atom.width; s += step) {
        if (!isAlone(coverage, atom, end, s))
            return false;
    }
    return true;
}

EndForm formOfEnds(const std::vector<FreeEnd> &ends, const std::vector<double> &widths, bool hard,
                   bool noisy)
{
    if (noisy) {
        const Band &band = hard ? kHardUnsure : kSoftUnsure;
        const Roundness found
            = roundnessOf(ends, widths, hard ? kLeastWornWidth : kLeastWidth, 1e300);
        EndForm form;
        form.part = hard ? kWornPart : kUnsurePart;
        const std::size_t least = hard ? kFewEnds : 1;
        if (found.count >= least && found.value < band.square)
            form.part = 0.0;
        else if (found.count >= least && found.value > band.round)
            form.part = 1.0;
        form.round = found.count == 0 || form.part > 0.0;
        return form;
    }
    std::vector<FreeEnd> distinct = ends;
    std::vector<double> theirWidths = widths;
    if (hard)
        keepDistinct(&distinct, &theirWidths);
    const Roundness found
        = roundnessOf(distinct, theirWidths, hard ? kLeastHardWidth : kLeastWidth, kPointed);
    const auto telling = std::count_if(widths.begin(), widths.end(),
                                       [](double width) { return width >= kLeastHardWidth; });
    const double hardLeast = std::size_t(telling) < kFewEnds ? kFewRound : kHardRound;
    const bool round = found.count == 0 || found.value > (hard ? hardLeast : kSoftRound);
    return { round, round ? 1.0 : 0.0 };
}

} // namespace ztrace::strokes
