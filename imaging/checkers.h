// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_IMAGING_CHECKERS_H
#define ZTRACE_IMAGING_CHECKERS_H

class QImage;

namespace ztrace {

// Gives areas in which two opaque colours that look alike take turns from pixel to pixel, in rows
// and in columns, the mean of both: troughs of scroll bars and grounds that are switched off are
// painted so where there is no colour for them. Whole squares of 3 x 3 pixels count, 16 of them
// that hang together.
//
// image   ARGB32, changed in place; one without such areas is not even copied where it is shared.
// Returns whether there were any. docs/imaging/checkers.md
bool evenCheckers(QImage *image);

} // namespace ztrace

#endif
