// (c) the ztrace developers. Licence: see LICENSE.
#include "worker.h"

#include "earlier.h"
#include "fingerprint.h"
#include "finisher.h"
#include "keptsource.h"
#include "limits.h"
#include "results.h"
#include "task.h"
#include "taskwork.h"
#include "tracedline.h"
#include "version.h"

#include "cli/commandline.h"
#include "cli/imageplugins.h"
#include "cli/placement.h"
#include "cli/source.h"
#include "cli/tracejob.h"

#include "drawing/json.h"
#include "drawing/text.h"
#include "imaging/failure.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <malloc.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

// Nothing can be written: no picture is to blame for it.
class NoRoom : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Bytes of a picture behind which the heap is given back: a worker has 20 million itself, and
// small pictures, which follow one another fast, need no more than some millions besides.
const double kLarge = 40e6;

// Of the world file that a map is placed by; empty where none is asked for, or none is there.
std::string shaOfWorldFile(const Task &task)
{
    const auto isMap = [](const std::string &output) {
        const Format *format = formatOfSuffix(
            QString::fromStdString(output.substr(std::min(output.rfind('.') + 1, output.size()))));
        return format && (format->capabilities & kIsAMap) != 0;
    };
    const bool asks
        = task.item.page == 1 && std::any_of(task.outputs.begin(), task.outputs.end(), isMap);
    const std::string name = asks ? worldFileOf(task.item.path) : std::string();
    return name.empty() ? name : shaOfFile(name);
}

int pagesOf(const ImageSource &file)
{
    return file.isDrawing() ? 1 : std::max({ 1, file.pages(), file.pagesClaimed() });
}

// Of what cannot be counted now either, to read its first page says why.
bool hasSeveralPages(const ImageSource &file)
{
    try {
        return pagesOf(file) > 1;
    } catch (const Failure &) {
        return false;
    }
}

class Worker
{
public:
    void greet(const QJsonObject &message)
    {
        std::vector<std::string> words;
        for (const QJsonValue &word : message.value(QLatin1String("words")).toArray())
            words.push_back(unpacked(word));
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(&word[0]);
        line = parseCommandLine(static_cast<int>(argv.size()), argv.data());
        fingerprint = fingerprintOf(line);
        const std::set<std::string> onCommandLine = line.given;
        useConfiguration(&line.settings, &line.given);
        work = std::make_unique<TaskWork>(line, onCommandLine);
        source.setLimits({ line.settings.maxPixels, line.settings.maxMemory });
        // What it needs is no picture's. Besides drawings there are a part and a preview.
        finisher = std::make_unique<Finisher>(line.settings.batch.out,
                                              line.settings.batch.formats.size() + 3);
        if (line.settings.batch.memoryLimit > 0.0)
            loadImageReaders();
        limitMemory(line.settings.batch.memoryLimit);
        answer(kReady, fingerprint);
    }

    void count(const QJsonObject &message)
    {
        const std::string path = unpacked(message.value(QLatin1String("path")));
        ++begun;
        int pages = 0;
        try {
            pages = pagesOf(source.of(path));
        } catch (const Failure &) { // its first page says why
        } catch (const std::bad_alloc &) {
            source.drop();
        }
        answer(kPages, QByteArray::number(pages));
    }

    void trace(const QJsonObject &message)
    {
        const Task task = taskOf(message);
        ++begun;
        Traced traced;
        try {
            attempt(task, &traced);
        } catch (const MissingProgram &failure) {
            addFailure(failure.code, failure.what(), &traced.line);
            addAgain(&traced.line);
        } catch (const LimitFailure &failure) {
            addFailure(failure.code, failure.what(), &traced.line);
            traced.line.insert(QLatin1String(kLimits), limitsOf(line.settings));
        } catch (const MemoryFailure &failure) {
            lackMemory(failure.what(), &traced);
        } catch (const NoMemory &error) {
            lackMemory(error.what(), &traced);
        } catch (const Failure &failure) {
            if (failure.code == kOutputNotWritable
                && saysNoRoom(failure.what(), line.settings.batch.out))
                throw NoRoom(failure.what());
            addFailure(failure.code, failure.what(), &traced.line);
        } catch (const TraceError &error) {
            addFailure(kFailed, error.what(), &traced.line);
        } catch (const std::bad_alloc &) {
            lackMemory("not enough memory", &traced);
        }
        const bool isFine = traced.letter == kSkipped || isDone(traced.line);
        if (!isFine) {
            traced.files.reset();
            work->forgetFolders();
        } else if (traced.letter == kLine && !traced.line.contains(QLatin1String("flags"))
                   && !traced.line.contains(QLatin1String("warnings"))) {
            traced.letter = kLineOfDone;
        }
        finisher->add(std::move(traced));
    }

