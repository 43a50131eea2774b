// (c) the ztrace developers. Licence: see LICENSE.
//
// Loops that can take minutes end before their end where somebody asks for it. Nothing is computed
// differently: a loop goes on as ever, or does not come to a result at all.
#ifndef ZTRACE_STOP_H
#define ZTRACE_STOP_H

#include <atomic>
#include <exception>

namespace ztrace {

class Stopped : public std::exception
{
public:
    const char *what() const noexcept override { return "stopped"; }
};

// While one lives, long loops of the calling thread end with Stopped soon after the flag is no
// longer 0; anybody may set it, a signal handler too. A null flag, or none, asks for nothing. They
// may be inside each other: the innermost counts.
class StoppedBy
{
public:
    explicit StoppedBy(const std::atomic<int> *flag);
    ~StoppedBy();
    StoppedBy(const StoppedBy &) = delete;
    StoppedBy &operator=(const StoppedBy &) = delete;

private:
    const std::atomic<int> *outer;
};

// A place to end at. Throws Stopped.
void stopWhereAsked();

} // namespace ztrace

#endif
