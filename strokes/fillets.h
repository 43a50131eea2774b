// (c) the ztrace developers. Licence: see LICENSE.
//
// Rounded corners that are only a few pens large: of boxes, and of boxes side by side.
// docs/strokes/strokes.md, "Fillets".
#ifndef ZTRACE_STROKES_FILLETS_H
#define ZTRACE_STROKES_FILLETS_H

#include "strokes/joining.h"

namespace ztrace::strokes {

// Where the ink leaves two lines that would cross on an arc that touches both, draws the arc and
// ends the lines on it. Both edges of the ink tell its centre and
// radius, and so do the lines. A line
// stays whole where there is ink of it that no such arc explains: a bar with a gusset beside it.
// Lines have to have their ends (settleEnds); what was seen of the corner before goes.
void takeFillets(const Coverage &coverage, const Measure &measure, Web *web);

} // namespace ztrace::strokes

#endif
