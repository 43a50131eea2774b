// (c) the ztrace developers. Licence: see LICENSE.
//
// Which stretches of a path come too near to another one, and a path cut around them, so that the
// rest of it can stay as it is.
#ifndef ZTRACE_TRACING_MEETINGS_H
#define ZTRACE_TRACING_MEETINGS_H

#include "softedges.h"

#include "fit/fit.h"

#include <vector>

namespace ztrace {

// Of a piece, 0 to 1; where `from` is larger than `to` it meets nothing.
struct Meeting
{
    double from = 1;
    double to = 0;

    bool isNone() const { return from > to; }
};

// Widens the meetings, one a piece of `path`, by those with `other`, which may be the path itself:
// where they cross or are a tenth of a pixel apart. Pieces of one path that follow each other meet
// where they cross away from their joint.
void addMeetings(const fit::Path &path, const fit::Path &other, std::vector<Meeting> *meetings);

// Cuts lines and arcs some pixels to both sides of their meetings. Returns which of the pieces of
// the path as it is then meet something, those beside a meeting at their joint included.
std::vector<char> cutAround(const std::vector<Meeting> &meetings, const ChainPoints &points,
                            fit::Path *path);

} // namespace ztrace

#endif
