// (c) the ztrace developers. Licence: see LICENSE.
//
// Which pixels of a label plane hang together: docs/tracing/boundary-map.md, "Components".
#ifndef ZTRACE_TRACING_COMPONENTS_H
#define ZTRACE_TRACING_COMPONENTS_H

#include "tracing/runs.h"

#include <cstdint>
#include <vector>

namespace ztrace {

// When pixels of one label hang together.
enum class Connectivity {
    Corners, // where they share an edge or a corner: what the engine draws one outline around
    Edges,   // where they share an edge
    Split    // where they share an edge, or a corner that no other area crosses: true shapes
};

struct Component
{
    uint32_t firstPixel; // index of the topmost, then leftmost one
    uint32_t area;       // in pixels
    uint32_t border;     // pixel edges towards other components and the rim of the plane
    uint32_t rim;        // of these the ones on the rim
    int32_t left;        // bounding box in pixels, right and bottom inclusive
    int32_t top;
    int32_t right;
    int32_t bottom;
    uint16_t label;
};

struct Components
{
    std::vector<uint32_t> ofRun;
    std::vector<Component> list; // in the order of their first pixels
};

// Components of a plane. Time is nearly linear in the number of runs; memory 8 bytes a run and
// sizeof(Component) a component.
Components findComponents(const Runs &runs, Connectivity connectivity);

// Whether it is the page itself: it reaches all four sides of the plane and runs along half of the
// rim.
inline bool isPage(const Component &component, int width, int height)
{
    return component.left == 0 && component.top == 0 && component.right == width - 1
        && component.bottom == height - 1 && component.rim >= uint32_t(width) + uint32_t(height);
}

// Pixels of every label; as many entries as the highest label asks for.
std::vector<uint32_t> countLabels(const Runs &runs);

// The one rule for four-way corners, of Connectivity::Split: of two labels that cross there the one
// with fewer pixels in the whole plane goes on, of equally rare ones the lower. It does not depend
// on how the picture is turned.
inline bool goesOnAcross(uint16_t label, uint16_t other, const std::vector<uint32_t> &pixelsOfLabel)
{
    const uint32_t own = pixelsOfLabel[label];
    const uint32_t others = pixelsOfLabel[other];
    return own != others ? own < others : label < other;
}

} // namespace ztrace

#endif
