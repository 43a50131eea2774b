// (c) the ztrace developers. Licence: see LICENSE.
//
// A closed path against what it covers of every pixel: docs/fit/areas.md.
#ifndef ZTRACE_FIT_AREAFIT_H
#define ZTRACE_FIT_AREAFIT_H

#include "fit/fit.h"

namespace ztrace::fit {

// A part of the picture. Rows from the top, one entry a pixel.
struct Coverage
{
    int left; // of the first pixel
    int top;
    int width;
    int height;
    double sigma;              // of what is measured, 0 to 1
    std::vector<double> right; // measured part of the pixel to the right of the walk
    std::vector<char> counts;  // whether this path alone passes there
};

// What lies within a closed path of every pixel of the window, 0 to 1; of paths of any kind.
std::vector<double> coverOf(const Path &path, const Coverage &window);

// Whether mixed pixels show areas at all: of blurred edges more than half are off. Of paths of open
// pieces; of whole shapes wholeShowsAreas tells.
bool showsAreas(const Path &path, const Coverage &coverage);

// Moves the joints of a closed path, and bends its arcs, so that it covers what is measured; tips
// are cut off where that pays (lambda nats a number), and corners of curves that pixels do not ask
// for become smooth. Joints that are smooth stay so. Returns the
// path as it is where nothing is won; also where it does not show areas in the end, or, unless the
// picture is known to be sharp, at the start: an edited path may follow blurred pixels. Small paths
// and whole shapes may become another whole shape (fit/areashapes.h); large ones stay. Linear in
// the joints but for the solving, which is of at most kMostJoints.
Path fitToCoverage(const Path &path, const Coverage &coverage, double lambda, bool isSharp = false);
const std::size_t kMostJoints = 60;

} // namespace ztrace::fit

#endif
