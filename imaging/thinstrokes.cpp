// (c) the ztrace developers. Licence: see LICENSE.
#include "thinstrokes.h"

#include "colour.h"
#include "forest.h"
#include "ridges.h"
#include "segment.h"
#include "spread.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace ztrace {

namespace {

const int kNear = 2;           // pixels between cores of one stroke; junctions have no ridge
const double kLeastPart = 0.3; // of the way from what is beside a stroke to the colour it touches
const float kContact = 16.0f;  // price of a core beside another label: a length

const double kMostRidges = 0.2; // of the pixels; where there are more there is noise and no stroke
const std::size_t kFewRidges = 50000; // that cost little, whatever they are

int sumOf(QRgb word)
{
    return qRed(word) + qGreen(word) + qBlue(word);
}

// Whether a ridge is no more than the soft side of what touches it: a pixel beside it goes on in
// the ridge's direction, and less than kLeastPart of the way is the ridge's own.
template<typename Kind>
bool isSideOf(const QImage &image, uint32_t pixel, const Ridge &ridge)
{
    const int x = int(pixel % uint32_t(image.width()));
    const int y = int(pixel / uint32_t(image.width()));
    const auto own = Kind::of(ridge.colour);
    const auto away = difference(own, Kind::of(ridge.beside));
    const double most = square(away) * (1.0 / kLeastPart - 1.0);
    const int right = std::min(image.width() - 1, x + 1);
    const int bottom = std::min(image.height() - 1, y + 1);
    for (int v = std::max(0, y - 1); v <= bottom; ++v) {
        const QRgb *words = row(image, v);
        for (int u = std::max(0, x - 1); u <= right; ++u) {
            if (!Kind::holds(words[u]))
                return isSideOf<VisibleKind>(image, pixel, ridge);
            if (product(difference(Kind::of(words[u]), own), away) > most)
                return true;
        }
    }
    return false;
}

bool isSide(const QImage &image, uint32_t pixel, const Ridge &ridge)
{
    return OpaqueKind::holds(ridge.colour & ridge.beside)
        ? isSideOf<OpaqueKind>(image, pixel, ridge)
        : isSideOf<VisibleKind>(image, pixel, ridge);
}

#ifdef __SSE2__
float leastOfFour(__m128 four)
{
    const __m128 two = _mm_min_ps(four, _mm_movehl_ps(four, four));
    return std::min(_mm_cvtss_f32(two), _mm_cvtss_f32(_mm_shuffle_ps(two, two, 1)));
}
#endif

// The least of a[k], or the largest number if there is none. All are finite.
float leastOf(const float *a, std::size_t count)
{
    float least = std::numeric_limits<float>::max();
    std::size_t k = 0;
#ifdef __SSE2__
    __m128 four = _mm_set1_ps(least);
    for (; k + 4 <= count; k += 4)
        four = _mm_min_ps(four, _mm_loadu_ps(a + k));
    least = leastOfFour(four);
#endif
    for (; k < count; ++k)
        least = std::min(least, a[k]);
    return least;
}

// The place of the least, the first of several. To keep it on the way would make every step wait.
uint16_t placeOfLeast(const float *a, std::size_t count)
{
    const float least = leastOf(a, count);
    std::size_t k = 0;
    while (k + 1 < count && a[k] != least)
        ++k;
    return uint16_t(k);
}

struct Core
{
    uint32_t pixel;
    uint32_t costs; // place of its row among the costs
    bool isLight;   // beside what is next to it: a gap between strokes, or a light one
};

// What every label of the palette would cost ridges, a row for each of those that are alike.
class Costs
{
public:
    explicit Costs(const std::vector<QRgb> &palette)
        : colours(palette), width(palette.size()), table(kLeastTable)
    { }

    // The row of a ridge, or -1 when no label explains it.
    int rowOf(const Ridge &ridge)
    {
        const uint64_t key = keyOf(ridge);
        Slot &slot = table[placeOf(key)];
        if (slot.row != kFree)
            return slot.row;
        const std::size_t place = values.size();
        values.resize(place + width);
        const bool isExplained = colours.costsOf(ridge, values.data() + place);
        const int row = isExplained ? int(best.size()) : -1;
        slot = { key, row };
        if (isExplained)
            best.push_back(placeOfLeast(values.data() + place, width));
        else
            values.resize(place);
        if (++used * 2 > table.size())
            grow();
        return row;
    }

