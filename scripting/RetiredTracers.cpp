// (c) the ztrace developers. Licence: see LICENSE.
#include "RetiredTracers.h"

#include "ZTraceBitmap.h"

#include <QSet>

namespace {

// Never deleted: script objects may outlive every static object of this library, and the set is
// what still refers to the retired bytes.
QSet<const ZTraceBitmap *> &retiredTracers()
{
    static QSet<const ZTraceBitmap *> *const set = new QSet<const ZTraceBitmap *>;
    return *set;
}

} // namespace

void ztrace::retire(ZTraceBitmap *tracer)
{
    retiredTracers().insert(tracer);
    tracer->~ZTraceBitmap();
}

bool ztrace::isRetired(const ZTraceBitmap *tracer)
{
    return retiredTracers().contains(tracer);
}
