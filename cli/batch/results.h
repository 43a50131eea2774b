// (c) the ztrace developers. Licence: see LICENSE.
//
// Result lines: one JSON object a picture and line, in a file that is only appended to. A later
// line of a picture takes the place of an earlier one; a last line without an end does not count.
// docs/batch.md lists the members.
#ifndef ZTRACE_CLI_BATCH_RESULTS_H
#define ZTRACE_CLI_BATCH_RESULTS_H

#include <QByteArray>
#include <QJsonObject>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "drawing/files.h"
#include "spoolarray.h"

namespace ztrace {

// Outcomes.
const char kDone[] = "done";
const char kOutcomeFailed[] = "failed";   // it says why itself
const char kOutcomeDied[] = "died";       // its worker ended, twice
const char kOutcomeTime[] = "time limit"; // twice as well
const char kOutcomeMemory[] = "memory limit";

// Of failures: whether every run tries again, and the limit that was passed, in seconds or million
// bytes, beyond which one tries.
const char kAgain[] = "again";
const char kLimit[] = "limit";

// What --max-pixels and --max-memory were, where one of them has refused the picture or made it
// smaller.
const char kLimits[] = "limits";

// Of a book: the SHA-256 of each page's part, by number.
const char kParts[] = "parts";

// A file name as members of a line: `name` with text, and `name`Bytes, percent-encoded, where the
// bytes are no UTF-8.
void insertName(const char *name, const std::string &bytes, QJsonObject *line);
std::string nameIn(const QJsonObject &line, const char *name);

// Whether a line is of a drawing that is there.
bool isDone(const QJsonObject &line);

// Whether a line is of all pages of a file, put together.
bool isBook(const QJsonObject &line);

// A name without "." and empty parts: "./d//a.png" is "d/a.png". What links lead to is not asked.
std::string plainPath(const std::string &path);

// What tells pictures apart: 16 bytes of a hash of the plain path.
std::string keyOf(const std::string &path, int page);

// Gives every whole line of a file that is a JSON object, with its place. What is none is counted
// in the result. Begins at `*from`, which is the end of the last whole line afterwards. Throws a
// Failure for a file that cannot be read; one that is not there has no lines.
int forEachLine(const std::string &fileName,
                const std::function<void(const QJsonObject &line, qint64 offset, int size)> &take,
                qint64 *from);

// The line of every picture that holds, by place: 48 bytes a line, whatever is in it, in a
// SpoolArray. Of a file that is the last one, whatever the clock said. Of several files it is the
// newest, by the times in them; but where that is a failure, and another one is of a drawing from
// the same file by the same settings and program, it is that one. What files are called means
// nothing. A picture is one whether its path begins at the working folder or at the root. Earlier
// lines of drawings are kept too, eight a picture and file: their drawings may still be there.
class Ledger
{
public:
    // Of a file that was read before, what has been added to it since.
    void read(const std::string &fileName);

    // Lines of these settings, and of this program, go before those of others.
    void prefer(const QByteArray &settings);

    // Every line that holds, in the order of files and lines.
    void forEach(const std::function<void(const QJsonObject &line)> &take) const;

    // The same with the name of the file that the line is in.
    void forEachIn(
        const std::function<void(const QJsonObject &line, const std::string &file)> &take) const;

    // Whole lines that are no objects.
    int wrongLines() const;

    // Null when there is none.
    QByteArray lineOf(const std::string &path, int page) const;

    // Those of all files by these settings and this program, the one that would hold first, earlier
    // ones last, with a line end between them. Null when there is none.
    QByteArray linesOf(const std::string &path, int page, const QByteArray &settings) const;

    // What they say of the picture.
    enum class Known { Nothing, Failed, Done };
    Known knownOf(const std::string &path, int page, const QByteArray &settings) const;

    std::size_t size() const;

private:
    struct Place
    {
        std::array<char, 16> key;
        qint64 offset;
        qint64 time;              // milliseconds since 1970
        std::uint32_t conditions; // of program and settings: four bytes of a hash
        std::uint32_t source;     // of the picture's file, likewise
        std::int32_t file;
        std::uint32_t size : 29;
        std::uint32_t isLast : 1; // of its file
        std::uint32_t isDone : 1;
        std::uint32_t holds : 1;
    };
    static bool isBefore(const Place &a, const Place &b);
    static bool isInOrder(const Place &a, const Place &b);
    int numberOf(const std::string &fileName);
    void forget(int file);
    void settle() const;
    Place *keepLatest() const;
    void rank(Place *first, Place *end) const;
    const Place *firstOf(const std::string &path, int page) const;
    QByteArray lineAt(const Place &place) const;

    struct File
    {
        std::string name;
        qint64 read; // bytes
        int wrong;
    };
    std::vector<File> files;
    std::unordered_map<std::string, int> numbers; // of files
    std::uint32_t preferred = 0;
    // Of every line; when they were settled, few a picture and file, those of a picture together
    // and the one that holds first.
    mutable SpoolArray<Place> places;
    mutable std::size_t pictures = 0;
    mutable bool isSettled = true;
};

// The file that a run appends to. Nobody else does meanwhile.
class ResultFile
{
public:
    // Creates the file, waits a few seconds for a run that is about to end, and cuts a line without
    // an end. Throws a Failure when it cannot be written or another run goes on.
    explicit ResultFile(const std::string &fileName);

    // Appends whole lines, which then are there whatever ends the process. Throws a Failure, also
    // when the file has another name by now; nothing of them is there then. sync, called again and
    // again, has them on the disk, for whatever ends the machine, a fifth of a second later at
    // most: waiting for the disk is what costs. Throws a Failure as well; they are there then.
    void append(const QByteArray &lines);
    void sync(bool atOnce);

    // Removes the file when it has no lines. Nothing is appended afterwards.
    void removeIfEmpty();

private:
    void requirePlace() const;

    std::string name;
    Descriptor file;
    qint64 end = 0;
    bool isSynced = true;
    std::chrono::steady_clock::time_point lastSync;
};

} // namespace ztrace

#endif