    const float *row(uint32_t place) const { return values.data() + place * width; }
    uint16_t bestOf(uint32_t place) const { return best[place]; }
    std::size_t labels() const { return width; }

private:
    static const int kFree = -2;
    static const std::size_t kLeastTable = 1024; // a power of two, as every number of them

    struct Slot
    {
        uint64_t key = 0;
        int row = kFree;
    };

    // The upper six bits of every channel, alpha's upper four.
    static uint64_t keyOf(const Ridge &ridge)
    {
        const uint64_t kUpper = 0xF0FCFCFCu;
        return (ridge.colour & kUpper) << 32 | (ridge.beside & kUpper);
    }

    std::size_t placeOf(uint64_t key) const
    {
        const std::size_t mask = table.size() - 1;
        std::size_t place = (key * 0x9E3779B97F4A7C15u >> 32) & mask; // 2^64 over the golden ratio
        while (table[place].row != kFree && table[place].key != key)
            place = (place + 1) & mask;
        return place;
    }

    void grow()
    {
        std::vector<Slot> old(2 * table.size());
        old.swap(table);
        for (const Slot &slot : old) {
            if (slot.row != kFree)
                table[placeOf(slot.key)] = slot;
        }
    }

    const RidgeColours colours;
    const std::size_t width;
    std::vector<Slot> table; // open addressing, at most half full
    std::size_t used = 0;
    std::vector<float> values;
    std::vector<uint16_t> best; // of every row
};

// Cores of another stretch that are near those of one.
struct Contact
{
    uint32_t other;
    int cores;
};

// Cores that have one label and hang together.
struct Stretch
{
    uint16_t label = 0;
    std::size_t cores = 0;
    bool isAmidOthers = false;     // near a gap of it, or as a gap near strokes
    float *costs = nullptr;        // of every label, for all its cores; where they are asked for
    float least = 0.0f;            // of these: that of the label
    float second = 0.0f;           // and that of the best other label
    uint32_t changed = 0;          // when it last was, and
    uint32_t judged = 0;           // when nothing could be saved by uniting it
    std::vector<Contact> contacts; // may be absorbed or repeated until they are tidied
};

// The same of a[k] + b[k].
float leastOfSums(const float *a, const float *b, std::size_t count)
{
    float least = std::numeric_limits<float>::max();
    std::size_t k = 0;
#ifdef __SSE2__
    __m128 four = _mm_set1_ps(least);
    for (; k + 4 <= count; k += 4)
        four = _mm_min_ps(four, _mm_add_ps(_mm_loadu_ps(a + k), _mm_loadu_ps(b + k)));
    least = leastOfFour(four);
#endif
    for (; k < count; ++k)
        least = std::min(least, a[k] + b[k]);
    return least;
}

// Which do not overlap.
void add(const float *__restrict from, std::size_t count, float *__restrict to)
{
    for (std::size_t k = 0; k < count; ++k)
        to[k] += from[k];
}

// Unites stretches as long as one label for both costs less than two and what parts them. A gap and
// a stroke of it are never united: where contrast is low some grey between them costs less than all
// of their contacts.
class Strokes
{
public:
    Strokes(const std::vector<Core> &found, const Costs &of, const LabelPlane &labelled)
        : cores(found), costs(of), plane(labelled), width(uint32_t(labelled.width))
    { }

    // The label of every core.
    std::vector<uint16_t> labels()
    {
        for (const Core &core : cores)
            own.push_back(costs.bestOf(core.costs));
        gather();
        findContacts();
        addCosts();
        unite();
        for (std::size_t i = 0; i < cores.size(); ++i)
            own[i] = stretches[rootOf(stretchOf[i])].label;
        return own;
    }

private:
    // Calls use(i, j) for every two cores that are near each other, the earlier first.
    template<typename Use>
    void forEachPair(Use use) const
    {
        std::size_t first[kNear + 1] = {}; // in each row the first core that may be near
        for (std::size_t i = 0; i < cores.size(); ++i) {
            const uint32_t x = cores[i].pixel % width;
            const uint32_t left = std::min(x, uint32_t(kNear));
            const uint32_t right = std::min(width - 1 - x, uint32_t(kNear));
            first[0] = i + 1;
            for (uint32_t dy = 0; dy <= uint32_t(kNear); ++dy) {
                const std::size_t row = std::size_t(cores[i].pixel) + dy * std::size_t(width);
                std::size_t j = first[dy];
                while (j < cores.size() && cores[j].pixel < row - left)
                    ++j;
                first[dy] = j;
                for (; j < cores.size() && cores[j].pixel <= row + right; ++j)
                    use(i, j);
            }
        }
    }

