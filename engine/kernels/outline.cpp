// (c) the ztrace developers. Licence: see LICENSE.
#include "outline.h"

#include "IndexPlane.h"
#include "direction.h"
#include "memory.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace ztrace {

namespace {

// Directions of a walk, the inside on the right hand.
enum Heading { kRight, kUp, kLeft, kDown };

// What has been passed at a node.
enum Mark : uint8_t {
    kOuterCorner = 1, // from below to the right, around the lower right pixel
    kInnerCorner = 2  // from the right downwards, around the lower right pixel as a hole
};

// The Mark bits of every node, four nodes a byte: new memory is what they cost.
class Marks
{
public:
    explicit Marks(size_t nodes)
        : storage(zeroedBlock(nodes / 4 + 1)), bytes(static_cast<uint8_t *>(storage.get()))
    { }

    bool has(ptrdiff_t node, Mark mark) const { return (bytes[node >> 2] & at(node, mark)) != 0; }
    void set(ptrdiff_t node, Mark mark)
    {
        bytes[node >> 2] = static_cast<uint8_t>(bytes[node >> 2] | at(node, mark));
    }

private:
    static unsigned at(ptrdiff_t node, Mark mark)
    {
        return static_cast<unsigned>(mark) << (2 * (node & 3));
    }

    Block storage;
    uint8_t *bytes;
};

// Half an edge; all coordinates are whole or half numbers, exact as doubles.
const double kHalfStepX[4] = { 0.5, 0.0, -0.5, 0.0 };
const double kHalfStepY[4] = { 0.0, -0.5, 0.0, 0.5 };

// Direction of the step between the midpoints of two successive edges: [heading][next heading].
// The turns back (right to left, up to down) do not occur.
// clang-format off
const uint8_t kStepDirection[4][4] = {
    { kEast,        kNorthEast,   kNoMovement,  kSouthEast  },
    { kNorthEast,   kNorth,       kNorthWest,   kNoMovement },
    { kNoMovement,  kNorthWest,   kWest,        kSouthWest  },
    { kSouthEast,   kNoMovement,  kSouthWest,   kSouth      },
};
// clang-format on

// The internodes of the outline at hand, in arrays that are kept from one to the next.
class OutlineBuffer
{
public:
    OutlineBuffer() : count(0) { grow(); }

    void clear() { count = 0; }
    int size() const { return static_cast<int>(count); }

    void append(double px, double py, uint8_t direction)
    {
        if (count == x.size())
            grow();
        x[count] = px;
        y[count] = py;
        code[count] = direction;
        ++count;
    }

    PathView<uint8_t> view() const
    {
        const PathView<uint8_t> whole = { x.data(), y.data(), code.data(), size() };
        return whole;
    }

private:
    void grow()
    {
        const size_t capacity = x.empty() ? 256 : 2 * x.size();
        x.resize(capacity);
        y.resize(capacity);
        code.resize(capacity);
    }

    std::vector<double> x;
    std::vector<double> y;
    std::vector<uint8_t> code;
    size_t count;
};

// What may start at successive nodes: Mark bits of the nodes where an outline's topmost,
// leftmost node can be, whether it has been passed or not. Plain comparisons side by side, which
// compilers turn into vector code.
template<typename Cell>
void findStarts(const Cell *upper, const Cell *lower, int width, uint8_t *starts)
{
    const Cell border = IndexPlane::borderOf<Cell>();
    for (int x = 0; x < width; ++x) {
        const Cell upperLeft = upper[x - 1];
        const Cell upperRight = upper[x];
        const Cell lowerLeft = lower[x - 1];
        const Cell lowerRight = lower[x];
        const bool edge = lowerRight != upperRight;
        const bool outer = edge & (lowerRight != lowerLeft) & (lowerRight != upperLeft);
        const bool inner = edge & (upperRight == lowerLeft) & (upperRight != border);
        starts[x] = static_cast<uint8_t>((outer ? kOuterCorner : 0) | (inner ? kInnerCorner : 0));
    }
}

template<typename Cell>
class Scanner
{
public:
    Scanner(const IndexPlane &p, float shortestOutline, const OutlineSink &outlineSink)
        : plane(p), cells(p.cells<Cell>()), stride(p.stride()), shortest(shortestOutline),
          sink(outlineSink),
          marks(static_cast<size_t>(stride) * (static_cast<size_t>(p.height()) + 2))
    {
        const ptrdiff_t steps[4] = { 1, -stride, -1, stride };
        // Of the node's four pixels, the cell at the node's own place is the lower right one.
        const ptrdiff_t leftAhead[4] = { -stride, -stride - 1, -1, 0 };
        const ptrdiff_t rightAhead[4] = { 0, -stride, -stride - 1, -1 };
        std::memcpy(step, steps, sizeof step);
        std::memcpy(aheadLeft, leftAhead, sizeof aheadLeft);
        std::memcpy(aheadRight, rightAhead, sizeof aheadRight);
    }

