// (c) the ztrace developers. Licence: see LICENSE.
#include "upsample.h"

#include "borders.h"
#include "colour.h"
#include "fourcolours.h"
#include "interpolation.h"
#include "segment.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ztrace {

namespace {

// Three times gives more numbers and no better colours.
const int kUseful = 2;

const int kMixture = 24;       // colourDistance; what is nearer to its label's colour is pure
const double kSoftShare = 0.2; // of the pixels on borders; a soft edge has one in two or three
const double kLarge = 2.5e6;   // pixels of an image that is fine enough as it is
const int kDiluted = 96;       // colourDistance; a label whose colour is farther is not to be seen

// The labels of a pixel and of those around it, each once, the pixel's own first. The colour of
// each is the label's, but where the pixels show nothing near that, as a line thinner than a pixel
// does: there it is the nearest that they show.
class Choice
{
public:
    explicit Choice(const LabelPlane &of) : plane(of) { }

    // Row y of the labels, and rows y - 1 to y + 1 of the words, as far as there are any.
    void look(const uint16_t *labels, const std::array<const QRgb *, 3> &words, int x)
    {
#ifdef __SSE2__
        if (x > 0 && x + 2 < plane.width && words[0] && words[2] && lookAtTwo(labels, words, x))
            return;
#endif
        count = 0;
        std::array<uint32_t, 2> settled = { { kNone, kNone } }; // labels that need no more words
        const auto see = [&](uint16_t label, QRgb word) {
            if (label == settled[0] || label == settled[1])
                return;
            if (add(label, word))
                settled = { { label, settled[0] } };
        };
        see(labels[x], words[1][x]);
        if (x > 0 && x + 1 < plane.width && words[0] && words[2]) {
            // As below, without asking where the picture ends: two thirds of the time.
            const uint16_t *line = labels + x - plane.width;
            for (const QRgb *row : words) {
                see(line[-1], row[x - 1]);
                see(line[0], row[x]);
                see(line[1], row[x + 1]);
                line += plane.width;
            }
            settle();
            return;
        }
        const int left = std::max(0, x - 1);
        const int right = std::min(plane.width - 1, x + 1);
        for (int v = 0; v < 3; ++v) {
            const QRgb *row = words[static_cast<std::size_t>(v)];
            if (!row)
                continue;
            const uint16_t *line = labels + std::ptrdiff_t(v - 1) * plane.width;
            for (int u = left; u <= right; ++u)
                see(line[u], row[u]);
        }
        settle();
    }

    // The label of the most similar colour, the first of several.
    uint16_t nearest(QRgb word) const
    {
        std::size_t best = 0;
        int least = colourDistance(word, entries[0].colour);
        for (std::size_t i = 1; i < count; ++i) {
            if (least == 0)
                break;
            const int distance = colourDistance(word, entries[i].colour);
            if (distance < least) {
                best = i;
                least = distance;
            }
        }
        return entries[best].label;
    }

    // The same for four words.
    std::array<uint16_t, 4> nearestOfFour(const QRgb *words) const
    {
        std::array<uint16_t, 4> labels;
#ifdef __SSE2__
        const __m128i four = fourWords(words);
        const auto distancesTo = [&](std::size_t i) {
            return colourDistances(four, _mm_set1_epi32(static_cast<int>(entries[i].colour)));
        };
        __m128i least = distancesTo(0);
        __m128i best = _mm_set1_epi32(entries[0].label);
        for (std::size_t i = 1; i < count; ++i) {
            const __m128i distances = distancesTo(i);
            const __m128i isNearer = _mm_cmplt_epi32(distances, least);
            const __m128i label = _mm_set1_epi32(entries[i].label);
            least = _mm_min_epi16(least, distances); // at most 1785
            best = _mm_or_si128(_mm_and_si128(isNearer, label), _mm_andnot_si128(isNearer, best));
        }
        std::array<uint32_t, 4> found;
        storeFour(found.data(), best);
        for (std::size_t k = 0; k < 4; ++k)
            labels[k] = static_cast<uint16_t>(found[k]);
#else
        for (std::size_t k = 0; k < 4; ++k)
            labels[k] = nearest(words[k]);
#endif
        return labels;
    }

private:
    struct Entry
    {
        uint16_t label;
        int distance; // of the nearest word so far; any below kDiluted will do
        QRgb colour;
    };

