// (c) the ztrace developers. Licence: see LICENSE.
#include "results.h"

#include "version.h"

#include "cli/failure.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const int kLockTries = 50;
const useconds_t kLockWait = 100000; // microseconds
const std::chrono::milliseconds kBetweenSyncs(200);
const int kPart = 1 << 18;
const int kMostLine = 1 << 24;         // longer ones are none of ours
const std::ptrdiff_t kMostEarlier = 8; // lines of drawings: of formats in turn, say

[[noreturn]] void fail(ExitCode code, const std::string &name, int error)
{
    throw Failure(code, name + ": " + reasonText(error).toLocal8Bit().toStdString());
}

bool isUtf8(const std::string &bytes)
{
    return QString::fromUtf8(bytes.c_str()).toUtf8() == QByteArray::fromStdString(bytes);
}

// Up to the end of the file's last whole line.
qint64 endOfLines(int fd, const std::string &name)
{
    const off_t size = ::lseek(fd, 0, SEEK_END);
    if (size < 0)
        fail(kOutputNotWritable, name, errno);
    char part[4096];
    for (off_t end = size; end > 0;) {
        const off_t begin = std::max<off_t>(0, end - static_cast<off_t>(sizeof part));
        const ssize_t got = ::pread(fd, part, static_cast<std::size_t>(end - begin), begin);
        if (got != end - begin)
            fail(kOutputNotWritable, name, got < 0 ? errno : EIO);
        for (ssize_t i = got; i > 0; --i) {
            if (part[i - 1] == '\n')
                return begin + i;
        }
        end = begin;
    }
    return 0;
}

// Whether it has a result line at its beginning, or one that was never finished, or nothing. Zeros
// are what some file systems leave of lines that were not on the disk when the machine failed.
bool holdsResults(int fd, const std::string &name)
{
    QByteArray text(kPart, Qt::Uninitialized);
    const ssize_t got = ::pread(fd, text.data(), std::size_t(text.size()), 0);
    if (got < 0)
        fail(kOutputNotWritable, name, errno);
    text.truncate(int(got));
    if (text.count('\n') == 0)
        return text.count('\0') == text.size() || text.startsWith("{\"");
    const QList<QByteArray> lines = text.split('\n');
    return std::any_of(lines.begin(), lines.end() - 1, [](const QByteArray &part) {
        const QJsonObject line = QJsonDocument::fromJson(part).object();
        return line.contains(QLatin1String("outcome")) && line.contains(QLatin1String("path"));
    });
}

std::uint32_t shortHash(const QString &text)
{
    const QByteArray digest = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5);
    std::uint32_t number = 0;
    std::memcpy(&number, digest.constData(), sizeof number);
    return number;
}

std::uint32_t conditionsOf(const QString &version, const QString &settings)
{
    return shortHash(version + QLatin1Char('\n') + settings);
}

// From the root, for those who look for it there as well as from the working folder.
std::string wholePath(const std::string &path)
{
    static const std::string here = QFile::encodeName(QDir::currentPath()).toStdString() + '/';
    return path[0] == '/' ? path : here + path;
}

// 0 for a line without a time.
qint64 timeIn(const QJsonObject &line)
{
    const QDateTime time
        = QDateTime::fromString(line.value(QLatin1String("time")).toString(), Qt::ISODateWithMs);
    return time.isValid() ? time.toMSecsSinceEpoch() : 0;
}

} // namespace

void insertName(const char *name, const std::string &bytes, QJsonObject *line)
{
    line->insert(QLatin1String(name), QString::fromUtf8(bytes.c_str()));
    if (!isUtf8(bytes)) {
        line->insert(QLatin1String(name) + QLatin1String("Bytes"),
                     QLatin1String(QByteArray::fromStdString(bytes).toPercentEncoding("/")));
    }
}

std::string nameIn(const QJsonObject &line, const char *name)
{
    const QString exact = line.value(QLatin1String(name) + QLatin1String("Bytes")).toString();
    if (!exact.isEmpty())
        return QByteArray::fromPercentEncoding(exact.toLatin1()).toStdString();
    return line.value(QLatin1String(name)).toString().toStdString();
}

