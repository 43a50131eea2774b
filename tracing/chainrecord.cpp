// (c) the ztrace developers. Licence: see LICENSE.
#include "chainrecord.h"

#include <utility>

namespace ztrace {

namespace {

const int kNone = -1;

class Recorder
{
public:
    Recorder(const FittedBoundaries &f, const std::vector<int> &areas, Drawing *d)
        : fitted(f), map(f.map), areaOf(areas), drawing(*d),
          outlineOf(f.map.areas.list.size(), kNone)
    {
        for (std::size_t i = 0; i < areaOf.size(); ++i) {
            if (areaOf[i] >= 0)
                outlineOf[std::size_t(areaOf[i])] = static_cast<int>(i);
        }
    }

    void record()
    {
        for (uint32_t k = 0; k < map.chains.size(); ++k)
            place.push_back(addChain(k));
        for (std::size_t i = 0; i < areaOf.size(); ++i) {
            if (areaOf[i] >= 0)
                drawing.outlines[i].rings = ringsOf(std::size_t(areaOf[i]));
        }
    }

private:
    // Where the chain is among those of the drawing.
    struct Place
    {
        int number;  // kNone: nowhere
        bool turned; // it goes the other way round there
    };

    int outlineOn(int32_t area) const { return area < 0 ? kNone : outlineOf[std::size_t(area)]; }

    // Whole shapes are always written clockwise: so is their chain, with what they enclose on the
    // right.
    Place addChain(uint32_t number)
    {
        const Chain &chain = map.chains[number];
        BoundaryChain record;
        record.left = outlineOn(chain.left);
        record.right = outlineOn(chain.right);
        if (record.left == kNone && record.right == kNone)
            return { kNone, false };
        const std::vector<fit::Piece> &pieces = fitted.paths[number].pieces;
        const bool whole = !pieces.empty() && fit::isWhole(pieces.front().kind);
        const bool turned = whole && !isOuterOf(number, chain.right);
        if (turned)
            std::swap(record.left, record.right);
        const uint32_t reference = referenceTo(number, false);
        record.path = fitted.pathAlong(&reference, 1);
        drawing.chains.push_back(std::move(record));
        return { static_cast<int>(drawing.chains.size()) - 1, turned };
    }

    // Whether the chain, a loop, is all that goes around the area.
    bool isOuterOf(uint32_t number, int32_t area) const
    {
        return area >= 0
            && map.references[map.firstReference[map.firstRing[std::size_t(area)]]]
            == referenceTo(number, false);
    }

    std::vector<std::vector<int>> ringsOf(std::size_t area) const
    {
        std::vector<std::vector<int>> rings;
        for (uint32_t r = map.firstRing[area]; r < map.firstRing[area + 1]; ++r) {
            rings.emplace_back();
            for (uint32_t k = map.firstReference[r]; k < map.firstReference[r + 1]; ++k) {
                const uint32_t reference = map.references[k];
                const Place &at = place[chainOf(reference)];
                rings.back().push_back(isReversed(reference) != at.turned ? ~at.number : at.number);
            }
        }
        return rings;
    }

    const FittedBoundaries &fitted;
    const BoundaryMap &map;
    const std::vector<int> &areaOf;
    Drawing &drawing;
    std::vector<int> outlineOf; // of every area
    std::vector<Place> place;   // of every chain
};

} // namespace

void recordChains(const FittedBoundaries &fitted, const std::vector<int> &areaOf, Drawing *drawing)
{
    Recorder(fitted, areaOf, drawing).record();
}

} // namespace ztrace
