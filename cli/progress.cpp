// (c) the ztrace developers. Licence: see LICENSE.
#include "progress.h"

#include "messages.h"

#include "drawing/signals.h"

#include <chrono>
#include <cstdio>

#include <unistd.h>

namespace ztrace {

namespace {

const std::chrono::milliseconds kFirst(1000);
const std::chrono::milliseconds kInterval(100);
const char kClearLine[] = "\r\x1b[K";

} // namespace

ProgressLine::ProgressLine(const Settings &settings)
    : shown(!settings.quiet && settings.progress != Progress::Never && isatty(STDERR_FILENO)),
      told(!settings.quiet && settings.progress == Progress::Always && !shown),
      first(settings.progress == Progress::Always ? kInterval : kFirst)
{
    if (!shown)
        return;
    const Uninterrupted inherited; // signals are the main thread's
    thread = std::thread([this] { draw(); });
}

ProgressLine::~ProgressLine()
{
    if (!shown)
        return;
    {
        const std::lock_guard<std::mutex> guard(lock);
        done = true;
    }
    change.notify_one();
    thread.join();
}

void ProgressLine::stage(const std::string &stageName)
{
    const std::lock_guard<std::mutex> guard(lock);
    name = stageName;
    if (told)
        std::fprintf(messageStream(), "ztrace: %s\n", name.c_str());
}

void ProgressLine::draw()
{
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> guard(lock);
    bool drawn = false;
    std::chrono::milliseconds wait = first;
    while (!change.wait_for(guard, wait, [this] { return done; })) {
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        std::fprintf(messageStream(), "%sztrace: %s (%.0f s)", kClearLine, name.c_str(),
                     seconds.count());
        std::fflush(messageStream());
        drawn = true;
        wait = kInterval;
    }
    if (drawn) {
        std::fprintf(messageStream(), "%s", kClearLine);
        std::fflush(messageStream());
    }
}

} // namespace ztrace
