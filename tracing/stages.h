// (c) the ztrace developers. Licence: see LICENSE.
//
// The stages of a trace, as they begin and end.
#ifndef ZTRACE_TRACING_STAGES_H
#define ZTRACE_TRACING_STAGES_H

#include <QElapsedTimer>

#include <functional>

#include "report.h"

namespace ztrace {

// Called with a few words when a stage begins.
typedef std::function<void(const char *)> StageSink;

// Tells of the stages as they begin, and keeps how long they took as they end.
class Stages
{
public:
    Stages(const StageSink &sink, TraceReport *r) : announce(sink), report(r) { clock.start(); }

    void begin(const char *words) const
    {
        if (announce)
            announce(words);
    }

    void end(const char *name)
    {
        report->seconds.push_back({ name, 1e-9 * double(clock.nsecsElapsed()) });
        clock.restart();
    }

private:
    const StageSink &announce;
    TraceReport *report;
    QElapsedTimer clock;
};

} // namespace ztrace

#endif
