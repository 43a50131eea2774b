// (c) the ztrace developers. Licence: see LICENSE.
#include "interpolation.h"

#include "colour.h"

#include <algorithm>

namespace ztrace {

namespace {

const std::size_t kRed = 0;
const std::size_t kGreen = 1;
const std::size_t kBlue = 2;
const std::size_t kAlpha = 3;

int inRange(double value)
{
    return static_cast<int>(std::max(0.0, std::min(255.0, value)) + 0.5);
}

// red, green and blue are weighted with alpha already.
QRgb unweighted(double red, double green, double blue, double alpha)
{
    if (inRange(alpha) == 0)
        return 0u;
    return qRgba(inRange(red / alpha), inRange(green / alpha), inRange(blue / alpha),
                 inRange(alpha));
}

} // namespace

// The sums of a factor that is a power of two, first along the rows, then down the columns, for all
// parts of a pixel together.
//
// Same colours as inOrder, because nothing is rounded there either: the places of such parts are
// multiples of 1/16 at most, the weights multiples of 2^-13, their products of 2^-26, and with
// two bytes and a sum of 16 that needs 45 of the 53 bits of a double.
struct SubpixelColours::Separable
{
    // Red, green and blue weighted with alpha, and alpha.
    typedef std::array<double, 4> Channels;

    std::array<std::array<Channels, kWindow>, kWindow> window;

    explicit Separable(const Window &words)
    {
        for (std::size_t v = 0; v < kWindow; ++v) {
            for (std::size_t u = 0; u < kWindow; ++u) {
                const QRgb word = words[v][u];
                const int alpha = qAlpha(word);
                window[v][u] = { { double(qRed(word) * alpha), double(qGreen(word) * alpha),
                                   double(qBlue(word) * alpha), double(alpha) } };
            }
        }
    }

    static Channels sum(const Channels *from, const std::array<double, kTaps> &weights)
    {
        Channels total;
        for (std::size_t c = 0; c < 4; ++c) {
            total[c] = weights[0] * from[0][c] + weights[1] * from[1][c] + weights[2] * from[2][c]
                + weights[3] * from[3][c];
        }
        return total;
    }

    void run(const std::vector<Part> &parts, QRgb *target) const
    {
        for (std::size_t i = 0; i < parts.size(); ++i) {
            std::array<Channels, kWindow> column;
            for (std::size_t v = 0; v < kWindow; ++v)
                column[v] = sum(&window[v][parts[i].first], parts[i].weights);
            for (std::size_t j = 0; j < parts.size(); ++j) {
                const Channels c = sum(&column[parts[j].first], parts[j].weights);
                target[j * parts.size() + i] = unweighted(c[kRed], c[kGreen], c[kBlue], c[kAlpha]);
            }
        }
    }
};

// The same for windows of opaque pixels and a factor of 2 at most: there the sums would be
// multiplied and divided by an alpha of 255, exactly, which is left out, and with weights that are
// multiples of 2^-7 the sums of single bytes need 23 of the 24 bits of a float.
#ifdef __SSE2__
struct SubpixelColours::OpaqueHalves
{
    __m128 window[kWindow][kWindow]; // a word's bytes, in the order in which it holds them

    explicit OpaqueHalves(const Window &words)
    {
        const __m128i none = _mm_setzero_si128();
        const auto channels
            = [none](__m128i halves) { return _mm_cvtepi32_ps(_mm_unpacklo_epi16(halves, none)); };
        for (std::size_t v = 0; v < kWindow; ++v) {
            const __m128i four
                = _mm_loadu_si128(reinterpret_cast<const __m128i *>(words[v].data()));
            const __m128i low = _mm_unpacklo_epi8(four, none);
            const __m128i high = _mm_unpackhi_epi8(four, none);
            const __m128i fifth = _mm_cvtsi32_si128(static_cast<int>(words[v][4]));
            window[v][0] = channels(low);
            window[v][1] = _mm_cvtepi32_ps(_mm_unpackhi_epi16(low, none));
            window[v][2] = channels(high);
            window[v][3] = _mm_cvtepi32_ps(_mm_unpackhi_epi16(high, none));
            window[v][4] = channels(_mm_unpacklo_epi8(fifth, none));
        }
    }

    static __m128 sum(const __m128 *from, const Part &part)
    {
        const auto tap
            = [&](std::size_t i) { return _mm_mul_ps(_mm_loadu_ps(part.wide[i].data()), from[i]); };
        return _mm_add_ps(_mm_add_ps(tap(0), tap(1)), _mm_add_ps(tap(2), tap(3)));
    }

