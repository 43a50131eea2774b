// (c) the ztrace developers. Licence: see LICENSE.
#include "crew.h"

#include "results.h"
#include "worker.h"

#include "cli/failure.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kRound = 100; // milliseconds

// Workers have jobs for this long, in seconds, so that the run may sleep in between and handle many
// answers at once; no more than this many jobs, and bytes, which the socket holds without waiting.
const double kAhead = 0.1;
const std::size_t kMostAhead = 64;
const int kMostBytesAhead = 1 << 15;
const std::size_t kPlenty = 8;    // jobs that a worker has before the run sleeps
const useconds_t kNap = 10000;    // microseconds
const double kWeightOfLast = 0.1; // of the last picture's time among those before
const int kSpareDescriptors = 8;
const int kMostTimesOrphan = 3; // the picture is to blame after all

// What happens in the child before it becomes a worker: only calls that are safe after a fork.
[[noreturn]] void becomeWorker(int socket, pid_t parent)
{
    // Workers go with the run, whatever ends it; signals of the terminal are for the run alone.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(kFailed);
    for (int number : { SIGINT, SIGTERM, SIGHUP, SIGQUIT })
        signal(number, SIG_IGN);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nowhere, STDIN_FILENO);
    dup2(nowhere, STDOUT_FILENO);
    if (socket == kWorkerSocket)
        fcntl(socket, F_SETFD, 0);
    else
        dup2(socket, kWorkerSocket);
    char name[] = "ztrace";
    char argument[sizeof kWorkerArgument];
    std::memcpy(argument, kWorkerArgument, sizeof argument);
    char *argv[] = { name, argument, nullptr };
    execv("/proc/self/exe", argv);
    _exit(kFailed);
}

// The run opens files itself while its workers live.
bool hasSpareDescriptors(int any)
{
    std::vector<Descriptor> spare;
    for (int i = 0; i < kSpareDescriptors; ++i) {
        spare.emplace_back(fcntl(any, F_DUPFD_CLOEXEC, 0));
        if (!spare.back().isOpen())
            return false;
    }
    return true;
}

// It has said its last words (cli/lastwords.h) itself.
bool hasGivenUp(int status)
{
    return WIFEXITED(status) && WEXITSTATUS(status) == kFailed;
}