    static const uint32_t kNone = 0x10000; // no label

#ifdef __SSE2__
    // The same where there are no more than two labels, as on most borders: a third of the time.
    // What is taken for a label does not depend on the words of others, so that one can be settled
    // after the other. Returns false, and does nothing, where there are more. The row goes on for
    // two pixels at least.
    bool lookAtTwo(const uint16_t *labels, const std::array<const QRgb *, 3> &words, int x)
    {
        // A bit for every pixel: its row times 4, and its column. Of four labels the last is left
        // out.
        const unsigned kAll = 0x777;
        const unsigned kOwn = 1u << 5;
        const uint16_t *const corner = labels + x - 1 - plane.width;
        const auto rowOf = [&](int v) {
            return _mm_loadl_epi64(
                reinterpret_cast<const __m128i *>(corner + std::ptrdiff_t(v) * plane.width));
        };
        const __m128i upper = _mm_unpacklo_epi64(rowOf(0), rowOf(1));
        const __m128i lower = rowOf(2);
        const auto pixelsOf = [&](uint16_t label) {
            const __m128i all = _mm_set1_epi16(static_cast<short>(label));
            return kAll
                & unsigned(_mm_movemask_epi8(
                    _mm_packs_epi16(_mm_cmpeq_epi16(upper, all), _mm_cmpeq_epi16(lower, all))));
        };
        const unsigned own = pixelsOf(labels[x]);
        const unsigned others = own ^ kAll;
        const int other = others == 0 ? 0 : __builtin_ctz(others);
        const uint16_t second = corner[std::ptrdiff_t(other / 4) * plane.width + other % 4];
        const unsigned ofSecond = pixelsOf(second);
        if ((own | ofSecond) != kAll)
            return false;
        const auto seen = [&](Entry entry, unsigned pixels) {
            const QRgb colour = plane.colours[entry.label];
            for (; pixels != 0 && entry.distance > kDiluted; pixels &= pixels - 1) {
                const int pixel = __builtin_ctz(pixels);
                const QRgb word = words[std::size_t(pixel / 4)][x - 1 + pixel % 4];
                const int distance = word == colour ? 0 : colourDistance(word, colour);
                if (distance < entry.distance)
                    entry = { entry.label, distance, word };
            }
            if (entry.distance <= kDiluted)
                entry.colour = colour;
            return entry;
        };
        const QRgb word = words[1][x];
        const int distance = colourDistance(word, plane.colours[labels[x]]);
        entries[0] = seen({ labels[x], distance, word }, own & ~kOwn);
        entries[1] = seen({ second, std::numeric_limits<int>::max(), 0 }, ofSecond);
        count = others == 0 ? 1 : 2;
        return true;
    }
#endif

    void settle()
    {
        for (std::size_t i = 0; i < count; ++i) {
            if (entries[i].distance <= kDiluted)
                entries[i].colour = plane.colours[entries[i].label];
        }
    }

    // Returns whether a word near enough is known.
    bool add(uint16_t label, QRgb word)
    {
        std::size_t place = 0;
        while (place < count && label != entries[place].label)
            ++place;
        if (place < count && entries[place].distance <= kDiluted)
            return true;
        const QRgb colour = plane.colours[label];
        const int distance = word == colour ? 0 : colourDistance(word, colour);
        if (place == count)
            ++count;
        else if (distance >= entries[place].distance)
            return false;
        entries[place] = { label, distance, word };
        return distance <= kDiluted;
    }

    const LabelPlane &plane;
    std::array<Entry, 9> entries = {};
    std::size_t count = 0;
};

// The labels of a pixel's parts, `stride` entries from row to row.
void choose(const Choice &choice, const QRgb *part, std::size_t factor, std::size_t stride,
            uint16_t *corner)
{
    if (factor == 2) {
        const std::array<uint16_t, 4> labels = choice.nearestOfFour(part);
        corner[0] = labels[0];
        corner[1] = labels[1];
        corner[stride] = labels[2];
        corner[stride + 1] = labels[3];
        return;
    }
    for (std::size_t j = 0; j < factor; ++j, corner += stride) {
        for (std::size_t i = 0; i < factor; ++i)
            corner[i] = choice.nearest(*part++);
    }
}

} // namespace

