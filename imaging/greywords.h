// (c) the ztrace developers. Licence: see LICENSE.
//
// Whether a grey picture is drawn in greys that line art has not. The page is
// docs/imaging/classify.md.
#ifndef ZTRACE_IMAGING_GREYWORDS_H
#define ZTRACE_IMAGING_GREYWORDS_H

namespace ztrace {

class Picture;

// Whether an opaque picture without noise is on a ground of exactly one grey that is neither black
// nor white, or has words in ink and in another grey on one ground. False for pictures of more than
// four million pixels and for those with noise about their ground.
bool isDrawnInGreys(Picture *picture);

} // namespace ztrace

#endif
