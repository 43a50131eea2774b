// (c) the ztrace developers. Licence: see LICENSE.
//
// A label plane as runs of equal labels, row by row. Everything about the areas of a plane is found
// on its runs, since a page has few of them: docs/tracing/boundary-map.md, "Runs".
#ifndef ZTRACE_TRACING_RUNS_H
#define ZTRACE_TRACING_RUNS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// So that pixels, runs and the edges around an area are counted in 32 bits.
const std::size_t kMostPlanePixels = std::size_t(1) << 30;

// Run k covers the pixels start[k] to end(k) - 1 of its row. Runs are in the order of their first
// pixels; every row begins with a run at 0. A scan makes runs as long as they can be; after labels
// were changed neighbours in a row may have equal ones, which all functions here allow.
struct Runs
{
    int width = 0;
    int height = 0;
    std::vector<uint32_t> firstOfRow; // height + 1 entries, the last one is count()
    std::vector<int32_t> start;       // count() + 1 entries, the last one is 0
    std::vector<uint16_t> label;      // count() entries

    std::size_t count() const { return label.size(); }
    std::size_t pixels() const { return std::size_t(width) * std::size_t(height); }

    // One past the run's last pixel. A 0 begins the next row.
    int end(std::size_t run) const { return start[run + 1] > 0 ? start[run + 1] : width; }

    uint32_t rowBegin(int y) const { return firstOfRow[std::size_t(y)]; }
    uint32_t rowEnd(int y) const { return firstOfRow[std::size_t(y) + 1]; }
};

// Finds runs row by row, so that labels need not be kept.
class RunScanner
{
public:
    // Throws std::length_error for negative sizes and for more than kMostPlanePixels pixels.
    RunScanner(int width, int height);

    // The next row from the top, `width` labels.
    void addRow(const uint8_t *labels);
    void addRow(const uint16_t *labels);

    // The next row as one of two labels a bit, the leftmost in the highest bit of the first byte:
    // ones[0] for zeros, ones[1] for ones. Bytes that the width ends in may hold anything.
    void addBits(const uint8_t *bits, const uint16_t (&ones)[2]);

    // The next row as runs: where each begins, the first at 0, and its label, which no neighbour
    // has.
    void addRuns(const int32_t *begins, const uint16_t *labels, std::size_t count);

    // What was found, when all rows were added.
    Runs take();

private:
    template<typename Label>
    void add(const Label *labels);

    Runs runs;
    std::vector<int32_t> starts; // of one row
};

// The runs of width * height labels, rows from the top without gaps between them. Throws
// std::length_error for negative sizes and for more than kMostPlanePixels pixels.
Runs scanRuns(const uint8_t *labels, int width, int height);
Runs scanRuns(const uint16_t *labels, int width, int height);

// The same pixels in runs that are as long as they can be.
Runs longestRuns(Runs runs);

// About how many pixel edges have different labels on their sides: twice those in rows, since
// boundaries run about as far up and down as across.
std::size_t cracksOf(const Runs &runs);

// Calls use(run, y, begin, end) for all runs in order; pixels begin to end - 1 of row y.
template<typename Use>
void forEachRun(const Runs &runs, Use use)
{
    for (int y = 0; y < runs.height; ++y) {
        for (uint32_t k = runs.rowBegin(y); k < runs.rowEnd(y); ++k)
            use(k, y, runs.start[k], runs.end(k));
    }
}

// Gives the pixels of a plane of the same size the labels of their runs. Labels that the plane
// cannot hold are cut to its width.
template<typename Label>
void paint(const Runs &runs, Label *plane)
{
    forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
        Label *row = plane + std::size_t(y) * std::size_t(runs.width);
        std::fill(row + begin, row + end, Label(runs.label[run]));
    });
}

// Walks along the line between row y - 1 and row y, from the left. Calls
//   contact(above, below, begin, end) for every stretch of it between one run above and one below,
//   corner(above, below, x) where both of them end at x < width; above + 1 and below + 1 go on.
template<typename Contact, typename Corner>
void walkLine(const Runs &runs, int y, Contact contact, Corner corner)
{
    const int32_t *start = runs.start.data();
    const int width = runs.width;
    const auto endOf = [start, width](uint32_t run) {
        const int end = start[std::size_t(run) + 1];
        return end > 0 ? end : width;
    };
    uint32_t above = runs.rowBegin(y - 1);
    uint32_t below = runs.rowBegin(y);
    int aboveEnd = endOf(above);
    int belowEnd = endOf(below);
    for (int x = 0;;) {
        const int end = std::min(aboveEnd, belowEnd);
        contact(above, below, x, end);
        if (end == width)
            return;
        // Which one ends first can hardly be foretold: both ends are read again.
        const bool aboveEnds = aboveEnd == end;
        const bool belowEnds = belowEnd == end;
        if (aboveEnds && belowEnds)
            corner(above, below, end);
        x = end;
        above += aboveEnds ? 1u : 0u;
        below += belowEnds ? 1u : 0u;
        aboveEnd = endOf(above);
        belowEnd = endOf(below);
    }
}

} // namespace ztrace

#endif
