// (c) the ztrace developers. Licence: see LICENSE.
//
// A small loop as a whole shape, by what it covers of every pixel: docs/fit/areas.md, "Small
// shapes".
#ifndef ZTRACE_FIT_AREASHAPES_H
#define ZTRACE_FIT_AREASHAPES_H

#include "fit/areafit.h"

#include <optional>

namespace ztrace::fit {

// The circle, ellipse or rectangle that covers what is measured best, fitted to it, where that is
// cheaper than the path at lambda nats a number, and shows areas itself. Nothing for paths that are
// open, larger than 12 px or of many pieces, and where the path covers it as well as its errors
// let it.
std::optional<Path> smallShape(const Path &path, const Coverage &coverage, double lambda);
// A whole shape's outline in open pieces, once around from x towards y: corners and arcs are exact,
// ellipses chords that go round as much and are at most .013 px off.
Path outlineOf(const Piece &shape);
// Whether a whole shape, or the one in its place, shows areas (showsAreas).
bool wholeShowsAreas(const Path &path, const Coverage &coverage, double lambda);

} // namespace ztrace::fit

#endif
