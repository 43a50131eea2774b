// (c) the ztrace developers. Licence: see LICENSE.
//
// The picture with its ramps flat: docs/imaging/ramps.md, "Rule", 7.
#include "ramps.h"

#include "colour.h"
#include "fourcolours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>

namespace ztrace {

namespace {

const int kSoft = 2;          // pixels beside a ramp that a soft edge over it has
const int kToInk = 3;         // pixels from one of them to what lies over the ramp
const int kPlateau = 2;       // pixels beyond that, where the colour is to be the same
const double kShading = 1.15; // times as unlike the ramp: the colour goes on changing there
const int kBeside = 3;        // pixels from a ramp whose colours its stand-in has to differ from
const int kApart = 96;        // hueDistance of a stand-in from these, where one has it
const int kSteps = 6;         // of a channel of other stand-ins
const double kLeastShare = 0.002; // of the pixels beside a ramp: fewer of a colour are soft edges
const int kRowsElsewhere = 400;   // that colours are looked for in, of large pictures every few
const double kOffLine = 0.2;  // part of the way from ramp to ink that a mixture may be beside it
const double kOffNoise = 8.0; // of a channel; the same

class Flattening
{
public:
    Flattening(SoftPixels s, Ramps *r, QImage *i)
        : soft(s), ramps(*r), image(*i), width(i->width()), height(i->height()),
          before(r->ofPixel.data()), words(row(*i, 0)),
          wordsOfRow(std::size_t(i->bytesPerLine()) / sizeof(QRgb))
    { }

    // All soft pixels are found before the first is written.
    void run()
    {
        findBorders();
        chooseStandIns();
        for (uint32_t place : borders) {
            const int x = int(place % uint32_t(width));
            const int y = int(place / uint32_t(width));
            if (at(x, y) == 0 && qAlpha(wordAt(x, y)) == 255)
                soften(x, y);
        }
        writeStandIns();
        for (const Change &change : changes) {
            const std::size_t place
                = std::size_t(change.y) * std::size_t(width) + std::size_t(change.x);
            reinterpret_cast<QRgb *>(image.scanLine(change.y))[change.x] = change.word;
            ramps.mixtures.push_back({ uint32_t(place), change.before });
            ramps.ofPixel[place] = change.number;
        }
    }

private:
    struct Change
    {
        int x;
        int y;
        QRgb before;
        QRgb word;
        uint16_t number; // of the ramp that it is of now
    };

    uint16_t at(int x, int y) const
    {
        return before[std::size_t(y) * std::size_t(width) + std::size_t(x)];
    }

    QRgb wordAt(int x, int y) const { return words[std::size_t(y) * wordsOfRow + std::size_t(x)]; }

    // Pixels with another number in the square of kBeside around them: the bits that one of the
    // square has, and those that all have, first down the columns and then across.
    void findBorders()
    {
        std::vector<uint16_t> any;
        std::vector<uint16_t> all;
        std::vector<uint16_t> differs;
        for (int y = 0; y < height; ++y) {
            ramps.cells.forEachStretch(y, [&](int first, int end) {
                sumUpColumns(y, first, end, &any, &all);
                const std::size_t count = std::size_t(end - first);
                differs.resize(count);
                for (std::size_t k = 0; k < count; ++k) {
                    uint16_t one = 0;
                    uint16_t every = 0xFFFFu;
                    for (std::size_t i = 0; i <= std::size_t(2 * kBeside); ++i) {
                        one = uint16_t(one | any[k + i]);
                        every = uint16_t(every & all[k + i]);
                    }
                    differs[k] = one ^ every;
                }
                const uint32_t place = uint32_t(y) * uint32_t(width) + uint32_t(first);
                for (std::size_t k = 0; k < count; ++k) {
                    if (differs[k] != 0)
                        borders.push_back(place + uint32_t(k));
                }
            });
        }
    }