    // There is nothing to do for the moment.
    void rest()
    {
        if (begun == toldBegun)
            return;
        toldBegun = begun;
        answer(kTraced, QByteArray::number(begun));
        finisher->hurry();
    }

    // So that answers of this thread come after those of pictures.
    void flush()
    {
        if (finisher)
            finisher->flush();
    }

    bool isGreeted() const { return finisher != nullptr; }

    static void answer(char letter, const QByteArray &text) { answerAll(letter + text + '\n'); }

private:
    void attempt(const Task &task, Traced *traced)
    {
        // What a large picture has left in the heap would count as this one's.
        if (lastPeak > kLarge)
            malloc_trim(0);
        peakMemory(true);
        const auto start = std::chrono::steady_clock::now();
        const double begin = processorSeconds();
        QJsonObject *result = &traced->line;
        const QByteArray settings = fingerprintOf(fingerprint, task.item.settings);
        beginLine(task.item, settings, task.attempt, result);
        std::string whyNot;
        const ImageSource *image = open(task.item.path, &whyNot);
        const std::string worldSha = shaOfWorldFile(task);
        addSource(worldSha, result);
        answer(kStarted,
               QByteArray::number(begun) + ' ' + QByteArray::fromStdString(source.sha256()));
        // Its other pages are not among the pictures.
        if (task.item.pages == 0 && image && hasSeveralPages(*image))
            failForNow(task.item.path
                           + ": its pages could not be counted before (start again to trace them)",
                       result);
        if (!task.item.sha256.empty() && !source.sha256().empty()
            && source.sha256() != task.item.sha256)
            failForNow(task.item.path + ": its SHA-256 is not the expected one", result);
        if (task.item.kind == ItemKind::Book && image && task.source != source.sha256())
            failForNow(task.item.path
                           + ": was changed while its pages were traced (start again to trace "
                             "those that are out of date)",
                       result);
        const QByteArray before
            = finishedBefore(task,
                             { line.settings.batch.out, settings, source.sha256(), worldSha,
                               secondsAPicture(line.settings), line.settings.batch.memoryLimit,
                               limitsOf(line.settings) });
        if (!before.isEmpty()) {
            skip(task, image, whyNot, QJsonDocument::fromJson(before).object(), traced);
            return;
        }
        if (!image)
            std::rethrow_exception(unreadable);
        if (task.item.kind == ItemKind::Book)
            work->putTogether(task, traced);
        else
            work->draw(task, *image, traced);
        lastPeak = peakMemory(false);
        result->insert(QLatin1String("peak"), lastPeak);
        QJsonObject seconds = result->value(QLatin1String("seconds")).toObject();
        seconds.insert(QLatin1String("total"), secondsSince(start));
        seconds.insert(QLatin1String("processor"), processorSeconds() - begin);
        result->insert(QLatin1String("seconds"), seconds);
    }

    // The picture is tried once more, alone, and by runs with a higher limit.
    void lackMemory(const std::string &text, Traced *traced)
    {
        source.drop();
        traced->letter = kLineOfMemory;
        const double limit = line.settings.batch.memoryLimit;
        const std::string allowed = limit > 0.0
            ? " (--memory-limit allows " + numberText(limit).toStdString() + " MB)"
            : std::string();
        addFailure(kFailed, text + allowed, &traced->line);
        traced->line.insert(QLatin1String("outcome"), QLatin1String(kOutcomeMemory));
        traced->line.insert(QLatin1String(kLimit), limit);
    }

    // Another run may do better with the same picture and settings.
    [[noreturn]] static void failForNow(const std::string &text, QJsonObject *result)
    {
        addAgain(result);
        throw Failure(kInputUnreadable, text);
    }

    // Null, and why, for what cannot be read.
    const ImageSource *open(const std::string &path, std::string *whyNot)
    {
        try {
            return &source.of(path);
        } catch (const Failure &failure) {
            unreadable = std::current_exception();
            *whyNot = failure.what();
            return nullptr;
        }
    }