    uint32_t rootOf(uint32_t k) { return ztrace::rootOf(&parent, k); }

    void gather()
    {
        parent.resize(cores.size());
        std::iota(parent.begin(), parent.end(), 0u);
        unlikeOf.assign(cores.size(), 0);
        std::vector<uint8_t> nearOthers(cores.size(), 0); // lighter and darker ones
        forEachPair([&](std::size_t i, std::size_t j) {
            if (cores[i].isLight != cores[j].isLight) {
                nearOthers[i] = nearOthers[j] = 1;
                return;
            }
            if (own[i] == own[j]) {
                parent[rootOf(uint32_t(j))] = rootOf(uint32_t(i));
                return;
            }
            unlike.push_back(uint32_t(j));
            ++unlikeOf[i];
        });
        stretchOf.resize(cores.size());
        std::vector<uint32_t> numbers(cores.size(), 0);
        for (std::size_t i = 0; i < cores.size(); ++i) {
            uint32_t &number = numbers[rootOf(uint32_t(i))];
            if (number == 0) {
                stretches.emplace_back();
                stretches.back().label = own[i];
                number = uint32_t(stretches.size());
            }
            stretchOf[i] = number - 1;
            ++stretches[number - 1].cores;
            stretches[number - 1].isAmidOthers |= nearOthers[i] != 0;
        }
        parent.resize(stretches.size());
        std::iota(parent.begin(), parent.end(), 0u);
    }

    // Calls use(to, other) for every contact of two stretches, from both sides.
    template<typename Use>
    void forEachContact(Use use) const
    {
        const uint32_t *other = unlike.data();
        for (std::size_t i = 0; i < cores.size(); ++i) {
            for (const uint32_t *end = other + unlikeOf[i]; other < end; ++other) {
                use(stretchOf[i], stretchOf[*other]);
                use(stretchOf[*other], stretchOf[i]);
            }
        }
    }

    // Contacts with one stretch that follow each other are one. They are counted first: lists that
    // grow would take twice the memory, where there is least of it.
    void findContacts()
    {
        std::vector<uint32_t> last(stretches.size(), uint32_t(stretches.size()));
        std::vector<uint32_t> counts(stretches.size(), 0);
        forEachContact([&](uint32_t to, uint32_t other) {
            counts[to] += last[to] != other ? 1u : 0u;
            last[to] = other;
        });
        for (std::size_t k = 0; k < stretches.size(); ++k)
            stretches[k].contacts.reserve(counts[k]);
        forEachContact([this](uint32_t to, uint32_t other) {
            std::vector<Contact> &contacts = stretches[to].contacts;
            if (contacts.empty() || contacts.back().other != other)
                contacts.push_back({ other, 0 });
            ++contacts.back().cores;
        });
        unlike = std::vector<uint32_t>();
        unlikeOf = std::vector<uint8_t>();
    }

    // Stretches that are alone keep their labels, whatever they cost.
    void addCosts()
    {
        const std::size_t labels = costs.labels();
        const auto isPriced = [](const Stretch &stretch) {
            return stretch.isAmidOthers || !stretch.contacts.empty();
        };
        sums.assign(labels
                        * std::size_t(std::count_if(stretches.begin(), stretches.end(), isPriced)),
                    0.0f);
        float *next = sums.data();
        for (Stretch &stretch : stretches) {
            if (!isPriced(stretch))
                continue;
            stretch.costs = next;
            next += labels;
        }
        for (std::size_t i = 0; i < cores.size(); ++i) {
            float *sum = stretches[stretchOf[i]].costs;
            if (!sum)
                continue;
            add(costs.row(cores[i].costs), labels, sum);
            takeOffAreas(cores[i].pixel, sum);
        }
        for (Stretch &stretch : stretches) {
            if (!stretch.costs)
                continue;
            stretch.label = placeOfLeast(stretch.costs, labels);
            rank(&stretch);
        }
    }

