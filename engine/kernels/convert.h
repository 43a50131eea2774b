// (c) the ztrace developers. Licence: see LICENSE.
//
// Conversions between number types, one helper a rule. None has undefined behaviour.
#ifndef ZTRACE_KERNELS_CONVERT_H
#define ZTRACE_KERNELS_CONVERT_H

#include <climits>
#include <cmath>

namespace ztrace {

static_assert(static_cast<char>(-1) < 0, "pixel bytes are signed: build with -fsigned-char");
static_assert(sizeof(int) == 4, "products of image sizes are 32-bit");

// Truncation toward zero. A value beyond the range goes to its nearest end, not-a-number to the
// lowest.
inline int truncateToInt(double value)
{
    if (!(value > -2147483648.0))
        return INT_MIN;
    if (value >= 2147483647.0)
        return INT_MAX;
    return static_cast<int>(value);
}

// The largest whole number not above value, with the ends of truncateToInt.
inline int floorToInt(double value)
{
    return truncateToInt(std::floor(value));
}

// The nearest single-precision number, widened again. The store is volatile because gcc 12 drops
// the rounding where two such values end up side by side in one vector register (seen with -O2 and
// -O3; tst_trace, tolerancesAreRoundedToSinglePrecision).
inline double roundedToSingle(double value)
{
    const volatile float single = static_cast<float>(value);
    return static_cast<double>(single);
}

// The low 8 bits of an integer, read as a signed byte.
inline signed char lowByte(int value)
{
    const unsigned bits = static_cast<unsigned>(value) & 0xFFu;
    return static_cast<signed char>(bits < 128u ? static_cast<int>(bits)
                                                : static_cast<int>(bits) - 256);
}

// 32-bit product that wraps around.
inline int wrappingProduct(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

} // namespace ztrace

#endif
