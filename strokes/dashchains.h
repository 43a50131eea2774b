// (c) the ztrace developers. Licence: see LICENSE.
//
// Atoms and dots that follow each other on one line or arc.
#ifndef ZTRACE_STROKES_DASHCHAINS_H
#define ZTRACE_STROKES_DASHCHAINS_H

#include "strokes/dashrow.h"
#include "strokes/dots.h"
#include "strokes/joining.h"

namespace ztrace::strokes {

const double kDashCell = 32.0;  // pixels of the grid that ends are looked up in
const std::size_t kFewDots = 5; // that a circle through them says nothing

inline int dashCellAt(double v)
{
    return int(std::floor(v / kDashCell));
}

// What may be a dash of a web, and rows of it. Nothing of the web is changed.
class DashChains
{
public:
    DashChains(const Measure &measure, Web *web, const std::vector<Dot> &dots);

    std::vector<Dash> dashes;
    Grid grid; // of their ends

    const Dash &dash(int number) const { return dashes[std::size_t(number)]; }
    Dash &dash(int number) { return dashes[std::size_t(number)]; }

    // A chain of one dash. A chain is grown to its end before the next one is begun.
    Chain chainFrom(int number);
    // Whether the chain and a dash are on one line or arc; the chain then has it.
    bool append(Chain *chain, const Next &next);
    // What has become an atom since and goes on at an end; all chains so far are at their end.
    void add(int atom, int cutEnd);
    // Adds what follows on both sides, until a circle closes.
    void grow(Chain *chain);
    // Of a dot, the nearest first.
    std::vector<Next> dotsAround(int number) const;
    bool isIn(const Chain &chain, int number) const
    {
        return inChain[std::size_t(number)] == stamp && !chain.dashes.empty();
    }

private:
    void enter(int number, int end);
    void enterBoth(int number);
    void takeAtoms();
    void takeAtom(int number);
    void takeDots(const std::vector<Dot> &dots);
    Dash dotAt(Point centre, double width, int atom) const;
    // Dashes ahead of a place, the best first.
    std::vector<Next> candidates(const Chain &chain, Point from, Point heading) const;
    // The walk's last place and the way it goes on.
    bool bendsOn(const Chain &chain, const Dash &other, int near, Point heading) const;
    Point lastOf(const Chain &chain) const;
    Point headingOf(const Chain &chain) const;
    void growAhead(Chain *chain);

    const Measure &measure;
    Web &web;
    std::vector<int> inChain;
    int stamp = 0;
};

} // namespace ztrace::strokes

#endif
