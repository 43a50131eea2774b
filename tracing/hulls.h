// (c) the ztrace developers. Licence: see LICENSE.
//
// Which pieces are plainly apart, by what they lie in, so that only the others are looked at
// closely.
#ifndef ZTRACE_TRACING_HULLS_H
#define ZTRACE_TRACING_HULLS_H

#include "fit/fit.h"

#include <cstdint>
#include <vector>

namespace ztrace {

// Pixels that are as good as nothing between two boundaries.
const double kTouching = 0.02;
// Pixels along a path within which its own pieces may come that near, as at a sharp corner.
const double kSameCorner = 0.1;

// A corner by corner way from the start of an open piece to its end within whose convex hull the
// piece lies, turning no other way than it does: its control polygon. Of a whole shape, and of
// arcs of more than three quarters of a turn, the box, which is none of its ways.
struct Hull
{
    fit::Point corner[4];
    int count; // 2 to 4
    bool isWay;
};
Hull hullOf(const fit::Piece &piece);

// Whether a line lies between two hulls, with kTouching at least from the one to the other.
bool arePlainlyApart(const Hull &a, const Hull &b);

// Whether a piece cannot meet itself, nor come back to its ends.
bool cannotMeetItself(const fit::Piece &piece);

// The same of a piece and the one that goes on where it ends: they have their joint in common and
// nothing else, not even nearly but for kSameCorner beside it.
bool goOneWay(const Hull &before, const Hull &after);

struct PlaceOfPiece
{
    uint32_t path;
    uint32_t piece;

    bool operator==(const PlaceOfPiece &o) const { return path == o.path && piece == o.piece; }
    bool operator<(const PlaceOfPiece &o) const
    {
        return path != o.path ? path < o.path : piece < o.piece;
    }
};

struct PiecePair
{
    PlaceOfPiece a; // not after b
    PlaceOfPiece b;
    fit::Box common; // to both, and kTouching around it
};

// Pairs of pieces that may meet, or of one with itself, by their paths and then their numbers; all
// others certainly do not.
//
// `width`, `height`  of the plane in pixels
// `looked`           if not empty, one entry a path: only pairs with one that is set are found
// `threads`          at most; the pairs do not depend on how many there are
std::vector<PiecePair> piecesThatMayMeet(const std::vector<fit::Path> &paths, int width, int height,
                                         const std::vector<char> &looked, unsigned threads);

} // namespace ztrace

#endif
