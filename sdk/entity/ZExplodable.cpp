// (c) the ztrace developers. Licence: see LICENSE.
#include "ZExplodable.h"

ZExplodable::~ZExplodable() { }
