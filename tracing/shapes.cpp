// (c) the ztrace developers. Licence: see LICENSE.
#include "shapes.h"

#include "chainfit.h"
#include "composition.h"
#include "crossings.h"
#include "edgecolours.h"
#include "equalchains.h"
#include "meetings.h"
#include "nodeplaces.h"
#include "ordering.h"
#include "passedover.h"
#include "smallloops.h"
#include "throughnodes.h"
#include "touchingcorners.h"
#include "turnedover.h"
#include "walks.h"
#include "workers.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace ztrace {

namespace {

// Cracks that a thread takes at a time, and that a further thread is worth: about a quarter of a
// millisecond and four, where to start one takes less than a tenth.
const std::size_t kCracksAtOnce = 256;
const std::size_t kCracksAThread = 4096;
// A soft edge tells a hundredth of a pixel at best. Points of a staircase are off by 0.3: a tenth
// says all that is in them and halves a page's file. With few outlines bytes do not matter.
const double kPrecision = 0.01;
const double kRoughPrecision = 0.1;
const std::size_t kFewOutlines = 1000;
const int kMostTimes = kCloserTimes + kCrackTimes + 1; // that a chain is fitted again
const std::size_t kMostOfSmall = 200; // points of a loop that is held against the pixels' areas
const double kNearNode = 6;           // points between a node and what it is put back for

Tone toneOf(QRgb colour, int channels)
{
    if (channels == 1)
        return { { float(qGray(colour)), 0, 0, 0 } };
    const float alpha = float(qAlpha(colour)) / 255.0f;
    return { { float(qRed(colour)) * alpha, float(qGreen(colour)) * alpha,
               float(qBlue(colour)) * alpha, float(qAlpha(colour)) } };
}

class ChainFitter
{
public:
    ChainFitter(const Areas &areas, const EdgePicture &picture, BoundaryMap boundaries,
                unsigned mostThreads)
        : map(std::move(boundaries)), poses(settleWalks(&map, walkKeys(areas, picture))),
          edges(picture, map,
                picture.tones.empty() ? tonesOf(areas.colours, picture.channels) : picture.tones)
    {
        points.resize(map.chains.size());
        paths.resize(map.chains.size());
        std::vector<uint32_t> chains(map.chains.size());
        std::iota(chains.begin(), chains.end(), 0u);
        forEachChain(chains, mostThreads,
                     [this](uint32_t chain) { points[chain] = pointsOf(chain); });
        anySoft = std::any_of(points.begin(), points.end(),
                              [](const ChainPoints &p) { return p.edge == fit::Edge::Soft; });
        nodes = placesOfNodes(map, points);
        if (anySoft)
            paths = fitThroughNodes(map, poses, points, &nodes, mostThreads);
        small.assign(map.chains.size(), 0);
        forEachChain(chains, mostThreads, [this](uint32_t chain) { takePose(chain); });
        const EqualChains equal = equalChains(points, loops());
        chains.erase(std::remove_if(chains.begin(), chains.end(),
                                    [&](uint32_t chain) { return !equal.isFirst[chain]; }),
                     chains.end());
        forEachChain(chains, mostThreads, [&](uint32_t chain) { fitEqual(chain, equal); });
        points = {};
        paths = fitSmallLoops(map, poses, edges, equal, std::move(paths), small, mostThreads);
        joinCorners(mostThreads);
        part(mostThreads);
    }

    void putInOrder(fit::Snap snap, unsigned mostThreads)
    {
        if (snap != fit::Snap::None)
            ztrace::putInOrder(map, edges, snap, mostThreads, &paths);
    }

    // What was fitted; nothing is left here.
    FittedBoundaries take() { return { std::move(map), std::move(paths) }; }

    // Whether no boundary between areas was found between the pixels.
    bool allHard() const { return !anySoft; }

private:
    static std::vector<Tone> tonesOf(const std::vector<QRgb> &colours, int channels)
    {
        std::vector<Tone> tones;
        for (QRgb colour : colours)
            tones.push_back(toneOf(colour, channels));
        return tones;
    }

