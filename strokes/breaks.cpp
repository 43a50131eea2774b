// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/breaks.h"

#include "strokes/ends.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

namespace {

// Widths of the line, and pixels, that a break is long at most. Of 52 scans without any four have
// such gaps, of 52 with breaks 42.
const double kBreakWidths = 1.1;
const double kBreakPixels = 6.0;
const double kSeam = 1.5;       // pixels without ink that say nothing
const double kLongWidths = 6.0; // that both sides are long; dashes are shorter, or in a row
const double kPartOfSide = 0.5; // of the shorter side that a break is long at most
const double kOnCarrier = 1.0;  // pixels that an end may lie beside the other side's carrier
const double kGoesOn = 0.9;     // cosine between both directions
// Cross-sections end before the ink does: widths and pixels that those of both sides are apart.
const double kReachWidths = 2.5;
const double kReachPixels = 10.0;
// Widths of both sides: their ratio, and pixels that they may differ in any case.
const double kWidthRatio = 1.45;
const double kWidthSlack = 1.2;

class BreakFinder
{
public:
    BreakFinder(const Coverage &c, const Measure &m, const Web &w) : coverage(c), measure(m), web(w)
    {
        for (std::size_t k = 0; k < web.atoms.size(); ++k) {
            for (int end = 0; end < 2; ++end) {
                if (isSide({ int(k), end }))
                    sides.push_back({ int(k), end });
            }
        }
        std::sort(sides.begin(), sides.end(),
                  [this](const AtomEnd &a, const AtomEnd &b) { return lastOf(a).x < lastOf(b).x; });
    }

    bool find() const
    {
        for (std::size_t i = 0; i < sides.size(); ++i) {
            const double reach = kReachWidths * atom(sides[i]).width + kReachPixels;
            for (std::size_t k = i + 1; k < sides.size(); ++k) {
                const Point way = lastOf(sides[k]) - lastOf(sides[i]);
                if (way.x > reach)
                    break;
                if (std::hypot(way.x, way.y) < reach && isBreak(sides[i], sides[k]))
                    return true;
            }
        }
        return false;
    }

private:
    const Atom &atom(AtomEnd end) const { return web.atoms[std::size_t(end.atom)]; }

    Point lastOf(AtomEnd end) const
    {
        const std::vector<Section> &samples = atom(end).samples;
        return end.end == 0 ? samples.front().centre : samples.back().centre;
    }

    // A long line or arc that meets nothing at that end.
    bool isSide(AtomEnd end) const
    {
        const Atom &one = atom(end);
        const int joint = one.joint[end.end];
        return one.alive && one.shape <= Shape::Arc && one.dashing.type == DashType::None
            && one.role != Role::Text && measure.takenOf(one.width) <= kSeam
            && double(one.samples.size()) >= std::max(2.0, kLongWidths * one.width) && joint >= 0
            && web.joints[std::size_t(joint)].kind == JointKind::Tip;
    }

    bool isBreak(AtomEnd a, AtomEnd b) const
    {
        const Atom &one = atom(a);
        const Atom &other = atom(b);
        const double thin = std::min(one.width, other.width);
        const double thick = std::max(one.width, other.width);
        if (a.atom == b.atom || (thick > kWidthRatio * thin && thick - thin > kWidthSlack)
            || fit::dot(outwardsOf(one, a.end), outwardsOf(other, b.end)) > -kGoesOn
            || std::fabs(one.carrier.distance(lastOf(b))) > kOnCarrier
            || std::fabs(other.carrier.distance(lastOf(a))) > kOnCarrier)
            return false;
        const Point way = lastOf(b) - lastOf(a);
        if (fit::dot(way, outwardsOf(one, a.end)) <= 0.0)
            return false;
        const double apart = std::hypot(way.x, way.y);
        const double gap = apart - inkAhead(coverage, one, a.end, apart, 0.0)
            - inkAhead(coverage, other, b.end, apart, 0.0);
        const double shorter = double(std::min(one.samples.size(), other.samples.size()));
        return gap > kSeam
            && gap <= std::min(kBreakWidths * thin + kBreakPixels, kPartOfSide * shorter);
    }

    const Coverage &coverage;
    const Measure &measure;
    const Web &web;
    std::vector<AtomEnd> sides; // from left to right
};

} // namespace

bool hasBreaks(const Coverage &coverage, const Measure &measure, const Web &web)
{
    return BreakFinder(coverage, measure, web).find();
}

} // namespace ztrace::strokes