    // Of the labels of areas that a core touches, the prices of contacts that it would not have.
    void takeOffAreas(uint32_t pixel, float *sum) const
    {
        const int x = int(pixel % width);
        const int y = int(pixel / width);
        for (int v = std::max(0, y - 1); v <= std::min(plane.height - 1, y + 1); ++v) {
            for (int u = std::max(0, x - 1); u <= std::min(plane.width - 1, x + 1); ++u) {
                const uint16_t label = plane.labels[std::size_t(v) * width + std::size_t(u)];
                if (label != kUnlabelled)
                    sum[label] -= kContact;
            }
        }
    }

    void rank(Stretch *stretch) const
    {
        const float *after = stretch->costs + stretch->label + 1;
        stretch->least = stretch->costs[stretch->label];
        stretch->second = std::min(leastOf(stretch->costs, stretch->label),
                                   leastOf(after, costs.labels() - stretch->label - 1));
    }

    // What two cost that stay apart.
    static float apart(const Stretch &a, const Stretch &b, int contacts)
    {
        return a.least + b.least + kContact * float(contacts);
    }

    // Uniting two costs no less than this: one label for both is that of the first, or another one
    // that costs both at least what their best ones do.
    static float leastPrice(const Stretch &a, const Stretch &b, int contacts)
    {
        const float one = std::min(a.least + b.costs[a.label], a.second + b.least);
        const float other = std::min(b.least + a.costs[b.label], b.second + a.least);
        return std::max(one, other) - apart(a, b, contacts);
    }

    // What two cost with the best label for both.
    float together(const Stretch &a, const Stretch &b) const
    {
        return leastOfSums(a.costs, b.costs, costs.labels());
    }

    // That label, the first of several.
    uint16_t labelOfBoth(const Stretch &a, const Stretch &b) const
    {
        const float least = together(a, b);
        std::size_t k = 0;
        while (k + 1 < costs.labels() && a.costs[k] + b.costs[k] != least)
            ++k;
        return uint16_t(k);
    }

    void unite()
    {
        std::vector<uint32_t> order;
        for (uint32_t k = 0; k < stretches.size(); ++k) {
            if (stretches[k].costs)
                order.push_back(k);
        }
        std::stable_sort(order.begin(), order.end(), [this](uint32_t a, uint32_t b) {
            return stretches[a].cores < stretches[b].cores;
        });
        for (bool changed = true; changed;) {
            changed = false;
            for (uint32_t k : order) {
                if (parent[k] == k)
                    changed |= uniteWithBest(k);
            }
        }
    }

    // Every contact once, in the order of their numbers.
    void tidy(uint32_t k)
    {
        std::vector<Contact> &contacts = stretches[k].contacts;
        bool isTidy = true;
        uint32_t last = 0;
        for (Contact &contact : contacts) {
            contact.other = rootOf(contact.other);
            isTidy = isTidy && contact.other != k
                && (&contact == &contacts[0] || contact.other > last);
            last = contact.other;
        }
        if (isTidy)
            return;
        std::sort(contacts.begin(), contacts.end(),
                  [](const Contact &a, const Contact &b) { return a.other < b.other; });
        std::size_t kept = 0;
        for (const Contact &contact : contacts) {
            if (contact.other == k)
                continue;
            if (kept > 0 && contacts[kept - 1].other == contact.other)
                contacts[kept - 1].cores += contact.cores;
            else
                contacts[kept++] = contact;
        }
        contacts.resize(kept);
    }

    // What has been judged is judged again only with what has changed since.
    bool uniteWithBest(uint32_t k)
    {
        tidy(k);
        Stretch &stretch = stretches[k];
        float least = 0.0f;
        uint32_t best = k;
        for (const Contact &contact : stretch.contacts) {
            const Stretch &other = stretches[contact.other];
            const bool isJudged = std::max(stretch.changed, other.changed) < stretch.judged;
            // With one label for both already there is nothing to be saved.
            if (isJudged || stretch.label == other.label
                || leastPrice(stretch, other, contact.cores) >= least)
                continue;
            const float price = together(stretch, other) - apart(stretch, other, contact.cores);
            if (price < least) {
                least = price;
                best = contact.other;
            }
        }
        if (best != k)
            absorb(best, k, labelOfBoth(stretch, stretches[best]));
        else
            stretch.judged = ++clock;
        return best != k;
    }

