// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZEXPLODABLE_H
#define ZEXPLODABLE_H

class ZExplodable
{
public:
    virtual ~ZExplodable() { }
};

#endif
