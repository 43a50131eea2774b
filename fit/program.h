// (c) the ztrace developers. Licence: see LICENSE.
//
// The dynamic program: the cheapest way through a chain in lines and arcs.
#ifndef ZTRACE_FIT_PROGRAM_H
#define ZTRACE_FIT_PROGRAM_H

#include "fit/candidates.h"

namespace ztrace::fit {

// Which spans are looked at.
//
// Every      all of them, O(n^2); the reference of tests and the choice for the shortest chains
// Lattice    those of about length L that begin and end at multiples of L / 4 or near corners
// Refinement those between points near the breaks of an earlier answer, over up to three of its
// spans
class Reach
{
public:
    static Reach every(int size);
    static Reach lattice(const Points &points, const Search &search = Search());
    static Reach refinement(const Table &table, const std::vector<Span> &spans, int radius);

    // The ends of spans from one break, ascending in length; none where no span begins. One at a
    // time: from most breaks few are looked at, and of a long chain there are many. The Reach must
    // outlive it.
    class Ends
    {
    public:
        Ends(const Reach &reach, int first);
        // False where there is no other.
        bool next(int *end);

    private:
        bool nextOfLattice(int *end);
        bool nextOfRefinement(int *end);

        const Reach &reach;
        const int first;
        int step;          // lattice: between the ends of spans of this length
        int doubled;       // lattice: length from which on it is twice that
        int end;           // the next one may be this
        std::size_t place; // of the next break in `corners`
        int lastGroup = 0; // refinement: that spans from here may end in
        bool isCorner;
    };
    bool mayCut() const { return kind != Kind::Every; }
    // Nats; dearer ways to this break lead to nothing better than the earlier answer.
    double limitAt(int at) const
    {
        return limits.empty() ? kAnyCost : limits[static_cast<std::size_t>(at)];
    }

private:
    enum class Kind { Every, Lattice, Refinement };

    Kind kind = Kind::Every;
    int size = 0;
    int fineStep = 1;           // lattice: between the ends of the shortest spans
    std::vector<int> corners;   // lattice: breaks near corners; refinement: all breaks; ascending
    std::vector<char> isCorner; // per break
    std::vector<int> group;     // refinement: per element of `corners`
    std::vector<double> limits; // refinement: per break
};

// The break of a closed chain around which the walk turns least: a good place to cut it, since
// points beside corners may have to be left out.
int flattestBreak(const Points &points);

struct Answer
{
    std::vector<Span> spans; // in order
    double
        cost; // nats: misfit, numbers and joints; the joint of a closed chain's ends is not in it
};

// States are spans, so an answer is exact for the spans that `reach` offers: a way through a span
// costs the same whatever comes later, but for the next joint, which is why not only the best way
// to a break is kept but all that are worse by less than a corner. Points may be left out at
// breaks. A chain without points gives an answer without spans.
Answer runProgram(const Table &table, const Reach &reach);

} // namespace ztrace::fit

#endif