    void absorb(uint32_t into, uint32_t gone, uint16_t label)
    {
        Stretch &to = stretches[into];
        Stretch &from = stretches[gone];
        add(from.costs, costs.labels(), to.costs);
        to.label = label;
        to.cores += from.cores;
        to.changed = ++clock;
        rank(&to);
        to.contacts.insert(to.contacts.end(), from.contacts.begin(), from.contacts.end());
        from = Stretch();
        parent[gone] = into;
    }

    const std::vector<Core> &cores;
    const Costs &costs;
    const LabelPlane &plane;
    const uint32_t width;
    std::vector<uint16_t> own;
    std::vector<uint32_t> unlike;  // later cores of another label that are near, core by core
    std::vector<uint8_t> unlikeOf; // how many each core has
    std::vector<uint32_t> parent;  // of cores first, of stretches then
    std::vector<uint32_t> stretchOf;
    std::vector<Stretch> stretches;
    std::vector<float> sums; // of the stretches that are priced
    uint32_t clock = 0;
};

// Takes the ridges out of what waits, in the order of their pixels: takes(pixel, ridge, like) says
// whether it is one that some label explains; `like` is as in EdgeMap::RidgePixel.
template<typename Takes>
void takeRidges(const QImage &image, const EdgeMap &edges, std::vector<uint32_t> *waiting,
                Takes takes)
{
    const uint32_t width = uint32_t(image.width());
    std::size_t left = 0;
    auto ridge = edges.ridges().begin();
    for (uint32_t pixel : *waiting) {
        while (ridge != edges.ridges().end() && ridge->pixel < pixel)
            ++ridge;
        const auto isTaken = [&] {
            const QRgb word = row(image, int(pixel / width))[pixel % width];
            return takes(pixel, Ridge { true, word, ridge->beside }, ridge->like);
        };
        if (ridge == edges.ridges().end() || ridge->pixel != pixel || !isTaken())
            (*waiting)[left++] = pixel;
    }
    waiting->resize(left);
}

void labelCore(uint32_t pixel, uint16_t label, EdgeMap *edges, LabelPlane *plane)
{
    const uint32_t width = uint32_t(plane->width);
    plane->labels[pixel] = label;
    edges->row(int(pixel / width))[pixel % width] |= EdgeMap::kOfLine;
}

// Every ridge by itself.
void labelNoise(const QImage &image, std::vector<uint32_t> *waiting, EdgeMap *edges,
                LabelPlane *plane)
{
    const RidgeColours colours(plane->colours);
    takeRidges(image, *edges, waiting, [&](uint32_t pixel, const Ridge &ridge, uint32_t) {
        const int label = colours.nearestTo(ridge);
        if (label >= 0)
            labelCore(pixel, uint16_t(label), edges, plane);
        return label >= 0;
    });
}

} // namespace

std::vector<uint32_t> labelStrokes(const QImage &image, std::vector<uint32_t> waiting,
                                   EdgeMap *edges, LabelPlane *plane)
{
    const std::size_t ridges = edges->ridges().size();
    if (ridges > kFewRidges && double(ridges) > kMostRidges * double(plane->labels.size())) {
        labelNoise(image, &waiting, edges, plane);
        return waiting;
    }
    Costs costs(plane->colours);
    std::vector<Core> cores;
    const int kUnknown = -2;
    std::vector<int> rowsOfLike(ridges, kUnknown); // or -1: a side, or not explained
    takeRidges(image, *edges, &waiting, [&](uint32_t pixel, const Ridge &ridge, uint32_t like) {
        int &row = rowsOfLike[like];
        if (row == kUnknown)
            row = isSide(image, pixel, ridge) ? -1 : costs.rowOf(ridge);
        if (row >= 0)
            cores.push_back({ pixel, uint32_t(row), sumOf(ridge.colour) > sumOf(ridge.beside) });
        return row >= 0;
    });
    const std::vector<uint16_t> labels = Strokes(cores, costs, *plane).labels();
    for (std::size_t i = 0; i < cores.size(); ++i)
        labelCore(cores[i].pixel, labels[i], edges, plane);
    return waiting;
}

} // namespace ztrace
