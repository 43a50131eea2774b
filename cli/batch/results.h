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
#include <functional>
#include <string>
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

// A file name as members of a line: `name` with text, and `name`Bytes, percent-encoded, where the
// bytes are no UTF-8.
void insertName(const char *name, const std::string &bytes, QJsonObject *line);
std::string nameIn(const QJsonObject &line, const char *name);

// Whether a line is of a drawing that is there.
bool isDone(const QJsonObject &line);

// Whether a line is of all pages of a file, put together.
bool isBook(const QJsonObject &line);

// What tells pictures apart: 16 bytes of a hash.
std::string keyOf(const std::string &path, int page);

// Gives every whole line of a file that is a JSON object, with its place. What is none is counted
// in the result. Throws a Failure for a file that cannot be read; one that is not there has no
// lines.
int forEachLine(const std::string &fileName,
                const std::function<void(const QJsonObject &line, qint64 offset, int size)> &take);

// The line of every picture that holds, by place: 40 bytes a line, whatever is in it, in a
// SpoolArray. Of a file that is the last one; of several files one of a drawing that is there goes
// before others.
class Ledger
{
public:
    void read(const std::string &fileName);
    void clear();

    // Every line that holds, in the order of files and lines.
    void forEach(const std::function<void(const QJsonObject &line)> &take) const;

    // The same with the name of the file that the line is in.
    void forEachIn(
        const std::function<void(const QJsonObject &line, const std::string &file)> &take) const;

    // Whole lines that are no objects.
    int wrongLines() const { return wrong; }

    // Null when there is none.
    QByteArray lineOf(const std::string &path, int page) const;

    std::size_t size() const;

private:
    struct Place
    {
        std::array<char, 16> key;
        qint64 offset;
        int file;
        int size;
        bool done;
    };
    static bool isBefore(const Place &a, const Place &b);
    static bool isInOrder(const Place &a, const Place &b);
    void settle() const;
    QByteArray lineAt(const Place &place) const;

    std::vector<std::string> files;
    // Of every line; sorted by the picture, and one a picture, when they were settled.
    mutable SpoolArray<Place> places;
    mutable bool isSettled = true;
    int wrong = 0;
};

// The file that a run appends to. Nobody else does meanwhile.
class ResultFile
{
public:
    // Creates the file, waits a few seconds for a run that is about to end, and cuts a line without
    // an end. Throws a Failure when it cannot be written or another run goes on.
    explicit ResultFile(const std::string &fileName);

    // Appends whole lines, which then are there whatever ends the process. Throws a Failure;
    // nothing of them is there then. They are on the disk, for whatever ends the machine, a
    // fifth of a second later at most, if this or sync is called: waiting for the disk is what
    // costs.
    void append(const QByteArray &lines);
    void sync(bool atOnce);

private:
    std::string name;
    Descriptor file;
    qint64 end = 0;
    bool isSynced = true;
    std::chrono::steady_clock::time_point lastSync;
};

} // namespace ztrace

#endif
