// (c) the ztrace developers. Licence: see LICENSE.
#include "runs.h"

#include <cstring>
#include <stdexcept>

namespace ztrace {

namespace {

uint64_t wordAt(const void *address)
{
    uint64_t word;
    std::memcpy(&word, address, sizeof word);
    return word;
}

// Writes where in the row another label begins, in order, and returns the end of what was written.
// Room for `width` numbers is needed. Words are compared with the words one label before them, so
// that uniform stretches cost a fraction of a step a pixel.
template<typename Label>
int32_t *findStarts(const Label *row, int width, int32_t *found)
{
    const int kInWord = int(sizeof(uint64_t) / sizeof(Label));
    const auto differs = [row](int x) { return wordAt(row + x) ^ wordAt(row + x - 1); };
    const auto note = [row, &found](int x) {
        *found = x;
        found += row[x] != row[x - 1];
    };
    int x = 1;
    while (x + 4 * kInWord <= width) {
        if ((differs(x) | differs(x + kInWord) | differs(x + 2 * kInWord)
             | differs(x + 3 * kInWord))
            == 0) {
            x += 4 * kInWord;
            continue;
        }
        for (int word = 0; word < 4; ++word, x += kInWord) {
            if (differs(x) == 0)
                continue;
            for (int k = 0; k < kInWord; ++k)
                note(x + k);
        }
    }
    for (; x < width; ++x)
        note(x);
    return found;
}

template<typename Label>
Runs scan(const Label *labels, int width, int height)
{
    RunScanner scanner(width, height);
    for (int y = 0; y < height && width > 0; ++y)
        scanner.addRow(labels + std::size_t(y) * std::size_t(width));
    return scanner.take();
}

} // namespace

RunScanner::RunScanner(int width, int height)
{
    if (width < 0 || height < 0 || std::size_t(width) * std::size_t(height) > kMostPlanePixels)
        throw std::length_error("label plane too large");
    runs.width = width;
    runs.height = width > 0 ? height : 0;
    runs.firstOfRow.reserve(std::size_t(runs.height) + 1);
    starts.assign(std::size_t(width) + 1, 0);
}

template<typename Label>
void RunScanner::add(const Label *labels)
{
    runs.firstOfRow.push_back(uint32_t(runs.start.size()));
    const int32_t *end = findStarts(labels, runs.width, starts.data() + 1);
    runs.start.insert(runs.start.end(), static_cast<const int32_t *>(starts.data()), end);
    for (const int32_t *start = starts.data(); start != end; ++start)
        runs.label.push_back(labels[*start]);
}

void RunScanner::addRow(const uint8_t *labels)
{
    add(labels);
}

void RunScanner::addRow(const uint16_t *labels)
{
    add(labels);
}

void RunScanner::addBits(const uint8_t *bits, const uint16_t (&ones)[2])
{
    runs.firstOfRow.push_back(uint32_t(runs.start.size()));
    uint8_t last = bits[0] >> 7;
    const auto begin = [&](int x) {
        runs.start.push_back(x);
        runs.label.push_back(ones[last]);
    };
    begin(0);
    const int bytes = (runs.width + 7) / 8;
    for (int byte = 0; byte < bytes;) {
        const uint8_t same = last ? 0xFF : 0x00;
        if (byte + 8 <= bytes && wordAt(bits + byte) == (last ? ~uint64_t(0) : 0)) {
            byte += 8;
            continue;
        }
        if (bits[byte] != same) {
            for (int bit = 0; bit < 8 && 8 * byte + bit < runs.width; ++bit) {
                const uint8_t own = (bits[byte] >> (7 - bit)) & 1;
                if (own == last)
                    continue;
                last = own;
                begin(8 * byte + bit);
            }
        }
        ++byte;
    }
}

void RunScanner::addRuns(const int32_t *begins, const uint16_t *labels, std::size_t count)
{
    runs.firstOfRow.push_back(uint32_t(runs.start.size()));
    runs.start.insert(runs.start.end(), begins, begins + count);
    runs.label.insert(runs.label.end(), labels, labels + count);
}

Runs RunScanner::take()
{
    runs.firstOfRow.push_back(uint32_t(runs.start.size()));
    runs.start.push_back(0);
    return std::move(runs);
}

Runs scanRuns(const uint8_t *labels, int width, int height)
{
    return scan(labels, width, height);
}

Runs scanRuns(const uint16_t *labels, int width, int height)
{
    return scan(labels, width, height);
}

Runs longestRuns(Runs runs)
{
    uint32_t kept = 0;
    for (int y = 0; y < runs.height; ++y) {
        const uint32_t begin = runs.rowBegin(y);
        const uint32_t end = runs.rowEnd(y);
        const uint32_t first = kept;
        for (uint32_t k = begin; k < end; ++k) {
            if (k > begin && runs.label[k] == runs.label[kept - 1])
                continue;
            runs.start[kept] = runs.start[k];
            runs.label[kept] = runs.label[k];
            ++kept;
        }
        runs.firstOfRow[std::size_t(y)] = first;
    }
    runs.firstOfRow[std::size_t(runs.height)] = kept;
    runs.start.resize(kept + 1);
    runs.start.back() = 0;
    runs.label.resize(kept);
    return runs;
}

std::size_t cracksOf(const Runs &runs)
{
    std::size_t count = 0;
    for (std::size_t run = 1; run < runs.count(); ++run)
        count += runs.start[run] > 0 && runs.label[run] != runs.label[run - 1] ? 1u : 0u;
    return 2 * count;
}

} // namespace ztrace
