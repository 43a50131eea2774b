// (c) the ztrace developers. Licence: see LICENSE.
//
// Parts of a run's pictures, divided among runs on several machines that share a folder. A part is
// a file; who renames it has it, which works on network file systems too.
#ifndef ZTRACE_CLI_BATCH_LEASES_H
#define ZTRACE_CLI_BATCH_LEASES_H

#include <chrono>
#include <string>

namespace ztrace {

// In `out`/.ztrace-leases-N there are files "todo-3", "busy-3.HOST.PROCESS" and "done-3". A busy
// one is touched every ten seconds; one that has not been for two minutes, by the clock of the file
// system, is taken over.
class Leases
{
public:
    // Makes the folder and its files, unless another run has. Throws a Failure.
    Leases(const std::string &out, int parts);

    // The number of a part that is this run's now, from 1; 0 when none is to be had. `wait` is set
    // when others are busy, whose parts may be to be had later.
    int take(bool *wait);

    // Says that the run goes on. At most every ten seconds does it cost anything. False when the
    // part was taken over.
    bool keep();

    // The part is finished, or to be taken by others.
    void finish();
    void giveBack();

    // "HOST.PROCESS", which no two runs share.
    static std::string owner();

private:
    void beginAnew();
    bool rename(const std::string &from, const std::string &to);
    bool claim(const std::string &name);
    int takeOver(bool *wait);

    std::string folder;
    int parts;
    int part = 0;
    std::string mine; // the name of its file
    std::chrono::steady_clock::time_point touched;
};

} // namespace ztrace

#endif
