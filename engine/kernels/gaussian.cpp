// (c) the ztrace developers. Licence: see LICENSE.
#include "gaussian.h"

namespace ztrace {

namespace {

const double kRadius1[3] = { 0.27901, 0.44198, 0.27901 };
const double kRadius2[5] = { 0.135336, 0.228569, 0.272192, 0.228569, 0.135336 };
const double kRadius3[7] = { 0.086776, 0.136394, 0.178908, 0.195843, 0.178908, 0.136394, 0.086776 };
const double kRadius4[9]
    = { 0.063327, 0.093095, 0.122589, 0.144599, 0.152781, 0.144599, 0.122589, 0.093095, 0.063327 };
const double kRadius5[11] = { 0.049692, 0.069304, 0.089767, 0.107988, 0.120651, 0.125194,
                              0.120651, 0.107988, 0.089767, 0.069304, 0.049692 };

} // namespace

const double *gaussianKernel(int radius)
{
    static const double *const kernels[kLargestBlurRadius]
        = { kRadius1, kRadius2, kRadius3, kRadius4, kRadius5 };
    return kernels[radius - 1];
}

} // namespace ztrace
