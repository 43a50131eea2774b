// (c) the ztrace developers. Licence: see LICENSE.
#include "fringes.h"

#include "colour.h"
#include "fourcolours.h"
#include "groundruns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace ztrace {

namespace {

const int kSameGround = 12; // colourDistance; a ground may be dithered
const int kVeryGround = 6;  // the same beside overshoots, which differ from it by as little
static_assert(255 * (kLongestRun * (kLongestRun - 1) / 2) < 1 << 21,
              "sums are in lanes of 21 bits");
const double kLeastSum = 48.0;    // of a channel's differences from the ground, to have a centre
const double kStripe = 1.0 / 3.0; // pixels from the stripe of one channel to the next
const double kTolerance = 0.2;    // of a shift, pixels
const double kToleranceOfKnown = 0.33; // the same where such text is known to be
const double kFringed = 0.1;           // of a run's coverage that differs from channel to channel
const double kLeftOfShifted = 0.5;     // of what channels differ by, where they are put in place
const int kSameInk = 64;               // colourDistance; what is flat within a run stays so nearly
const int kLeastRuns = 12;             // that have to be there
const double kMajority = 0.25;         // of the runs with differing channels about a place
const int kTile = 32;                  // pixels; about a place are 3 x 3 tiles
const double kWrongWay = 0.1; // of those with the right shifts, most that may be the other way

typedef std::array<double, 3> Channels; // red, green, blue

Channels channelsOf(QRgb word)
{
    return { { double(qRed(word)), double(qGreen(word)), double(qBlue(word)) } };
}

// What a run differs by from its ground.
struct Differences
{
    Channels ground;
    Channels sums = { { 0.0, 0.0, 0.0 } };
    Channels moments = { { 0.0, 0.0, 0.0 } }; // times the place in the run

    // Sums of all channels together, as the run is short: 96 pixels sum up to 24480, and times
    // their places to 1162800, below 2^21. Those of the differences, doubled, are whole numbers as
    // well, and exact as halves.
    explicit Differences(const GroundRun &run)
    {
        const auto spread = [&run](int x) {
            const uint64_t word = run.words[x];
            return (word >> 16 & 0xFFu) | (word >> 8 & 0xFFu) << kLane
                | (word & 0xFFu) << (2 * kLane);
        };
        const int pixels = run.end - run.begin;
        uint64_t all = 0;
        uint64_t placed = 0;
        int i = 0;
#ifdef __SSE2__
        // Channels of two pixels side by side, and so their sums: of each channel a lane.
        __m128i sumsOfFour = _mm_setzero_si128();
        __m128i placedOfFour = _mm_setzero_si128();
        __m128i places = _mm_set1_epi32(1 << 16);
        for (; i + 2 <= pixels; i += 2) {
            const __m128i two
                = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(run.words + run.begin + i));
            const __m128i beside = _mm_unpacklo_epi8(
                _mm_unpacklo_epi8(two, _mm_srli_epi64(two, 32)), _mm_setzero_si128());
            sumsOfFour = _mm_add_epi32(sumsOfFour, _mm_madd_epi16(beside, _mm_set1_epi16(1)));
            placedOfFour = _mm_add_epi32(placedOfFour, _mm_madd_epi16(beside, places));
            places = _mm_add_epi16(places, _mm_set1_epi16(2));
        }
        const auto lanesOf = [](__m128i sum) {
            uint32_t channels[4]; // blue, green, red, alpha
            storeFour(channels, sum);
            return channels[2] | uint64_t(channels[1]) << kLane
                | uint64_t(channels[0]) << (2 * kLane);
        };
        all = lanesOf(sumsOfFour);
        placed = lanesOf(placedOfFour);
#endif
        for (; i < pixels; ++i) {
            const uint64_t lanes = spread(run.begin + i);
            all += lanes;
            placed += lanes * uint64_t(i);
        }
        const int sumOfPlaces = pixels * (pixels - 1) / 2;
        const uint64_t sides = spread(run.begin - 1) + spread(run.end);
        for (std::size_t c = 0; c < 3; ++c) {
            const auto lane = [c](uint64_t lanes) {
                return int(lanes >> (kLane * int(c)) & ((uint64_t(1) << kLane) - 1));
            };
            const int twice = lane(sides);
            ground[c] = twice / 2.0;
            sums[c] = (2 * lane(all) - pixels * twice) / 2.0;
            moments[c] = (2 * lane(placed) - twice * sumOfPlaces) / 2.0;
        }
    }

