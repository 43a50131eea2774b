// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the middle of a line runs between the pixels, and how wide it is.
#ifndef ZTRACE_STROKES_SAMPLES_H
#define ZTRACE_STROKES_SAMPLES_H

#include "strokes/graph.h"

namespace ztrace::strokes {

// A cross-section of a line.
struct Section
{
    Point centre = { 0, 0 };
    double width = 0.0;
    bool clear = false; // there is paper on both sides
};

// The cross-section at a place, across a unit direction: the coverage along the normal up to where
// it falls to paper or rises again, its first moment the centre, its sum the width. Both keep
// their values under blur and under any even sampling. `reach` is how far paper is looked for.
Section sectionAt(const Coverage &coverage, Point place, Point direction, double reach);

// Where cores end.
// Break: where one core is drawn in two pieces.
enum class JointKind { Tip, Junction, Corner, Break };
struct Joint
{
    Point place = { 0, 0 };
    double radius = 0.0; // of the ink there
    JointKind kind = JointKind::Junction;
};

// What of a branch tells where its line runs: its cross-sections without those in the ink of a
// joint, where two lines are seen at once.
struct Core
{
    std::vector<Section> samples; // in the order of the walk
    double width = 0.0;           // median
    double length = 0.0;          // of the whole branch, pixels
    int joint[2] = { -1, -1 };    // -1 of a closed one
    int branch = -1;
    bool closed() const { return joint[0] < 0; }
};

struct Cores
{
    std::vector<Core> cores;
    std::vector<Joint> joints;
};

// The cores of all branches; a branch that turns at a corner is two. Nodes with nothing but their
// own ink between them are one joint.
Cores coresOf(const Graph &graph, const Plane &distance, const Coverage &coverage);

} // namespace ztrace::strokes

#endif
