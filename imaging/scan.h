// (c) the ztrace developers. Licence: see LICENSE.
//
// Scanned pages: ink on paper, by an imaging library where it has what is asked for.
#ifndef ZTRACE_IMAGING_SCAN_H
#define ZTRACE_IMAGING_SCAN_H

#include "GreyPicture.h"
#include "tones.h"

namespace ztrace {

class Picture;

// Auto: for the whole page, after uneven light has been evened out.
enum class Threshold { Auto, Otsu, Adaptive, Fixed };

// What is asked of a page.
struct ScanPlan
{
    Threshold threshold = Threshold::Auto;
    int fixedThreshold = 0; // 0 to 255, for Fixed
    bool deskew = false;    // turn a crooked page upright
    // With Auto: clean drawings are split where soft edges are half ink. What looks for edges
    // between the pixels itself does better with all of the ink.
    bool splitsSoftEdges = true;
    int despeckle = 0; // pixels: specks and pinholes up to this area go
};

struct CleanPage
{
    GreyPicture page;
    Tones tones;            // of the page
    int threshold = 127;    // what is at most this light is ink
    bool bilevel = false;   // a threshold has been applied: the page is black on white
    bool wholePage = true;  // the threshold holds for all of it
    bool evenedOut = false; // uneven light has been
    double angle = 0.0;     // degrees that the page was turned by
    bool unclear = false;   // no direction was found that it could be turned to
};

// Evens out uneven light, turns the page upright, chooses a threshold and removes specks, as the
// plan asks. The picture is taken over, so that it does not use memory twice.
CleanPage cleanPage(Picture picture, const ScanPlan &plan);

// The page with paper of the same lightness everywhere: every pixel in relation to the paper around
// it. Null where the page is too small for that.
GreyPicture evenlyLit(const GreyPicture &page);

} // namespace ztrace

#endif
