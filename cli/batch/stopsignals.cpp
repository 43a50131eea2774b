// (c) the ztrace developers. Licence: see LICENSE.
#include "stopsignals.h"

#include <csignal>
#include <cstdio>
#include <initializer_list>

namespace ztrace {

namespace {

volatile std::sig_atomic_t signalCount = 0;
volatile std::sig_atomic_t lastSignal = 0;

void noteSignal(int number)
{
    signalCount = signalCount + 1;
    lastSignal = number;
}

} // namespace

void watchSignals()
{
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    for (int number : { SIGINT, SIGTERM, SIGHUP }) {
        struct sigaction old = {};
        sigaction(number, nullptr, &old);
        if (old.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
}

int signalsSoFar()
{
    return signalCount;
}

void endBySignal()
{
    if (lastSignal == 0)
        return;
    std::fflush(nullptr);
    std::signal(lastSignal, SIG_DFL);
    std::raise(lastSignal);
}

} // namespace ztrace
