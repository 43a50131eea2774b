// (c) the ztrace developers. Licence: see LICENSE.
//
// Which stretches of a path come too near to another one, and a path cut around them, so that the
// rest of it can stay as it is.
#ifndef ZTRACE_TRACING_MEETINGS_H
#define ZTRACE_TRACING_MEETINGS_H

#include "softedges.h"

#include "fit/fit.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace ztrace {

// Where a piece, 0 to 1, meets something: stretches of it, in any order. Apart, since a side that
// meets something at either end may be right in between.
class Meeting
{
public:
    struct Stretch
    {
        double from;
        double to;
    };

    bool isNone() const { return stretches.empty(); }
    // Where the first one begins and the last one ends; 1 and 0 where there is none.
    double from() const;
    double to() const;
    const std::vector<Stretch> &all() const { return stretches; }

    void add(double from, double to);

private:
    std::vector<Stretch> stretches;
};

// Where the pieces of a path lie, so that those near to a place are found without a look at all: a
// frame around a page meets thousands of others. The path must outlive it.
class PiecePlaces
{
public:
    explicit PiecePlaces(const fit::Path &path);

    const fit::Path &path() const { return own; }
    const fit::Box &box(std::size_t piece) const { return boxes[piece]; }
    const fit::Box &whole() const { return all; }

    // Pieces whose boxes may come that near to another one, in order, each once.
    void findNear(const fit::Box &box, std::vector<uint32_t> *pieces) const;

private:
    const fit::Path &own;
    fit::Box all = {};
    std::vector<fit::Box> boxes;
    std::vector<std::pair<uint64_t, uint32_t>> cells; // sorted: which pieces are in each
    std::vector<uint32_t> large;                      // pieces in too many cells
};

// Widens the meetings, one a piece of `path`, by those with `other`, which may be the same:
// where they cross or are a tenth of a pixel apart. Pieces of one path that follow each other meet
// where they cross away from their joint.
void addMeetings(const PiecePlaces &path, const PiecePlaces &other, std::vector<Meeting> *meetings);

// Widens meetings that reach the end of a piece over the joint, so many pieces far: what was fitted
// again between the same ends may have to go where these are in the way. What is long enough to be
// cut is met at its end alone.
void spreadMeetings(const fit::Path &path, bool soft, int steps, std::vector<Meeting> *meetings);

// Cuts lines and arcs some pixels to both sides of each meeting. Returns which of the pieces of
// the path as it is then meet something, those beside a meeting at their joint included.
std::vector<char> cutAround(const std::vector<Meeting> &meetings, const ChainPoints &points,
                            fit::Path *path);

} // namespace ztrace

#endif
