// (c) the ztrace developers. Licence: see LICENSE.
#include "leaserun.h"

#include "leases.h"

#include <unistd.h>

namespace ztrace {

namespace {

const useconds_t kLeaseWait = 500000; // microseconds between looks for a part

} // namespace

void traceParts(BatchRun *run)
{
    Leases leases(run->batch.out, run->batch.leases);
    const ItemList all = std::move(run->agenda.items);
    while (run->stopWish() == 0) {
        bool othersWork = false;
        const int part = leases.take(&othersWork);
        if (part == 0 && !othersWork)
            break;
        if (part == 0) {
            ::usleep(kLeaseWait);
            continue;
        }
        run->agenda.items = ItemList();
        all.forEach([&](const Item &item) {
            if (chunkOf(item.path, run->batch.leases) == part)
                run->agenda.items.add(item);
        });
        run->readLedger();
        run->traceAll([&leases] { leases.keep(); });
        if (run->stopWish() != 0)
            leases.giveBack();
        else
            leases.finish();
    }
}

} // namespace ztrace
