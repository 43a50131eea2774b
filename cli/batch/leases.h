// (c) the ztrace developers. Licence: see LICENSE.
//
// Parts of a run's pictures, divided among runs on several machines that share a folder. A part is
// a file; who renames it has it, which works on network file systems too.
#ifndef ZTRACE_CLI_BATCH_LEASES_H
#define ZTRACE_CLI_BATCH_LEASES_H

#include <chrono>
#include <ctime>
#include <string>
#include <vector>

namespace ztrace {

// In `out`/.ztrace-leases-N-PURPOSE there are files "todo-3", "busy-3.HOST.PROCESS" and "done-3". A
// busy one is touched every ten seconds; one that has not been for two minutes, by the clock of the
// file system, is taken over.
class Leases
{
public:
    // Makes the folder and its files, unless another run has; when no other run goes on, all parts
    // are to be had. Runs share parts when they have the same `purpose`, some letters. Throws a
    // Failure.
    Leases(const std::string &out, int parts, const std::string &purpose);

    // The number of a part that is this run's now, from 1; 0 when none is to be had. `busy` is then
    // one of those that others work on, which may be to be had later; empty when there is none.
    int take(std::string *busy);

    // Makes a part that is done this run's own. False when another run has it.
    bool takeAgain(int part);

    // Those that are done.
    std::vector<int> finished() const;

    // Says that the run goes on. At most every ten seconds does it cost anything. False when the
    // part was taken over.
    bool keep();

    // The part is finished, or to be taken by others. False when it was taken over.
    bool finish();
    void giveBack();

    // "HOST.PROCESS", which no two runs share.
    static std::string owner();

private:
    void beginAnew();
    bool rename(const std::string &from, const std::string &to);
    bool claim(const std::string &name);
    int takeOver(std::string *busy);
    time_t now() const;
    bool isStale(const std::string &name, time_t now) const;

    std::string folder;
    int parts;
    int part = 0;
    std::string mine; // the name of its file
    std::chrono::steady_clock::time_point touched;
};

} // namespace ztrace

#endif