    void scan()
    {
        starts.assign(kChunk, 0);
        for (int y = 0; y < plane.height(); ++y) {
            for (int x = 0; x < plane.width(); x += kChunk)
                scanChunk(x, std::min(int(kChunk), plane.width() - x), y);
        }
    }

private:
    // Nodes of a row that are looked at together.
    enum { kChunk = 64 };

    void scanChunk(int x, int width, int y)
    {
        const ptrdiff_t node = (static_cast<ptrdiff_t>(y) + 1) * stride + 1 + x;
        const Cell *lower = cells + node;
        const Cell *upper = lower - stride;
        // Between equal pixels no outline starts.
        if (!std::memcmp(lower, upper, static_cast<size_t>(width) * sizeof(Cell)))
            return;
        findStarts(upper, lower, width, starts.data());
        for (int i = 0; i < width; i += 8) {
            uint64_t eight;
            std::memcpy(&eight, starts.data() + i, 8);
            if (!eight)
                continue;
            for (int k = i; k < std::min(i + 8, width); ++k) {
                if (starts[static_cast<size_t>(k)])
                    startAt(starts[static_cast<size_t>(k)], node + k, x + k, y);
            }
        }
    }

    // Starts the outlines whose topmost, leftmost node is (x, y), if they have not been walked.
    void startAt(uint8_t kinds, ptrdiff_t node, int x, int y)
    {
        if ((kinds & kOuterCorner) && !marks.has(node, kOuterCorner)) {
            const Cell entry = cells[node];
            path.clear();
            walk<true>(node, kRight, x, y, entry);
            if (!(shortest > static_cast<float>(path.size())))
                sink(static_cast<int>(entry), path.view());
        }
        // Of a hole only the marks are of use: it has no outline of its own.
        if ((kinds & kInnerCorner) && !marks.has(node, kInnerCorner))
            walk<false>(node, kDown, x, y, cells[node - stride]);
    }

    // Walks one outline of entry v from a node, leaving it in a heading, until it is back, and with
    // Keep appends the internodes.
    template<bool Keep>
    void walk(ptrdiff_t start, int heading, double x, double y, Cell v)
    {
        ptrdiff_t node = start;
        do {
            const double midX = x + kHalfStepX[heading];
            const double midY = y + kHalfStepY[heading];
            x = midX + kHalfStepX[heading];
            y = midY + kHalfStepY[heading];
            node += step[heading];
            // A pixel of v ahead on the left turns the walk left, also where the two pixels of
            // the entry touch only at the corner; none ahead at all turns it right.
            int next = heading;
            if (cells[node + aheadLeft[heading]] == v) {
                next = (heading + 1) & 3;
                if (heading == kLeft)
                    marks.set(node, kInnerCorner);
            } else if (cells[node + aheadRight[heading]] != v) {
                next = (heading + 3) & 3;
                if (heading == kUp)
                    marks.set(node, kOuterCorner);
            }
            if (Keep)
                path.append(midX, midY, kStepDirection[heading][next]);
            heading = next;
        } while (node != start);
    }

    const IndexPlane &plane;
    const Cell *cells;
    ptrdiff_t stride;
    float shortest;
    const OutlineSink &sink;
    Marks marks; // of a node at the place of its lower right pixel
    ptrdiff_t step[4];
    ptrdiff_t aheadLeft[4];
    ptrdiff_t aheadRight[4];
    OutlineBuffer path;
    std::vector<uint8_t> starts; // of the chunk at hand
};

template<typename Cell>
void scanCells(const IndexPlane &plane, const Cell *, float shortest, const OutlineSink &sink)
{
    Scanner<Cell>(plane, shortest, sink).scan();
}

} // namespace

void scanOutlines(const IndexPlane &plane, float shortest, const OutlineSink &sink)
{
    plane.visit([&](const auto *cells) { scanCells(plane, cells, shortest, sink); });
}

} // namespace ztrace
