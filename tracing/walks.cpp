// (c) the ztrace developers. Licence: see LICENSE.
#include "tracing/walks.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ztrace {

namespace {

// Powers of two, in pixels: far below what a picture tells, and far above the rounding of doubles.
const int kPathGrid = 26; // bits behind the point; of coordinates up to 2^25

fit::Point turnedBack(fit::Point p, Heading heading)
{
    switch (heading) {
    case kDown:
        return { p.y, -p.x };
    case kLeft:
        return { -p.x, -p.y };
    case kUp:
        return { -p.y, p.x };
    default:
        return p;
    }
}

fit::Point placeInPose(const Pose &pose, fit::Point p)
{
    const fit::Point q
        = turnedBack(p - fit::Point { double(pose.x), double(pose.y) }, pose.heading);
    return { q.x, pose.mirrored ? -q.y : q.y };
}

fit::Point placeInPicture(const Pose &pose, fit::Point p)
{
    // A quarter turn is undone by the other one.
    const Heading back = turned(kRight, 4 - int(pose.heading));
    return fit::Point { double(pose.x), double(pose.y) }
    + turnedBack({ p.x, pose.mirrored ? -p.y : p.y }, back);
}

// Whole shapes are the same after half a turn; after a quarter turn their axes change places.
template<typename Place>
fit::Path placed(const Pose &pose, fit::Path path, const Place &place)
{
    for (fit::Piece &piece : path.pieces) {
        for (fit::Point *p :
             { &piece.start, &piece.end, &piece.control, &piece.control2, &piece.centre })
            *p = place(*p);
        if (pose.mirrored) {
            piece.bulge = -piece.bulge;
            piece.angle = -piece.angle;
        }
        if (!fit::isWhole(piece.kind))
            continue;
        if (stepX(pose.heading) == 0)
            std::swap(piece.half[0], piece.half[1]);
        piece.start = piece.end = pointAt(piece, 0);
    }
    return path;
}

// A way to walk along a chain: over its stretches from one of them on, forwards or backwards.
struct Way
{
    std::size_t start; // stretch
    bool reversed;
    bool mirrored;
};

// The stretches of a chain as they are walked, each with the turn after it.
class Stretches
{
public:
    Stretches(const BoundaryMap &map, const Chain &chain)
        : moves(map.moves.data() + chain.firstMove), count(chain.moves),
          closed(chain.startNode == kNoNode)
    { }

    std::size_t size() const { return count; }

    // Number k of a way; past the last one of a loop the first one follows.
    uint64_t code(const Way &way, std::size_t k) const
    {
        const Move own = moves[place(way, k)];
        const uint64_t length = uint64_t(own.length()) << 1;
        if (!closed && k + 1 >= count)
            return length;
        const Move next = moves[place(way, k + 1)];
        const bool right = turned(own.heading(), 1) == next.heading();
        return length | uint64_t(right != way.mirrored);
    }

    Heading heading(const Way &way, std::size_t k) const
    {
        return turned(moves[place(way, k)].heading(), way.reversed ? 2 : 0);
    }

    std::size_t place(const Way &way, std::size_t k) const
    {
        std::size_t i = k + way.start; // both below the count, or the count past that
        if (i >= count)
            i -= count;
        return way.reversed ? count - 1 - i : i;
    }

private:
    const Move *moves;
    const std::size_t count;
    const bool closed;
};

int compare(const Stretches &stretches, const Way &a, const Way &b)
{
    for (std::size_t k = 0; k < stretches.size(); ++k) {
        const uint64_t one = stretches.code(a, k);
        const uint64_t other = stretches.code(b, k);
        if (one != other)
            return one < other ? -1 : 1;
    }
    return 0;
}

// Sets the start to that of the least of all rotations, by comparing two of them and passing over
// all that cannot be it; returns after how many stretches the loop looks the same again.
std::size_t findLeastStart(const Stretches &stretches, Way *way)
{
    const std::size_t n = stretches.size();
    const Way plain = { 0, way->reversed, way->mirrored };
    std::size_t i = 0, j = 1, k = 0;
    while (i < n && j < n && k < n) {
        const uint64_t a = stretches.code(plain, (i + k) % n);
        const uint64_t b = stretches.code(plain, (j + k) % n);
        if (a == b) {
            ++k;
            continue;
        }
        (a > b ? i : j) += k + 1;
        if (i == j)
            ++j;
        k = 0;
    }
    way->start = std::min(i, j);
    return k == n ? std::max(i, j) - way->start : n;
}

// How a picture as a whole is turned, by what lies to which side of its middle.
class Orientation
{
public:
    Orientation(const BoundaryMap &map, const std::vector<uint64_t> &keyOfLabel)
        : width(map.runs.width), height(map.runs.height)
    {
        // Where one kind of weights is in balance, another one hardly is.
        for (int kind = 0; kind < 3 && isBalanced(); ++kind)
            weigh(map, keyOfLabel, kind);
        signX = byX < 0 ? -1 : 1;
        signY = byY < 0 ? -1 : 1;
        swapped = signX * byX < signY * byY;
    }

