// (c) the ztrace developers. Licence: see LICENSE.
//
// Ends of runs that come from outside: interrupts (SIGINT), SIGTERM, SIGHUP, and the time limit.
//
// While a script runs, the first of them becomes an error in it, so that its `finally` is run: at
// the next turn of a loop of its own, within a trace, or within print(). From then on it has some
// seconds for what it has to clear up. A second signal, and the end of those seconds, end the
// process where it is; files are whole or not there all the same (drawing/signals.h).
//
// Places without an end of their own and without a loop of the script are not reached by an error:
// functions that call themselves, regular expressions, loops of the engine's own functions.
#ifndef ZELVORA_INTERRUPTION_H
#define ZELVORA_INTERRUPTION_H

#include <QObject>
#include <QString>

#include <atomic>

class QScriptEngine;

namespace zelvora {

const int kTimeIsOver = 7; // exit code

const char kInterruptedText[] = "The run was interrupted.";

const double kMostSeconds = 1e6; // of a time limit

// Starts the time limit. Before a script runs, the process ends at once when it is over.
void limitTime(double seconds);

// Where an error is to be raised, and not 0 until that was done. Plug-ins find its address in the
// engine's property `zelvoraStop` and may end long work early; who raises the error sets it to 0.
std::atomic<int> &stopFlag();

// True when an error is to be raised, which the caller then does: nobody else will.
bool takesStop();

// While one lives, signals and the time limit are errors in the engine's script.
class Interruptible : public QObject
{
public:
    explicit Interruptible(QScriptEngine *scriptEngine);
    ~Interruptible() override;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    QScriptEngine *engine;
};

// Whether somebody wanted the run to end.
bool isInterrupted();

// Ends the process the way it was asked for: by the signal, or with kTimeIsOver and a message.
[[noreturn]] void endAsAsked();

} // namespace zelvora

#endif
