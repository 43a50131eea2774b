// (c) the ztrace developers. Licence: see LICENSE.
#include "finisher.h"

#include "limits.h"
#include "results.h"
#include "tracedline.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <sys/resource.h>
#include <unistd.h>

namespace ztrace {

namespace {

// A group is finished when it is so large or so old. Of 10,000 small pictures on a disk of 4 ms a
// wait, groups of 32 leave a hundredth of the waiting of single ones; a picture that takes longer
// than this to trace waits for no others.
const std::size_t kGroup = 32;
const std::size_t kGroupsAtOnce = 4; // one is finished, two wait, and there is room for other files
const std::chrono::milliseconds kPatience(100);

// So that the files of all groups fit into what the system allows to be open.
std::size_t groupOf(std::size_t filesEach)
{
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return kGroup;
    const std::size_t fits = std::size_t(limit.rlim_cur) / (kGroupsAtOnce * filesEach);
    return std::max<std::size_t>(1, std::min(kGroup, fits));
}

void addProcessorSeconds(double more, QJsonObject *line)
{
    QJsonObject seconds = line->value(QLatin1String("seconds")).toObject();
    const QLatin1String name("processor");
    seconds.insert(name, seconds.value(name).toDouble() + more);
    line->insert(QLatin1String("seconds"), seconds);
}

// Becomes the answer that nothing can be written, or a line that says why this could not be; a
// warning is enough for a preview.
void failToCommit(const OutputFiles::Commit &commit, const std::string &out, Traced *traced)
{
    const std::string text = QFile::encodeName(commit.fileName).toStdString() + ": "
        + commit.error.toLocal8Bit().toStdString();
    if (saysNoRoom(text, out)) {
        traced->letter = kNoRoom;
        traced->text = QByteArray::fromStdString(text);
        return;
    }
    if (commit.files == traced->extra.get()) {
        if (!traced->line.isEmpty()) {
            traced->letter = traced->letter == kLineOfDone ? kLine : traced->letter;
            missPreview(QFile::encodeName(commit.fileName).toStdString(), text, &traced->line);
        }
        return;
    }
    traced->letter = kLine;
    for (const char *name : { "outputs", "check", "flags" })
        traced->line.remove(QLatin1String(name));
    addFailure(kOutputNotWritable, text, &traced->line);
}

void commitGroup(std::vector<Traced> *group, const std::string &out)
{
    std::vector<OutputFiles::Commit> commits;
    std::vector<Traced *> owners;
    for (Traced &traced : *group) {
        for (OutputFiles *files : { traced.files.get(), traced.extra.get() }) {
            if (!files)
                continue;
            commits.push_back({ files });
            owners.push_back(&traced);
        }
    }
    const double begin = processorSeconds();
    OutputFiles::commitAll(&commits);
    const double each = (processorSeconds() - begin) / double(commits.size() + 1);
    for (std::size_t i = 0; i < commits.size(); ++i) {
        if (!owners[i]->line.isEmpty())
            addProcessorSeconds(each, &owners[i]->line);
        if (!commits[i].isGood)
            failToCommit(commits[i], out, owners[i]);
    }
    for (Traced &traced : *group) {
        traced.files.reset();
        traced.extra.reset();
    }
}

QByteArray answerOf(Traced &traced)
{
    if (!traced.line.isEmpty() && traced.letter != kNoRoom)
        traced.text = lineText(traced.line);
    return char(traced.letter) + traced.text + '\n';
}

} // namespace

bool saysNoRoom(const std::string &text, const std::string &out)
{
    for (int error : { ENOSPC, EDQUOT, EROFS, EIO, EMFILE, ENFILE }) {
        const std::string reason = std::strerror(error);
        if (text.size() >= reason.size()
            && text.compare(text.size() - reason.size(), reason.size(), reason) == 0)
            return true;
    }
    return ::access(out.c_str(), W_OK | X_OK) != 0 && errno == EACCES;
}

void missPreview(const std::string &name, const std::string &reason, QJsonObject *line)
{
    (void)::unlink(name.c_str());
    addWarning("it is not in reports, as its small picture could not be written (" + reason + ')',
               line);
}

Finisher::Finisher(const std::string &folder, std::size_t filesEach)
    : out(folder), group(groupOf(filesEach)), thread([this] { run(); })
{ }

Finisher::~Finisher()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isClosing = true;
    }
    forThread.notify_one();
    thread.join();
}

void Finisher::add(Traced &&traced)
{
    std::unique_lock<std::mutex> lock(mutex);
    forAdders.wait(lock, [this] { return waiting.size() < 2 * group; });
    if (waiting.empty())
        since = std::chrono::steady_clock::now();
    waiting.push_back(std::move(traced));
    isHurried = false;
    // The thread wakes for the first one and for whole groups alone.
    if (waiting.size() == 1 || waiting.size() >= group)
        forThread.notify_one();
}

void Finisher::hurry()
{
    const std::lock_guard<std::mutex> lock(mutex);
    isHurried = true;
    if (!waiting.empty())
        forThread.notify_one();
}

void Finisher::flush()
{
    hurry();
    std::unique_lock<std::mutex> lock(mutex);
    forAdders.wait(lock, [this] { return waiting.empty() && !isBusy; });
}

bool Finisher::isTime() const
{
    return isHurried || isClosing || waiting.size() >= group;
}

void Finisher::finish(std::vector<Traced> *ready) const
{
    commitGroup(ready, out);
    QByteArray answers;
    for (Traced &traced : *ready) {
        answers += answerOf(traced);
        if (traced.letter == kNoRoom)
            break;
    }
    answerAll(answers);
}

void Finisher::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        forThread.wait(lock, [this] { return isClosing || !waiting.empty(); });
        if (waiting.empty())
            return;
        forThread.wait_until(lock, since + kPatience, [this] { return isTime(); });
        std::vector<Traced> ready;
        ready.swap(waiting);
        isBusy = true;
        lock.unlock();
        forAdders.notify_all();
        try {
            finish(&ready);
        } catch (const std::bad_alloc &) {
            // What the worker traces meanwhile has taken all memory: the run begins what is not
            // answered once more, with a new worker.
            _exit(kFailed);
        }
        lock.lock();
        isBusy = false;
        forAdders.notify_all();
    }
}

} // namespace ztrace