    static WalkKeys walkKeys(const Areas &areas, const EdgePicture &picture)
    {
        WalkKeys keys;
        keys.ofLabel.assign(areas.colours.begin(), areas.colours.end());
        if (!picture.hard)
            keys.ofPixel = [&picture](int x, int y) {
                uint64_t value = 0;
                for (int c = 0; c < picture.channels; ++c)
                    value = value << 8 | picture.at(x, y)[c];
                return value;
            };
        return keys;
    }

    ChainPoints pointsOf(uint32_t chain) const
    {
        return edges.pointsOf(chain, poses[chain].mirrored);
    }

    // Each chain is worked on by one thread and has a place of its own for what comes out. The
    // longest go first, so that none of them is left for the end.
    template<typename Work>
    void forEachChain(std::vector<uint32_t> chains, unsigned mostThreads, const Work &work)
    {
        const auto cracksOf = [this](uint32_t chain) { return map.chains[chain].cracks; };
        std::stable_sort(chains.begin(), chains.end(),
                         [&](uint32_t a, uint32_t b) { return cracksOf(a) > cracksOf(b); });
        std::vector<std::size_t> begins;
        std::size_t cracks = 0;
        std::size_t taken = kCracksAtOnce;
        for (std::size_t k = 0; k < chains.size(); ++k) {
            if (taken >= kCracksAtOnce) {
                begins.push_back(k);
                taken = 0;
            }
            taken += cracksOf(chains[k]);
            cracks += cracksOf(chains[k]);
        }
        begins.push_back(chains.size());
        const std::size_t threads = std::min<std::size_t>(mostThreads, 1 + cracks / kCracksAThread);
        forEachOnThreads(begins.size() - 1, unsigned(threads), [&](std::size_t part) {
            for (std::size_t k = begins[part]; k < begins[part + 1]; ++k)
                work(chains[k]);
        });
    }

    std::vector<char> loops() const
    {
        std::vector<char> result;
        for (const Chain &chain : map.chains)
            result.push_back(chain.startNode == kNoNode);
        return result;
    }

    // Points as they are fitted: between their nodes, in the frame of the chain. On the rim there
    // is nothing to fit between nodes.
    void takePose(uint32_t number)
    {
        const Chain &chain = map.chains[number];
        ChainPoints &p = points[number];
        const bool loop = chain.startNode == kNoNode;
        if (isOnRim(chain) && !loop) {
            paths[number].pieces = { fit::linePiece(nodes.places[std::size_t(chain.startNode)],
                                                    nodes.places[std::size_t(chain.endNode)]) };
            p = ChainPoints();
            return;
        }
        if (!loop)
            pinEnds(chain, &p);
        if (!paths[number].pieces.empty()) {
            tellPoints(p, &paths[number]);
            pinPath(chain, &paths[number]);
        }
        p = intoPose(poses[number], std::move(p));
        small[number] = loop && p.isSoft() && p.x.size() <= kMostOfSmall;
    }

    // Chains that are the same but for their place are fitted once.
    void fitEqual(uint32_t first, const EqualChains &equal)
    {
        const auto isToDo
            = [this](uint32_t k) { return paths[k].pieces.empty() && !points[k].x.empty(); };
        uint32_t any = first;
        while (any != kNoReference && !isToDo(any))
            any = equal.next[any];
        if (any == kNoReference)
            return;
        const fit::Path path = fitPoints(points[first], map.chains[first].startNode == kNoNode);
        for (uint32_t k = any; k != kNoReference; k = equal.next[k]) {
            if (!isToDo(k))
                continue;
            paths[k] = outOfPose(poses[k], path);
            pinPath(map.chains[k], &paths[k]);
        }
    }

