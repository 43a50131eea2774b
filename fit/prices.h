// (c) the ztrace developers. Licence: see LICENSE.
//
// What a drawing costs: the numbers that a format writes, and how much misfit a number is worth.
#ifndef ZTRACE_FIT_PRICES_H
#define ZTRACE_FIT_PRICES_H

#include "fit/Chain.h"

namespace ztrace::fit {

// A price that is never paid: the format has no such piece.
const double kNotOffered = 1e9;

// Numbers a piece adds to what is written. A joint with a corner costs `corner` more than one with
// a common tangent: by the written numbers alone polygons win everywhere.
struct Prices
{
    double line;
    double arc;
    double ellipticArc;
    double quadratic;
    double cubic;
    double circle;
    double ellipse;
    double rectangle;
    double roundedRectangle;
    double corner;
};

inline bool offered(double price)
{
    return price < kNotOffered;
}

inline Prices svgPrices()
{
    return { 2, 5, 7, 4, 6, 3, 5, 5, 6, 1.5 };
}
inline Prices dxfPrices()
{
    return { 2, 3, kNotOffered, kNotOffered, 6, 3, 5, 8, 12, 1.5 };
}
inline Prices hostPrices()
{
    return { 2,           kNotOffered, kNotOffered, 4,           kNotOffered,
             kNotOffered, kNotOffered, kNotOffered, kNotOffered, 1.5 };
}

// Which joints of two fits need no cap. Outlines: those that pixels hide, so that serifs stay.
// Centre lines have no caps, and where a line goes over into an arc their fits end side by side at
// any turn.
enum class Meeting { OfOutlines, OfCentreLines };

// How closely breaks are searched, in points. Finer finds short arcs between lines, and costs time:
// on clean one-bit drawings F1 of centred arcs is .40 with 2, 1, 2 and .64 with 1, 2, 3;
// outlines, whose chains are many times longer, win nothing (docs/fit/program.md).
struct Search
{
    int fineStep = 2;    // between the ends of short spans; a power of two
    int cornerReach = 1; // breaks to both sides of a corner that are always looked at
    int refinement = 1;  // breaks to both sides of the lattice's answer
};

// How distances become misfit, in nats: with c the sum of (distance / sigma) squared over n points,
// slope * max(0, c - slack * n) + leak * c.
//
// Neither a staircase nor a soft edge has errors like noise (docs/fit/program.md, "Price"): below
// what the steps of the one and the chords that renderers draw the other with make anyway, there is
// next to nothing to gain.
struct Judgement
{
    double lambda; // nats a number
    double slope;
    double slack;
    double leak;
    double leftOut;  // nats for a point left out beside a corner, where pixels see both sides
    int mayLeaveOut; // points at one corner
    Meeting meeting = Meeting::OfOutlines;
    // What c costs beyond the leak up to `earlyMost`: a few steps are as good as noise, many of a
    // long line are not.
    double early = 0;
    double earlyMost = 0;

    double misfit(double chi2, int n) const
    {
        const double excess = chi2 - slack * n;
        return leak * chi2 + early * (chi2 < earlyMost ? chi2 : earlyMost)
            + (excess > 0 ? slope * excess : 0);
    }
};

// All of c counts, as if soft edges had errors like noise, and every point: what comes near to all
// of them, whatever it takes.
inline Judgement judgementOfNoise()
{
    return { 2, 0.5, 0, 0, 0, 0, Meeting::OfOutlines };
}

inline Judgement judgementOf(Edge edge)
{
    if (edge == Edge::Soft)
        return { 3, 1, 1.2, 0.1, 4, 2, Meeting::OfOutlines, 0.4, 10 };
    return { 4, 1, 1.2, 0.1, 0, 0, Meeting::OfOutlines, 0.4, 10 };
}

} // namespace ztrace::fit

#endif
