// (c) the ztrace developers. Licence: see LICENSE.
#include "turnedover.h"

#include <algorithm>

namespace ztrace {

namespace {

const int kChords = 8;        // of a curve
const double kNothing = 1e-9; // square pixels

// Twice what lies between the path and the origin, by chords.
double sweptBy(const fit::Path &path)
{
    double sum = 0;
    for (const fit::Piece &piece : path.pieces) {
        const int chords = piece.kind == fit::Kind::Line ? 1 : kChords;
        fit::Point from = piece.start;
        for (int k = 1; k <= chords; ++k) {
            const fit::Point to = k == chords ? piece.end : fit::pointAt(piece, double(k) / chords);
            sum += cross(from, to);
            from = to;
        }
    }
    return sum;
}

bool isLookedAt(const BoundaryMap &map, uint32_t ring, const std::vector<char> &looked)
{
    const auto begin = map.references.begin() + map.firstReference[ring];
    const auto end = map.references.begin() + map.firstReference[ring + 1];
    uint32_t cracks = 0;
    for (auto reference = begin; reference != end; ++reference) {
        cracks += map.chains[chainOf(*reference)].cracks;
        if (cracks > kMostCracksOfSmall)
            return false;
    }
    return looked.empty() || std::any_of(begin, end, [&looked](uint32_t reference) {
               return looked[chainOf(reference)] != 0;
           });
}

bool isTurnedOver(const BoundaryMap &map, uint32_t ring, const std::vector<fit::Path> &paths)
{
    const fit::Path &first = paths[chainOf(map.references[map.firstReference[ring]])];
    if (!first.pieces.empty() && fit::isWhole(first.pieces.front().kind))
        return false; // which go no way
    double sum = 0;
    for (uint32_t k = map.firstReference[ring]; k < map.firstReference[ring + 1]; ++k) {
        const double swept = sweptBy(paths[chainOf(map.references[k])]);
        sum += isReversed(map.references[k]) ? -swept : swept;
    }
    const int64_t meant = enclosedArea(map, ring);
    return meant > 0 ? sum <= kNothing : meant < 0 && sum >= -kNothing;
}

} // namespace

void addTurnedOver(const BoundaryMap &map, const std::vector<fit::Path> &paths,
                   const std::vector<char> &looked,
                   std::vector<std::pair<uint32_t, uint32_t>> *pairs)
{
    for (uint32_t ring = 0; ring + 1 < map.firstReference.size(); ++ring) {
        if (!isLookedAt(map, ring, looked) || !isTurnedOver(map, ring, paths))
            continue;
        if (map.firstReference[ring] + 1 == map.firstReference[ring + 1]) {
            const uint32_t loop = chainOf(map.references[map.firstReference[ring]]);
            pairs->emplace_back(loop, loop);
        }
        for (uint32_t k = map.firstReference[ring]; k + 1 < map.firstReference[ring + 1]; ++k) {
            const uint32_t a = chainOf(map.references[k]);
            const uint32_t b = chainOf(map.references[k + 1]);
            if (a != b)
                pairs->push_back(std::minmax(a, b));
        }
    }
}

} // namespace ztrace
