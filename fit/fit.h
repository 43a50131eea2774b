// (c) the ztrace developers. Licence: see LICENSE.
//
// The entry point: a chain of points becomes a path of few true pieces.
#ifndef ZTRACE_FIT_FIT_H
#define ZTRACE_FIT_FIT_H

#include "fit/Piece.h"

namespace ztrace::fit {

struct Settings
{
    Prices prices;
    Judgement soft; // what chains of soft edges are judged by
    Judgement hard;
    bool curves; // whether runs of arcs may become curves
    bool shapes; // whether closed chains may become whole shapes
    Search search;
};

inline Settings settingsFor(const Prices &prices)
{
    return { prices, judgementOf(Edge::Soft), judgementOf(Edge::Hard), true, true, Search() };
}

// Pieces in the order of the walk. Each starts exactly where the one before it ends, the first of a
// closed path where the last one ends; a whole shape stands alone.
struct Path
{
    std::vector<Piece> pieces;
    bool closed;
    double misfit;  // nats of all points
    double numbers; // by the price list
};

// Fits one chain (docs/fit/fit.md lists the stages). Deterministic; may run in several threads
// at a time.
//
// No usable point gives no piece. One point, or points that all coincide, give one line of no
// length. A closed chain of two points is drawn there and back. Coordinates that come out are
// finite for every input.
Path fitChain(const Chain &chain, const Settings &settings);

} // namespace ztrace::fit

#endif