    // Of columns from kBeside before the first on; beyond the picture there is nothing.
    void sumUpColumns(int y, int first, int end, std::vector<uint16_t> *any,
                      std::vector<uint16_t> *all) const
    {
        any->assign(std::size_t(end - first + 2 * kBeside), 0);
        all->assign(any->size(), 0xFFFFu);
        const int left = std::max(0, first - kBeside);
        const std::size_t count = std::size_t(std::min(width, end + kBeside) - left);
        uint16_t *one = any->data() + (left - first + kBeside);
        uint16_t *every = all->data() + (left - first + kBeside);
        for (int j = std::max(0, y - kBeside); j <= std::min(height - 1, y + kBeside); ++j) {
            const uint16_t *numbers
                = before + std::size_t(j) * std::size_t(width) + std::size_t(left);
            for (std::size_t k = 0; k < count; ++k) {
                one[k] = uint16_t(one[k] | numbers[k]);
                every[k] = uint16_t(every[k] & numbers[k]);
            }
        }
    }

    void writeStandIns()
    {
        for (int y = 0; y < height; ++y) {
            const uint16_t *numbers = before + std::size_t(y) * std::size_t(width);
            QRgb *line = nullptr;
            for (int x = 0; x < width;) {
                const int begin = x;
                x = endOfRun(numbers, begin, width);
                if (numbers[begin] == 0)
                    continue;
                if (!line)
                    line = reinterpret_cast<QRgb *>(image.scanLine(y));
                std::fill(line + begin, line + x, ramps.areas[numbers[begin] - 1u].standIn);
            }
        }
    }

    // Of the pixels within kSoft of one, the first of the nearest that are of a ramp; 0 where none
    // is.
    uint16_t nearestRamp(int x, int y) const
    {
        struct Step
        {
            int8_t x;
            int8_t y;
        };
        static_assert(kSoft == 2, "the pixels within 2, from the nearest, and from the top");
        static const Step kNearest[]
            = { { 0, -1 },  { -1, 0 }, { 1, 0 },   { 0, 1 },  { -1, -1 }, { 1, -1 },
                { -1, 1 },  { 1, 1 },  { 0, -2 },  { -2, 0 }, { 2, 0 },   { 0, 2 },
                { -1, -2 }, { 1, -2 }, { -2, -1 }, { 2, -1 }, { -2, 1 },  { 2, 1 },
                { -1, 2 },  { 1, 2 },  { -2, -2 }, { 2, -2 }, { -2, 2 },  { 2, 2 } };
        const bool amid = isAmid(x, y, kSoft);
        for (const Step &step : kNearest) {
            const int i = x + step.x;
            const int j = y + step.y;
            if (!amid && (i < 0 || j < 0 || i >= width || j >= height))
                continue;
            if (at(i, j) != 0)
                return at(i, j);
        }
        return 0;
    }

    // Colours beside each ramp, in cubes of 16, with how often they are there.
    struct Beside
    {
        std::vector<std::size_t> counts = std::vector<std::size_t>(4096, 0);
        std::vector<uint16_t> ramps; // other ones
        std::size_t pixels = 0;
    };

    std::vector<Beside> findBeside() const
    {
        std::vector<Beside> beside(ramps.areas.size());
        for (uint32_t place : borders)
            lookBeside(int(place % uint32_t(width)), int(place / uint32_t(width)), &beside);
        return beside;
    }

    // Whether all that is within so many pixels is of the picture.
    bool isAmid(int x, int y, int reach) const
    {
        return x >= reach && y >= reach && x + reach < width && y + reach < height;
    }

