// (c) the ztrace developers. Licence: see LICENSE.
#include "outline.h"

#include "IndexPlane.h"
#include "direction.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace ztrace {

namespace {

// Directions of a walk, the inside on the right hand.
enum Heading { kRight, kUp, kLeft, kDown };

// What has been passed at a node.
enum Mark : uint8_t {
    kOuterCorner = 1, // from below to the right, around the lower right pixel
    kInnerCorner = 2  // from the right downwards, around the lower right pixel as a hole
};

const int kStepX[4] = { 1, 0, -1, 0 };
const int kStepY[4] = { 0, -1, 0, 1 };

// Direction of the step between the midpoints of two successive edges: [heading][next heading].
// clang-format off: the turns back (right to left, up to down) do not occur
const double kStepDirection[4][4] = {
    { kEast,        kNorthEast,   kNoMovement,  kSouthEast  },
    { kNorthEast,   kNorth,       kNorthWest,   kNoMovement },
    { kNoMovement,  kNorthWest,   kWest,        kSouthWest  },
    { kSouthEast,   kNoMovement,  kSouthWest,   kSouth      },
};
// clang-format on

template<typename Cell>
class Scanner
{
public:
    Scanner(const IndexPlane &p, float shortestOutline, const OutlineSink &outlineSink)
        : plane(p), cells(p.cells<Cell>()), stride(p.stride()), shortest(shortestOutline),
          sink(outlineSink)
    {
        const size_t nodes = static_cast<size_t>(stride) * (static_cast<size_t>(p.height()) + 2);
        markStorage.reset(static_cast<uint8_t *>(std::calloc(nodes, 1)));
        if (!markStorage)
            throw std::bad_alloc();
        marks = markStorage.get();
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
        for (int y = 0; y < plane.height(); ++y) {
            const ptrdiff_t row = (static_cast<ptrdiff_t>(y) + 1) * stride + 1;
            for (int x = 0; x < plane.width(); ++x)
                startAt(row + x, x, y);
        }
    }

private:
    // Starts the outlines whose topmost, leftmost node is (x, y).
    void startAt(ptrdiff_t node, int x, int y)
    {
        const Cell upperLeft = cells[node - stride - 1];
        const Cell upperRight = cells[node - stride];
        const Cell lowerLeft = cells[node - 1];
        const Cell lowerRight = cells[node];
        if (lowerRight == upperRight)
            return;
        if (lowerRight != lowerLeft && lowerRight != upperLeft && !(marks[node] & kOuterCorner)) {
            path.clear();
            walk(node, kRight, 2 * x, 2 * y, lowerRight);
            if (!(shortest > static_cast<float>(path.size())))
                sink(static_cast<int>(lowerRight), path);
        }
        if (upperRight == lowerLeft && upperRight != IndexPlane::borderOf<Cell>()
            && !(marks[node] & kInnerCorner)) {
            // Only the marks are of use: a hole has no outline of its own.
            path.clear();
            walk(node, kDown, 2 * x, 2 * y, upperRight);
        }
    }

    // Walks one outline of entry v from a node, leaving it in a heading, until it is back, and
    // appends the internodes. Coordinates are doubled, so that midpoints are whole.
    void walk(ptrdiff_t start, int heading, int doubledX, int doubledY, Cell v)
    {
        ptrdiff_t node = start;
        do {
            const int midX = doubledX + kStepX[heading];
            const int midY = doubledY + kStepY[heading];
            doubledX = midX + kStepX[heading];
            doubledY = midY + kStepY[heading];
            node += step[heading];
            // A pixel of v ahead on the left turns the walk left, also where the two pixels of
            // the entry touch only at the corner; none ahead at all turns it right.
            int next = heading;
            if (cells[node + aheadLeft[heading]] == v) {
                next = (heading + 1) & 3;
                if (heading == kLeft)
                    marks[node] |= kInnerCorner;
            } else if (cells[node + aheadRight[heading]] != v) {
                next = (heading + 3) & 3;
                if (heading == kUp)
                    marks[node] |= kOuterCorner;
            }
            path.append(midX * 0.5, midY * 0.5, kStepDirection[heading][next]);
            heading = next;
        } while (node != start);
    }

    struct Release
    {
        void operator()(uint8_t *memory) const { std::free(memory); }
    };

    const IndexPlane &plane;
    const Cell *cells;
    ptrdiff_t stride;
    float shortest;
    const OutlineSink &sink;
    std::unique_ptr<uint8_t, Release> markStorage;
    uint8_t *marks; // one a node, at the place of its lower right pixel
    ptrdiff_t step[4];
    ptrdiff_t aheadLeft[4];
    ptrdiff_t aheadRight[4];
    InternodePath path;
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
