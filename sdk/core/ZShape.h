// (c) the ztrace developers. Licence: see LICENSE.
//
// What every geometric shape of the host answers.
#ifndef ZSHAPE_H
#define ZSHAPE_H

#include "ZBox.h"
#include "ZVector.h"
#include "zelvora_global.h"

// Base of the shapes. Shapes are values; this interface is what code uses that takes any of them.
class ZELVORA_EXPORT ZShape
{
public:
    ZShape() { }
    ZShape(const ZShape &) { }
    ZShape &operator=(const ZShape &) { return *this; }
    virtual ~ZShape();

    // First and last point; not valid for an empty shape.
    virtual ZVector getStartPoint() const = 0;
    virtual ZVector getEndPoint() const = 0;

    // The smallest box that holds the shape; empty for an empty shape.
    virtual ZBox getBoundingBox() const = 0;

    // Length along the shape in drawing units.
    virtual double getLength() const = 0;
};

#endif
