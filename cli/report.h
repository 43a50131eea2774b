// (c) the ztrace developers. Licence: see LICENSE.
//
// What a trace came to, in numbers.
#ifndef ZTRACE_CLI_REPORT_H
#define ZTRACE_CLI_REPORT_H

#include "tracing.h"

#include <cstdio>

namespace ztrace
{

struct Counts {
    int outlines = 0;
    int lines = 0;
    int curves = 0;
};

Counts countPieces(const Drawing &drawing);

void printStatistics(const TraceResult &result, const std::string &preset, std::FILE *stream);

} // namespace ztrace

#endif
