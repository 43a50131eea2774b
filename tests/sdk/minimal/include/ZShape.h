// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZSHAPE_H
#define ZSHAPE_H

#include "ZVector.h"

class ZShape
{
public:
    virtual ~ZShape() { }
};

#endif
