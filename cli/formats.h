// (c) the ztrace developers. Licence: see LICENSE.
//
// Where drawings are written to, and in which format.
#ifndef ZTRACE_CLI_FORMATS_H
#define ZTRACE_CLI_FORMATS_H

#include <QString>

#include <string>
#include <vector>

#include "Settings.h"
#include "drawing/formats.h"

namespace ztrace {

class OutputFiles;
class PdfBook;

// A place to write to and how. "-" is standard output.
struct Output
{
    QString fileName;
    const Format *format; // of the registry
};

// What messages call an input.
std::string inputName(const std::string &input);

// The outputs that the settings name, or the one that follows from the input's name. Throws a
// Failure for endings without a format, for an output that is the input or a file that settings
// were read from, and for one that must not be replaced (refuseToReplace).
std::vector<Output> outputsFor(const std::string &input, const Settings &settings);

// Throws a Failure for an existing file that the settings keep: any with --no-clobber, without
// --overwrite an image that is no preview of ours. Others are drawings, which are made again.
void refuseToReplace(const QString &fileName, const Settings &settings);

// The outputs for one page of a file with `pages`: the page's number, with as many digits as the
// last one's, goes before the ending. Devices take all.
std::vector<Output> outputsForPage(std::vector<Output> outputs, int page, int pages,
                                   const std::string &input, const Settings &settings);

// What the settings tell the writers.
WriteOptions writeOptions(const Settings &settings);

// Writes a drawing, or several as pages, to temporary places, and gives all of them their names.
// Each throws a Failure.
void stageOutputs(const std::vector<Output> &outputs, const Drawing &drawing,
                  const Settings &settings, OutputFiles *files);
void stageBook(const std::vector<Output> &outputs, PdfBook *book, OutputFiles *files);
void commitOutputs(OutputFiles *files);

} // namespace ztrace

#endif
