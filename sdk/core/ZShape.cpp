// (c) the ztrace developers. Licence: see LICENSE.
#include "ZShape.h"

// Out of line, so that the class's type information lives in this library alone.
ZShape::~ZShape() { }
