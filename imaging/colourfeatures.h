// (c) the ztrace developers. Licence: see LICENSE.
//
// What of an image's colours tells its kind: docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_COLOURFEATURES_H
#define ZTRACE_IMAGING_COLOURFEATURES_H

#include <QImage>

namespace ztrace {

// Numbers of pixels, but for the last two.
struct ColourFeatures
{
    long long clear = 0;       // fully transparent; none of them counts below
    long long visible = 0;     // the others
    long long coloured = 0;    // two channels differ by more than a grey's
    long long flat = 0;        // equal to those to the right, below and between the two
    long long mainColours = 0; // flat ones of the 16 commonest colours
    long long ground = 0;      // flat ones of the commonest colour
    long long edges = 0;       // neither flat nor similar to all of their four neighbours (isEdge)
    int colours = 0;           // distinct words of all pixels; counted up to kMostCounted
    QRgb groundColour = 0; // the commonest of flat pixels; the least word of equally common ones
};

const int kMainColours = 16;
const int kMostCounted = kMainColours + 1;

// Of an image of format ARGB32 or RGB32, which is not copied.
ColourFeatures colourFeaturesOf(const QImage &image);

} // namespace ztrace

#endif
