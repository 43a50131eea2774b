// (c) the ztrace developers. Licence: see LICENSE.
//
// What a row of dashes is made of while it is looked for.
#ifndef ZTRACE_STROKES_DASHROW_H
#define ZTRACE_STROKES_DASHROW_H

#include "strokes/primitives.h"

#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace ztrace::strokes {

// An atom or a dot that may be a dash.
struct Dash
{
    Point end[2] = {};
    Point axis = { 0, 0 }; // unit, from end[0] to end[1]; of no length where it has none
    double width = 0.0;
    int atom = -1;
    bool isCut[2] = { false, false }; // whether ink goes on behind an end, as another line
    bool isUsed = false;
    bool isTried = false;
    fit::Moments moments = {};

    double length() const { return lengthOf(end[1] - end[0]); }
    bool isDot() const { return !(fit::dot(axis, axis) > 0); }
};

// A dash and the end of it that is met first.
struct Next
{
    int dash = -1;
    int near = 0;
    double rank = 0.0;
};

// A row of dashes in the order of the walk; the ends that face forwards.
struct Chain
{
    std::vector<Next> dashes;
    fit::Moments moments = {};
    fit::Primitive carrier = {};
    double width = 0.0;
    bool closed = false;
    bool areDots = false; // all of them
};

// Ends of dashes, twice their number and the end, by the cell they lie in.
typedef std::unordered_map<uint64_t, std::vector<int>> Grid;

inline uint64_t keyOf(int x, int y)
{
    return (uint64_t(uint32_t(x)) << 32) | uint32_t(y);
}

} // namespace ztrace::strokes

#endif
