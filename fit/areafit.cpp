// (c) the ztrace developers. Licence: see LICENSE.
#include "fit/areafit.h"

#include "fit/areaedits.h"
#include "fit/areapolish.h"
#include "fit/areashapes.h"

#include <algorithm>
#include <cmath>

namespace ztrace::fit {

namespace {

const double kHeld = 0.2;   // of the anchors, where joints go astray
const double kGood = 2;     // chi squared a mixed pixel that is as good as any
const double kPlain = 0.02; // of coverage: a pixel that is one side's
// Of coverage that half of the mixed pixels may be off; of few mixed pixels most are at corners.
const double kBlurred = 0.06;
const double kBlurredOfFew = 0.09;
const std::size_t kManyMixed = 80;
const std::size_t kFewMixed = 8;
const int kEdits = 3; // times that a path is edited

// All joints; where that goes astray, held closer.
bool polish(const Coverage &coverage, std::vector<Piece> *pieces)
{
    for (double hold : { 1.0, kHeld }) {
        Polish all(*pieces, coverage, 0, pieces->size(), hold);
        all.run();
        if (isTame(*pieces, all.result())) {
            *pieces = all.result();
            return true;
        }
    }
    return false;
}

// What the mixed pixels are off by.
std::vector<double> offMixed(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    const std::vector<double> off = residuals(pieces, coverage);

    std::vector<double> mixed;
    for (std::size_t k = 0; k < off.size(); ++k) {
        if (coverage.counts[k] && coverage.right[k] > kPlain && coverage.right[k] < 1 - kPlain)
            mixed.push_back(std::fabs(off[k]));
    }
    return mixed;
}

// Whether the path covers what is measured as well as its errors let it.
bool isAsMeasured(const std::vector<Piece> &pieces, const Coverage &coverage)
{
    const std::vector<double> off = offMixed(pieces, coverage);
    return squares(off) < kGood * static_cast<double>(off.size()) * coverage.sigma * coverage.sigma;
}

// Joints, ends, details and tangents (docs/fit/areas.md, "Rule").
std::vector<Piece> edited(std::vector<Piece> pieces, const Coverage &coverage, double lambda)
{
    polish(coverage, &pieces);
    for (int round = 0; round < kEdits && cleanEnds(coverage, lambda, &pieces); ++round) {
        polish(coverage, &pieces);
        if (isAsMeasured(pieces, coverage))
            break;
    }
    for (int round = 0;
         round < kEdits && !isAsMeasured(pieces, coverage) && addDetail(coverage, lambda, &pieces);
         ++round) {
        polish(coverage, &pieces);
        if (cleanEnds(coverage, lambda, &pieces))
            polish(coverage, &pieces);
    }
    smoothJoints(coverage, lambda, &pieces);
    return pieces;
}

} // namespace

std::vector<double> coverOf(const Path &path, const Coverage &window)
{
    if (path.pieces.size() == 1 && isWhole(path.pieces.front().kind))
        return coverOf(outlineOf(path.pieces.front()), window);
    Areas areas(window);
    for (const Piece &piece : path.pieces)
        areas.add(piece, 1);
    std::vector<double> cover(static_cast<std::size_t>(window.width * window.height), 0.0);
    areas.forEach(
        [&cover](std::size_t k, double part) { cover[k] = std::min(1.0, std::fabs(part)); });
    return cover;
}

bool showsAreas(const Path &path, const Coverage &coverage)
{
    std::vector<double> off = offMixed(path.pieces, coverage);
    if (off.size() < kFewMixed)
        return false;
    const auto middle = off.begin() + static_cast<std::ptrdiff_t>(off.size() / 2);
    std::nth_element(off.begin(), middle, off.end());
    return *middle < (off.size() < kManyMixed ? kBlurredOfFew : kBlurred);
}

Path fitToCoverage(const Path &path, const Coverage &coverage, double lambda, bool isSharp)
{
    const std::size_t count = path.pieces.size();
    if (!path.closed || count == 0)
        return path;
    if (isWhole(path.pieces.front().kind)) {
        // What stands for its own area is sharp as others are.
        if (!isSharp)
            return path;
        const std::optional<Path> shape = smallShape(path, coverage, lambda);
        return shape ? *shape : path;
    }
    if (count < 3 || count > kMostJoints || !(isSharp || showsAreas(path, coverage))
        || isAsMeasured(path.pieces, coverage))
        return path;
    Path result = path;
    result.pieces = edited(path.pieces, coverage, lambda);
    result.numbers = numbersOf(result.pieces, true, svgPrices());
    if (const std::optional<Path> shape = smallShape(result, coverage, lambda))
        return *shape;
    return showsAreas(result, coverage) ? result : path;
}

} // namespace ztrace::fit