    // Appends a place, or a direction, in the frame that turns with the picture.
    void addPlace(int x, int y, std::vector<uint64_t> *into) const
    {
        addDirection(2 * x - width, 2 * y - height, into);
    }
    void addDirection(int x, int y, std::vector<uint64_t> *into) const
    {
        const uint64_t a = uint64_t(signX * int64_t(x));
        const uint64_t b = uint64_t(signY * int64_t(y));
        into->push_back(swapped ? b : a);
        into->push_back(swapped ? a : b);
    }

private:
    bool isBalanced() const { return byX == 0 || byY == 0 || byX == byY || byX == -byY; }

    // Areas weigh what their colour and size tell, 12 bits. Moments are exact up to 2^40 pixels at
    // 2^12 from the middle; beyond they wrap, to the same numbers however the picture is turned.
    void weigh(const BoundaryMap &map, const std::vector<uint64_t> &keyOfLabel, int kind)
    {
        std::vector<int64_t> weights;
        for (const Component &area : map.areas.list) {
            const uint64_t size = uint64_t(area.area) << 32 | area.border;
            const uint64_t key = (keyOfLabel[area.label] + 1) * 0xC2B2AE3D27D4EB4Fu + size;
            weights.push_back(int64_t((key * 0x9E3779B97F4A7C15u) >> (52 - 12 * kind) & 0xFFFu));
        }
        uint64_t x = 0;
        uint64_t y = 0;
        forEachRun(map.runs, [&](uint32_t run, int row, int begin, int end) {
            const int64_t weight = weights[map.areas.ofRun[run]] * (end - begin);
            x += uint64_t(weight * (begin + end - width));
            y += uint64_t(weight * (2 * row + 1 - height));
        });
        byX = int64_t(x);
        byY = int64_t(y);
    }

    const int width;
    const int height;
    int64_t byX = 0;
    int64_t byY = 0;
    int64_t signX;
    int64_t signY;
    bool swapped;
};

class WalkSettler
{
public:
    WalkSettler(BoundaryMap *m, const WalkKeys &k)
        : map(*m), keys(k), orientation(*m, k.ofLabel), isReversed(m->chains.size(), 0)
    { }

    std::vector<Pose> run()
    {
        std::vector<Pose> poses;
        poses.reserve(map.chains.size());
        for (std::size_t k = 0; k < map.chains.size(); ++k)
            poses.push_back(settle(k));
        for (Node &node : map.nodes) {
            for (uint32_t &leaving : node.leaving) {
                if (leaving != kNoReference)
                    leaving ^= uint32_t(isReversed[chainOf(leaving)]);
            }
        }
        for (uint32_t &reference : map.references)
            reference ^= uint32_t(isReversed[chainOf(reference)]);
        return poses;
    }

private:
    Pose settle(std::size_t number)
    {
        Chain &chain = map.chains[number];
        const Way way = bestWay(chain);
        apply(way, &chain);
        isReversed[number] = way.reversed;
        return { chain.x, chain.y, map.moves[chain.firstMove].heading(), way.mirrored };
    }

    // Loops come with their inside on the right.
    Way bestWay(const Chain &chain)
    {
        const Stretches stretches(map, chain);
        best.clear();
        if (chain.startNode == kNoNode) {
            for (bool back : { false, true }) {
                Way way = { 0, back, back };
                const std::size_t period = findLeastStart(stretches, &way);
                const int order = best.empty() ? -1 : compare(stretches, way, best.front());
                if (order > 0)
                    continue;
                if (order < 0)
                    best.clear();
                for (; way.start < stretches.size(); way.start += period)
                    best.push_back(way);
            }
        } else {
            for (int k = 0; k < 4; ++k)
                offer(stretches, { 0, k >= 2, k % 2 != 0 });
        }
        return best.size() == 1 ? best.front() : tellApart(stretches, chain);
    }