std::string endOf(int status)
{
    if (WIFSIGNALED(status))
        return "its worker was ended by signal " + std::to_string(WTERMSIG(status)) + " ("
            + strsignal(WTERMSIG(status)) + ")";
    if (hasGivenUp(status))
        return "its worker could not go on, for want of memory or by a defect of a library";
    return "its worker ended with code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

struct Crew::Worker
{
    pid_t process = 0;
    Descriptor socket;
    QByteArray text;   // received, without a line's end
    QByteArray unsent; // to it
    bool isLate = false;
    bool isWorn = false;      // is to have no more jobs
    bool isUnable = false;    // to begin
    std::deque<Job> jobs;     // not answered yet, in their order
    std::size_t traced = 0;   // of these the worker is done with so many; it does the next one
    long long answered = 0;   // jobs before these
    std::string sha256;       // of the one that it does
    Clock::time_point begin;  // of that one
    double secondsEach = 0.0; // lately; 0: not known yet
    int bytesAhead = 0;       // of messages of jobs that it is not done with

    bool isBusy() const { return !jobs.empty(); }
    std::size_t open() const { return jobs.size() - traced; } // the one that it does, and the next

    // It is done with so many since its start.
    void pass(long long count)
    {
        const auto now = static_cast<std::size_t>(std::max(0LL, count - answered));
        if (now <= traced)
            return;
        const std::chrono::duration<double> taken = Clock::now() - begin;
        const double last = taken.count() / double(now - traced);
        for (; traced < std::min(now, jobs.size()); ++traced)
            bytesAhead -= jobs[traced].message.size();
        secondsEach = secondsEach > 0.0 ? secondsEach + kWeightOfLast * (last - secondsEach) : last;
        begin = Clock::now();
        sha256.clear();
    }

    std::size_t wanted() const
    {
        if (secondsEach <= 0.0 || bytesAhead > kMostBytesAhead)
            return 1;
        const double fits = kAhead / secondsEach;
        return fits > double(kMostAhead) ? kMostAhead : std::max<std::size_t>(1, std::size_t(fits));
    }
};

Crew::Crew(const QByteArray &greetingText, const QByteArray &fingerprintText, double seconds,
           double millions)
    : greeting(greetingText), fingerprint(fingerprintText), secondsAJob(seconds),
      millionsAJob(millions), mostPossible(std::numeric_limits<std::size_t>::max())
{ }

Crew::~Crew()
{
    for (const std::unique_ptr<Worker> &worker : workers) {
        if (worker->isBusy())
            kill(worker->process, SIGKILL);
    }
    dismiss();
    for (const std::unique_ptr<Worker> &worker : workers)
        waitpid(worker->process, nullptr, 0);
}

void Crew::dismiss()
{
    const auto isIdle = [](const std::unique_ptr<Worker> &worker) { return !worker->isBusy(); };
    for (const std::unique_ptr<Worker> &worker : workers) {
        if (worker->isBusy())
            continue;
        // At once, also while a child that is being made has the socket too.
        endOfProcess(worker.get());
    }
    workers.erase(std::remove_if(workers.begin(), workers.end(), isIdle), workers.end());
}

bool Crew::isBusy() const
{
    return std::any_of(workers.begin(), workers.end(),
                       [](const std::unique_ptr<Worker> &worker) { return worker->isBusy(); });
}

void Crew::work(int most, bool ahead, const Duties &duties)
{
    feedsAhead = ahead;
    for (;;) {
        const int stop = duties.stop();
        if (stop == 2)
            return;
        if (stop == 0)
            handOut(static_cast<std::size_t>(most), duties);
        duties.afterRound();
        if (!isBusy())
            return;
        wait();
        // Workers may be added and removed meanwhile, at the end.
        for (std::size_t i = workers.size(); i > 0; --i)
            listen(workers[i - 1].get(), duties);
        checkTimes();
    }
}

bool Crew::nextJob(const Duties &duties, Job *job)
{
    if (returned.empty())
        return duties.next(job);
    *job = std::move(returned.front());
    returned.pop_front();
    return true;
}

void Crew::handOut(std::size_t most, const Duties &duties)
{
    Job job;
    while (workerFor(std::min(most, mostPossible)) && nextJob(duties, &job)) {
        // The duties may have ended idle workers.
        Worker *worker = workerFor(std::min(most, mostPossible));
        if (worker->process == 0)
            worker = hire(duties);
        if (worker)
            give(worker, std::move(job));
        else
            returned.push_front(std::move(job));
    }
    for (const std::unique_ptr<Worker> &worker : workers) {
        // One that has ended is noticed when it is listened to. One that a part of its work does
        // not reach, for want of the system's memory, would wait for it for ever.
        if (writeAll(worker->socket.get(), worker->unsent.constData(), worker->unsent.size()) != 0)
            kill(worker->process, SIGKILL);
        worker->unsent.clear();
    }
}

std::size_t Crew::usable(const std::vector<std::unique_ptr<Worker>> &workers)
{
    return static_cast<std::size_t>(
        std::count_if(workers.begin(), workers.end(), [](const std::unique_ptr<Worker> &worker) {
            return !worker->isWorn && !worker->isLate;
        }));
}

// One without a job, then a new one, then one that has not enough; null when all have. A new one is
// a place that is still to be filled.
Crew::Worker *Crew::workerFor(std::size_t most)
{
    static Worker place;
    Worker *least = nullptr;
    for (const std::unique_ptr<Worker> &worker : workers) {
        if (worker->isWorn || worker->isLate)
            continue;
        if (!least || worker->open() < least->open())
            least = worker.get();
    }
    if (least && !least->isBusy())
        return least;
    if (usable(workers) < most)
        return &place;
    return least && feedsAhead && least->open() <= least->wanted() ? least : nullptr;
}

void Crew::give(Worker *worker, Job &&job)
{
    if (worker->open() == 0)
        worker->begin = Clock::now();
    worker->unsent += job.message;
    worker->bytesAhead += job.message.size();
    worker->jobs.push_back(std::move(job));
}

// Null when those that are there have to do.
Crew::Worker *Crew::hire(const Duties &duties)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        doWithFewer(std::strerror(errno), duties);
        return nullptr;
    }
    Descriptor own(ends[0]);
    const Descriptor other(ends[1]);
    if (usable(workers) > 0 && !hasSpareDescriptors(other.get())) {
        doWithFewer(std::strerror(EMFILE), duties);
        return nullptr;
    }
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0)
        becomeWorker(other.get(), parent);
    if (process < 0) {
        doWithFewer(std::strerror(errno), duties);
        return nullptr;
    }
    auto worker = std::make_unique<Worker>();
    worker->process = process;
    worker->socket = std::move(own);
    worker->unsent = greeting;
    workers.push_back(std::move(worker));
    return workers.back().get();
}

// The system has no room for another one. Throws a Failure when there is none at all.
void Crew::doWithFewer(const std::string &reason, const Duties &duties)
{
    const std::size_t most = usable(workers);
    if (most == 0)
        throw Failure(kFailed, "no worker can be started: " + reason);
    if (mostPossible == std::numeric_limits<std::size_t>::max() && duties.fewer)
        duties.fewer("fewer workers can be started than are asked for: " + reason);
    mostPossible = std::min(mostPossible, most);
}

