// (c) the ztrace developers. Licence: see LICENSE.
//
// What a task asks of a worker: a picture is traced, or pages are put together; the drawings are
// staged, and the result line is filled.
#ifndef ZTRACE_CLI_BATCH_TASKWORK_H
#define ZTRACE_CLI_BATCH_TASKWORK_H

#include <QByteArray>
#include <QImage>
#include <QJsonArray>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cli/commandline.h"
#include "cli/source.h"
#include "cli/tracejob.h"
#include "drawing/output.h"
#include "finisher.h"
#include "task.h"

namespace ztrace {

class TaskWork
{
public:
    // `said` are the options that were given on the command line itself. `line` has those of
    // settings files too, and outlives this.
    TaskWork(const CommandLine &line, const std::set<std::string> &said);

    // Traces the task's page of the image. Throws a Failure, a TraceError and std::bad_alloc.
    void draw(const Task &task, const ImageSource &image, Traced *traced);

    // All pages that could be traced, in one drawing. Throws a Failure.
    void putTogether(const Task &task, Traced *traced);

    // The preview of a picture that an earlier run has finished without one. Throws a Failure when
    // nothing can be written; what hinders this one alone leaves it out, which the report tells.
    void showAgain(const Task &task, const ImageSource &image, Traced *traced);

    // After a failure the folders of drawings are looked at again, for what others left there.
    void forgetFolders() { cleanFolders.reset(); }

private:
    std::string fullName(const std::string &output) const;
    TraceJob jobOf(const Task &task, QJsonArray *warnings) const;
    void tracePage(const Task &task, const ImageSource &image, TraceJob job, Traced *traced);
    void show(const Task &task, const QImage &picture, const QImage &drawn, Traced *traced);
    std::unique_ptr<OutputFiles> freshFiles();
    void stage(const Drawing &drawing, const Settings &settings, const std::vector<Output> &outputs,
               Traced *traced);
    QByteArray partOf(const std::string &path, int page) const;

    const CommandLine &line;
    std::set<std::string> onCommandLine;
    OutputFiles::CleanFolders cleanFolders;
};

} // namespace ztrace

#endif
