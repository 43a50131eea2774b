// (c) the ztrace developers. Licence: see LICENSE.
//
// The workers of a run: processes that do one job after the other, replaced when they end.
#ifndef ZTRACE_CLI_BATCH_CREW_H
#define ZTRACE_CLI_BATCH_CREW_H

#include <QByteArray>

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include "drawing/files.h"
#include "names.h"

namespace ztrace {

struct Job
{
    Item item;
    std::size_t number = 0; // whatever the asker wants to know it by
    int attempt = 1;
    QByteArray message;  // a JSON object on a line
    int timesOrphan = 0; // how often a worker was lost that was done with it and had not answered
};

// How a job was lost.
struct Loss
{
    const char *outcome; // of results.h
    std::string reason;
    std::string sha256; // of the picture's file; empty when it was not read
    double limit;       // that it has passed, or may have, in seconds or million bytes; 0: none
};

struct Duties
{
    std::function<bool(Job *)> next; // false: there are no more
    std::function<void(const Job &, char letter, const QByteArray &text)> answered;
    std::function<void(const Job &, const Loss &)> lost;
    std::function<void()> afterRound; // ten times a second at least
    std::function<int()> stop;        // 0: go on; 1: begin nothing new; 2: leave everything
    std::function<void(const std::string &)> fewer; // workers than asked for, in a sentence
};

class Crew
{
public:
    // `greeting` is the first message of every worker, who answers with the `fingerprint`. A job
    // may take so many seconds, and workers know of so many millions of bytes that it may take; 0:
    // any.
    Crew(const QByteArray &greeting, const QByteArray &fingerprint, double secondsAJob,
         double millionsAJob);
    ~Crew();
    Crew(const Crew &) = delete;
    Crew &operator=(const Crew &) = delete;

    // Has up to `workers` of them do all jobs. With `ahead` each knows those of the next tenth of a
    // second, one at least, besides the one that it does, so that it need not wait for the run in
    // between. When the system has no room for so many, those that it has room for do them. Throws
    // a Failure when it has none, when nothing can be written, and what the duties throw.
    void work(int workers, bool ahead, const Duties &duties);

    // Ends the idle workers; the next job gets a new one.
    void dismiss();

    // Leaves the jobs that no worker has begun.
    void forget() { returned.clear(); }

private:
    struct Worker;
    typedef std::chrono::steady_clock Clock;

    bool nextJob(const Duties &duties, Job *job);
    void handOut(std::size_t workers, const Duties &duties);
    void give(Worker *worker, Job &&job);
    void wait() const;
    void listen(Worker *worker, const Duties &duties);
    void hear(Worker *worker, char letter, const QByteArray &text, const Duties &duties);
    static int endOfProcess(Worker *worker);
    void bury(Worker *worker, int status, const Duties &duties);
    void checkTimes();
    Worker *workerFor(std::size_t most);
    static std::size_t usable(const std::vector<std::unique_ptr<Worker>> &workers);
    Worker *hire(const Duties &duties);
    void doWithFewer(const std::string &reason, const Duties &duties);
    bool isBusy() const;

    QByteArray greeting;
    QByteArray fingerprint;
    double secondsAJob;
    double millionsAJob;
    bool feedsAhead = false;
    std::size_t mostPossible; // workers
    std::vector<std::unique_ptr<Worker>> workers;
    std::deque<Job> returned; // that lost workers had not begun
};

} // namespace ztrace

#endif