    void lookBeside(int x, int y, std::vector<Beside> *beside) const
    {
        const uint16_t own = at(x, y);
        if (isAmid(x, y, kBeside) && isAlone(x, y, own))
            return;
        uint16_t last = 0;
        for (int k = 0; k < 4 * kBeside; ++k) {
            const int across = (k & 1) * 2 - 1;
            const int stepX = k & 2 ? across : 0;
            const int stepY = k & 2 ? 0 : across;
            const int i = x + stepX * (kBeside - k / 4);
            const int j = y + stepY * (kBeside - k / 4);
            if (i < 0 || j < 0 || i >= width || j >= height)
                continue;
            const uint16_t other = at(i, j);
            if (other == 0 || other == own || other == last)
                continue;
            last = other;
            Beside &around = (*beside)[other - 1u];
            if (own != 0) {
                if (std::find(around.ramps.begin(), around.ramps.end(), own) == around.ramps.end())
                    around.ramps.push_back(own);
                continue;
            }
            const QRgb word = wordAt(x, y);
            if (isShaded(word, wordAt(i, j), x - stepX * kPlateau, y - stepY * kPlateau))
                continue;
            ++around.counts[cubeOf(word)];
            ++around.pixels;
        }
    }

    // Whether there is no other ramp beside a pixel, in its row or its column.
    bool isAlone(int x, int y, uint16_t own) const
    {
        const uint16_t *here = before + std::size_t(y) * std::size_t(width) + std::size_t(x);
        bool isOther = false;
        for (int k = 1; k <= kBeside; ++k) {
            const std::ptrdiff_t rows = std::ptrdiff_t(k) * width;
            for (const uint16_t other : { here[-k], here[k], here[-rows], here[rows] })
                isOther |= (other != 0) & (other != own);
        }
        return !isOther;
    }

    static std::size_t cubeOf(QRgb word)
    {
        return std::size_t((qRed(word) >> 4 << 8) | (qGreen(word) >> 4 << 4) | qBlue(word) >> 4);
    }
    static QRgb middleOf(std::size_t cube)
    {
        return qRgb(int(cube >> 8) * 16 + 8, int(cube >> 4 & 15) * 16 + 8, int(cube & 15) * 16 + 8);
    }

    // Whether the colour goes on changing away from the ramp's, to a pixel further away. The core
    // of an outline does not.
    bool isShaded(QRgb word, QRgb ofRamp, int x, int y) const
    {
        if (x < 0 || y < 0 || x >= width || y >= height)
            return false;
        const QRgb further = wordAt(x, y);
        return hueDistance(word, further) > kClearly
            && hueDistance(further, ofRamp) > hueDistance(word, ofRamp);
    }

    // Colours of what is in no ramp, anywhere: what has one of them is not to be taken for a ramp.
    std::vector<QRgb> coloursElsewhere() const
    {
        std::vector<std::size_t> counts(4096, 0);
        std::size_t pixels = 0;
        for (int y = 0; y < height; y += 1 + height / kRowsElsewhere) {
            const uint16_t *numbers = before + std::size_t(y) * std::size_t(width);
            const QRgb *line = words + std::size_t(y) * wordsOfRow;
            int end = 0;
            for (int first = 0; first < width; first = end) {
                end = endOfRun(numbers, first, width);
                if (numbers[first] != 0)
                    continue;
                for (int x = first; x < end;) {
                    const int begin = x;
                    x = endOfRun(line, begin, end);
                    if (qAlpha(line[begin]) != 255)
                        continue;
                    counts[cubeOf(line[begin])] += std::size_t(x - begin);
                    pixels += std::size_t(x - begin);
                }
            }
        }
        std::vector<QRgb> colours;
        for (std::size_t cube = 0; cube < counts.size(); ++cube) {
            if (double(counts[cube]) > kLeastShare * double(pixels))
                colours.push_back(middleOf(cube));
        }
        return colours;
    }

