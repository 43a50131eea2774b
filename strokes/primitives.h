// (c) the ztrace developers. Licence: see LICENSE.
//
// Lines and arcs through the cross-sections of a drawing's lines.
#ifndef ZTRACE_STROKES_PRIMITIVES_H
#define ZTRACE_STROKES_PRIMITIVES_H

#include "strokes/linetypes.h"
#include "strokes/samples.h"

#include "fit/Piece.h"
#include "fit/sums.h"

#include <algorithm>
#include <cmath>

namespace ztrace::strokes {

inline double lengthOf(Point p)
{
    return std::hypot(p.x, p.y);
}

// Adds a point of a weight to sums around their origin.
void addTo(fit::Moments *sum, Point place, double weight);

// The sums of both around the mean of their points.
fit::Moments together(const fit::Moments &a, const fit::Moments &b);

// What fits are judged by: the deviation of a cross-section's centre from the line that was meant,
// in pixels, and nats for a number that is written.
//
// Neighbouring errors are alike: pens wobble, steps of a staircase go on for as long as a line
// keeps within a row. So a misfit below `slack` times what is expected earns next to nothing,
// however many cross-sections there are; what is above counts at half the squares.
struct Measure
{
    static constexpr double kTakenAll = 2.5; // pixels of width
    static constexpr double kTakenNone = 5.0;

    double sigma = 0.1;
    double lambda = 5.0;
    double slope = 0.5;
    double slack = 1.6;
    double leak = 0.02;
    bool hard = false;   // the picture has no values between ink and paper
    double taken = 0.0;  // pixels that noise may have taken out of the thinnest lines in one place
    bool breaks = false; // the pen has left breaks in its lines
    double weight() const { return 1.0 / (sigma * sigma); }
    // The same of lines of a width; of wide ones it takes nothing.
    double takenOf(double width) const
    {
        return taken * std::clamp(kTakenNone - width, 0.0, kTakenNone - kTakenAll)
            / (kTakenNone - kTakenAll);
    }
    // Whether ink may be missing in the middle of a line of a width.
    bool mayBreak(double width) const { return breaks || takenOf(width) > 0.0; }
    double misfit(double chi2, double count) const
    {
        const double excess = chi2 - slack * count;
        return leak * chi2 + (excess > 0 ? slope * excess : 0);
    }
};

// The deviation that the cores themselves tell: how far cross-sections lie from a line or an arc
// through a long stretch of them; what a third of all such stretches keep. `least` is what can be
// asked of the picture at all.
Measure measureOf(const Cores &cores, double least);

// The same for what has no long stretches: how far cross-sections lie from lines and arcs through
// some of them. Pens wobble less in it.
Measure measureOfShort(const std::vector<Core> &cores, double least);

// Sum of (distance / sigma) squared of points from a carrier; of an arc to first order.
double chi2Of(const fit::Moments &sum, const fit::Primitive &carrier);

// What a line is drawn for, as far as its surroundings tell: layers are made of it.
enum class Role { Line, Dimension, Text, Hatch };

enum class Shape { Line, Arc, Circle, Ellipse };

// A line, or an arc or circle, and what it was seen in.
struct Atom
{
    Shape shape = Shape::Line;
    fit::Primitive carrier;       // of lines, arcs and circles
    fit::Piece ellipse;           // of an ellipse
    std::vector<Section> samples; // in the order of the walk from joint[0] to joint[1]
    fit::Moments moments;         // of the samples
    double cost = 0.0;            // nats
    double width = 0.0;           // median
    int joint[2] = { -1, -1 };    // -1: closed, or free of any joint
    Point place[2] = {};          // its ends, once they are known
    bool alive = true;
    Dashing dashing;
    Point inkEnd[2] = {}; // of a dashed one: where its first and last dash end
    Role role = Role::Line;
    bool connects = false; // not seen itself: leads from a letter's stroke to the one it ends at
    int core = -1;         // that it was seen in, or the first part of it
    int heir = -1;         // the atom that a dead one has become part of; -1: none
};

const double kNumbersOfLine = 2;
const double kNumbersOfArc = 3;
const double kNumbersOfJoint = 1.5; // saved where two become one, as a corner costs in fit/

// The cheaper of the line and the arc for sums; nats. False where neither can be made.
bool cheapest(const fit::Moments &sum, const Measure &measure, Point first, Point last,
              fit::Primitive *carrier, double *cost);

// Moments, carrier, cost and width from the samples, of which there is at least one.
void refit(Atom *atom, const Measure &measure);

// A circle through the samples by least squares of their true distances, from where it is.
void polishCircle(const std::vector<Section> &samples, fit::Primitive *circle);

// Signed angle that the samples go around a centre, and the sum of its steps without signs.
struct Sweep
{
    double turned = 0.0;
    double walked = 0.0;
};
Sweep sweepOf(const std::vector<Section> &samples, Point centre);

// The atoms of all cores, by fit/: where a core is broken a joint of its own is added.
std::vector<Atom> atomsOf(Cores *cores, const Measure &measure);

} // namespace ztrace::strokes

#endif
