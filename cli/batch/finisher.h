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
    std::unique_ptr<OutputFiles> extra; // whose failure does not matter, as well
};

// Whether what was said of a file that could not be written is no picture's fault: the disk is
// full.
bool saysNoRoom(const std::string &text);

// Answers come in the order of add(), each when what it tells of is on the disk: a line of a
// drawing that could not be written says so. When nothing can be written, that is the answer, and
// nothing comes after it. Answers by this thread alone once there was an add(), until flush().
class Finisher
{
public:
    Finisher();
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
