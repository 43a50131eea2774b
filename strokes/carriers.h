// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the lines and circles meet that strokes lie on.
#ifndef ZTRACE_STROKES_CARRIERS_H
#define ZTRACE_STROKES_CARRIERS_H

#include "strokes/primitives.h"

namespace ztrace::strokes {

// Places where two carriers meet: up to two, none where they do not.
struct Crossings
{
    Point place[2] = {};
    int count = 0;
};
Crossings crossingsOf(const fit::Primitive &a, const fit::Primitive &b);

// Where two carriers touch each other near a place: of a line and an arc on the arc, as an end
// beside it would change its radius; else half way between both. `breakPart` of the way from the
// foot of the arc's centre to the place.
Point touching(const fit::Primitive &a, const fit::Primitive &b, Point near, double reach,
               double breakPart);

} // namespace ztrace::strokes

#endif