    // Of areas that lie corner to corner; a whole rectangle has no joint that could be moved.
    void joinCorners(unsigned mostThreads)
    {
        forEachChain(rectanglesThatTouch(map, paths), mostThreads, [this](uint32_t chain) {
            const ChainPoints p = intoPose(poses[chain], pointsOf(chain));
            paths[chain] = outOfPose(poses[chain], fitPoints(p, true, false));
        });
        joinTouchingCorners(map, &paths);
    }

    // Fits chains closer to their points where they cross, until none do. At last they run through
    // the middles of their cracks between nodes on the lattice, where nothing can.
    void part(unsigned mostThreads)
    {
        std::vector<char> changed;
        std::vector<char> times(paths.size(), 0);
        for (;;) {
            auto pairs = crossingsOf(paths, map.runs.width, map.runs.height, changed, mostThreads);
            addTurnedOver(map, paths, changed, &pairs);
            if (pairs.empty())
                addPassedOver(map, paths, mostThreads, &pairs);
            changed.assign(paths.size(), 0);
            std::map<uint32_t, std::vector<uint32_t>> others;
            for (const auto &pair : pairs) {
                note(pair.first, pair.second, times, &others);
                if (pair.second != pair.first)
                    note(pair.second, pair.first, times, &others);
            }
            findMeetings(others, mostThreads);
            for (const auto &met : meetings)
                changed[met.first] = 1;
            for (const auto &met : meetings) {
                if (++times[met.first] > kCloserTimes)
                    putNodesBack(met.first, times[met.first] == kMostTimes, &changed);
            }
            std::vector<uint32_t> again;
            for (uint32_t chain = 0; chain < changed.size(); ++chain) {
                if (changed[chain])
                    again.push_back(chain);
            }
            if (again.empty())
                return;
            forEachChain(again, mostThreads,
                         [&](uint32_t chain) { fitCloser(chain, times[chain]); });
        }
    }

    // That a chain crosses another one.
    void note(uint32_t chain, uint32_t other, const std::vector<char> &times,
              std::map<uint32_t, std::vector<uint32_t>> *others)
    {
        if (!isOnRim(map.chains[chain]) && times[chain] != kMostTimes)
            (*others)[chain].push_back(other);
    }

    // Where chains cross the others that they do.
    void findMeetings(const std::map<uint32_t, std::vector<uint32_t>> &others, unsigned mostThreads)
    {
        std::vector<uint32_t> chains;
        std::map<uint32_t, std::optional<PiecePlaces>> pieces;
        meetings.clear();
        for (const auto &met : others) {
            chains.push_back(met.first);
            meetings[met.first].resize(paths[met.first].pieces.size());
            pieces[met.first];
            for (uint32_t other : met.second)
                pieces[other];
        }
        std::vector<uint32_t> all;
        for (const auto &found : pieces)
            all.push_back(found.first);
        forEachChain(all, mostThreads,
                     [&](uint32_t chain) { pieces.at(chain).emplace(paths[chain]); });
        forEachChain(chains, mostThreads, [&](uint32_t chain) {
            for (uint32_t other : others.at(chain))
                addMeetings(*pieces.at(chain), *pieces.at(other), &meetings.at(chain));
        });
    }

    // To the lattice, those beside which a chain crosses others or both; all chains that end there
    // are changed by it.
    void putNodesBack(uint32_t number, bool both, std::vector<char> *changed)
    {
        const Chain &chain = map.chains[number];
        if (chain.startNode == kNoNode)
            return;
        const std::vector<fit::Piece> &pieces = paths[number].pieces;
        const std::vector<Meeting> &met = meetings.at(number);
        if (both || pieces.empty()
            || met.front().from() * std::max(1, pieces.front().count) < kNearNode)
            putBack(chain.startNode, changed);
        if (both || pieces.empty()
            || (1 - met.back().to()) * std::max(1, pieces.back().count) < kNearNode)
            putBack(chain.endNode, changed);
    }