    void offer(const Stretches &stretches, const Way &way)
    {
        const int order = best.empty() ? -1 : compare(stretches, way, best.front());
        if (order < 0)
            best.clear();
        if (order <= 0)
            best.push_back(way);
    }

    Way tellApart(const Stretches &stretches, const Chain &chain)
    {
        std::size_t least = 0;
        describe(stretches, chain, best.front(), &leastText);
        for (std::size_t k = 1; k < best.size(); ++k) {
            describe(stretches, chain, best[k], &text);
            if (text < leastText) {
                least = k;
                text.swap(leastText);
            }
        }
        return best[least];
    }

    // What lies to the right and left all along, as seen in the frame of the way.
    void describe(const Stretches &stretches, const Chain &chain, const Way &way,
                  std::vector<uint64_t> *into)
    {
        into->clear();
        const bool swapped = way.reversed != way.mirrored;
        addArea(swapped ? chain.left : chain.right, into);
        addArea(swapped ? chain.right : chain.left, into);
        if (chain.startNode != kNoNode) {
            const int first = way.reversed ? chain.endNode : chain.startNode;
            const int last = way.reversed ? chain.startNode : chain.endNode;
            addNode(first, stretches.heading(way, 0), way.mirrored, into);
            const Heading arriving = stretches.heading(way, stretches.size() - 1);
            addNode(last, turned(arriving, 2), way.mirrored, into);
        }
        if (keys.ofPixel)
            addPixels(stretches, chain, way, into);
        int x = chain.x;
        int y = chain.y;
        findStart(stretches, chain, way, &x, &y);
        orientation.addPlace(x, y, into);
        const Heading ahead = stretches.heading(way, 0);
        const Heading aside = turned(ahead, way.mirrored ? 3 : 1);
        orientation.addDirection(stepX(ahead), stepY(ahead), into);
        orientation.addDirection(stepX(aside), stepY(aside), into);
    }

    void addArea(int area, std::vector<uint64_t> *into) const
    {
        if (area == kOutsideArea) {
            into->insert(into->end(), 2, ~uint64_t(0));
            return;
        }
        const Component &component = map.areas.list[std::size_t(area)];
        into->push_back(keys.ofLabel[component.label]);
        into->push_back(uint64_t(component.area) << 32 | component.border);
    }

    void addNode(int number, Heading leaving, bool mirrored, std::vector<uint64_t> *into) const
    {
        const Node &node = map.nodes[std::size_t(number)];
        for (int k : { 1, 0, 2, 3 })
            addArea(node.area[turned(leaving, mirrored ? 1 - k : k)], into);
    }

    void addPixels(const Stretches &stretches, const Chain &chain, const Way &way,
                   std::vector<uint64_t> *into) const
    {
        int x = chain.x;
        int y = chain.y;
        findStart(stretches, chain, way, &x, &y);
        const Move *moves = map.moves.data() + chain.firstMove;
        for (std::size_t k = 0; k < stretches.size(); ++k) {
            const Heading heading = stretches.heading(way, k);
            for (int n = moves[stretches.place(way, k)].length(); n > 0; --n) {
                addBeside(x, y, heading, !way.mirrored, into);
                addBeside(x, y, heading, way.mirrored, into);
                x += stepX(heading);
                y += stepY(heading);
            }
        }
    }

    void addBeside(int x, int y, Heading heading, bool right, std::vector<uint64_t> *into) const
    {
        const Heading aside = turned(heading, right ? 1 : 3);
        const int px = x + (stepX(heading) + stepX(aside) - 1) / 2;
        const int py = y + (stepY(heading) + stepY(aside) - 1) / 2;
        const bool inside = px >= 0 && py >= 0 && px < map.runs.width && py < map.runs.height;
        into->push_back(inside ? keys.ofPixel(px, py) : ~uint64_t(0));
    }

