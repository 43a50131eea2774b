// (c) the ztrace developers. Licence: see LICENSE.
#include "components.h"

#include "imaging/forest.h"

namespace ztrace {

namespace {

// Disjoint sets of runs. The lowest run of a set leads it, and no run points to a later one.
class Sets
{
public:
    explicit Sets(std::vector<uint32_t> *l) : leader(*l) { }

    uint32_t find(uint32_t a) { return rootOf(&leader, a); }

    void join(uint32_t a, uint32_t b)
    {
        a = find(a);
        b = find(b);
        leader[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<uint32_t> &leader;
};

// One line after the other: `sets` join the runs that hang together; hidden[k] gets the pixel edges
// of run k's upper and left side beyond which its own component goes on.
template<Connectivity kConnectivity>
void joinRuns(const Runs &runs, Sets *sets, std::vector<uint32_t> *hidden)
{
    const std::vector<uint16_t> &label = runs.label;
    std::vector<uint32_t> pixelsOfLabel;
    if (kConnectivity == Connectivity::Split)
        pixelsOfLabel = countLabels(runs);
    const auto contact = [&](uint32_t above, uint32_t below, int begin, int end) {
        if (label[above] != label[below])
            return;
        (*hidden)[below] += uint32_t(end - begin);
        sets->join(above, below);
    };
    const auto corner = [&](uint32_t above, uint32_t below, int) {
        if (kConnectivity == Connectivity::Edges)
            return;
        const bool falling = label[above] == label[below + 1];
        const bool rising = label[above + 1] == label[below];
        const bool crossing = kConnectivity == Connectivity::Split && falling && rising
            && label[above] != label[below];
        const bool fallingGoesOn
            = crossing && goesOnAcross(label[above], label[below], pixelsOfLabel);
        if (falling && (!crossing || fallingGoesOn))
            sets->join(above, below + 1);
        if (rising && (!crossing || !fallingGoesOn))
            sets->join(above + 1, below);
    };
    for (int y = 0; y < runs.height; ++y) {
        for (uint32_t k = runs.rowBegin(y) + 1; k < runs.rowEnd(y); ++k) {
            if (label[k] != label[k - 1])
                continue;
            ++(*hidden)[k];
            sets->join(k - 1, k);
        }
        if (y > 0)
            walkLine(runs, y, contact, corner);
    }
}

std::vector<uint32_t> joinedRuns(const Runs &runs, Connectivity connectivity,
                                 std::vector<uint32_t> *hidden)
{
    std::vector<uint32_t> leader(runs.count());
    for (std::size_t k = 0; k < leader.size(); ++k)
        leader[k] = uint32_t(k);
    Sets sets(&leader);
    switch (connectivity) {
    case Connectivity::Corners:
        joinRuns<Connectivity::Corners>(runs, &sets, hidden);
        break;
    case Connectivity::Edges:
        joinRuns<Connectivity::Edges>(runs, &sets, hidden);
        break;
    case Connectivity::Split:
        joinRuns<Connectivity::Split>(runs, &sets, hidden);
        break;
    }
    return leader;
}

std::size_t countLeaders(const std::vector<uint32_t> &leader)
{
    std::size_t count = 0;
    for (std::size_t k = 0; k < leader.size(); ++k)
        count += leader[k] == k;
    return count;
}

uint32_t rimEdges(const Runs &runs, int y, int begin, int end)
{
    const uint32_t length = uint32_t(end - begin);
    return uint32_t(begin == 0) + uint32_t(end == runs.width) + (y == 0 ? length : 0)
        + (y == runs.height - 1 ? length : 0);
}

} // namespace

std::vector<uint32_t> countLabels(const Runs &runs)
{
    std::vector<uint32_t> pixels;
    for (std::size_t k = 0; k < runs.count(); ++k) {
        const std::size_t label = runs.label[k];
        if (label >= pixels.size())
            pixels.resize(label + 1, 0);
        pixels[label] += uint32_t(runs.end(k) - runs.start[k]);
    }
    return pixels;
}

Components findComponents(const Runs &runs, Connectivity connectivity)
{
    Components components;
    std::vector<uint32_t> hidden(runs.count(), 0);
    components.ofRun = joinedRuns(runs, connectivity, &hidden);
    std::vector<Component> &list = components.list;
    list.reserve(countLeaders(components.ofRun));
    forEachRun(runs, [&](uint32_t run, int y, int begin, int end) {
        // The run it points to came before and holds its component's number already.
        uint32_t &number = components.ofRun[run];
        const bool isFirst = number == run;
        number = isFirst ? uint32_t(list.size()) : components.ofRun[number];
        if (isFirst) {
            const uint32_t pixel
                = uint32_t(std::size_t(y) * std::size_t(runs.width) + std::size_t(begin));
            list.push_back({ pixel, 0, 0, 0, begin, y, end - 1, y, runs.label[run] });
        }
        Component &component = list[number];
        const uint32_t length = uint32_t(end - begin);
        component.area += length;
        // Every hidden edge is one of this run and one of the run beyond it.
        component.border += 2 * (length + 1 - hidden[run]);
        component.rim += rimEdges(runs, y, begin, end);
        component.left = std::min(component.left, begin);
        component.right = std::max(component.right, end - 1);
        component.bottom = y;
    });
    return components;
}

} // namespace ztrace