    void putBack(int32_t number, std::vector<char> *changed)
    {
        const Node &node = map.nodes[std::size_t(number)];
        const fit::Point lattice = { double(node.x), double(node.y) };
        fit::Point &place = nodes.places[std::size_t(number)];
        if (place.x == lattice.x && place.y == lattice.y)
            return;
        place = lattice;
        for (uint32_t reference : node.leaving) {
            if (reference != kNoReference)
                (*changed)[chainOf(reference)] = 1;
        }
    }

    // The stretches that cross others closer to their points, then line by line through the middles
    // of their cracks; at last the whole chain. One that crosses nothing has another node: the
    // usual fit.
    void fitCloser(uint32_t number, int times)
    {
        const Chain &chain = map.chains[number];
        const bool loop = chain.startNode == kNoNode;
        fit::Path &path = paths[number];
        if (isOnRim(chain)) {
            path.pieces = { fit::linePiece(nodes.places[std::size_t(chain.startNode)],
                                           nodes.places[std::size_t(chain.endNode)]) };
            return;
        }
        const bool last = times == kMostTimes;
        ChainPoints p = last ? edges.cracksOf(number) : pointsOf(number);
        if (!loop)
            pinEnds(chain, &p);
        const Pose &pose = poses[number];
        const ChainPoints posed = intoPose(pose, p);
        const auto met = meetings.find(number);
        if (met != meetings.end())
            spreadMeetings(path, p.isSoft(), times - kCloserTimes - 1, &met->second);
        const bool closer = last || met != meetings.end();
        const std::vector<char> again
            = closer && !last ? cutAround(met->second, p, &path) : std::vector<char>();
        // No stretch may be told where it all but touches itself: closer all over, by turns, so
        // that it comes to lie elsewhere.
        if (std::none_of(again.begin(), again.end(), [](char a) { return a; })) {
            const int closeness = last ? times : 1 + (times - 1) % (kCloserTimes - 1);
            path = closer ? fitPointsCloser(posed, loop, closeness) : fitPoints(posed, loop);
        } else {
            pinPath(chain, &path);
            path = intoPose(pose, std::move(path));
            path = times <= kCloserTimes
                ? fitPartsCloser(path, again, posed, loop, times)
                : drawCracks(path, again, posed, intoPose(pose, edges.cracksOf(number)), loop);
        }
        path = outOfPose(pose, std::move(path));
        pinPath(chain, &path);
    }

    // Exactly from node to node.
    void pinPath(const Chain &chain, fit::Path *path) const
    {
        if (chain.startNode == kNoNode || path->pieces.empty())
            return;
        path->pieces.front().start = nodes.places[std::size_t(chain.startNode)];
        path->pieces.back().end = nodes.places[std::size_t(chain.endNode)];
    }

    // Nodes instead of what was measured where three colours mix.
    void pinEnds(const Chain &chain, ChainPoints *p) const
    {
        const fit::Point start = nodes.places[std::size_t(chain.startNode)];
        const fit::Point end = nodes.places[std::size_t(chain.endNode)];
        ChainPoints kept;
        kept.edge = p->edge;
        const bool soft = p->isSoft();
        const std::size_t most = p->x.size() + 2;
        kept.x.reserve(most);
        kept.y.reserve(most);
        kept.sigma.reserve(most);
        kept.crack.reserve(most);
        const auto add = [&](fit::Point q, double sigma, uint32_t crack) {
            kept.x.push_back(q.x);
            kept.y.push_back(q.y);
            kept.crack.push_back(crack);
            kept.sigma.push_back(sigma);
        };
        add(start, fit::kSoftSigma, 0);
        for (std::size_t k = 0; k < p->x.size(); ++k) {
            const fit::Point q = { p->x[k], p->y[k] };
            if (!soft
                || (!nodes.isBlurred(map, chain.startNode, q)
                    && !nodes.isBlurred(map, chain.endNode, q)))
                add(q, p->sigma[k], p->crack[k]);
        }
        add(end, fit::kSoftSigma, chain.cracks);
        *p = std::move(kept);
    }