    bool hasCentre(std::size_t c) const
    {
        return std::fabs(sums[c]) >= kLeastSum;
    }
    double centre(std::size_t c) const
    {
        return moments[c] / sums[c];
    }

    // How much of every pixel is covered, as the channels see it together.
    double coverage(const Channels &own) const
    {
        double covered = 0.0;
        double whole = 0.0;
        for (std::size_t c = 0; c < 3; ++c) {
            covered += sums[c] < 0.0 ? ground[c] - own[c] : own[c] - ground[c];
            whole += std::fabs(sums[c]);
        }
        return covered / whole;
    }

private:
    static const int kLane = 21; // bits of a channel's sums
};

// What the channels see less of, the one to the left or the one to the right.
enum class Order { None, RedFirst, BlueFirst };

// The stripes lie beside each other, so that one edge is seen a third of a pixel farther by the
// next channel. Nothing else shifts the channels' centres so.
Order orderOf(const Differences &run, double tolerance)
{
    int shifts[2] = { 0, 0 };
    int known = 0;
    for (std::size_t c = 0; c < 2; ++c) {
        if (!run.hasCentre(c) || !run.hasCentre(c + 1))
            continue;
        const double shift = run.centre(c) - run.centre(c + 1);
        ++known;
        shifts[0] += std::fabs(shift - kStripe) <= tolerance;
        shifts[1] += std::fabs(shift + kStripe) <= tolerance;
    }
    if (known == 0)
        return Order::None;
    return shifts[0] == known ? Order::RedFirst
        : shifts[1] == known  ? Order::BlueFirst
                              : Order::None;
}

// Whether the channels cover different pixels: grey text has no fringes to take away.
bool isFringed(const GroundRun &run, const Differences &differences)
{
    double apart = 0.0;
    for (int x = run.begin; x < run.end; ++x) {
        const Channels own = channelsOf(run.words[x]);
        double least = 1e9;
        double most = -1e9;
        for (std::size_t c = 0; c < 3; ++c) {
            if (!differences.hasCentre(c))
                continue;
            const double part = (own[c] - differences.ground[c]) / differences.sums[c];
            least = std::min(least, part);
            most = std::max(most, part);
        }
        apart += std::max(0.0, most - least);
    }
    return apart > kFringed;
}

// Runs with differing channels, and those of them that are of an order.
struct Votes
{
    int runs = 0;
    int redFirst = 0;
    int blueFirst = 0;

    void add(const Votes &more)
    {
        runs += more.runs;
        redFirst += more.redFirst;
        blueFirst += more.blueFirst;
    }

    int most() const { return std::max(redFirst, blueFirst); }

    // Text among other things: a photograph beside it has many runs, of which few are of an order.
    bool areOfText() const { return most() >= kMajority * runs; }
};

// Where in a picture there is such text.
class TextOfStripes
{
public:
    explicit TextOfStripes(const QImage &image)
        : columns((image.width() + kTile - 1) / kTile), rows((image.height() + kTile - 1) / kTile),
          votes(std::size_t(columns) * std::size_t(rows))
    {
        for (int y = 0; y < image.height(); ++y) {
            forEachGroundRun(row(image, y), image.width(), kSameGround, Before::Two,
                             [&](const GroundRun &run) { return count(run, y); });
        }
        Votes text;
        for (int v = 0; v < rows; ++v) {
            for (int u = 0; u < columns; ++u) {
                if (votesAbout(u, v).areOfText())
                    text.add(votesOf(u, v));
            }
        }
        if (text.most() < kLeastRuns
            || std::min(text.redFirst, text.blueFirst) > kWrongWay * text.most())
            return;
        order = text.redFirst > text.blueFirst ? Order::RedFirst : Order::BlueFirst;
        for (int v = 0; v < rows; ++v) {
            for (int u = 0; u < columns; ++u) {
                const Votes about = votesAbout(u, v);
                isOther.push_back(about.runs >= kLeastRuns && !about.areOfText());
            }
        }
    }

    bool isAt(const GroundRun &run, int y) const { return !isOther[placeOf(run, y)]; }

    Order order = Order::None;

private:
    // Whether what is within the run may be left out.
    bool count(const GroundRun &run, int y)
    {
        const Differences differences(run);
        const Order own = orderOf(differences, kTolerance);
        if (own == Order::None && run.end - run.begin > kLongWord)
            return false; // what a frame encloses
        if (!isFringed(run, differences))
            return true;
        votes[placeOf(run, y)].add({ 1, own == Order::RedFirst, own == Order::BlueFirst });
        return own != Order::None;
    }

