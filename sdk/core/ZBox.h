// (c) the ztrace developers. Licence: see LICENSE.
//
// An axis-parallel box in drawing coordinates.
#ifndef ZBOX_H
#define ZBOX_H

#include "ZVector.h"
#include "zelvora_global.h"

// The smallest and the largest corner. A new box is empty and not valid until a point is added.
class ZELVORA_EXPORT ZBox
{
public:
    ZVector minimum;
    ZVector maximum;

    ZBox() { }

    // True once a point has been added.
    bool isValid() const { return minimum.valid; }

    // Extents along the axes; 0 for an empty box.
    double getWidth() const { return maximum.x - minimum.x; }
    double getHeight() const { return maximum.y - minimum.y; }

    // Grows the box so that it holds `point`. A point that is not valid is left out, and so is a
    // coordinate that is not a number.
    void growToInclude(const ZVector &point);

    // Grows the box so that it holds `other`; an empty one changes nothing.
    void growToInclude(const ZBox &other);
};

#endif
