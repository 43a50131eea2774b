// (c) the ztrace developers. Licence: see LICENSE.
//
// Colours as they are seen on white paper, where soft edges are straight lines.
#ifndef ZTRACE_IMAGING_VISIBLECOLOUR_H
#define ZTRACE_IMAGING_VISIBLECOLOUR_H

#include <QRgb>

#include <algorithm>
#include <array>
#include <cmath>

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

// Whether the cosine of the angle between two differences is above `cosine`, which is positive.
inline bool isAligned(const VisibleColour &a, const VisibleColour &b, double cosine)
{
    const double along = product(a, b);
    if (along <= 0.0)
        return false;
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
