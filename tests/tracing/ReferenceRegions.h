// (c) the ztrace developers. Licence: see LICENSE.
//
// The plain statement of areas, containment, corner separation and the merging of small areas,
// pixel by pixel: what the functions on runs are held against.
#ifndef ZTRACE_TESTS_TRACING_REFERENCEREGIONS_H
#define ZTRACE_TESTS_TRACING_REFERENCEREGIONS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace reference {

struct Plane
{
    int width = 0;
    int height = 0;
    std::vector<uint16_t> labels;

    std::size_t pixels() const { return labels.size(); }
};

struct Region
{
    int label = 0;
    std::size_t firstPixel = 0;
    std::size_t area = 0;
    std::size_t border = 0; // pixel edges towards other regions and the rim
    std::size_t rim = 0;    // pixel edges on the rim
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

struct RegionMap
{
    std::vector<int> regionOfPixel;
    std::vector<Region> regions; // in the order of their first pixels
};

// Split: by edges, and by corners that only they cross; of two labels that cross, the rarer one in
// the plane, of equally rare ones the lower.
enum class Touching { Corners, Edges, Split };

RegionMap findRegions(const Plane &plane, Touching touching = Touching::Corners);

const int kOutside = -1;

struct Nesting
{
    std::vector<int> parent;
    std::vector<std::pair<int, int>> neighbours;
};

Nesting findNesting(const Plane &plane, const RegionMap &map);

// The same parents by their definition: a region separates another from the rim when the other
// cannot be left for the rim over pixel edges without it; the nearest one has the most around it.
std::vector<int> parentsByDefinition(const Plane &plane, const RegionMap &map);

// Appends what new labels are copies of.
bool separateCrossings(Plane *plane, int labelCount, std::vector<uint16_t> *copies,
                       std::size_t mostLabels);

void mergeSmallRegions(Plane *plane, std::size_t leastBorder, int similar,
                       const std::function<int(uint16_t, uint16_t)> &distance);

} // namespace reference

#endif