    // The mean, where nothing beside the ramp is like it; else the colour that is farthest from all
    // beside it and in the picture.
    void chooseStandIns()
    {
        const std::vector<Beside> beside = findBeside();
        std::optional<std::vector<QRgb>> elsewhere; // a look at all pixels: only where it is needed
        for (std::size_t k = 0; k < ramps.areas.size(); ++k) {
            std::vector<QRgb> taken;
            for (std::size_t cube = 0; cube < beside[k].counts.size(); ++cube) {
                if (double(beside[k].counts[cube]) > kLeastShare * double(beside[k].pixels))
                    taken.push_back(middleOf(cube));
            }
            for (uint16_t other : beside[k].ramps) {
                if (other <= k)
                    taken.push_back(ramps.areas[other - 1u].standIn);
            }
            ramps.areas[k].standIn = ramps.areas[k].mean;
            const int apart = distanceTo(taken, ramps.areas[k].mean);
            if (apart >= kApart)
                continue;
            if (!elsewhere)
                elsewhere = coloursElsewhere();
            taken.insert(taken.end(), elsewhere->begin(), elsewhere->end());
            ramps.areas[k].standIn = apartFrom(taken, apart, ramps.areas[k].mean);
        }
    }

    static int distanceTo(const std::vector<QRgb> &taken, QRgb colour)
    {
        int least = std::numeric_limits<int>::max();
        for (QRgb other : taken)
            least = std::min(least, hueDistance(colour, other));
        return least;
    }

    // The mean, which is so far apart, or another colour: of those that are far enough the one most
    // like the mean, on which what lies over the ramp stands out as it does in the picture.
    static QRgb apartFrom(const std::vector<QRgb> &taken, int apart, QRgb mean)
    {
        int most = apart;
        int nearest = std::numeric_limits<int>::max();
        QRgb best = mean;
        for (int k = 0; k < kSteps * kSteps * kSteps; ++k) {
            const auto step = [](int part) { return part % kSteps * 255 / (kSteps - 1); };
            const QRgb other = qRgb(step(k), step(k / kSteps), step(k / kSteps / kSteps));
            const int distance = std::min(kApart, distanceTo(taken, other));
            const int away = hueDistance(other, mean);
            if (distance > most || (distance == most && most == kApart && away < nearest)) {
                most = distance;
                nearest = away;
                best = other;
            }
        }
        return best;
    }

    // What a ramp is mixed with in a soft pixel, before and after it is flat.
    struct Ink
    {
        RampColour before = {};
        RampColour after = {};
        double far = 0.0;    // squared, from the ramp
        uint16_t number = 0; // of the ramp that it is, if it is one
    };

    // A pixel beside a ramp that is a mixture of it with what lies over it, or with another ramp.
    void soften(int x, int y)
    {
        const uint16_t number = nearestRamp(x, y);
        if (number == 0)
            return;
        const QRgb word = wordAt(x, y);
        const RampArea &area = ramps.areas[number - 1u];
        const RampColour drawn = area.ramp.colourAt(x + 0.5, y + 0.5);
        const Ink ink = inkOf(x, y, number, drawn);
        const double share = shareOf(rampColourOf(word), drawn, ink);
        if (share < 0.0)
            return;
        if (soft == SoftPixels::Mixed) {
            const QRgb flat
                = mixed(rampColourOf(word), drawn, rampColourOf(area.standIn), ink, share);
            if (flat != word)
                changes.push_back({ x, y, word, flat, 0 });
        } else if (share >= 0.5 && ink.number == 0) {
            changes.push_back({ x, y, word, wordOf(ink.after), 0 });
        } else {
            const uint16_t own = share >= 0.5 ? ink.number : number;
            changes.push_back({ x, y, word, ramps.areas[own - 1u].standIn, own });
        }
    }

    // The pixel that is least like a colour, and how far others are from it: squared.
    struct Sought
    {
        QRgb word = 0;
        uint16_t number = 0;
        int far = 0;
        int further = 0;

        void look(QRgb other, uint16_t otherNumber, QRgb own, bool isNear)
        {
            const int red = qRed(other) - qRed(own);
            const int green = qGreen(other) - qGreen(own);
            const int blue = qBlue(other) - qBlue(own);
            const int distance = red * red + green * green + blue * blue;
            if ((distance <= further && (!isNear || distance <= far)) || qAlpha(other) != 255)
                return;
            further = std::max(further, distance);
            if (!isNear || distance <= far)
                return;
            far = distance;
            word = other;
            number = otherNumber;
        }
    };

