// (c) the ztrace developers. Licence: see LICENSE.
#include "meter.h"

#include "cli/messages.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace ztrace {

namespace {

const char kClearLine[] = "\r\x1b[K";
const std::chrono::milliseconds kInterval(100);
const int kUsualWidth = 80;
const int kMostBar = 30;

std::string timeText(double seconds)
{
    char text[32];
    const long long all = std::llround(seconds);
    if (all < 60)
        std::snprintf(text, sizeof text, "%lld s", all);
    else if (all < 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld min", all / 60, all % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld h", all / 3600, all / 60 % 60);
    return text;
}

int terminalWidth()
{
    winsize size;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                           : kUsualWidth;
}

// A table or the like, which has that to itself.
bool writesToOutput(const BatchSettings &batch)
{
    return batch.csv == "-" || batch.premis == "-" || batch.report == "-";
}

} // namespace

std::string barText(const Tally &tally, double seconds, int width)
{
    std::string text = "  " + std::to_string(tally.past()) + '/' + std::to_string(tally.all);
    const std::size_t now = tally.past() - tally.finished;
    if (now > 0 && seconds > 0.0) {
        const double rate = double(now) / seconds;
        char number[32];
        std::snprintf(number, sizeof number, "  %.*f/s", rate < 10.0 ? 1 : 0, rate);
        text += number;
        text += "  " + timeText(double(tally.all - tally.past()) / rate) + " left";
    }
    if (tally.failed > 0)
        text += "  " + std::to_string(tally.failed) + " failed";
    const int room = std::min(kMostBar, width - static_cast<int>(text.size()) - 2);
    if (room < 5)
        return text.substr(2, static_cast<std::size_t>(std::max(0, width)));
    const double share = tally.all > 0 ? double(tally.past()) / double(tally.all) : 1.0;
    const int full = static_cast<int>(std::floor(share * room));
    return '[' + std::string(static_cast<std::size_t>(full), '#')
        + std::string(static_cast<std::size_t>(room - full), ' ') + ']' + text;
}

Meter::Meter(const Settings &settings)
    : hasBar(!settings.quiet && settings.progress != Progress::Never && isatty(STDERR_FILENO)),
      hasLines(!settings.quiet && !hasBar),
      lines(writesToOutput(settings.batch) ? messageStream() : stdout),
      start(std::chrono::steady_clock::now()), last()
{ }

Meter::~Meter()
{
    clear();
}

void Meter::clear()
{
    if (isDrawn)
        std::fputs(kClearLine, messageStream());
    std::fflush(messageStream());
    std::fflush(stdout);
    isDrawn = false;
}

void Meter::line(const Tally &tally, const std::string &text, bool isFailure)
{
    if (isFailure) {
        clear();
        tell(text);
    } else if (hasLines) {
        std::fprintf(lines, "%zu/%zu %s\n", tally.past(), tally.all, printable(text).c_str());
    }
}

void Meter::draw(const Tally &tally)
{
    if (hasLines)
        std::fflush(lines);
    const auto now = std::chrono::steady_clock::now();
    if (!hasBar || now - last < kInterval)
        return;
    last = now;
    const std::chrono::duration<double> seconds = now - start;
    std::fprintf(messageStream(), "%s%s", kClearLine,
                 barText(tally, seconds.count(), terminalWidth() - 1).c_str());
    std::fflush(messageStream());
    isDrawn = true;
}

} // namespace ztrace