bool isDone(const QJsonObject &line)
{
    return line.value(QLatin1String("outcome")).toString() == QLatin1String(kDone);
}

bool isBook(const QJsonObject &line)
{
    return line.value(QLatin1String("page")).toInt(1) == 0;
}

std::string plainPath(const std::string &path)
{
    std::string plain = path.compare(0, 1, "/") == 0 ? "/" : "";
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        const std::string part = path.substr(at, slash - at);
        if (!part.empty() && part != ".")
            plain += (plain.empty() || plain == "/" ? "" : "/") + part;
        at = slash + 1;
    }
    if (plain == "-" && path != plain)
        return "./-"; // the other one is standard input
    return plain.empty() ? "." : plain;
}

std::string keyOf(const std::string &path, int page)
{
    const std::string text = plainPath(path) + '\0' + std::to_string(page);
    return QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Md5)
        .toStdString();
}

int forEachLine(const std::string &fileName,
                const std::function<void(const QJsonObject &line, qint64 offset, int size)> &take,
                qint64 *from)
{
    const Descriptor file(::open(fileName.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT)
        return 0;
    if (!file.isOpen())
        fail(kInputUnreadable, fileName, errno);
    if (::lseek(file.get(), *from, SEEK_SET) < 0 && errno != ESPIPE)
        fail(kInputUnreadable, fileName, errno);
    int wrong = 0;
    qint64 &offset = *from; // of what `text` begins with
    QByteArray text;
    std::vector<char> part(kPart);
    for (;;) {
        const ssize_t got = ::read(file.get(), part.data(), part.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            fail(kInputUnreadable, fileName, errno);
        if (got == 0)
            return wrong;
        text.append(part.data(), static_cast<int>(got));
        int at = 0;
        for (int end = text.indexOf('\n'); end >= 0; end = text.indexOf('\n', at)) {
            const QJsonDocument document = QJsonDocument::fromJson(text.mid(at, end - at));
            if (document.isObject())
                take(document.object(), offset + at, end - at);
            else
                ++wrong;
            at = end + 1;
        }
        text.remove(0, at);
        offset += at;
        if (text.size() > kMostLine)
            throw Failure(kInputUnreadable, fileName + ": has no result lines");
    }
}

bool Ledger::isBefore(const Place &a, const Place &b)
{
    return a.key != b.key ? a.key < b.key : isInOrder(a, b);
}

bool Ledger::isInOrder(const Place &a, const Place &b)
{
    return a.file != b.file ? a.file < b.file : a.offset < b.offset;
}

int Ledger::numberOf(const std::string &fileName)
{
    const auto found = numbers.insert({ fileName, static_cast<int>(files.size()) });
    if (found.second)
        files.push_back({ fileName, 0, 0 });
    return found.first->second;
}

// Somebody has begun the file anew.
void Ledger::forget(int file)
{
    files[static_cast<std::size_t>(file)].read = 0;
    files[static_cast<std::size_t>(file)].wrong = 0;
    const Place *kept = std::remove_if(places.begin(), places.end(),
                                       [file](const Place &place) { return place.file == file; });
    places.cutTo(static_cast<std::size_t>(kept - places.begin()));
}

void Ledger::read(const std::string &fileName)
{
    const int number = numberOf(fileName);
    struct stat info;
    if (::stat(fileName.c_str(), &info) == 0 && S_ISREG(info.st_mode)
        && info.st_size < files[static_cast<std::size_t>(number)].read)
        forget(number);
    isSettled = false;
    File &file = files[static_cast<std::size_t>(number)];
    file.wrong += forEachLine(
        fileName,
        [&](const QJsonObject &line, qint64 offset, int size) {
            const std::string path = nameIn(line, "path");
            if (path.empty())
                return;
            Place place = {};
            const std::string key
                = keyOf(wholePath(path), line.value(QLatin1String("page")).toInt(1));
            std::copy(key.begin(), key.end(), place.key.begin());
            place.offset = offset;
            place.time = timeIn(line);
            place.conditions = conditionsOf(line.value(QLatin1String("version")).toString(),
                                            line.value(QLatin1String("settings")).toString());
            place.source = shortHash(line.value(QLatin1String("sha256")).toString());
            place.file = number;
            place.size = static_cast<unsigned>(size) & 0x1fffffffU;
            place.isDone = isDone(line);
            places.add(place);
        },
        &file.read);
}

int Ledger::wrongLines() const
{
    return std::accumulate(files.begin(), files.end(), 0,
                           [](int sum, const File &file) { return sum + file.wrong; });
}

void Ledger::prefer(const QByteArray &settings)
{
    preferred = conditionsOf(QLatin1String(programVersion()), QLatin1String(settings));
    isSettled = false;
}

void Ledger::settle() const
{
    if (isSettled)
        return;
    isSettled = true;
    pictures = 0;
    std::sort(places.begin(), places.end(), isBefore);
    Place *const end = keepLatest();
    for (Place *first = places.begin(); first != end;) {
        Place *const next
            = std::find_if(first, end, [&](const Place &place) { return place.key != first->key; });
        rank(first, next);
        ++pictures;
        first = next;
    }
}

// Returns the end of what is left.
Ledger::Place *Ledger::keepLatest() const
{
    Place *kept = places.begin();
    std::size_t count = 0;
    const auto isOfOne
        = [](const Place &a, const Place &b) { return a.key == b.key && a.file == b.file; };
    for (Place *first = places.begin(); first != places.end();) {
        Place *const next = std::find_if(
            first, places.end(), [&](const Place &place) { return !isOfOne(place, *first); });
        Place *const last = next - 1;
        auto done = std::count_if(first, last, [](const Place &place) { return place.isDone; });
        for (Place *place = first; place != next; ++place) {
            if (place != last && (!place->isDone || done-- > kMostEarlier))
                continue;
            kept[count] = *place;
            kept[count++].isLast = place == last;
        }
        first = next;
    }
    places.cutTo(count);
    return kept + count;
}

// The lines of one picture, from several files.
void Ledger::rank(Place *first, Place *end) const
{
    const auto isBetter = [this](const Place &a, const Place &b) {
        if (a.isLast != b.isLast)
            return bool(a.isLast);
        const bool isOfNow = a.conditions == preferred;
        if (isOfNow != (b.conditions == preferred))
            return isOfNow;
        return a.time != b.time ? a.time > b.time : isInOrder(b, a);
    };
    std::sort(first, end, isBetter);
    Place *const holds = std::find_if(first, end, [first](const Place &place) {
        return place.isLast && place.isDone && place.conditions == first->conditions
            && place.source == first->source;
    });
    if (holds != end)
        std::rotate(first, holds, holds + 1);
    for (Place *place = first; place != end; ++place)
        place->holds = place == first;
}

std::size_t Ledger::size() const
{
    settle();
    return pictures;
}

void Ledger::forEach(const std::function<void(const QJsonObject &line)> &take) const
{
    forEachIn([&take](const QJsonObject &line, const std::string &) { take(line); });
}

void Ledger::forEachIn(
    const std::function<void(const QJsonObject &line, const std::string &file)> &take) const
{
    settle();
    SpoolArray<Place> sorted;
    for (const Place &place : places) {
        if (place.holds)
            sorted.add(place);
    }
    std::sort(sorted.begin(), sorted.end(), isInOrder);
    for (const Place &place : sorted) {
        const QJsonObject line = QJsonDocument::fromJson(lineAt(place)).object();
        if (!line.isEmpty())
            take(line, files[static_cast<std::size_t>(place.file)].name);
    }
}

// The end of all places when there is none.
const Ledger::Place *Ledger::firstOf(const std::string &path, int page) const
{
    settle();
    Place wanted = {};
    const std::string key = keyOf(wholePath(path), page);
    std::copy(key.begin(), key.end(), wanted.key.begin());
    const Place *found
        = std::lower_bound(places.begin(), places.end(), wanted,
                           [](const Place &a, const Place &b) { return a.key < b.key; });
    return found == places.end() || found->key != wanted.key ? places.end() : found;
}

QByteArray Ledger::lineOf(const std::string &path, int page) const
{
    const Place *place = firstOf(path, page);
    return place == places.end() ? QByteArray() : lineAt(*place);
}

QByteArray Ledger::linesOf(const std::string &path, int page, const QByteArray &settings) const
{
    const std::uint32_t wanted
        = conditionsOf(QLatin1String(programVersion()), QLatin1String(settings));
    QByteArray lines;
    const Place *const first = firstOf(path, page);
    for (const Place *at = first; at != places.end() && at->key == first->key; ++at) {
        if (at->conditions == wanted)
            lines += (lines.isEmpty() ? "" : "\n") + lineAt(*at);
    }
    return lines;
}

Ledger::Known Ledger::knownOf(const std::string &path, int page, const QByteArray &settings) const
{
    const std::uint32_t wanted
        = conditionsOf(QLatin1String(programVersion()), QLatin1String(settings));
    const Place *const first = firstOf(path, page);
    for (const Place *at = first; at != places.end() && at->key == first->key; ++at) {
        if (at->conditions == wanted)
            return at->isDone ? Known::Done : Known::Failed;
    }
    return Known::Nothing;
}

QByteArray Ledger::lineAt(const Place &place) const
{
    const Descriptor file(
        ::open(files[static_cast<std::size_t>(place.file)].name.c_str(), O_RDONLY | O_CLOEXEC));
    QByteArray line(static_cast<int>(place.size), '\0');
    if (!file.isOpen()
        || ::pread(file.get(), line.data(), static_cast<std::size_t>(line.size()), place.offset)
            != line.size())
        return QByteArray();
    return line;
}

ResultFile::ResultFile(const std::string &fileName) : name(fileName)
{
    file = Descriptor(::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666));
    if (!file.isOpen())
        fail(kOutputNotWritable, name, errno);
    for (int tries = 0; ::flock(file.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            break; // no locks there
        if (tries == kLockTries)
            throw Failure(kOutputNotWritable,
                          name + ": another run is writing there (see --results)");
        ::usleep(kLockWait);
    }
    if (!holdsResults(file.get(), name))
        throw Failure(kWrongUsage,
                      name + ": is no file of result lines, and is left as it is (see --results)");
    end = endOfLines(file.get(), name);
    if (::lseek(file.get(), 0, SEEK_END) != end && ::ftruncate(file.get(), end) != 0)
        fail(kOutputNotWritable, name, errno);
}

// A run goes on writing to a file that was moved away or removed, where nobody looks for it.
void ResultFile::requirePlace() const
{
    struct stat own = {};
    struct stat there = {};
    if (::stat(name.c_str(), &there) == 0 && ::fstat(file.get(), &own) == 0
        && own.st_dev == there.st_dev && own.st_ino == there.st_ino)
        return;
    throw Failure(kOutputNotWritable, name + ": has been moved or removed during the run");
}

void ResultFile::append(const QByteArray &lines)
{
    requirePlace();
    if (::lseek(file.get(), end, SEEK_SET) < 0)
        fail(kOutputNotWritable, name, errno);
    if (const int error = writeAll(file.get(), lines.constData(), lines.size())) {
        (void)!::ftruncate(file.get(), end); // else the next run cuts it
        fail(kOutputNotWritable, name, error);
    }
    end += lines.size();
    isSynced = false;
}

void ResultFile::removeIfEmpty()
{
    if (end == 0)
        (void)::unlink(name.c_str());
}

void ResultFile::sync(bool atOnce)
{
    const auto now = std::chrono::steady_clock::now();
    if (isSynced || (!atOnce && now - lastSync < kBetweenSyncs))
        return;
    lastSync = now;
    isSynced = true;
    if (::fdatasync(file.get()) != 0 && errno != EINVAL && errno != ENOTSUP)
        fail(kOutputNotWritable, name, errno);
}

} // namespace ztrace
