// (c) the ztrace developers. Licence: see LICENSE.
#include "interruption.h"

#include "cli/timelimit.h"

#include <QScriptEngine>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <unistd.h>

namespace {

// Seconds for what a script does in `finally` and `catch`: enough to save a drawing.
const unsigned kGrace = 5;

// Milliseconds between two looks at whether to stop. Not felt by who waits, nothing beside a loop.
const int kInterval = 50;

const int kPatience = 1000; // milliseconds for a reader of messages that does not read

const int kSignals[] = { SIGINT, SIGTERM, SIGHUP };

std::atomic<int> wanted(0);
static_assert(ATOMIC_INT_LOCK_FREE == 2, "signal handlers set it");
volatile sig_atomic_t cause = 0; // a signal; SIGALRM: the time limit
volatile sig_atomic_t scriptRuns = 0;
struct sigaction before[sizeof kSignals / sizeof *kSignals];
char sentence[128]; // made beforehand: a handler may not

[[noreturn]] void endBy(int number)
{
    if (number == SIGALRM) {
        pollfd reader = { STDERR_FILENO, POLLOUT, 0 };
        if (poll(&reader, 1, kPatience) > 0)
            (void)!write(STDERR_FILENO, sentence, std::strlen(sentence));
        _exit(zelvora::kTimeIsOver);
    }
    struct sigaction usual = {};
    usual.sa_handler = SIG_DFL;
    sigaction(number, &usual, nullptr);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, number);
    pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    raise(number);
    _exit(128 + number);
}

void handle(int number)
{
    if (!scriptRuns)
        endBy(number);
    if (cause != 0)
        endBy(number == SIGALRM ? int(cause) : number);
    cause = number;
    wanted = 1;
    alarm(kGrace);
}

} // namespace

namespace zelvora {

void limitTime(double seconds)
{
    std::snprintf(sentence, sizeof sentence,
                  "zelvora-headless: the time limit of %.15g seconds is over\n", seconds);
    ztrace::alarmAfter(seconds, handle);
}

std::atomic<int> &stopFlag()
{
    return wanted;
}

bool takesStop()
{
    return wanted.exchange(0) != 0;
}

Interruptible::Interruptible(QScriptEngine *scriptEngine) : engine(scriptEngine)
{
    engine->setProperty("zelvoraStop", QVariant::fromValue(static_cast<void *>(&wanted)));
    engine->setProcessEventsInterval(kInterval);
    startTimer(kInterval);
    scriptRuns = 1;
    struct sigaction action = {};
    action.sa_handler = handle; // calls are not taken up again: print() shall not wait for ever
    for (std::size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i) {
        sigaction(kSignals[i], nullptr, &before[i]);
        // What the process was started without, as by nohup, it stays without.
        if (before[i].sa_handler != SIG_IGN)
            sigaction(kSignals[i], &action, nullptr);
    }
    sigaction(SIGALRM, &action, nullptr);
}

Interruptible::~Interruptible()
{
    for (std::size_t i = 0; i < sizeof kSignals / sizeof *kSignals; ++i)
        sigaction(kSignals[i], &before[i], nullptr);
    scriptRuns = 0;
}

void Interruptible::timerEvent(QTimerEvent *)
{
    if (engine->isEvaluating() && takesStop())
        engine->currentContext()->throwError(QString::fromLatin1(kInterruptedText));
}

bool isInterrupted()
{
    return cause != 0;
}

void endAsAsked()
{
    std::fflush(nullptr);
    endBy(cause);
}

} // namespace zelvora
