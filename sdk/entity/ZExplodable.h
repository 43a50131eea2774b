// (c) the ztrace developers. Licence: see LICENSE.
//
// Shapes that consist of simpler ones.
#ifndef ZEXPLODABLE_H
#define ZEXPLODABLE_H

#include <QList>
#include <QSharedPointer>

#include "ZShape.h"

class ZELVORA_EXPORT ZExplodable
{
public:
    ZExplodable() { }
    ZExplodable(const ZExplodable &) { }
    ZExplodable &operator=(const ZExplodable &) { return *this; }
    virtual ~ZExplodable();

    // The shape's pieces in order, each as a shape of its own.
    virtual QList<QSharedPointer<ZShape>> getExploded() const = 0;
};

#endif
