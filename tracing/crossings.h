// (c) the ztrace developers. Licence: see LICENSE.
//
// Where fitted boundaries cross: those of areas never may.
#ifndef ZTRACE_TRACING_CROSSINGS_H
#define ZTRACE_TRACING_CROSSINGS_H

#include "fit/fit.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace ztrace {

// Pairs of paths that cross, or leave nothing between them: a joint of one comes within two
// hundredths of a pixel of the other, or both have the same line. The lower number first, each pair
// once and in order; a path that meets itself is a pair with itself. Paths may end in one point.
//
// `width`, `height`  of the plane in pixels; what lies outside counts to its rim
// `looked`           if not empty, one entry a path: only pairs with one that is set are found
// `threads`          at most; the pairs do not depend on how many there are
std::vector<std::pair<uint32_t, uint32_t>> crossingsOf(const std::vector<fit::Path> &paths,
                                                       int width, int height,
                                                       const std::vector<char> &looked = {},
                                                       unsigned threads = 1);

// Where the chords end by which a piece is compared with others, of 0 to 1, in order: a
// two-hundredth of a pixel off at most.
void findEndsOfChords(const fit::Piece &piece, std::vector<double> *ends);

} // namespace ztrace

#endif
