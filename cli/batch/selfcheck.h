// (c) the ztrace developers. Licence: see LICENSE.
//
// A drawing drawn again, and compared with the picture that it was traced from.
#ifndef ZTRACE_CLI_BATCH_SELFCHECK_H
#define ZTRACE_CLI_BATCH_SELFCHECK_H

#include <QImage>
#include <QString>

#include "drawing/Drawing.h"

namespace ztrace {

struct SelfCheck
{
    // 0 to 1: of what is ink in one of the two, the share that has its like within a pixel in the
    // other; for colours the share of pixels that have.
    double agreement = 1.0;
    double ink = 1.0;         // of ink: pixels of it in the drawing for one in the picture
    int lost = 0;             // regions of the picture that the drawing lacks
    double lostShare = 0;     // of the picture's ink, or pixels, that they have
    double colourError = 0.0; // mean distance of the colours, 0 to 1
};

// What is compared.
enum class CheckKind { Ink, Colours };

// Both are compared on a grid of at most a million pixels, over white. `picture` has the drawing's
// proportions, and was turned by `degrees`, clockwise around its middle, for it; `speck` is the
// size in its pixels of what may be missing. A null picture, and a drawing that cannot be drawn,
// agree in nothing.
SelfCheck compareDrawing(const QImage &picture, const Drawing &drawing, CheckKind kind, int speck,
                         double degrees);

} // namespace ztrace

#endif
