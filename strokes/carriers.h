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

// Whether two circles touch each other, from outside or within each other, but for so many pixels,
// and half way between them there. False where one is a line.
bool touchingPlace(const fit::Primitive &a, const fit::Primitive &b, double within, Point *place);

// A line that touches a circle and one that cuts off a little are not told apart by fits: half way
// between both places, as long as they are near each other. Else the crossing.
Point betweenTouchAndCrossing(const fit::Primitive &a, const fit::Primitive &b, Point crossing);

// Whether a place of an atom's carrier lies on what was seen of it, or so many pixels beyond.
bool liesOn(const Atom &atom, Point place, double slack);

// Where two carriers touch each other near a place: of a line and an arc on the arc, as an end
// beside it would change its radius; else half way between both. `breakPart` of the way from the
// foot of the arc's centre to the place.
Point touching(const fit::Primitive &a, const fit::Primitive &b, Point near, double reach,
               double breakPart);

} // namespace ztrace::strokes

#endif
