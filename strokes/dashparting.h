// (c) the ztrace developers. Licence: see LICENSE.
//
// Where the outer dash of a row is one with the next line's. docs/strokes/linetypes.md.
#ifndef ZTRACE_STROKES_DASHPARTING_H
#define ZTRACE_STROKES_DASHPARTING_H

#include "strokes/dashchains.h"
#include "strokes/track.h"

#include <vector>

namespace ztrace::strokes {

// Whether the first (0) and the last (1) run of an open row are cut.
struct OuterCuts
{
    bool at[2] = { false, false };
    bool any() const { return at[0] || at[1]; }
};
OuterCuts outerCutsOf(const Chain &chain, const DashChains &chains);

// Makes the first and the last run of a row as long as those between them, where these are alike
// and the outer one goes on: into the first dash of the next side of a box of dashes, or into a
// whole line. One that is two dashes and a gap stays: something lies in the gap.
OuterCuts cutOuterRuns(std::vector<Run> *runs);

// Makes outer runs as long as most others are, where a cut says that their own ends tell nothing.
void settleCuts(const OuterCuts &cuts, std::vector<Run> *runs);

// Parts the outer dashes of a chain where its runs end. What is left of their atoms becomes atoms
// of their own, and dashes that other rows may have; where a row is drawn there already, they are
// of it. The chain gets the carrier of what it keeps; false, and nothing is changed, where an outer
// dash is no atom or one of its parts would have no length.
bool partOuterDashes(const Track &track, const std::vector<Run> &runs, const OuterCuts &cuts,
                     const Measure &measure, Chain *chain, DashChains *chains, Web *web);

} // namespace ztrace::strokes

#endif
