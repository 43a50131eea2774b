// (c) the ztrace developers. Licence: see LICENSE.
//
// What a picture says of its size on paper.
#ifndef ZTRACE_IMAGING_RESOLUTION_H
#define ZTRACE_IMAGING_RESOLUTION_H

#include <QImage>

namespace ztrace {

// The image's own resolution in pixels an inch; 96 when it has none.
struct Resolution
{
    double across = 96.0;
    double down = 96.0;

    // Whether pixels are as wide as high, but for what formats round.
    bool isSquare() const;
};

Resolution resolutionOf(const QImage &image);

// Whether the image says what its resolution is. One that says 96 counts as saying nothing.
bool tellsResolution(const QImage &image);

// The image with as many pixels an inch in the coarser direction as in the finer one, as faxes
// need it. Null when it does not fit into memory. The toolkit may do
// it in threads, which take over the signals that are blocked.
QImage withSquarePixels(const QImage &image);

} // namespace ztrace

#endif
