// (c) the ztrace developers. Licence: see LICENSE.
#include "TracerPool.h"

#include "ZTraceBitmap.h"

#include <QList>
#include <QSet>

#include <new>

namespace {

// Never deleted: script objects may outlive every static object of this library.
struct Pool
{
    QSet<ZTraceBitmap *> places;
    QList<ZTraceBitmap *> empty; // the longest empty one first
    QSet<const ZTraceBitmap *> dead;
};

Pool &pool()
{
    static Pool *const made = new Pool;
    return *made;
}

ZTraceBitmap *takePlace()
{
    if (!pool().empty.isEmpty())
        return pool().empty.takeFirst();
    ZTraceBitmap *place = static_cast<ZTraceBitmap *>(::operator new(sizeof(ZTraceBitmap)));
    pool().places.insert(place);
    return place;
}

} // namespace

ZTraceBitmap *ztrace::makeTracer()
{
    ZTraceBitmap *tracer = new (takePlace()) ZTraceBitmap;
    pool().dead.remove(tracer);
    return tracer;
}

void ztrace::destroyTracer(ZTraceBitmap *tracer, bool mayBeHeldElsewhere)
{
    const bool hasPlace = pool().places.contains(tracer);
    if (!hasPlace && !mayBeHeldElsewhere) {
        delete tracer;
        return;
    }
    tracer->~ZTraceBitmap();
    pool().dead.insert(tracer);
    if (!mayBeHeldElsewhere)
        pool().empty.append(tracer);
}

bool ztrace::isDead(const ZTraceBitmap *tracer)
{
    return pool().dead.contains(tracer);
}
