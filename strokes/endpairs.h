// (c) the ztrace developers. Licence: see LICENSE.
//
// Which two of the ends that meet at a joint are joined first. docs/strokes/strokes.md, "Steps".
#ifndef ZTRACE_STROKES_ENDPAIRS_H
#define ZTRACE_STROKES_ENDPAIRS_H

#include "strokes/joining.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace ztrace::strokes {

// Pairs of the ends of a joint, that which loses least first, of equal ones that whose ends come
// first. Pairs are looked at once, and again where a join has changed one of their atoms. Of a hub,
// a joint of more than kHubEnds ends, those alone that lie within kHubReach pixels of each other:
// all pairs of a scribble of sixteen thousand ends took minutes.
class EndPairs
{
public:
    // What joining two ends loses, or nothing where they cannot be joined.
    typedef std::function<std::optional<double>(AtomEnd, AtomEnd)> Loss;
    typedef std::function<Point(AtomEnd)> PlaceOf;

    EndPairs(std::vector<AtomEnd> ends, PlaceOf placeOf, Loss loss);

    // The next pair; none is left where nothing comes. Pairs of what has changed are not among
    // them.
    std::optional<std::pair<AtomEnd, AtomEnd>> take();

    // After `gone` was joined to `kept`: these two ends are at the joint no more. What else of both
    // ended here is now the end of `kept` that the third tells, if it does.
    void follow(AtomEnd kept, AtomEnd gone, const std::function<bool(AtomEnd)> &isHere);

private:
    struct Pair
    {
        double loss;
        std::size_t slot[2];
        unsigned version[2];
        bool operator<(const Pair &other) const;
    };

    bool isNear(std::size_t i, std::size_t k) const;
    bool add(std::size_t i, std::size_t k);
    void addAllOf(std::size_t i);

    std::vector<AtomEnd> slots;     // atom -1: joined
    std::vector<unsigned> versions; // of the slots
    std::vector<Point> places;
    PlaceOf placeOf;
    Loss loss;
    std::vector<Pair> pairs; // a heap
};

const std::size_t kHubEnds = 256;
const double kHubReach = 32.0;

} // namespace ztrace::strokes

#endif
