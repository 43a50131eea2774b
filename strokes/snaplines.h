// (c) the ztrace developers. Licence: see LICENSE.
//
// Order among the lines of a drawing: the part of strokes/snapping.h that moves joints.
#ifndef ZTRACE_STROKES_SNAPLINES_H
#define ZTRACE_STROKES_SNAPLINES_H

#include "strokes/strokes.h"

#include "fit/snap.h"

#include <algorithm>

namespace ztrace::strokes {

const double kMostMoved = 1.0;        // pixels that an end goes
const double kUnknown = 0.05;         // pixels that no scanned drawing tells
const std::size_t kLeastSections = 6; // of a stroke that tells something

// Sum of (distance / sigma) squared of cross-sections.
struct Misfit
{
    double chi2 = 0;
    double weights = 0; // sum of 1 / sigma squared
    double sections = 0;

    // How many times larger errors are than sigma, squared.
    double scale() const { return std::max(1.0, chi2 / std::max(sections, 1.0)); }

    bool allows(const Misfit &other) const
    {
        return other.chi2 - chi2 <= fit::kMostRise * scale() + kUnknown * kUnknown * weights;
    }
};
Misfit misfitOf(const fit::Piece &piece, const std::vector<Section> &samples, double sigma);

// Directions to the axes and to each other: to those of lines that meet, or of any. Joints move
// with them.
void snapLines(bool amongAll, StrokeDrawing *drawing);

} // namespace ztrace::strokes

#endif