    static QRgb inRange(__m128 channels)
    {
        // Rounded as the plain form does; packing cuts off what is out of range.
        const __m128 rounded
            = _mm_add_ps(_mm_max_ps(channels, _mm_setzero_ps()), _mm_set1_ps(0.5f));
        const __m128i words = _mm_cvttps_epi32(rounded);
        const __m128i halves = _mm_packs_epi32(words, words);
        return static_cast<QRgb>(_mm_cvtsi128_si32(_mm_packus_epi16(halves, halves)));
    }

    void run(const std::vector<Part> &parts, QRgb *target) const
    {
        for (std::size_t i = 0; i < parts.size(); ++i) {
            __m128 column[kWindow];
            for (std::size_t v = 0; v < kWindow; ++v)
                column[v] = sum(&window[v][parts[i].first], parts[i]);
            for (std::size_t j = 0; j < parts.size(); ++j)
                target[j * parts.size() + i] = inRange(sum(&column[parts[j].first], parts[j]));
        }
    }
};
#endif

SubpixelColours::SubpixelColours(const QImage &image, int partsOfSide)
    : first(row(image, 0)), stride(image.bytesPerLine() / static_cast<int>(sizeof(QRgb))),
      width(image.width()), height(image.height()), factor(static_cast<std::size_t>(partsOfSide)),
      exact((partsOfSide & (partsOfSide - 1)) == 0), colours(factor * factor)
{
    for (int i = 0; i < partsOfSide; ++i) {
        const double offset = (2.0 * i + 1.0 - partsOfSide) / (2.0 * partsOfSide);
        const double t = offset < 0.0 ? offset + 1.0 : offset; // from the second pixel
        Part part;
        part.first = offset < 0.0 ? 0 : 1;
        part.weights = { { ((-t + 2.0) * t - 1.0) * t / 2.0, ((3.0 * t - 5.0) * t * t + 2.0) / 2.0,
                           ((-3.0 * t + 4.0) * t + 1.0) * t / 2.0, (t - 1.0) * t * t / 2.0 } };
        for (std::size_t tap = 0; tap < kTaps; ++tap)
            part.wide[tap].fill(static_cast<float>(part.weights[tap]));
        parts.push_back(part);
    }
}

SubpixelColours::Window SubpixelColours::windowAt(int x, int y) const
{
    const int kHalf = kWindow / 2;
    const bool within = x >= kHalf && x + kHalf < width;
    Window window;
    for (int v = 0; v < kWindow; ++v) {
        const QRgb *words = first + std::max(0, std::min(height - 1, y + v - kHalf)) * stride;
        std::array<QRgb, kWindow> &line = window[static_cast<std::size_t>(v)];
        if (within) {
            std::copy_n(words + x - kHalf, kWindow, line.begin());
            continue;
        }
        for (int u = 0; u < kWindow; ++u)
            line[static_cast<std::size_t>(u)]
                = words[std::max(0, std::min(width - 1, x + u - kHalf))];
    }
    return window;
}

// The rule as it stands: one sum over the sixteen pixels, row by row.
QRgb SubpixelColours::inOrder(const Window &window, const Part &across, const Part &down) const
{
    double alpha = 0.0;
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    for (std::size_t j = 0; j < kTaps; ++j) {
        for (std::size_t i = 0; i < kTaps; ++i) {
            const QRgb word = window[down.first + j][across.first + i];
            const double weight = down.weights[j] * across.weights[i] * qAlpha(word);
            alpha += weight;
            red += weight * qRed(word);
            green += weight * qGreen(word);
            blue += weight * qBlue(word);
        }
    }
    return unweighted(red, green, blue, alpha);
}

const QRgb *SubpixelColours::at(int x, int y)
{
    const Window window = windowAt(x, y);
    if (!exact) {
        for (std::size_t j = 0; j < factor; ++j) {
            for (std::size_t i = 0; i < factor; ++i)
                colours[j * factor + i] = inOrder(window, parts[i], parts[j]);
        }
        return colours.data();
    }
#ifdef __SSE2__
    QRgb common = 0xFFFFFFFFu;
    for (const auto &line : window) {
        for (QRgb word : line)
            common &= word;
    }
    if (factor <= 2 && qAlpha(common) == 255) {
        OpaqueHalves(window).run(parts, colours.data());
        return colours.data();
    }
#endif
    Separable(window).run(parts, colours.data());
    return colours.data();
}

} // namespace ztrace
