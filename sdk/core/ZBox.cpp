// (c) the ztrace developers. Licence: see LICENSE.
#include "ZBox.h"

namespace {

// Comparisons written so that a value that is not a number never replaces a limit.
void extend(double value, double *low, double *high)
{
    if (value < *low)
        *low = value;
    if (value > *high)
        *high = value;
}

} // namespace

void ZBox::growToInclude(const ZVector &point)
{
    if (!point.valid)
        return;
    if (!isValid()) {
        if (std::isnan(point.x) || std::isnan(point.y) || std::isnan(point.z))
            return;
        minimum = maximum = ZVector(point.x, point.y, point.z, true);
        return;
    }
    extend(point.x, &minimum.x, &maximum.x);
    extend(point.y, &minimum.y, &maximum.y);
    extend(point.z, &minimum.z, &maximum.z);
}

void ZBox::growToInclude(const ZBox &other)
{
    if (!other.isValid())
        return;
    growToInclude(other.minimum);
    growToInclude(other.maximum);
}
