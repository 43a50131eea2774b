// (c) the ztrace developers. Licence: see LICENSE.
//
// Outlines of the regions of an index plane, all palette entries in one pass.
#ifndef ZTRACE_KERNELS_OUTLINE_H
#define ZTRACE_KERNELS_OUTLINE_H

#include <cstdint>
#include <functional>

#include "fit.h"

namespace ztrace {

class IndexPlane;

// Called for every outer outline that is kept, with its palette entry and its internodes, which
// are valid during the call only.
typedef std::function<void(int entry, const PathView<uint8_t> &path)> OutlineSink;

// Finds the outer outlines of all entries, in the order of their start nodes, rows from the top.
// Outlines with fewer than `shortest` nodes are left out (compared as single-precision numbers;
// not-a-number leaves out none), and so are the outlines of holes.
//
// Same answer as an edge-node grid and a walk per entry (ZTraceBitmap::layering, pathscan,
// internodes); docs/algorithm/pathscan.md, "All entries at once", has the argument:
//   - where a walk turns follows from the two pixels ahead alone, whatever earlier walks left;
//   - every outline is met first at its topmost, then leftmost node, which for an outer outline is
//     a corner with only the lower right pixel inside, and for a hole one with only the lower
//     right pixel outside (or, on a saddle, the upper left one too);
//   - so it is enough to remember, one bit each, that these two kinds of corners have been passed.
// Memory: two bits a node. Time: proportional to the pixels and the lengths of all outlines.
// Throws std::bad_alloc.
void scanOutlines(const IndexPlane &plane, float shortest, const OutlineSink &sink);

} // namespace ztrace

#endif
