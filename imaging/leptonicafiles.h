// (c) the ztrace developers. Licence: see LICENSE.
//
// The imaging library without its image formats (leptonicafiles.cpp).
#ifndef ZTRACE_IMAGING_LEPTONICAFILES_H
#define ZTRACE_IMAGING_LEPTONICAFILES_H

namespace ztrace {

// Does nothing. What calls it brings the functions in place of the library's into a program before
// the library's archive is searched for them.
void leaveOutFiles();

} // namespace ztrace

#endif