    void addSource(const std::string &worldSha, QJsonObject *result) const
    {
        if (!source.sha256().empty()) {
            result->insert(QLatin1String("sha256"), QString::fromStdString(source.sha256()));
            result->insert(QLatin1String("bytes"), double(source.size()));
        }
        if (!worldSha.empty())
            result->insert(QLatin1String("worldFile"), QString::fromStdString(worldSha));
    }

    // The picture is finished already, even if it is not to be read any more.
    void skip(const Task &task, const ImageSource *image, const std::string &whyNot,
              const QJsonObject &before, Traced *traced)
    {
        if (image && isDone(before))
            work->showAgain(task, *image, traced);
        traced->letter = kSkipped;
        QJsonObject said;
        for (const char *name : { "outcome", "part", "sha256", kLimits }) {
            const QLatin1String key(name);
            const bool isWanted
                = task.item.kind == ItemKind::Page || key == QLatin1String("outcome");
            if (isWanted && before.contains(key))
                said.insert(key, before.value(key));
        }
        if (!whyNot.empty())
            said.insert(QLatin1String(kUnreadable), packed(whyNot));
        traced->text = jsonValue(said);
        traced->line = QJsonObject();
    }

    CommandLine line;
    QByteArray fingerprint;
    KeptSource source;
    double lastPeak = 0.0;         // bytes, of the last picture
    std::exception_ptr unreadable; // why the last picture was that could not be opened
    qint64 begun = 0;              // pictures, since the start
    qint64 toldBegun = 0;
    std::unique_ptr<TaskWork> work;
    std::unique_ptr<Finisher> finisher;
};

void serve(Worker *worker, const QJsonObject &message)
{
    const bool isGreeting = message.contains(QLatin1String("words"));
    // A part of what the run has said did not arrive: it tries the picture with another worker.
    if (message.isEmpty() || (!isGreeting && !worker->isGreeted()))
        _exit(kFailed);
    try {
        if (isGreeting)
            worker->greet(message);
        else if (message.value(QLatin1String("count")).toBool())
            worker->count(message);
        else
            worker->trace(message);
    } catch (const std::system_error &error) { // no thread beside this one
        Worker::answer(kUnable, QByteArray::fromStdString(error.code().message()));
        _exit(kFailed);
    } catch (const NoRoom &noRoom) {
        worker->flush();
        Worker::answer(kNoRoom, noRoom.what());
    } catch (const Failure &failure) {
        worker->flush();
        Worker::answer(kRefused, QByteArray::number(failure.code) + ' ' + failure.what());
    }
}

// What the run has to say by now; rests when it has nothing.
ssize_t hear(Worker *worker, std::vector<char> *part)
{
    const ssize_t size = ::recv(kWorkerSocket, part->data(), part->size(), MSG_DONTWAIT);
    if (size >= 0 || errno != EAGAIN)
        return size;
    worker->rest();
    return ::read(kWorkerSocket, part->data(), part->size());
}

} // namespace

QString packed(const std::string &bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

std::string unpacked(const QJsonValue &value)
{
    return value.toString().toLatin1().toStdString();
}

bool isWorker(int argc, const char *const *argv)
{
    return argc == 2 && std::strcmp(argv[1], kWorkerArgument) == 0;
}

void answerAll(const QByteArray &answers)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    if (writeAll(kWorkerSocket, answers.constData(), answers.size()) != 0)
        _exit(kFailed); // the run has gone
}

ExitCode runWorker()
{
    // Programs that it starts for PDF and HEIC have no part in it.
    (void)::fcntl(kWorkerSocket, F_SETFD, FD_CLOEXEC);
    mallopt(M_ARENA_MAX, 1); // memory of its own for the second thread would count as a picture's
    Worker worker;
    QByteArray text;
    std::vector<char> part(1 << 16);
    for (;;) {
        const ssize_t size = hear(&worker, &part);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return size == 0 ? kSuccess : kWrongUsage; // somebody's curiosity has no socket
        text.append(part.data(), static_cast<int>(size));
        int at = 0;
        for (int end = text.indexOf('\n'); end >= 0; end = text.indexOf('\n', at)) {
            const QByteArray message = text.mid(at, end - at);
            at = end + 1;
            serve(&worker, QJsonDocument::fromJson(message).object());
        }
        text.remove(0, at);
    }
}

} // namespace ztrace
