// (c) the ztrace developers. Licence: see LICENSE.
#include "stop.h"

namespace ztrace {

namespace {

thread_local const std::atomic<int> *current = nullptr;

} // namespace

StoppedBy::StoppedBy(const std::atomic<int> *flag) : outer(current)
{
    current = flag;
}

StoppedBy::~StoppedBy()
{
    current = outer;
}

void stopWhereAsked()
{
    if (current && current->load(std::memory_order_relaxed) != 0)
        throw Stopped();
}

} // namespace ztrace
