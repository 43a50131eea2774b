// (c) the ztrace developers. Licence: see LICENSE.
//
// What a trace came to, in numbers.
#ifndef ZTRACE_CLI_REPORT_H
#define ZTRACE_CLI_REPORT_H

#include "Settings.h"
#include "tracing/pipeline.h"

#include <QJsonObject>

#include <cstdio>

namespace ztrace {

// The preset that a picture was traced with, and why.
struct Look
{
    std::string preset;
    std::string reason;
};

void printStatistics(const TraceResult &result, const Look &look, std::FILE *stream);

// Of a drawing that was read: its size and counts.
void printStatistics(const Drawing &drawing, std::FILE *stream);

// The drawing's size, counts and origin as a JSON object on a line, with some members more.
void printJson(const Drawing &drawing, const std::string &input, int page, const QJsonObject &more,
               std::FILE *stream);

// What a drawing's JSON file says about its origin: preset, seed, settings, the engine's options,
// palette, counts. No times: the same trace gives the same file.
QJsonObject aboutTrace(const TraceResult &result, const Look &look, const Settings &settings);

// Why the preset was taken, and the times.
QJsonObject aboutRun(const TraceResult &result, const Look &look);

} // namespace ztrace

#endif
