// (c) the ztrace developers. Licence: see LICENSE.
//
// The labels within two pixels of one, and which of them lines keep away from it. Sets of these 25
// pixels are bits of a word, so that what is asked of all of them is asked once.
#ifndef ZTRACE_IMAGING_LABELWINDOW_H
#define ZTRACE_IMAGING_LABELWINDOW_H

#include <cstddef>
#include <cstdint>

#include "LabelPlane.h"
#include "edges.h"

namespace ztrace {

const uint16_t kUnlabelled = 0xFFFF;

class LabelWindow
{
public:
    static const int kReach = 2; // pixels to every side
    static const int kSide = 2 * kReach + 1;

    // Bits of a set: 8 * row + column, from the upper left pixel; the other bits are 0.
    static const uint64_t kAll = 0x1F1F1F1F1Fu;
    static const uint64_t kNear = 0x0E0A0E00u; // the eight pixels that touch the middle
    static const int kMiddle = 8 * kReach + kReach;

    // Around pixel (x, y) of a plane and of its edges. What lies beyond the plane has no label and
    // no mark.
    LabelWindow(const LabelPlane &plane, const EdgeMap &edges, int x, int y);

    uint16_t labelAt(int bit) const { return labels[std::size_t(bit)]; }

    // Those with a label, and those with one of these bits of EdgeMap.
    uint64_t pixelsOf(uint16_t label) const;
    uint64_t marked(uint8_t bits) const;

    uint64_t labelled() const { return kAll & ~pixelsOf(kUnlabelled); }

    // Those whose labels may go to the middle. Labels of lines go to pixels that touch their cores
    // alone: lines are thin. Others do not go through a line: mixtures of it with one side may look
    // like the other one.
    uint64_t admitted() const;

private:
    static const std::size_t kStride = 8;
    uint16_t labels[kStride * (kSide + 1)];
    uint8_t marks[kStride * (kSide + 1)];
};

// Of the pixels of a window those that are behind some of `lines`, as the middle sees it. Of the
// pixels that touch it one at a corner is where both beside it are of lines. Of the others one is
// where the pixel half way is of a line, or one of the two that are where one step is twice the
// other; and at the corners also where both pixels on either side of the way half way, or both
// beside the corner, are.
uint64_t behind(uint64_t lines);

} // namespace ztrace

#endif