void Crew::wait() const
{
    const auto hasPlenty
        = [](const std::unique_ptr<Worker> &worker) { return worker->open() >= kPlenty; };
    if (std::all_of(workers.begin(), workers.end(), hasPlenty))
        ::usleep(kNap);
    std::vector<pollfd> sockets;
    for (const std::unique_ptr<Worker> &worker : workers)
        sockets.push_back({ worker->socket.get(), POLLIN, 0 });
    (void)::poll(sockets.data(), sockets.size(), kRound); // signals end it early
}

void Crew::listen(Worker *worker, const Duties &duties)
{
    // Its end shows in the socket, unless that is open elsewhere: this is asked before what it has
    // said is read.
    int status = 0;
    const bool isGone = waitpid(worker->process, &status, WNOHANG) == worker->process;
    char part[1 << 16];
    bool hasEnded = isGone;
    for (;;) {
        const ssize_t size = ::recv(worker->socket.get(), part, sizeof part, MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR))
            break;
        if (size < 0 && !isGone)
            kill(worker->process, SIGKILL); // it is not to be heard any more
        if (size <= 0) {
            hasEnded = true;
            break;
        }
        worker->text.append(part, static_cast<int>(size));
    }
    int at = 0;
    for (int end = worker->text.indexOf('\n'); end >= 0; end = worker->text.indexOf('\n', at)) {
        hear(worker, worker->text.at(at), worker->text.mid(at + 1, end - at - 1), duties);
        at = end + 1;
    }
    worker->text.remove(0, at);
    if (!hasEnded)
        return;
    if (!isGone)
        status = endOfProcess(worker);
    bury(worker, status, duties); // what it has finished counts
}

void Crew::hear(Worker *worker, char letter, const QByteArray &text, const Duties &duties)
{
    switch (letter) {
    case kReady:
        if (text != fingerprint)
            throw Failure(kFailed, "settings files have changed during the run");
        return;
    case kStarted:
        worker->pass(text.left(text.indexOf(' ')).toLongLong() - 1);
        worker->sha256 = text.mid(text.indexOf(' ') + 1).toStdString();
        return;
    case kTraced:
        worker->pass(text.toLongLong());
        return;
    case kUnable:
        worker->isUnable = true;
        worker->isWorn = true;
        doWithFewer(text.toStdString(), duties);
        return;
    case kNoRoom:
        throw Failure(kOutputNotWritable, text.toStdString());
    case kRefused:
        throw Failure(static_cast<ExitCode>(text.left(1).toInt()), text.mid(2).toStdString());
    default:
        break;
    }
    if (!worker->isBusy())
        return;
    worker->isWorn = worker->isWorn || letter == kLineOfMemory;
    worker->pass(worker->answered + 1);
    const Job job = std::move(worker->jobs.front());
    worker->jobs.pop_front();
    --worker->traced;
    ++worker->answered;
    duties.answered(job, letter, text);
}

// One that has closed its end ends, and one that reads sees ours closed.
int Crew::endOfProcess(Worker *worker)
{
    ::shutdown(worker->socket.get(), SHUT_RDWR);
    worker->socket = Descriptor(); // whatever becomes of that
    int status = 0;
    while (waitpid(worker->process, &status, 0) < 0 && errno == EINTR)
        continue;
    return status;
}

void Crew::bury(Worker *worker, int status, const Duties &duties)
{
    Loss loss
        = { kOutcomeDied, endOf(status), worker->sha256, hasGivenUp(status) ? millionsAJob : 0.0 };
    if (worker->isLate)
        loss = { kOutcomeTime, "it took longer than --time-limit allows", worker->sha256,
                 secondsAJob };
    const bool isUnable = worker->isUnable;
    std::deque<Job> jobs = std::move(worker->jobs);
    const std::size_t current = isUnable ? jobs.size() : worker->traced;
    workers.erase(std::find_if(
        workers.begin(), workers.end(),
        [worker](const std::unique_ptr<Worker> &other) { return other.get() == worker; }));
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (i < current && !isUnable)
            ++jobs[i].timesOrphan;
        if (i == current || jobs[i].timesOrphan > kMostTimesOrphan)
            duties.lost(jobs[i], loss);
        else
            returned.push_back(std::move(jobs[i]));
    }
}

void Crew::checkTimes()
{
    if (secondsAJob <= 0.0)
        return;
    for (const std::unique_ptr<Worker> &worker : workers) {
        const std::chrono::duration<double> taken = Clock::now() - worker->begin;
        if (worker->open() > 0 && !worker->isLate && taken.count() > secondsAJob) {
            worker->isLate = true;
            kill(worker->process, SIGKILL);
        }
    }
}

} // namespace ztrace
