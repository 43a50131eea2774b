// (c) the ztrace developers. Licence: see LICENSE.
//
// A picture traced as settings say: what lies between an image that was read and a drawing that can
// be written. The command and the scripts of the headless host both come through here.
#ifndef ZTRACE_CLI_TRACEJOB_H
#define ZTRACE_CLI_TRACEJOB_H

#include <QImage>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Settings.h"
#include "formats.h"
#include "report.h"
#include "source.h"
#include "tracing/pipeline.h"

namespace ztrace {

// Takes a sentence that the user should know, without an end.
typedef std::function<void(const std::string &)> WarningSink;

struct TraceJob
{
    std::string input;               // the image's file name, "-" for standard input
    Settings settings;               // what was said; the preset's are added to them
    std::set<std::string> given;     // settings that the preset leaves alone ("set NAME" too)
    std::set<std::string> onTheSpot; // those of them that were not said in a file: only of these it
                                     // is told when they have no effect
    std::vector<Output> outputs;     // that the drawing is for
    bool forMap = false;             // areas lie beside each other, and neighbours leave no gap
    Placement placement;             // of the image in that map
    unsigned threads = 0;            // 0: one a processor
    WarningSink warn;
    StageSink announce;
};

struct TracedPicture
{
    TraceResult result; // the drawing says in `about` how it came about
    Look look;
    Settings settings; // the preset's with them
};

// Reads the file of settings that `settings` name, and checks the name of the preset. What is in
// `given` wins over the file, whose names are added. Throws a Failure.
void useConfiguration(Settings *settings, std::set<std::string> *given);

// Tells of pages and files of an image that are not used.
void warnOfSource(const ImageSource &source, const TraceJob &job);

// Where an output of the job is a map: makes the job one for it, and finds out where the page lies
// there. Throws a Failure for a world file that is none.
void usePlacement(const ImageSource &source, int page, TraceJob *job);

// Tells what there is to be told of an image that was read.
void warnOfRemarks(const Remarks &remarks, const TraceJob &job);

// Tells of an image that does not end where it should.
void warnOfEnding(Ending ending, const TraceJob &job);

// The drawing that a source is which was written as JSON, with what the job says of size and unit.
// The settings are made to fit it, and it is told of those that have no effect. Throws a Failure.
Drawing readDrawing(const ImageSource &source, TraceJob *job);

// Classifies the image where the preset is "auto", puts the background under it, makes its pixels
// square and traces it. Throws a Failure, a TraceError or std::bad_alloc.
TracedPicture tracePicture(QImage image, const TraceJob &job);

} // namespace ztrace

#endif
