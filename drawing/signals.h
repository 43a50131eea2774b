// (c) the ztrace developers. Licence: see LICENSE.
//
// Moments that a signal must not end the process in.
#ifndef ZTRACE_DRAWING_SIGNALS_H
#define ZTRACE_DRAWING_SIGNALS_H

#include <csignal>

namespace ztrace {

// While this lives, signals that would end the process wait. It is about the calling thread alone:
// every other thread has to have one for all of its life.
class Uninterrupted
{
public:
    Uninterrupted()
    {
        sigset_t blocked;
        sigemptyset(&blocked);
        for (int number : { SIGINT, SIGTERM, SIGHUP })
            sigaddset(&blocked, number);
        pthread_sigmask(SIG_BLOCK, &blocked, &saved);
    }
    ~Uninterrupted() { pthread_sigmask(SIG_SETMASK, &saved, nullptr); }
    Uninterrupted(const Uninterrupted &) = delete;
    Uninterrupted &operator=(const Uninterrupted &) = delete;

private:
    sigset_t saved;
};

} // namespace ztrace

#endif
