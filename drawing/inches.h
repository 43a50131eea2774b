// (c) the ztrace developers. Licence: see LICENSE.
//
// What an inch is.
#ifndef ZTRACE_DRAWING_INCHES_H
#define ZTRACE_DRAWING_INCHES_H

namespace ztrace {

const double kMillimetresPerInch = 25.4;

} // namespace ztrace

#endif
