// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/connections.h"

#include <cmath>

namespace ztrace::strokes {

namespace {

// Widths from an end to where it should be: less is hidden in the ink of both.
const double kNear = 0.75;

} // namespace

bool makeConnection(const Atom &ending, int end, Point to, const Measure &measure, Atom *line)
{
    const Point from = ending.place[end];
    if (ending.role != Role::Text
        || !(std::hypot(to.x - from.x, to.y - from.y) > kNear * ending.width))
        return false;
    *line = Atom();
    line->role = Role::Text;
    line->core = ending.core;
    line->connects = true;
    for (const Point &place : { from, to }) {
        Section section = ending.samples.front();
        section.centre = place;
        section.width = ending.width;
        line->samples.push_back(section);
    }
    refit(line, measure);
    line->place[0] = from;
    line->place[1] = to;
    return true;
}

} // namespace ztrace::strokes
