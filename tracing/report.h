// (c) the ztrace developers. Licence: see LICENSE.
//
// What a trace came to, besides its drawing.
#ifndef ZTRACE_TRACING_REPORT_H
#define ZTRACE_TRACING_REPORT_H

#include <QRgb>

#include <string>
#include <utility>
#include <vector>

#include "drawing/Drawing.h"
#include "plan.h"

namespace ztrace {

// What the user should know of a result.
enum class Remark {
    NoClearDirection, // a page that was to be turned upright shows none within 6 degrees
    NoSoftEdges,      // a finer grid was asked for and would show nothing
    TooManyShapes,    // true shapes were asked for, of areas that are too many for them
    HardlyDrawn,      // centre lines were asked for, and most are short pieces
    MostlyLettering,  // and most of their length is lettering
    FewLines          // and they are little of what is dark
};

// Ink that centre lines leave out: how many parts, and the largest, in pixels of the page.
struct LeftOutInk
{
    std::size_t count = 0;
    int largest = 0; // pixels
    int x = 0;
    int y = 0;
};

struct TraceReport
{
    std::vector<QRgb> palette;                           // colours in use, each once
    std::vector<std::pair<std::string, double>> seconds; // stages and their times, in order
    EngineOptions engine;   // the options that the areas and outlines came from
    int threshold = -1;     // ink only; -1: none for the whole page
    double angle = 0.0;     // degrees that a crooked page was turned by
    bool evenedOut = false; // uneven light has been, before the threshold
    int upsampling = 1;     // how many times as fine as pixels the grid of the outlines was
    bool shapes = false;    // outlines are true shapes, not the engine's
    std::vector<Remark> remarks;
    LeftOutInk specks;
    LeftOutInk pale; // much lighter than the lines
};

struct Counts
{
    int outlines = 0;
    int lines = 0;
    int curves = 0;
};

Counts countPieces(const Drawing &drawing);

// Whether there is nothing to be seen but the page in one colour: there are outlines, and all of
// them run along the picture's border in one colour and have no holes.
bool isBlank(const Drawing &drawing);

} // namespace ztrace

#endif
