// (c) the ztrace developers. Licence: see LICENSE.
#include "interpolation.h"

#include "colour.h"

#include <algorithm>
#include <cmath>

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

// The same for a factor of 2 at most, down the columns first, which neighbouring pixels share.
//
// Where all pixels of a window are opaque the sums would be multiplied and divided by an alpha of
// 255, exactly, which is left out, and whole numbers do: the weights are multiples of 1/128. Bytes
// are counted from the middle, so that sums down a column, of weights that come to 152 parts at
// most without their signs, stay in 16 bits.
#ifdef __SSE2__
struct SubpixelColours::Halves
{
    SubpixelColours &of;

    static __m128i load(const std::array<int16_t, 8> &from)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from.data()));
    }

    static __m128i fromMiddle(QRgb word)
    {
        const __m128i bytes = _mm_cvtsi32_si128(static_cast<int>(word));
        return _mm_sub_epi16(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()),
                             _mm_set1_epi16(kMiddle));
    }

    // Red, green and blue times alpha, and alpha.
    static __m128 weightedOf(QRgb word)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i bytes = _mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(word)), zero);
        const __m128i channels = _mm_shufflelo_epi16(bytes, _MM_SHUFFLE(3, 0, 1, 2));
        const __m128i alphas
            = _mm_insert_epi16(_mm_shufflelo_epi16(bytes, _MM_SHUFFLE(3, 3, 3, 3)), 1, 3);
        return _mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_mullo_epi16(channels, alphas), zero));
    }

    void sumPlain(const std::array<QRgb, kWindow> &words, Column *column) const
    {
        __m128i values[kWindow];
        for (std::size_t v = 0; v < kWindow; ++v)
            values[v] = fromMiddle(words[v]);
        const auto sum = [&values](const Part &part) {
            const __m128i *from = values + part.first;
            return _mm_add_epi32(
                _mm_madd_epi16(_mm_unpacklo_epi16(from[0], from[1]), load(part.pairs[0])),
                _mm_madd_epi16(_mm_unpacklo_epi16(from[2], from[3]), load(part.pairs[1])));
        };
        _mm_storeu_si128(reinterpret_cast<__m128i *>(column->plain.data()),
                         _mm_packs_epi32(sum(of.parts.front()), sum(of.parts.back())));
    }

    // Floats hold these sums: the weights of a column come to 152 parts of 128 at most.
    void sumWeighted(const std::array<QRgb, kWindow> &words, Column *column) const
    {
        static_assert(152 * 255 * 255 < 1 << 24, "floats have 24 bits");
        __m128 values[kWindow];
        for (std::size_t v = 0; v < kWindow; ++v)
            values[v] = weightedOf(words[v]);
        for (std::size_t j = 0; j < of.parts.size(); ++j) {
            const Part &part = of.parts[j];
            __m128 sum = _mm_setzero_ps();
            for (std::size_t i = 0; i < kTaps; ++i)
                sum = _mm_add_ps(
                    sum, _mm_mul_ps(_mm_set1_ps(float(part.weights[i])), values[part.first + i]));
            _mm_storeu_pd(column->weighted[j].data(), _mm_cvtps_pd(sum));
            _mm_storeu_pd(column->weighted[j].data() + 2, _mm_cvtps_pd(_mm_movehl_ps(sum, sum)));
        }
    }

    std::array<QRgb, kWindow> wordsOf(int x) const
    {
        std::array<QRgb, kWindow> words;
        for (std::size_t v = 0; v < kWindow; ++v)
            words[v] = of.lines[v][x];
        return words;
    }

    static uint64_t placeOf(int x, int y)
    {
        return static_cast<uint64_t>(y) << 32 | static_cast<uint32_t>(x);
    }

    static std::size_t slotOf(int x) { return static_cast<std::size_t>(x) % kColumns; }

    Column *columnAt(int x, int y) const
    {
        x = std::max(0, std::min(of.width - 1, x));
        Column *column = &of.columns[slotOf(x)];
        const uint64_t place = placeOf(x, y);
        if (column->place == place)
            return column;
        column->place = place;
        column->isWeighted = false;
        const std::array<QRgb, kWindow> words = wordsOf(x);
        column->isOpaque = qAlpha(words[0] & words[1] & words[2] & words[3] & words[4]) == 255;
        if (column->isOpaque)
            sumPlain(words, column);
        return column;
    }

    void weigh(Column *column) const
    {
        if (column->isWeighted)
            return;
        sumWeighted(wordsOf(static_cast<int>(column->place & 0xFFFFFFFFu)), column);
        column->isWeighted = true;
    }

    // Rounded as the plain form does; packing cuts off what is out of range.
    static __m128i rounded(__m128i sums)
    {
        const int kBits = 14; // of kWhole, squared
        static_assert(kWhole * kWhole == 1 << kBits, "sums are shifted");
        return _mm_srai_epi32(
            _mm_add_epi32(sums, _mm_set1_epi32((kMiddle << kBits) + (1 << (kBits - 1)))), kBits);
    }

    // Two rows of parts, or one part, which is the first then.
    void plainParts(const Column *const *window) const
    {
        __m128i above[2];
        __m128i below[2];
        const Part *parts[2] = { &of.parts.front(), &of.parts.back() };
        for (int k = 0; k < 2; ++k) {
            const Column *const *from = window + parts[k]->first;
            const __m128i one = load(from[0]->plain);
            const __m128i two = load(from[1]->plain);
            const __m128i three = load(from[2]->plain);
            const __m128i four = load(from[3]->plain);
            const __m128i first = load(parts[k]->pairs[0]);
            const __m128i last = load(parts[k]->pairs[1]);
            above[k]
                = rounded(_mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(one, two), first),
                                        _mm_madd_epi16(_mm_unpacklo_epi16(three, four), last)));
            below[k]
                = rounded(_mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(one, two), first),
                                        _mm_madd_epi16(_mm_unpackhi_epi16(three, four), last)));
        }
        std::array<QRgb, 4> four;
        _mm_storeu_si128(reinterpret_cast<__m128i *>(four.data()),
                         _mm_packus_epi16(_mm_packs_epi32(above[0], above[1]),
                                          _mm_packs_epi32(below[0], below[1])));
        std::copy_n(four.begin(), of.colours.size(), of.colours.begin());
    }

    static QRgb weighted(const Column *const *window, const Part &across, std::size_t down)
    {
        __m128d first = _mm_setzero_pd();
        __m128d second = _mm_setzero_pd();
        for (std::size_t i = 0; i < kTaps; ++i) {
            const double *from = window[across.first + i]->weighted[down].data();
            const __m128d weight = _mm_set1_pd(across.weights[i]);
            first = _mm_add_pd(first, _mm_mul_pd(weight, _mm_loadu_pd(from)));
            second = _mm_add_pd(second, _mm_mul_pd(weight, _mm_loadu_pd(from + 2)));
        }
        return unweightedOf(first, second);
    }

    // As `unweighted` does it, red and green side by side, and blue and alpha.
    static QRgb unweightedOf(__m128d redAndGreen, __m128d blueAndAlpha)
    {
        const __m128d alpha = _mm_unpackhi_pd(blueAndAlpha, blueAndAlpha);
        if (inRange(_mm_cvtsd_f64(alpha)) == 0)
            return 0u;
        const auto bytes = [](__m128d two) {
            const __m128d within
                = _mm_max_pd(_mm_setzero_pd(), _mm_min_pd(_mm_set1_pd(255.0), two));
            return _mm_cvttpd_epi32(_mm_add_pd(within, _mm_set1_pd(0.5)));
        };
        const __m128i first = bytes(_mm_div_pd(redAndGreen, alpha));
        const __m128i second
            = bytes(_mm_div_pd(blueAndAlpha, _mm_move_sd(_mm_set1_pd(1.0), alpha)));
        const auto upper = [](__m128i two) { return _mm_cvtsi128_si32(_mm_srli_si128(two, 4)); };
        return qRgba(_mm_cvtsi128_si32(first), upper(first), _mm_cvtsi128_si32(second),
                     upper(second));
    }

    void run(int x, int y) const
    {
        if (y != of.lineOfLast) {
            of.lineOfLast = y;
            for (int v = 0; v < kWindow; ++v)
                of.lines[static_cast<std::size_t>(v)]
                    = of.first + std::max(0, std::min(of.height - 1, y + v - kHalf)) * of.stride;
        }
        Column *window[kWindow];
        // Of the pixel that follows the last one all columns but one are those that it had.
        const bool follows = of.placeOfLast + 1 == placeOf(x, y);
        const int known = follows && x >= kHalf && x + kHalf < of.width ? kWindow - 1 : 0;
        for (int u = 0; u < known; ++u)
            window[u] = &of.columns[slotOf(x + u - kHalf)];
        for (int u = known; u < kWindow; ++u)
            window[u] = columnAt(x + u - kHalf, y);
        of.placeOfLast = placeOf(x, y);
        bool isOpaque = true;
        for (const Column *column : window)
            isOpaque &= column->isOpaque;
        if (isOpaque) {
            plainParts(window);
            return;
        }
        for (Column *column : window)
            weigh(column);
        QRgb *target = of.colours.data();
        for (std::size_t j = 0; j < of.parts.size(); ++j) {
            for (const Part &across : of.parts)
                *target++ = weighted(window, across, j);
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
        for (std::size_t lane = 0; lane < 8; ++lane) {
            for (std::size_t pair = 0; pair < part.pairs.size(); ++pair)
                part.pairs[pair][lane]
                    = static_cast<int16_t>(std::lround(kWhole * part.weights[2 * pair + lane % 2]));
        }
        parts.push_back(part);
    }
}

SubpixelColours::Window SubpixelColours::windowAt(int x, int y) const
{
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
#ifdef __SSE2__
    if (exact && factor <= kMostKept) {
        Halves { *this }.run(x, y);
        return colours.data();
    }
#endif
    const Window window = windowAt(x, y);
    if (exact) {
        Separable(window).run(parts, colours.data());
        return colours.data();
    }
    for (std::size_t j = 0; j < factor; ++j) {
        for (std::size_t i = 0; i < factor; ++i)
            colours[j * factor + i] = inOrder(window, parts[i], parts[j]);
    }
    return colours.data();
}

} // namespace ztrace
