// (c) the ztrace developers. Licence: see LICENSE.
//
// A line on the terminal that says what is being done, for what takes long.
#ifndef ZTRACE_CLI_PROGRESS_H
#define ZTRACE_CLI_PROGRESS_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "Settings.h"

namespace ztrace {

// Shows the stage that was named last and the seconds so far, from the first second on, and clears
// the line at the end. The line is drawn by a thread of its own, which touches nothing else. Where
// nothing is to be shown there is no thread.
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
    bool done = false;
    std::string name;
    std::mutex lock;
    std::condition_variable change;
    std::thread thread;
};

} // namespace ztrace

#endif