    static double squaredBetween(const RampColour &a, const RampColour &b)
    {
        double sum = 0.0;
        for (std::size_t c = 0; c < 3; ++c)
            sum += (a[c] - b[c]) * (a[c] - b[c]);
        return sum;
    }

    static const int kToPlateau = kToInk + kPlateau;

#ifdef __SSE2__
    // Squared distances to a colour of four pixels side by side, as floats, which hold them
    // exactly; 0 of those that do not count: of the ramp itself, or not opaque.
    static __m128 distancesOf(const QRgb *colours, const uint16_t *numbers, uint16_t number,
                              __m128i own)
    {
        const __m128i four = fourWords(colours);
        const __m128i zero = _mm_setzero_si128();
        const auto squares = [own](__m128i two) {
            const __m128i apart = _mm_srli_epi64(_mm_slli_epi64(_mm_sub_epi16(two, own), 16), 16);
            return _mm_castsi128_ps(_mm_madd_epi16(apart, apart)); // without alpha
        };
        const __m128 lower = squares(_mm_unpacklo_epi8(four, zero));
        const __m128 upper = squares(_mm_unpackhi_epi8(four, zero));
        const __m128i blueAndGreen
            = _mm_castps_si128(_mm_shuffle_ps(lower, upper, _MM_SHUFFLE(2, 0, 2, 0)));
        const __m128i red = _mm_castps_si128(_mm_shuffle_ps(lower, upper, _MM_SHUFFLE(3, 1, 3, 1)));
        const __m128i same
            = _mm_cmpeq_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(numbers)),
                              _mm_set1_epi16(static_cast<short>(number)));
        const __m128i isOpaque = _mm_cmpeq_epi32(_mm_srli_epi32(four, 24), _mm_set1_epi32(255));
        const __m128i counts = _mm_andnot_si128(_mm_unpacklo_epi16(same, same), isOpaque);
        return _mm_cvtepi32_ps(_mm_and_si128(counts, _mm_add_epi32(blueAndGreen, red)));
    }

    // The pixels of a row, kToPlateau to either side of the middle one, where the row has them.
    static __m128 lookAtRow(const QRgb *colours, const uint16_t *numbers, uint16_t number, QRgb own,
                            bool isNear, Sought *sought)
    {
        static_assert(kToPlateau == 5 && kToInk == 3, "four, four, and four of which one is known");
        const __m128i ofOwn
            = _mm_unpacklo_epi8(_mm_set1_epi32(static_cast<int>(own)), _mm_setzero_si128());
        const __m128 left = distancesOf(colours - 5, numbers - 5, number, ofOwn);
        const __m128 middle = distancesOf(colours - 1, numbers - 1, number, ofOwn);
        const __m128 right = distancesOf(colours + 2, numbers + 2, number, ofOwn);
        const __m128 beside = _mm_max_ps(left, right);
        if (!isNear)
            return _mm_max_ps(beside, middle);
        const __m128 nearest
            = _mm_max_ps(middle, _mm_shuffle_ps(left, right, _MM_SHUFFLE(1, 0, 3, 2)));
        if (_mm_movemask_ps(_mm_cmpgt_ps(nearest, _mm_set1_ps(float(sought->far)))) != 0) {
            for (int i = -kToInk; i <= kToInk; ++i) {
                if (numbers[i] != number)
                    sought->look(colours[i], numbers[i], own, true);
            }
        }
        return _mm_max_ps(beside, middle);
    }

    static int mostOf(__m128 four)
    {
        float lanes[4];
        _mm_storeu_ps(lanes, four);
        return int(*std::max_element(lanes, lanes + 4));
    }
#endif

