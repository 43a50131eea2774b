// (c) the ztrace developers. Licence: see LICENSE.
#include "crew.h"

#include "results.h"
#include "worker.h"

#include "cli/failure.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kRound = 100; // milliseconds

// What happens in the child before it becomes a worker: only calls that are safe after a fork.
[[noreturn]] void becomeWorker(int socket, pid_t parent)
{
    // Workers go with the run, whatever ends it; signals of the terminal are for the run alone.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(kFailed);
    for (int number : { SIGINT, SIGTERM, SIGHUP, SIGQUIT })
        signal(number, SIG_IGN);
    const int nowhere = open("/dev/null", O_RDWR);
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

std::string endOf(int status)
{
    if (WIFSIGNALED(status))
        return "its worker was ended by signal " + std::to_string(WTERMSIG(status)) + " ("
            + strsignal(WTERMSIG(status)) + ")";
    return "its worker ended with code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

struct Crew::Worker
{
    pid_t process = 0;
    Descriptor socket;
    QByteArray text; // received, without a line's end
    bool isLate = false;
    bool isWorn = false;  // is to have no more jobs
    std::deque<Job> jobs; // the first one is being done
    std::string sha256;
    Clock::time_point begin; // of that one

    bool isBusy() const { return !jobs.empty(); }
};

Crew::Crew(const QByteArray &greetingText, const QByteArray &fingerprintText, double seconds)
    : greeting(greetingText), fingerprint(fingerprintText), secondsAJob(seconds)
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
    const auto isIdle = [](const std::unique_ptr<Worker> &worker) {
        if (worker->isBusy())
            return false;
        worker->socket = Descriptor(); // the end of its work
        return true;
    };
    for (const std::unique_ptr<Worker> &worker : workers) {
        if (worker->isBusy())
            continue;
        ::shutdown(worker->socket.get(), SHUT_RDWR);
        while (waitpid(worker->process, nullptr, 0) < 0 && errno == EINTR)
            continue;
    }
    workers.erase(std::remove_if(workers.begin(), workers.end(), isIdle), workers.end());
}

bool Crew::isBusy() const
{
    return std::any_of(workers.begin(), workers.end(),
                       [](const std::unique_ptr<Worker> &worker) { return worker->isBusy(); });
}

void Crew::work(int most, std::size_t ahead, const Duties &duties)
{
    for (;;) {
        const int stop = duties.stop();
        if (stop == 2)
            return;
        if (stop == 0)
            handOut(static_cast<std::size_t>(most), ahead, duties);
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

void Crew::handOut(std::size_t most, std::size_t ahead, const Duties &duties)
{
    Job job;
    while (workerFor(most, ahead) && nextJob(duties, &job)) {
        // The duties may have ended idle workers.
        Worker *worker = workerFor(most, ahead);
        give(worker->process == 0 ? hire() : worker, std::move(job));
    }
}

// One without a job, then a new one, then one that has not enough; null when all have. A new one is
// a place that is still to be filled.
Crew::Worker *Crew::workerFor(std::size_t most, std::size_t ahead)
{
    static Worker place;
    Worker *least = nullptr;
    std::size_t usable = 0;
    for (const std::unique_ptr<Worker> &worker : workers) {
        if (worker->isWorn || worker->isLate)
            continue;
        ++usable;
        if (!least || worker->jobs.size() < least->jobs.size())
            least = worker.get();
    }
    if (least && !least->isBusy())
        return least;
    if (usable < most)
        return &place;
    return least && least->jobs.size() <= ahead ? least : nullptr;
}

void Crew::give(Worker *worker, Job &&job)
{
    if (!worker->isBusy())
        worker->begin = Clock::now();
    worker->jobs.push_back(std::move(job));
    const QByteArray &message = worker->jobs.back().message;
    // One that has ended is noticed when it is listened to.
    (void)writeAll(worker->socket.get(), message.constData(), message.size());
}

Crew::Worker *Crew::hire()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw Failure(kFailed, std::string("no worker can be started: ") + std::strerror(errno));
    Descriptor own(ends[0]);
    const Descriptor other(ends[1]);
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0)
        becomeWorker(other.get(), parent);
    if (process < 0)
        throw Failure(kFailed, std::string("no worker can be started: ") + std::strerror(errno));
    auto worker = std::make_unique<Worker>();
    worker->process = process;
    worker->socket = std::move(own);
    (void)writeAll(worker->socket.get(), greeting.constData(), greeting.size());
    workers.push_back(std::move(worker));
    return workers.back().get();
}

void Crew::wait()
{
    std::vector<pollfd> sockets;
    for (const std::unique_ptr<Worker> &worker : workers)
        sockets.push_back({ worker->socket.get(), POLLIN, 0 });
    (void)::poll(sockets.data(), sockets.size(), kRound); // signals end it early
}

void Crew::listen(Worker *worker, const Duties &duties)
{
    char part[1 << 16];
    bool hasEnded = false;
    for (;;) {
        const ssize_t size = ::recv(worker->socket.get(), part, sizeof part, MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR))
            break;
        hasEnded = size <= 0;
        if (hasEnded)
            break;
        worker->text.append(part, static_cast<int>(size));
    }
    int at = 0;
    for (int end = worker->text.indexOf('\n'); end >= 0; end = worker->text.indexOf('\n', at)) {
        hear(worker, worker->text.at(at), worker->text.mid(at + 1, end - at - 1), duties);
        at = end + 1;
    }
    worker->text.remove(0, at);
    if (hasEnded)
        bury(worker, duties); // what it has finished counts
}

void Crew::hear(Worker *worker, char letter, const QByteArray &text, const Duties &duties)
{
    switch (letter) {
    case kReady:
        if (text != fingerprint)
            throw Failure(kFailed, "settings files have changed during the run");
        return;
    case kStarted:
        worker->sha256 = text.toStdString();
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
    const Job job = std::move(worker->jobs.front());
    worker->jobs.pop_front();
    worker->sha256.clear();
    worker->begin = Clock::now();
    duties.answered(job, letter, text);
}

void Crew::bury(Worker *worker, const Duties &duties)
{
    int status = 0;
    while (waitpid(worker->process, &status, 0) < 0 && errno == EINTR)
        continue;
    const Loss loss = { worker->isLate ? kOutcomeTime : kOutcomeDied,
                        worker->isLate ? "it took longer than --time-limit allows" : endOf(status),
                        worker->sha256 };
    std::deque<Job> jobs = std::move(worker->jobs);
    workers.erase(std::find_if(
        workers.begin(), workers.end(),
        [worker](const std::unique_ptr<Worker> &other) { return other.get() == worker; }));
    if (jobs.empty())
        return;
    for (std::size_t i = 1; i < jobs.size(); ++i)
        returned.push_back(std::move(jobs[i]));
    duties.lost(jobs.front(), loss);
}

void Crew::checkTimes()
{
    if (secondsAJob <= 0.0)
        return;
    for (const std::unique_ptr<Worker> &worker : workers) {
        const std::chrono::duration<double> taken = Clock::now() - worker->begin;
        if (worker->isBusy() && !worker->isLate && taken.count() > secondsAJob) {
            worker->isLate = true;
            kill(worker->process, SIGKILL);
        }
    }
}

} // namespace ztrace