bool hasSoftEdges(const QImage &image, const LabelPlane &plane)
{
    std::size_t onBorder = 0;
    std::size_t soft = 0;
    BorderRows borders(plane);
    const uint16_t *labels = plane.labels.data();
    for (int y = 0; y < plane.height; ++y, labels += plane.width) {
        const QRgb *words = row(image, y);
        const uint8_t *border = borders.next();
        for (int x = nextSet(border, 0, plane.width); x < plane.width;
             x = nextSet(border, x + 1, plane.width)) {
            ++onBorder;
            soft += colourDistance(words[x], plane.colours[labels[x]]) > kMixture;
        }
    }
    return soft > 0 && double(soft) >= kSoftShare * double(onBorder);
}

int usefulUpsampling(const QImage &image, const LabelPlane &plane)
{
    return double(plane.pixels()) <= kLarge && hasSoftEdges(image, plane) ? kUseful : 1;
}

namespace {

// Whether four words from each of two places on are equal, and a fifth.
bool areEqual(const QRgb *a, const QRgb *b)
{
#ifdef __SSE2__
    const __m128i equal = _mm_cmpeq_epi32(fourWords(a), fourWords(b));
    return a[4] == b[4] && _mm_movemask_epi8(equal) == 0xFFFF;
#else
    return std::equal(a, a + 5, b);
#endif
}

// What decides about the parts of a pixel: the words within two pixels, and the labels beside it.
// Along straight edges, as frames have them, it is the same from pixel to pixel.
class Surroundings
{
public:
    Surroundings(const QImage &i, const LabelPlane &p) : image(i), plane(p) { }

    void begin(int row)
    {
        y = row;
        hasRows = y > kReach && y + kReach < plane.height;
        for (int v = 0; hasRows && v < kRows; ++v)
            words[v] = ztrace::row(image, y - kReach - 1 + v);
        labels = plane.labels.data() + std::size_t(y) * std::size_t(plane.width);
    }

    // Whether they are those of the pixel to the left.
    bool areLikeLeft(int x) const
    {
        if (!hasColumns(x) || !hasRows || words[kReach + 1][x] != words[kReach + 1][x - 1])
            return false;
        for (int v = 1; v < kRows; ++v) {
            if (!areEqual(words[v] + x - kReach - 1, words[v] + x - kReach))
                return false;
        }
        for (int v = -1; v <= 1; ++v) {
            const uint16_t *line = labels + std::ptrdiff_t(v) * plane.width + x;
            if (line[-2] != line[0] || line[-1] != line[0] || line[1] != line[0])
                return false;
        }
        return true;
    }

    // Whether they are those of the pixel above.
    bool areLikeAbove(int x) const
    {
        if (!hasColumns(x) || !hasRows || words[kReach + 1][x] != words[kReach][x])
            return false;
        for (int v = 1; v < kRows; ++v) {
            if (!areEqual(words[v] + x - kReach, words[v - 1] + x - kReach))
                return false;
        }
        const uint16_t *line = labels + x;
        for (int v = -2; v <= 1; ++v) {
            const uint16_t *other = labels + std::ptrdiff_t(v) * plane.width + x;
            if (other[-1] != line[-1] || other[0] != line[0] || other[1] != line[1])
                return false;
        }
        return true;
    }

private:
    static const int kReach = 2;
    static const int kRows = 2 * kReach + 2; // with the one that is the upper neighbour's alone

    bool hasColumns(int x) const { return x > kReach && x + kReach < plane.width; }

    const QImage &image;
    const LabelPlane &plane;
    int y = 0;
    bool hasRows = false;
    const QRgb *words[kRows] = {};
    const uint16_t *labels = nullptr;
};

// The finer rows of one row of pixels. Only pixels on borders have parts of their own: where none
// is, all have one label, which those of the pixels amid it keep.
class FineRows
{
public:
    FineRows(int rowWidth, int parts)
        : width(rowWidth), factor(std::size_t(parts)), stride(std::size_t(rowWidth) * factor),
          ofRow(stride * factor), ofRowAbove(stride * factor)
    {
        starts.resize(stride + 1); // what is noted last may not count
        labels.resize(stride + 1);
    }

    void begin()
    {
        ofRow.swap(ofRowAbove);
        pixels.clear();
    }

    // Where the parts of the next pixel on a border go, rows being `step` entries apart.
    uint16_t *add(int x)
    {
        pixels.push_back(x);
        return ofRow.data() + std::size_t(x) * factor;
    }
    std::size_t step() const { return stride; }

