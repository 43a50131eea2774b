// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether an image went through compression in blocks of 8 x 8: docs/imaging/ringing.md.
#ifndef ZTRACE_IMAGING_BLOCKUNREST_H
#define ZTRACE_IMAGING_BLOCKUNREST_H

#include <QImage>

namespace ztrace {

// Of an ARGB32 image. Compression leaves what is flat in a block flat, and what has an edge in it
// restless to its last pixel, so that unrest begins and ends at the borders of blocks. Images that
// are not opaque have none, nor has one without flat areas, as photographs are.
bool hasBlockUnrest(const QImage &image);

} // namespace ztrace

#endif
