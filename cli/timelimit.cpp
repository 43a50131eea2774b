// (c) the ztrace developers. Licence: see LICENSE.
#include "timelimit.h"

#include "failure.h"
#include "messages.h"
#include "values.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kPatience = 1000; // milliseconds for a reader of messages that does not read

// What is said then. Made beforehand: a handler may not.
char sentence[128];
int messageDescriptor = STDERR_FILENO;

void endOfTime(int)
{
    pollfd reader = { messageDescriptor, POLLOUT, 0 };
    if (poll(&reader, 1, kPatience) > 0)
        (void)!write(messageDescriptor, sentence, std::strlen(sentence));
    _exit(kTimeIsOver);
}

timeval timeOf(double seconds)
{
    const double whole = std::floor(seconds);
    timeval time;
    time.tv_sec = static_cast<time_t>(whole);
    time.tv_usec = static_cast<suseconds_t>((seconds - whole) * 1e6);
    return time;
}

} // namespace

void alarmAfter(double seconds, void (*handler)(int))
{
    const double kLeast = 1e-3; // 0 would be no limit
    itimerval timer = {};
    if (seconds > 0.0) {
        struct sigaction action = {};
        action.sa_handler = handler;
        action.sa_flags = SA_RESTART;
        sigaction(SIGALRM, &action, nullptr);
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
        timer.it_value = timeOf(std::min(std::max(seconds, kLeast), kMostSeconds));
    }
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void endAfter(double seconds)
{
    // A line of progress may stand there on a terminal.
    messageDescriptor = messagesDescriptor();
    std::snprintf(sentence, sizeof sentence, "%sztrace: the time limit of %s seconds is over\n",
                  isatty(messageDescriptor) ? "\r\x1b[K" : "", shortText(seconds).c_str());
    alarmAfter(seconds, endOfTime);
}

} // namespace ztrace
