// (c) the ztrace developers. Licence: see LICENSE.
//
// Which way a chain is walked, from where, and in which frame it is fitted, so that none of it
// depends on how the picture is turned: docs/tracing/shapes.md, "Turned pictures".
#ifndef ZTRACE_TRACING_WALKS_H
#define ZTRACE_TRACING_WALKS_H

#include "tracing/softedges.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace ztrace {

// The frame of a chain: its first corner is the origin, its first stretch goes to the right, and
// where `mirrored` y points the other way.
struct Pose
{
    int x = 0; // of the origin, in the picture
    int y = 0;
    Heading heading = kRight; // of the first stretch, in the picture
    bool mirrored = false;
};

// There and back exactly, since what goes in is rounded: points to kPointGrid, coordinates of paths
// to kPathGrid. What was computed in the picture differs in its last bits as that is turned.
ChainPoints intoPose(const Pose &pose, ChainPoints points);
fit::Path intoPose(const Pose &pose, fit::Path path);
fit::Path outOfPose(const Pose &pose, fit::Path path);
fit::Coverage intoPose(const Pose &pose, const fit::Coverage &coverage);

// What differs between the ways to walk along a chain that looks the same both ways: of areas and
// of pixels, the same numbers however the picture is turned. What has none may be empty.
struct WalkKeys
{
    std::vector<uint64_t> ofLabel;                      // an element a label
    std::function<uint64_t(int x, int y)> ofPixel = {}; // in the picture
};

// The same for walks that are the same in their frames.
uint64_t hashOfWalk(const BoundaryMap &map, const Pose &pose, uint32_t chain);

// Turns the chains of a map so that each goes the way, and each loop begins at the corner, that its
// own shape tells; where that looks the same from several sides, its areas, what meets at its ends,
// the pixels beside it, and at last to which side more of the picture lies. Returns the frame of
// each chain: in it chains of a turned or mirrored picture are the same. A loop has its inside on
// its right there. Where not even that tells the ways apart, the picture is symmetric. Linear in
// the cracks.
std::vector<Pose> settleWalks(BoundaryMap *map, const WalkKeys &keys);

} // namespace ztrace

#endif
