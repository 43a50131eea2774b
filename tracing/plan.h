// (c) the ztrace developers. Licence: see LICENSE.
//
// What a trace is to do, settled before anything runs: no value is left open here, and none names
// an option or a file.
#ifndef ZTRACE_TRACING_PLAN_H
#define ZTRACE_TRACING_PLAN_H

#include <QRgb>

#include <cstddef>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "drawing/Drawing.h"
#include "fit/snap.h"
#include "imaging/scan.h"

namespace ztrace {

// Options of the engine by name, which go to it as they are.
typedef std::map<std::string, double> EngineOptions;

// Ink and paper by a threshold.
struct Ink
{
    ScanPlan scan;
    QRgb inkColour = 0xFF000000u;
    QRgb paperColour = 0xFFFFFFFFu;
    EngineOptions engine;   // said by the user; where they steer its reduction the engine splits
    bool ownColours = true; // strokes have the colours of their inks; false: inkColour
    bool hues = false;      // areas of ink that clearly have a hue keep it
    bool strokes = false;   // lines become centre lines with pens; what is solid stays an area
};

// The picture's own flat colours; soft edges go to the areas beside them.
struct Flat
{
    int colours = 0;           // at most
    std::vector<QRgb> palette; // exactly these, when not empty; a clear entry keeps transparency
    EngineOptions engine;      // of which something here is made, for the report
};

// A palette chosen for the picture: for regions that pay for their borders, or, without a price, by
// median cut, refined by the engine.
struct Blend
{
    int colours = 0;             // at most; below 1 the engine makes what it makes
    double price = 0.0;          // of a pixel edge, as in shaded.h; 0: the engine's cycles
    bool chosenByEngine = false; // the engine starts from a palette of its own
    EngineOptions engine;        // with a price those of which something here is made
};

// The picture as it is, everything left to the engine.
struct Raw
{
    EngineOptions engine;
};

typedef std::variant<Ink, Flat, Blend, Raw> Segmentation;

// How finely outlines follow the areas. Of true shapes (shapes.h) only the least border is of use:
// they need no tolerance and no finer grid.
struct Geometry
{
    // Cracks between ink and paper, or between shades, whose true shapes take at most about half a
    // second of one processor; a page of text has some 450,000, of which the engine's outlines take
    // a tenth of a second, and a photograph of 500 x 500 pixels 110,000.
    static constexpr std::size_t kMostQuickCracks = 200000;
    // FairUnlessDense: ink and shades of more than these are outlined by the engine.
    enum class Fit { Engine, Fair, FairUnlessDense };

    Fit fit = Fit::Engine;
    fit::Snap snap = fit::Snap::None; // of true shapes
    bool edges = false; // instead of true shapes their boundaries, each once, as lines; Fair only
    // How far lines and curves may be from the outline of the pixels, in pixels; the second value
    // is for outlines on a finer grid, where soft edges tell more than pixels do.
    double lineTolerance = 1.0;
    double lineToleranceFiner = 0.5;
    double curveTolerance = 1.0;
    double curveToleranceFiner = 0.5;
    double leastBorder
        = 8.0;          // areas with fewer pixel edges go to their neighbours, or are left out
    bool marks = false; // smaller areas stay where they stand out (smallmarks.h)
    int upsampling = 0; // how many times finer than pixels the grid is; 0: as is useful

    // Areas a pixel wide that are similar to a neighbour are fringes of soft edges and go to it.
    bool fringes = false;

    // ltres, qtres and pathomit on that grid, in the engine's own units; they go before the others.
    EngineOptions engine;
};

// What becomes of the outlines.
struct Composition
{
    bool byLayer = false;          // every area is cut out of what lies around it
    bool trapping = true;          // strokes close the hairlines between neighbours
    bool frame = true;             // the outline of the page itself stays
    bool transparent = false;      // fully transparent areas have outlines of their own
    std::vector<QRgb> onlyColours; // nothing but these, when not empty
    bool chains = false;    // of true shapes: the drawing has every boundary once (Drawing::chains)
    double edgeWidth = 1.0; // of the lines of Geometry::edges, in pixels
};

struct TracePlan
{
    unsigned seed = 1; // of the engine's random numbers
    Segmentation segmentation;
    bool gradients = false; // of Flat without a palette, and of Blend: what is a ramp stays one
    Geometry geometry;
    Composition composition;
    double dpi = 0.0;     // pixels an inch; 0: the picture's own
    unsigned threads = 0; // that may fit true shapes side by side; 0: one a processor
    Unit unit = Unit::Pixel;
};

} // namespace ztrace

#endif