    // Moves a place from where the chain begins to where the way does.
    void findStart(const Stretches &stretches, const Chain &chain, const Way &way, int *x,
                   int *y) const
    {
        const Move *moves = map.moves.data() + chain.firstMove;
        const std::size_t first = stretches.place(way, 0) + (way.reversed ? 1 : 0);
        for (std::size_t k = 0; k < first; ++k) {
            *x += stepX(moves[k].heading()) * moves[k].length();
            *y += stepY(moves[k].heading()) * moves[k].length();
        }
    }

    void apply(const Way &way, Chain *chain)
    {
        if (!way.reversed && way.start == 0)
            return;
        const Stretches stretches(map, *chain);
        findStart(stretches, *chain, way, &chain->x, &chain->y);
        walk.clear();
        for (std::size_t k = 0; k < stretches.size(); ++k) {
            const Move move = map.moves[chain->firstMove + stretches.place(way, k)];
            walk.push_back({ uint32_t(4 * move.length()) + uint32_t(stretches.heading(way, k)) });
        }
        std::copy(walk.begin(), walk.end(), map.moves.begin() + chain->firstMove);
        if (way.reversed) {
            std::swap(chain->left, chain->right);
            std::swap(chain->startNode, chain->endNode);
        }
    }

    BoundaryMap &map;
    const WalkKeys &keys;
    const Orientation orientation;
    std::vector<char> isReversed; // per chain: against the map that came
    std::vector<Way> best;
    std::vector<Move> walk;
    std::vector<uint64_t> text, leastText;
};

} // namespace

ChainPoints intoPose(const Pose &pose, ChainPoints points)
{
    for (std::size_t k = 0; k < points.x.size(); ++k) {
        const fit::Point p = placeInPose(
            pose, { onGrid(points.x[k], kPointGrid), onGrid(points.y[k], kPointGrid) });
        points.x[k] = p.x;
        points.y[k] = p.y;
        points.sigma[k] = onGrid(points.sigma[k], kPointGrid);
    }
    return points;
}

fit::Path intoPose(const Pose &pose, fit::Path path)
{
    return placed(pose, std::move(path),
                  [&](fit::Point p) { return placeInPose(pose, onGrid(p, kPathGrid)); });
}

fit::Path outOfPose(const Pose &pose, fit::Path path)
{
    return placed(pose, std::move(path),
                  [&](fit::Point p) { return placeInPicture(pose, onGrid(p, kPathGrid)); });
}

fit::Coverage intoPose(const Pose &pose, const fit::Coverage &coverage)
{
    const fit::Point a = placeInPose(pose, { double(coverage.left), double(coverage.top) });
    const fit::Point b = placeInPose(
        pose, { double(coverage.left + coverage.width), double(coverage.top + coverage.height) });
    fit::Coverage result;
    result.left = int(std::min(a.x, b.x));
    result.top = int(std::min(a.y, b.y));
    result.width = int(std::fabs(b.x - a.x));
    result.height = int(std::fabs(b.y - a.y));
    result.sigma = onGrid(coverage.sigma, kPointGrid);
    result.right.resize(coverage.right.size());
    result.counts.resize(coverage.counts.size());
    for (std::size_t k = 0; k < coverage.right.size(); ++k) {
        const auto width = std::size_t(coverage.width);
        const std::size_t column = k % width;
        const std::size_t row = k / width;
        const fit::Point centre = placeInPose(
            pose, { coverage.left + double(column) + 0.5, coverage.top + double(row) + 0.5 });
        const auto at = std::size_t(centre.y - result.top) * std::size_t(result.width)
            + std::size_t(centre.x - result.left);
        const double right = onGrid(coverage.right[k], kPointGrid);
        result.right[at] = pose.mirrored ? 1 - right : right;
        result.counts[at] = coverage.counts[k];
    }
    return result;
}

// Fowler, Noll and Vo's hash of the stretches.
uint64_t hashOfWalk(const BoundaryMap &map, const Pose &pose, uint32_t chain)
{
    const Stretches stretches(map, map.chains[chain]);
    uint64_t hash = 14695981039346656037u;
    for (std::size_t k = 0; k < stretches.size(); ++k)
        hash = (hash ^ stretches.code({ 0, false, pose.mirrored }, k)) * 1099511628211u;
    return hash;
}

std::vector<Pose> settleWalks(BoundaryMap *map, const WalkKeys &keys)
{
    return WalkSettler(map, keys).run();
}

} // namespace ztrace
