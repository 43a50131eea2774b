// (c) the ztrace developers. Licence: see LICENSE.
//
// Finishes the pictures of a worker while it traces the next ones: has their drawings reach the
// disk and get their names, several at a time, and answers for them. Waiting for the disk is what
// small pictures cost most.
#ifndef ZTRACE_CLI_BATCH_FINISHER_H
#define ZTRACE_CLI_BATCH_FINISHER_H

#include <QByteArray>
#include <QJsonObject>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "drawing/output.h"
#include "worker.h"

namespace ztrace {

// A picture that the worker is done with.
struct Traced
{
    Answer letter = kLine;
    QByteArray text;                    // of an answer that is no result line
    QJsonObject line;                   // the result line otherwise
    std::unique_ptr<OutputFiles> files; // that belong to it, null when there are none
    std::unique_ptr<OutputFiles> extra; // the preview, without which the picture is done as well
};

// Whether what was said of a file that could not be written is no picture's fault: the disk is
// full, or nothing may be written to `out`, the folder of the drawings.
bool saysNoRoom(const std::string &text, const std::string &out);

// Says in the line of a drawing that it has no preview; an earlier one, of another drawing maybe,
// goes.
void missPreview(const std::string &name, const std::string &reason, QJsonObject *line);

// Answers come in the order of add(), each when what it tells of is on the disk: a line of a
// drawing that could not be written says so. When nothing can be written, that is the answer, and
// nothing comes after it. Answers by this thread alone once there was an add(), until flush().
class Finisher
{
public:
    // Of pictures whose drawings go below `out`, with so many files each, all open until their
    // group is finished. Throws a std::system_error when there is no room for another thread.
    Finisher(const std::string &out, std::size_t filesEach);
    ~Finisher(); // after all answers

    // Waits while there are many that have not been answered.
    void add(Traced &&traced);

    // Nothing more comes for the moment, so that waiting for more does not pay.
    void hurry();

    // Returns when everything is answered.
    void flush();

private:
    void run();
    bool isTime() const;

    void finish(std::vector<Traced> *ready) const;

    const std::string out;
    const std::size_t group; // pictures
    std::mutex mutex;
    std::condition_variable forThread;
    std::condition_variable forAdders;
    std::vector<Traced> waiting;
    std::chrono::steady_clock::time_point since; // that the first of them waits
    bool isHurried = false;
    bool isClosing = false;
    bool isBusy = false;
    std::thread thread; // the last member: it uses the others
};

} // namespace ztrace

#endif