    // Of all pixels around the one that is least like the ramp. None where that goes on a little
    // further away: there is a shade, not an edge.
    Ink inkOf(int x, int y, uint16_t number, const RampColour &drawn) const
    {
        const QRgb own = wordOf(drawn);
        Sought sought;
#ifdef __SSE2__
        const bool isAmid = x >= kToPlateau && x + kToPlateau < width;
        __m128 further = _mm_setzero_ps();
#endif
        for (int j = std::max(0, y - kToPlateau); j <= std::min(height - 1, y + kToPlateau); ++j) {
            const std::size_t line = std::size_t(j);
            const uint16_t *numbers = before + line * std::size_t(width);
            const QRgb *colours = words + line * wordsOfRow;
            const bool isNear = std::abs(j - y) <= kToInk;
#ifdef __SSE2__
            if (isAmid) {
                further = _mm_max_ps(
                    further, lookAtRow(colours + x, numbers + x, number, own, isNear, &sought));
                continue;
            }
#endif
            for (int i = std::max(0, x - kToPlateau); i <= std::min(width - 1, x + kToPlateau);
                 ++i) {
                if (numbers[i] != number)
                    sought.look(colours[i], numbers[i], own, isNear && std::abs(i - x) <= kToInk);
            }
        }
#ifdef __SSE2__
        sought.further = std::max(sought.further, mostOf(further));
#endif
        Ink ink;
        if (sought.far == 0 || sought.further > kShading * kShading * sought.far)
            return ink;
        ink.before = rampColourOf(sought.word);
        ink.number = sought.number;
        ink.after
            = ink.number != 0 ? rampColourOf(ramps.areas[ink.number - 1u].standIn) : ink.before;
        ink.far = squaredBetween(ink.before, drawn);
        return ink;
    }

    // Of the ink in a pixel; below 0 where it is no mixture.
    static double shareOf(const RampColour &colour, const RampColour &drawn, const Ink &ink)
    {
        if (!(ink.far > 0.0))
            return -1.0;
        double share = 0.0;
        for (std::size_t c = 0; c < 3; ++c)
            share += (colour[c] - drawn[c]) * (ink.before[c] - drawn[c]) / ink.far;
        share = std::clamp(share, 0.0, 1.0);
        RampColour expected;
        for (std::size_t c = 0; c < 3; ++c)
            expected[c] = drawn[c] + share * (ink.before[c] - drawn[c]);
        const double off = kOffNoise + kOffLine * std::sqrt(ink.far);
        return farthestChannel(colour, expected) <= off ? share : -1.0;
    }

    // The same mixture with the stand-in.
    static QRgb mixed(const RampColour &colour, const RampColour &drawn, const RampColour &standIn,
                      const Ink &ink, double share)
    {
        RampColour mixture;
        for (std::size_t c = 0; c < 3; ++c) {
            const double rest = colour[c] - drawn[c] - share * (ink.before[c] - drawn[c]);
            mixture[c] = standIn[c] + share * (ink.after[c] - standIn[c]) + rest;
        }
        return wordOf(mixture);
    }

    const SoftPixels soft;
    Ramps &ramps;
    QImage &image;
    const int width;
    const int height;
    const uint16_t *const before; // ramps of the pixels
    const QRgb *const words;      // of the image, as it was
    const std::size_t wordsOfRow;
    std::vector<uint32_t> borders; // places from the top
    std::vector<Change> changes;
};

} // namespace

void flatten(SoftPixels soft, Ramps *ramps, QImage *image)
{
    if (!ramps->areas.empty())
        Flattening(soft, ramps, image).run();
}

std::optional<QImage> withoutRamps(const QImage &image, double price)
{
    QImage flat = image.convertToFormat(QImage::Format_ARGB32);
    Ramps ramps = findRamps(flat, price);
    if (ramps.areas.empty() || isShadedElsewhere(flat, ramps))
        return std::nullopt;
    flatten(SoftPixels::Mixed, &ramps, &flat);
    return flat;
}

} // namespace ztrace
