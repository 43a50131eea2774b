// (c) the ztrace developers. Licence: see LICENSE.
//
// A line on the terminal that says what is being done, for what takes long.
#ifndef ZTRACE_CLI_PROGRESS_H
#define ZTRACE_CLI_PROGRESS_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "Settings.h"

namespace ztrace {

// Shows the stage that was named last and the seconds so far on a terminal, from the first second
// on, and clears the line at the end. Where it is always to be shown and there is no terminal,
// every stage is a line. The line is drawn by a thread of its own, which touches nothing else.
// Where nothing is to be shown there is no thread.
class ProgressLine
{
public:
    explicit ProgressLine(const Settings &settings);
    ~ProgressLine();
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    void stage(const std::string &name);

private:
    void draw();

    bool shown;
    bool told;
    std::chrono::milliseconds first; // before anything is shown
    bool done = false;
    std::string name;
    std::mutex lock;
    std::condition_variable change;
    std::thread thread;
};

} // namespace ztrace

#endif
