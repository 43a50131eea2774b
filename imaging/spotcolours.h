// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours of thin lines, which no area has. The page is docs/imaging/spotcolours.md.
#ifndef ZTRACE_IMAGING_SPOTCOLOURS_H
#define ZTRACE_IMAGING_SPOTCOLOURS_H

#include <QImage>
#include <QRgb>

#include <vector>

#include "edges.h"

namespace ztrace {

// A colour for thin lines, and how much it is worth: the root of its pixels times its distance to
// what the palette has already, as for the entries of flatPalette.
struct SpotColour
{
    QRgb colour;
    double score;
};

// Colours of the cores of lines that no opaque colour of the palette explains, at most `most` and
// no more than 32, the one of most worth first. A picture that is not clean has noise about its
// edges, and has to have lines that differ more.
std::vector<SpotColour> spotColoursIn(const QImage &image, const EdgeMap &edges,
                                      const std::vector<QRgb> &palette, bool clean, int most);

} // namespace ztrace

#endif