    // The same parts as the pixel to the left has, or the one above; it was on a border, too.
    void copyLeft(int x)
    {
        uint16_t *const parts = add(x);
        copy(parts - factor, parts);
    }
    void copyAbove(int x) { copy(ofRowAbove.data() + std::size_t(x) * factor, add(x)); }

    // Row j of the finer ones as runs, `ofPixels` being the labels of the row of pixels.
    void give(std::size_t j, const uint16_t *ofPixels, const TakeRuns &take)
    {
        const uint16_t *parts = ofRow.data() + j * stride;
        int32_t *start = starts.data();
        uint16_t *label = labels.data();
        std::size_t count = 0;
        uint32_t last = 0x10000; // no label
        const auto note = [&](std::size_t place, uint16_t own) {
            start[count] = int32_t(place);
            label[count] = own;
            count += own != last ? 1u : 0u;
            last = own;
        };
        int next = 0; // pixel
        for (const int x : pixels) {
            if (x > next)
                note(std::size_t(next) * factor, ofPixels[next]);
            for (std::size_t k = std::size_t(x) * factor; k < std::size_t(x + 1) * factor; ++k)
                note(k, parts[k]);
            next = x + 1;
        }
        if (next < width)
            note(std::size_t(next) * factor, ofPixels[next]);
        take(start, label, count);
    }

private:
    void copy(const uint16_t *from, uint16_t *to) const
    {
        if (factor == 2) { // the usual one: no call for four bytes
            std::copy_n(from, 2, to);
            std::copy_n(from + stride, 2, to + stride);
            return;
        }
        for (std::size_t j = 0; j < factor; ++j)
            std::copy_n(from + j * stride, factor, to + j * stride);
    }

    const int width;
    const std::size_t factor;
    const std::size_t stride;
    std::vector<uint16_t> ofRow; // where there are borders
    std::vector<uint16_t> ofRowAbove;
    std::vector<int> pixels; // on borders
    std::vector<int32_t> starts;
    std::vector<uint16_t> labels;
};

} // namespace

// What surrounds a pixel as it does the one before it, in its row or its column, gives it the same
// parts.
void forEachUpsampledRow(const QImage &image, const LabelPlane &plane, int factor,
                         const TakeRuns &take)
{
    const std::size_t parts = static_cast<std::size_t>(factor);
    SubpixelColours colours(image, factor);
    BorderRows borders(plane);
    Choice choice(plane);
    Surroundings surroundings(image, plane);
    FineRows rows(plane.width, factor);
    for (int y = 0; y < plane.height; ++y) {
        const uint16_t *labels = plane.labels.data()
            + static_cast<std::size_t>(y) * static_cast<std::size_t>(plane.width);
        const uint8_t *border = borders.next();
        const std::array<const QRgb *, 3> words
            = { { y > 0 ? row(image, y - 1) : nullptr, row(image, y),
                  y + 1 < plane.height ? row(image, y + 1) : nullptr } };
        rows.begin();
        surroundings.begin(y);
        for (int x = nextSet(border, 0, plane.width); x < plane.width;
             x = nextSet(border, x + 1, plane.width)) {
            if (surroundings.areLikeLeft(x)) {
                rows.copyLeft(x);
            } else if (surroundings.areLikeAbove(x)) {
                rows.copyAbove(x);
            } else {
                choice.look(labels, words, x);
                choose(choice, colours.at(x, y), parts, rows.step(), rows.add(x));
            }
        }
        for (std::size_t j = 0; j < parts; ++j)
            rows.give(j, labels, take);
    }
}

LabelPlane upsampled(const QImage &image, const LabelPlane &plane, int factor)
{
    LabelPlane fine;
    fine.width = plane.width * factor;
    fine.height = plane.height * factor;
    fine.colours = plane.colours;
    const std::size_t width = static_cast<std::size_t>(fine.width);
    fine.labels.reserve(width * static_cast<std::size_t>(fine.height));
    forEachUpsampledRow(image, plane, factor,
                        [&](const int32_t *starts, const uint16_t *labels, std::size_t count) {
                            for (std::size_t k = 0; k < count; ++k) {
                                const int32_t end = k + 1 < count ? starts[k + 1] : fine.width;
                                fine.labels.insert(fine.labels.end(), std::size_t(end - starts[k]),
                                                   labels[k]);
                            }
                        });
    return fine;
}

} // namespace ztrace
