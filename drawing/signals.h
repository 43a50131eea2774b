// (c) the ztrace developers. Licence: see LICENSE.
//
// Moments that a signal must not end the process in.
#ifndef ZTRACE_DRAWING_SIGNALS_H
#define ZTRACE_DRAWING_SIGNALS_H

#include <csignal>
#include <ctime>
#include <initializer_list>

namespace ztrace {

// While this lives, some signals wait. It is about the calling thread alone: every other thread
// has to have an Uninterrupted for all of its life.
//
// SIGPIPE and SIGXFSZ, which only say again what a write has returned, are forgotten at the end
// when they came meanwhile; the others arrive then.
class HeldSignals
{
public:
    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;

protected:
    explicit HeldSignals(const sigset_t &held)
    {
        sigpending(&before);
        pthread_sigmask(SIG_BLOCK, &held, &saved);
    }
    ~HeldSignals()
    {
        forget(SIGPIPE);
        forget(SIGXFSZ);
        pthread_sigmask(SIG_SETMASK, &saved, nullptr);
    }

private:
    void forget(int number) const
    {
        sigset_t now;
        sigset_t one;
        sigpending(&now);
        if (sigismember(&now, number) != 1 || sigismember(&before, number) == 1)
            return;
        sigemptyset(&one);
        sigaddset(&one, number);
        const timespec atOnce = { 0, 0 };
        sigtimedwait(&one, nullptr, &atOnce);
    }

    sigset_t before;
    sigset_t saved;
};

// No signal ends the process, but for faults of its own and SIGKILL.
class Uninterrupted : public HeldSignals
{
public:
    Uninterrupted() : HeldSignals(allButFaults()) { }

private:
    static sigset_t allButFaults()
    {
        sigset_t held;
        sigfillset(&held);
        for (int number : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS })
            sigdelset(&held, number);
        return held;
    }
};

// A reader that has gone and a file that may not grow are errors of the write, nothing more.
class QuietWrites : public HeldSignals
{
public:
    QuietWrites() : HeldSignals(ofWrites()) { }

private:
    static sigset_t ofWrites()
    {
        sigset_t held;
        sigemptyset(&held);
        sigaddset(&held, SIGPIPE);
        sigaddset(&held, SIGXFSZ);
        return held;
    }
};

} // namespace ztrace

#endif