    BoundaryMap map;
    const std::vector<Pose> poses; // of the chains
    const SoftEdges edges;
    std::vector<ChainPoints> points;
    bool anySoft = false;
    NodePlaces nodes;
    std::vector<fit::Path> paths;
    std::vector<char> small; // per chain: a loop to be held against the pixels' areas
    std::map<uint32_t, std::vector<Meeting>> meetings; // of the chains that cross others
};

// Nothing where a fit would take too long.
std::optional<BoundaryMap> boundariesOf(const Runs &runs)
{
    BoundaryMap map = makeBoundaryMap(runs);
    std::size_t cracks = 0;
    for (const Chain &chain : map.chains)
        cracks += chain.cracks;
    if (map.chains.size() > kMostChains || cracks > kMostCracks)
        return std::nullopt;
    return map;
}

// False for a path without pieces.
bool addOutline(Path path, QRgb colour, ShapeOutlines *shapes)
{
    if (path.pieces().empty())
        return false;
    Outline outline;
    outline.shape = std::move(path);
    outline.colour = colour;
    outline.layer = layerOfColour(colour);
    shapes->outlines.push_back(std::move(outline));
    return true;
}

} // namespace

unsigned threadsOfMachine()
{
    return std::max(1u, std::thread::hardware_concurrency());
}

std::optional<ShapeOutlines> shapesOf(const Areas &areas, const EdgePicture &picture,
                                      unsigned threads, fit::Snap snap)
{
    std::optional<BoundaryMap> map = boundariesOf(areas.runs);
    if (!map)
        return std::nullopt;
    ChainFitter fitter(areas, picture, std::move(*map), threads);
    fitter.putInOrder(snap, threads);
    ShapeOutlines shapes;
    shapes.precision = fitter.allHard() ? kRoughPrecision : kPrecision;
    shapes.boundaries = std::make_shared<const FittedBoundaries>(fitter.take());
    const BoundaryMap &boundaries = shapes.boundaries->map;
    shapes.outlines.reserve(boundaries.areas.list.size());
    for (std::size_t area = 0; area < boundaries.areas.list.size(); ++area) {
        const uint32_t ring = boundaries.firstRing[area];
        const uint32_t first = boundaries.firstReference[ring];
        const Component &component = boundaries.areas.list[area];
        Path path = shapes.boundaries->pathAlong(boundaries.references.data() + first,
                                                 boundaries.firstReference[ring + 1] - first);
        if (!addOutline(std::move(path), areas.colours[component.label], &shapes))
            continue;
        shapes.outlines.back().gradient = areas.rampOfLabel(component.label);
        shapes.firstPixel.push_back(component.firstPixel);
    }
    if (shapes.outlines.size() <= kFewOutlines)
        shapes.precision = kPrecision;
    return shapes;
}

std::optional<ShapeOutlines> edgesOf(const Areas &areas, const EdgePicture &picture,
                                     const std::vector<QRgb> &onlyColours, unsigned threads,
                                     fit::Snap snap)
{
    std::optional<BoundaryMap> map = boundariesOf(areas.runs);
    if (!map)
        return std::nullopt;
    ChainFitter fitter(areas, picture, std::move(*map), threads);
    fitter.putInOrder(snap, threads);
    ShapeOutlines edges;
    edges.precision = fitter.allHard() ? kRoughPrecision : kPrecision;
    const FittedBoundaries fitted = fitter.take();
    const BoundaryMap &boundaries = fitted.map;
    const EdgeColours colours(areas, boundaries, onlyColours);
    for (uint32_t k = 0; k < boundaries.chains.size(); ++k) {
        const Chain &chain = boundaries.chains[k];
        if (!colours.isDrawn(chain))
            continue;
        const uint32_t reference = referenceTo(k, false);
        if (addOutline(fitted.pathAlong(&reference, 1), colours.of(chain), &edges))
            edges.outlines.back().pen = 0;
    }
    if (edges.outlines.size() <= kFewOutlines)
        edges.precision = kPrecision;
    return edges;
}

} // namespace ztrace