    std::size_t placeOf(const GroundRun &run, int y) const
    {
        const int column = (run.begin + run.end) / 2 / kTile;
        return std::size_t(y / kTile) * std::size_t(columns) + std::size_t(column);
    }

    const Votes &votesOf(int column, int line) const
    {
        return votes[std::size_t(line) * std::size_t(columns) + std::size_t(column)];
    }

    Votes votesAbout(int column, int line) const
    {
        Votes about;
        for (int v = std::max(0, line - 1); v <= std::min(rows - 1, line + 1); ++v) {
            for (int u = std::max(0, column - 1); u <= std::min(columns - 1, column + 1); ++u)
                about.add(votesOf(u, v));
        }
        return about;
    }

    int columns;
    int rows;
    std::vector<Votes> votes;  // of every tile
    std::vector<bool> isOther; // tiles about which there is something else
};

// What the best multiple of one sequence leaves of another.
struct Likeness
{
    double own = 0.0;
    double both = 0.0;
    double other = 0.0;

    void add(double a, double b)
    {
        own += a * a;
        both += a * b;
        other += b * b;
    }
    double left() const { return other > 0.0 && both > 0.0 ? own - both * both / other : own; }
};

// Whether a channel is what the next one is a third of a pixel farther on: much less is left of it
// there than at its own place. Unlike centres this holds for letters that touch, of whose
// overshoots white cuts off a part.
class Shift
{
public:
    Shift(const GroundRun &run, const Differences &differences, Order order)
        : pixels(run.end - run.begin), toward(order == Order::RedFirst ? 1 : -1)
    {
        const QRgb *words = run.words + run.begin - 1;
        for (std::size_t c = 0; c < 3; ++c) {
            const int twice = int(2.0 * differences.ground[c]);
            for (int i = 0; i < pixels + 2; ++i)
                away[c][i] = int16_t(2 * int(words[i] >> (16 - 8 * c) & 0xFFu) - twice);
        }
    }

    bool isThere() const
    {
        double before = 0.0;
        double after = 0.0;
        double all = 0.0;
        for (std::size_t c = 0; c < 2; ++c) {
            before += here(c).left();
            const Likeness shifted = thereInWholes(c);
            after += shifted.left();
            all += shifted.own;
        }
        // What is rounded below is off by far less, so that mostly whole numbers decide.
        const double apart = after - kLeftOfShifted * before;
        if (std::fabs(apart) > kRounded * (all + before))
            return apart < 0.0;
        return there(0).left() + there(1).left() < kLeftOfShifted * before;
    }

private:
    static constexpr double kRounded = 1e-9;

    const int16_t *of(std::size_t c) const { return away[c] + 1; }

    // Sums of products of whole numbers, `scale` and `otherScale` times what they stand for. Exact.
    static Likeness ofWholes(const int16_t *a, double scale, const int16_t *b, double otherScale,
                             int count)
    {
        int own = 0;
        int both = 0;
        int other = 0;
        for (int i = 0; i < count; ++i) {
            own += a[i] * a[i];
            both += a[i] * b[i];
            other += b[i] * b[i];
        }
        return { own / (scale * scale), both / (scale * otherScale),
                 other / (otherScale * otherScale) };
    }

    Likeness here(std::size_t c) const { return ofWholes(of(c), 2.0, of(c + 1), 2.0, pixels); }

    // The same as `there`, but for its roundings.
    Likeness thereInWholes(std::size_t c) const
    {
        const int64_t kMost = int64_t(9) * 510;
        static_assert(kMost * kMost * kLongestRun < int64_t(1) << 31, "sums have 31 bits");
        int16_t own[kLongestRun];
        int16_t next[kLongestRun];
        for (int i = 0; i < pixels; ++i) {
            own[i] = int16_t(2 * of(c)[i] + of(c)[i + toward]);
            next[i] = int16_t(7 * of(c + 1)[i] + of(c + 1)[i - 1] + of(c + 1)[i + 1]);
        }
        return ofWholes(own, 6.0, next, 18.0, pixels);
    }

