// (c) the ztrace developers. Licence: see LICENSE.
//
// How far a run is, for who watches it.
#ifndef ZTRACE_CLI_BATCH_METER_H
#define ZTRACE_CLI_BATCH_METER_H

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>

#include "cli/Settings.h"

namespace ztrace {

struct Tally
{
    std::size_t all = 0;
    std::size_t done = 0;     // now
    std::size_t finished = 0; // by earlier runs
    std::size_t failed = 0;   // now and then
    std::size_t flagged = 0;  // of those done now
    std::size_t warned = 0;   // of those done now: their lines have warnings

    // Files whose pages were put together now, and those where that failed; not among the others.
    std::size_t books = 0;
    std::size_t failedBooks = 0;

    std::size_t past() const { return done + finished + failed; }
};

// On a terminal a bar on its last line, drawn ten times a second at most; elsewhere a line a
// picture on standard output. The clock is one that nobody sets.
class Meter
{
public:
    explicit Meter(const Settings &settings);
    ~Meter();
    Meter(const Meter &) = delete;
    Meter &operator=(const Meter &) = delete;

    // A picture is finished; `text` says how.
    void line(const Tally &tally, const std::string &text, bool isFailure);
    void draw(const Tally &tally);
    void clear();

private:
    bool hasBar;
    bool hasLines;
    std::FILE *lines; // where they go
    bool isDrawn = false;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point last;
};

// "[#####     ]  50/100  12.5/s  4 s left  2 failed", at most `width` letters.
std::string barText(const Tally &tally, double seconds, int width);

} // namespace ztrace

#endif
