// (c) the ztrace developers. Licence: see LICENSE.
#include "cracks.h"

#include <stdexcept>

namespace ztrace {

namespace {

const uint32_t kNoEnd = kNoReference;
const std::size_t kMostStretches = std::size_t(1) << 30;

// A row of runs that is read from the left, or the outside above and below the plane.
class RowReader
{
public:
    RowReader(const Runs &r, const Components &c, int y)
        : runs(r), areas(c), isOutside(y < 0 || y >= r.height)
    {
        if (isOutside)
            return;
        run = runs.rowBegin(y);
        upright = run + uint32_t(y);
    }

    int area() const { return isOutside ? kOutsideArea : int(areas.ofRun[run]); }

    // -1 outside, so that it differs from all others.
    int label() const { return isOutside ? -1 : int(runs.label[run]); }

    int end() const { return isOutside ? runs.width : runs.end(run); }

    // The stretch at the left end of the run; after the last run, at the right end of the row.
    uint32_t leftUpright() const { return upright; }

    bool hasUprights() const { return !isOutside; }

    void next()
    {
        ++run;
        ++upright;
    }

private:
    const Runs &runs;
    const Components &areas;
    const bool isOutside;
    uint32_t run = 0;
    uint32_t upright = 0;
};

// What lies around a lattice point. Quarters and headings are in the order of Node.
struct Place
{
    int x;
    int y;
    int area[4] = { kOutsideArea, kOutsideArea, kOutsideArea, kOutsideArea };
    int label[4] = { -1, -1, -1, -1 };
    uint32_t end[4] = { kNoEnd, kNoEnd, kNoEnd, kNoEnd }; // that leave by each heading

    void setQuarter(int quarter, const RowReader &reader)
    {
        area[quarter] = reader.area();
        label[quarter] = reader.label();
    }
};

enum Quarter { kNorthEast, kSouthEast, kSouthWest, kNorthWest };

class CrackFinder
{
public:
    CrackFinder(const Runs &r, const Components &c) : runs(r), areas(c) { }

    Cracks run()
    {
        if (runs.width == 0 || runs.height == 0)
            return std::move(cracks);
        pixelsOfLabel = countLabels(runs);
        cracks.uprights = uint32_t(runs.count() + std::size_t(runs.height));
        cracks.link.assign(2 * std::size_t(cracks.uprights), kNoEnd);
        for (int y = 0; y <= runs.height; ++y) {
            cracks.firstFlat.push_back(uint32_t(cracks.flats.size()));
            followLine(y);
            if (cracks.link.size() / 2 > kMostStretches)
                throw std::length_error("too many boundaries");
        }
        cracks.firstFlat.push_back(uint32_t(cracks.flats.size()));
        return std::move(cracks);
    }

private:
    // From place to place along line y: wherever a run ends above or below.
    void followLine(int y)
    {
        RowReader above(runs, areas, y - 1);
        RowReader below(runs, areas, y);
        Place place { 0, y };
        setUprights(&place, above, below, true, true);
        while (place.x < runs.width) {
            place.setQuarter(kNorthEast, above);
            place.setQuarter(kSouthEast, below);
            const int aboveEnd = above.end();
            const int belowEnd = below.end();
            const int end = std::min(aboveEnd, belowEnd);
            Place nextPlace { end, y };
            nextPlace.setQuarter(kNorthWest, above);
            nextPlace.setQuarter(kSouthWest, below);
            if (above.area() != below.area())
                addFlat({ place.x, end - place.x, above.area(), below.area() }, &place, &nextPlace);
            joinAt(place);
            if (aboveEnd == end)
                above.next();
            if (belowEnd == end)
                below.next();
            setUprights(&nextPlace, above, below, aboveEnd == end, belowEnd == end);
            place = nextPlace;
        }
        joinAt(place);
    }

    static void setUprights(Place *place, const RowReader &above, const RowReader &below, bool up,
                            bool down)
    {
        if (up && above.hasUprights())
            place->end[kUp] = 2 * above.leftUpright() + 1;
        if (down && below.hasUprights())
            place->end[kDown] = 2 * below.leftUpright();
    }

    void addFlat(const FlatStretch &flat, Place *from, Place *to)
    {
        const uint32_t stretch = uint32_t(cracks.link.size() / 2);
        cracks.flats.push_back(flat);
        cracks.link.push_back(kNoEnd);
        cracks.link.push_back(kNoEnd);
        from->end[kRight] = 2 * stretch;
        to->end[kLeft] = 2 * stretch + 1;
    }

    void joinAt(const Place &place)
    {
        const int count = int(place.end[0] != kNoEnd) + int(place.end[1] != kNoEnd)
            + int(place.end[2] != kNoEnd) + int(place.end[3] != kNoEnd);
        const bool isCorner
            = (place.x == 0 || place.x == runs.width) && (place.y == 0 || place.y == runs.height);
        if (count == 2 && !isCorner)
            joinTwo(place);
        else if (count < 4 || !joinAcross(place))
            addNode(place);
    }

    void link(uint32_t a, uint32_t b)
    {
        cracks.link[a] = b;
        cracks.link[b] = a;
    }

    void joinTwo(const Place &place)
    {
        uint32_t first = kNoEnd;
        for (uint32_t end : place.end) {
            if (end == kNoEnd)
                continue;
            if (first != kNoEnd)
                link(first, end);
            first = end;
        }
    }

    // Where an area goes on across the corner, the boundaries of the other two turn around them.
    bool joinAcross(const Place &place)
    {
        bool falling = place.label[kNorthWest] == place.label[kSouthEast];
        const bool rising = place.label[kNorthEast] == place.label[kSouthWest];
        if (!falling && !rising)
            return false;
        if (falling && rising)
            falling = goesOnAcross(uint16_t(place.label[kNorthWest]),
                                   uint16_t(place.label[kNorthEast]), pixelsOfLabel);
        link(place.end[kUp], place.end[falling ? kRight : kLeft]);
        link(place.end[kDown], place.end[falling ? kLeft : kRight]);
        return true;
    }

    void addNode(const Place &place)
    {
        Node node;
        node.x = place.x;
        node.y = place.y;
        for (int k = 0; k < 4; ++k) {
            node.area[k] = place.area[k];
            node.leaving[k] = place.end[k];
            if (place.end[k] != kNoEnd)
                cracks.link[place.end[k]] = kAtNode + uint32_t(cracks.nodes.size());
        }
        cracks.nodes.push_back(node);
    }

    const Runs &runs;
    const Components &areas;
    std::vector<uint32_t> pixelsOfLabel;
    Cracks cracks;
};

} // namespace

Cracks findCracks(const Runs &runs, const Components &areas)
{
    return CrackFinder(runs, areas).run();
}

} // namespace ztrace
