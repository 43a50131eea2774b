// (c) the ztrace developers. Licence: see LICENSE.
//
// Short lines between the strokes of a letter.
#ifndef ZTRACE_STROKES_CONNECTIONS_H
#define ZTRACE_STROKES_CONNECTIONS_H

#include "strokes/primitives.h"

namespace ztrace::strokes {

// A letter's stroke that bends on its way to the one it ends at, in the ink of both, has no carrier
// that leads there: the tail of a 9. A short line does. Makes the one from the settled end of a
// stroke to where it should be; false where it is near enough, or no letter's.
bool makeConnection(const Atom &ending, int end, Point to, const Measure &measure, Atom *line);

} // namespace ztrace::strokes

#endif