    // Moving by linear interpolation softens one side as much as the weights of the other do.
    Likeness there(std::size_t c) const
    {
        Likeness shifted;
        for (int i = 0; i < pixels; ++i) {
            const auto own = [&](int k) { return of(c)[k] / 2.0; };
            const auto next = [&](int k) { return of(c + 1)[k] / 2.0; };
            shifted.add((2.0 * own(i) + own(i + toward)) / 3.0,
                        (7.0 * next(i) + next(i - 1) + next(i + 1)) / 9.0);
        }
        return shifted;
    }

    const int pixels;
    const int toward; // the place that is a third of a pixel nearer
    // Twice the differences from the ground, of every pixel and of those before and behind the run;
    // from place 1 on they are the run's.
    int16_t away[3][kLongestRun + 2];
};

uint8_t byteOf(double value)
{
    return static_cast<uint8_t>(std::max(0.0, std::min(255.0, value)) + 0.5);
}

// The colour of a pixel of text without its fringe.
QRgb withoutFringe(QRgb word, const Differences &differences)
{
    const double part = differences.coverage(channelsOf(word));
    Channels own = differences.ground;
    for (std::size_t c = 0; c < 3; ++c)
        own[c] += part * differences.sums[c];
    return qRgb(byteOf(own[0]), byteOf(own[1]), byteOf(own[2]));
}

// Whether all that is flat within a run is of its ink: a field with a frame is not, and the text in
// it is a run of its own. Fringes are at edges, so that the flat inside of a stroke has none.
bool isOfOneInk(const GroundRun &run, const Differences &differences)
{
    for (int x = run.begin + 1; x + 1 < run.end; ++x) {
        const QRgb word = run.words[x];
        if (word == run.words[x - 1] && word == run.words[x + 1]
            && colourDistance(word, withoutFringe(word, differences)) > kSameInk)
            return false;
    }
    return true;
}

// Runs of a row that were found to be no text, which need not be asked about again.
class LeftAlone
{
public:
    void begin(const QRgb *words, std::size_t width)
    {
        row.assign(words, words + width);
        runs.clear();
        next = 0;
    }

    // From the left.
    void add(const GroundRun &run) { runs.push_back({ run.begin, run.end }); }

    // Whether one of these is this run, with the same words in it and beside it. Asked from the
    // left.
    bool has(const GroundRun &run)
    {
        while (next < runs.size() && runs[next].begin < run.begin)
            ++next;
        if (next == runs.size() || runs[next].begin != run.begin || runs[next].end != run.end)
            return false;
        const std::ptrdiff_t first = run.begin - 1;
        return std::equal(run.words + first, run.words + run.end + 1, row.begin() + first);
    }

private:
    struct Span
    {
        int begin;
        int end;
    };

    std::vector<QRgb> row;
    std::vector<Span> runs;
    std::size_t next = 0;
};

void flatten(const GroundRun &run, const Differences &differences, QRgb *words)
{
    for (int x = run.begin; x < run.end; ++x)
        words[x] = withoutFringe(run.words[x], differences);
}

} // namespace

bool removeFringes(QImage *image)
{
    const TextOfStripes text(*image);
    const Order order = text.order;
    if (order == Order::None)
        return false;
    const std::size_t width = static_cast<std::size_t>(image->width());
    std::vector<QRgb> source(width);
    LeftAlone leftAlone;
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image->scanLine(y));
        const auto pass = [&](int same, Before before, auto isText) {
            std::copy_n(words, width, source.begin());
            forEachGroundRun(source.data(), image->width(), same, before,
                             [&](const GroundRun &run) {
                                 if (!text.isAt(run, y) || !isText(run))
                                     return false;
                                 flatten(run, Differences(run), words);
                                 return true;
                             });
        };
        const auto isKnown = [order](const GroundRun &run) {
            const Differences differences(run);
            return (orderOf(differences, kToleranceOfKnown) == order
                    || Shift(run, differences, order).isThere())
                && isOfOneInk(run, differences);
        };
        const auto isSure = [order](const GroundRun &run) {
            const Differences differences(run);
            return orderOf(differences, kTolerance) == order && isFringed(run, differences)
                && isOfOneInk(run, differences);
        };
        leftAlone.begin(words, width);
        pass(kSameGround, Before::Two, [&](const GroundRun &run) {
            const bool isText = isKnown(run);
            if (!isText)
                leftAlone.add(run);
            return isText;
        });
        pass(kVeryGround, Before::Two,
             [&](const GroundRun &run) { return !leftAlone.has(run) && isKnown(run); });
        pass(kVeryGround, Before::One, isSure);
    }
    return true;
}

} // namespace ztrace
