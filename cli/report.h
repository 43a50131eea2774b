// (c) the ztrace developers. Licence: see LICENSE.
//
// What a trace came to, in numbers.
#ifndef ZTRACE_CLI_REPORT_H
#define ZTRACE_CLI_REPORT_H

#include "look.h"
#include "tracing.h"

#include <QByteArray>

#include <cstdio>

namespace ztrace {

struct Counts
{
    int outlines = 0;
    int lines = 0;
    int curves = 0;
};

Counts countPieces(const Drawing &drawing);

void printStatistics(const TraceResult &result, const Look &look, std::FILE *stream);

// The same as a JSON object on a line, with the times.
void printJson(const TraceResult &result, const Look &look, const Settings &settings,
               const std::string &input, int page, std::FILE *stream);

// What a drawing's JSON file says about its origin: preset, seed, options, palette, counts. No
// times: the same trace gives the same file.
QByteArray aboutTrace(const TraceResult &result, const Look &look, const Settings &settings);

} // namespace ztrace

#endif
