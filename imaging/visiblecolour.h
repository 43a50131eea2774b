// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours as they are seen on white paper, where soft edges are straight lines.
#ifndef ZTRACE_IMAGING_VISIBLECOLOUR_H
#define ZTRACE_IMAGING_VISIBLECOLOUR_H

#include <QRgb>

#include <algorithm>
#include <array>
#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ztrace {

// Red, green and blue on white paper, 0 to 255, and alpha, 0 to 178.5.
typedef std::array<double, 4> VisibleColour;

inline VisibleColour visible(QRgb word)
{
    const double kWeightOfAlpha = 0.7;
    if (qAlpha(word) == 255) // the same numbers, without arithmetic
        return { { double(qRed(word)), double(qGreen(word)), double(qBlue(word)),
                   kWeightOfAlpha * 255.0 } };
    const double alpha = qAlpha(word) / 255.0;
    const auto onWhite = [alpha](int channel) { return 255.0 - (255 - channel) * alpha; };
    return { { onWhite(qRed(word)), onWhite(qGreen(word)), onWhite(qBlue(word)),
               kWeightOfAlpha * 255.0 * alpha } };
}

inline VisibleColour difference(const VisibleColour &a, const VisibleColour &b)
{
    return { { a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3] } };
}

inline double product(const VisibleColour &a, const VisibleColour &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

inline double square(const VisibleColour &a)
{
    return product(a, a);
}

inline double length(const VisibleColour &a)
{
    return std::sqrt(product(a, a));
}

// The same of colours that are all opaque, which differ in red, green and blue alone: whole
// numbers, whose products and sums are exact, and equal to those above. Alpha goes along and takes
// no part.
#ifdef __SSE2__
struct OpaqueColour
{
    __m128i channels; // in the lower four of eight numbers of 16 bits
};

inline OpaqueColour opaque(QRgb word)
{
    return { _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(word)), _mm_setzero_si128()) };
}

inline OpaqueColour difference(const OpaqueColour &a, const OpaqueColour &b)
{
    return { _mm_sub_epi16(a.channels, b.channels) };
}

// Of differences.
inline int product(const OpaqueColour &a, const OpaqueColour &b)
{
    const __m128i pairs = _mm_madd_epi16(a.channels, b.channels);
    return _mm_cvtsi128_si32(pairs) + _mm_cvtsi128_si32(_mm_srli_si128(pairs, 4));
}

inline int square(const OpaqueColour &a)
{
    return product(a, a);
}

inline double length(const OpaqueColour &a)
{
    return std::sqrt(product(a, a));
}
#else
typedef VisibleColour OpaqueColour;

inline OpaqueColour opaque(QRgb word)
{
    return visible(word);
}
#endif

// What a sum over the colours of an image takes: opaque colours as long as it meets no other one,
// and begins again with visible ones then.
struct VisibleKind
{
    typedef VisibleColour Colour;
    static Colour of(QRgb word) { return visible(word); }
    static bool holds(QRgb) { return true; }
};

struct OpaqueKind
{
    typedef OpaqueColour Colour;
    static Colour of(QRgb word) { return opaque(word); }
    static bool holds(QRgb word) { return qAlpha(word) == 255; }
};

// Comparisons of lengths, and of a cosine, decide as the roots themselves would: a root is rounded
// by less than kMargin of it, so that squares that are farther apart decide alone, and the roots
// are drawn for the others.
const double kMargin = 1e-9;

// Whether the root of one is above the other number.
inline bool isRootAbove(double square, double limit)
{
    const double least = limit * limit;
    return square > least * (1.0 + kMargin)
        || (square > least * (1.0 - kMargin) && std::sqrt(square) > limit);
}

// Whether the root of one is above the root of the other.
inline bool isRootAboveRoot(double square, double other)
{
    return square > other * (1.0 + kMargin)
        || (square > other && std::sqrt(square) > std::sqrt(other));
}

// Whole numbers below 2^18, whose roots differ by far more than they are rounded by.
inline bool isRootAboveRoot(int square, int other)
{
    return square > other;
}

// Whether the cosine of the angle between two differences is above `cosine`, which is positive.
template<typename Colour>
bool isAligned(const Colour &a, const Colour &b, double cosine)
{
    const auto product = ztrace::product(a, b);
    if (product <= 0)
        return false;
    const double along = product;
    const double squares = cosine * cosine * square(a) * square(b);
    if (along * along > squares * (1.0 + kMargin))
        return true;
    return along * along > squares * (1.0 - kMargin) && along > cosine * length(a) * length(b);
}

// How far a colour is from the mixtures of two others, squared.
inline double squareToMixture(const VisibleColour &colour, const VisibleColour &a,
                              const VisibleColour &b)
{
    const VisibleColour along = difference(b, a);
    const VisibleColour from = difference(colour, a);
    const double whole = square(along);
    const double t = whole > 0.0 ? std::max(0.0, std::min(1.0, product(from, along) / whole)) : 0.0;
    VisibleColour away = from;
    for (std::size_t i = 0; i < 4; ++i)
        away[i] -= t * along[i];
    return square(away);
}

} // namespace ztrace

#endif
