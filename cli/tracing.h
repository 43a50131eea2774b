// (c) the ztrace developers. Licence: see LICENSE.
//
// From an image to a drawing: reduction, the engine, and what the engine's outlines become.
#ifndef ZTRACE_CLI_TRACING_H
#define ZTRACE_CLI_TRACING_H

#include <QImage>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Settings.h"
#include "drawing/Drawing.h"

namespace ztrace {

struct TraceResult
{
    Drawing drawing;
    std::vector<QRgb> palette;
    std::vector<std::pair<std::string, double>> seconds; // stages and their times, in order
    std::map<std::string, double> engine;                // the engine's options
    int threshold = -1;                                  // ink only; -1: none for the whole page
    double angle = 0.0;             // degrees that a crooked page was turned by
    std::vector<std::string> notes; // what the user should know of the result
    bool evenedOut = false;         // uneven light has been, before the threshold
    int upsampling = 1;             // how many times as fine as pixels the engine's grid was
};

// Called with a few words when a stage begins.
typedef std::function<void(const char *)> StageSink;

// Seeds the engine's random numbers and traces the image as the settings say; what they leave open
// has a default here. The image is taken over, so that it does not use memory twice. Throws a
// Failure when the engine cannot hold the image.
TraceResult traceImage(QImage image, const Settings &settings,
                       const StageSink &announce = StageSink());

} // namespace ztrace

#endif
