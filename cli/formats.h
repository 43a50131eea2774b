// (c) the ztrace developers. Licence: see LICENSE.
//
// The formats that drawings are written in.
#ifndef ZTRACE_CLI_FORMATS_H
#define ZTRACE_CLI_FORMATS_H

#include <QString>

#include <string>
#include <vector>

#include "Settings.h"

namespace ztrace {

class OutputFiles;

// A place to write to and how. "-" is standard output.
struct Output
{
    QString fileName;
    std::string format;
};

// Names of the formats, which are their endings too.
const std::vector<std::string> &formatNames();

// What messages call an input.
std::string inputName(const std::string &input);

// The outputs that the settings name, or the one that follows from the input's name. Throws a
// Failure for endings without a format and for an output that is the input.
std::vector<Output> outputsFor(const std::string &input, const Settings &settings);

// The same for one page of several: the page's number goes before the ending. Devices take all.
std::vector<Output> outputsForPage(std::vector<Output> outputs, int page, const std::string &input);

// Writes a drawing to temporary places, and gives all of them their names. Both throw a Failure.
void stageOutputs(const std::vector<Output> &outputs, const Drawing &drawing,
                  const Settings &settings, OutputFiles *files);
void commitOutputs(OutputFiles *files);

} // namespace ztrace

#endif
