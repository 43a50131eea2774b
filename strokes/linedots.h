// (c) the ztrace developers. Licence: see LICENSE.
//
// Dots on lines and on their crossings that are too small for a solid. docs/strokes/strokes.md.
#ifndef ZTRACE_STROKES_LINEDOTS_H
#define ZTRACE_STROKES_LINEDOTS_H

#include "strokes/arrows.h"
#include "strokes/dots.h"
#include "strokes/primitives.h"

#include <vector>

namespace ztrace::strokes {

// A filled circle; pixels.
struct LineDot
{
    Point centre = { 0, 0 };
    double radius = 0.0;
    int ink = 0; // as of a Stroke
};

// The discs of ink that lines run into or through are connections of circuits, nodes of graphs,
// points of charts. A hard picture has no values between ink and paper; in noisy ones blots are as
// large as small dots.
struct DotLimits
{
    bool noisy = false;
    bool hard = false;
};

// Takes the parts of the solids, 1 in their cells, that are such discs out of them.
void takeDiscs(const Coverage &coverage, const DotLimits &limits, Plane *solids,
               std::vector<LineDot> *dots);

// Adds those that are too small for a solid: the lines through them leave a good part uncovered,
// and around them there is no ink but theirs. `skeleton` are the cells of the ink's skeleton
// without the solids and `distance` how far each is from paper; `atoms` have their ends. Dots in
// lettering and arrow heads are none.
void takeSmallDots(const Coverage &coverage, const DotLimits &limits,
                   const std::vector<Atom> &atoms, const std::vector<Arrow> &arrows,
                   const std::vector<uint32_t> &skeleton, const Plane &distance,
                   std::vector<LineDot> *dots);

// Of small parts of the ink those that are round, filled and not covered by the pieces that are
// drawn: dots of a stipple, full stops. In clean pictures; in others they are specks.
struct DrawnPiece
{
    fit::Piece piece;
    double width; // pixels
};
void takeLoneDots(const Coverage &coverage, const Plane &distance, const std::vector<Dot> &parts,
                  const std::vector<DrawnPiece> &drawn, const std::vector<Arrow> &arrows,
                  std::vector<LineDot> *dots);

} // namespace ztrace::strokes

#endif
