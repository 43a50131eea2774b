// (c) the ztrace developers. Licence: see LICENSE.
#include "throughnodes.h"

#include "chainfit.h"
#include "smoothwalks.h"
#include "workers.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ztrace {

namespace {

// Pixels from the lattice point to the place on the path, most of them along it: where an edge is
// met at a flat angle its mixed pixels look like the third area for a pixel or two.
const double kFarthestNode = kToothReach;
const int kLeastPoints = 3;        // that tell a direction, and half of those that tell a path
const double kCrossing = 0.5;      // sine of the angle at which a third boundary tells the place
const double kDirectionFrom = 7;   // pixels around a node whose points tell that angle,
const double kOffDirection = 0.2;  // and that they may be off their chord
const double kNearJoint = 0.05;    // pixels: a node as near to a joint is put there
const double kBetweenNodes = 0.1;  // pixels on the path at least
const double kAsGoodAsLine = 0.02; // pixels that a part of a curve may be off its chord
const int kWindow = 8;             // points on either side of a node on whose pieces it may lie
const int kPlaces = 32;            // of a piece from which its nearest place is looked for

// A boundary's points, and where among them each of its chains begins.
struct WalkPoints
{
    ChainPoints points;
    std::vector<int> begins; // one a chain and the end
    std::vector<uint32_t> ownCrack;
};

// A place on a path.
struct Place
{
    std::size_t piece;
    double t;
};

// The nearest place of a piece.
double nearestOn(const fit::Piece &piece, fit::Point p)
{
    int best = 0;
    double least = HUGE_VAL;
    for (int k = 0; k <= kPlaces; ++k) {
        const double d = distance(pointAt(piece, double(k) / kPlaces), p);
        if (d < least) {
            least = d;
            best = k;
        }
    }
    double from = double(std::max(0, best - 1)) / kPlaces;
    double to = double(std::min(kPlaces, best + 1)) / kPlaces;
    for (int step = 0; step < 40; ++step) {
        const double a = from + (to - from) / 3;
        const double b = to - (to - from) / 3;
        if (distance(pointAt(piece, a), p) < distance(pointAt(piece, b), p))
            to = b;
        else
            from = a;
    }
    return 0.5 * (from + to);
}

// A circle in four arcs, in the direction in which its points go round; other whole shapes are not
// for this.
std::vector<fit::Piece> quartersOf(const fit::Piece &circle, const ChainPoints &points)
{
    const std::size_t size = points.x.size();
    std::vector<int> quarter(size);
    double turning = 0;
    for (std::size_t k = 0; k < size; ++k) {
        const fit::Point p = fit::Point { points.x[k], points.y[k] } - circle.centre;
        const std::size_t next = (k + 1) % size;
        const fit::Point q = fit::Point { points.x[next], points.y[next] } - circle.centre;
        turning += cross(p, q);
        quarter[k] = p.x >= 0 ? (p.y >= 0 ? 0 : 3) : (p.y >= 0 ? 1 : 2);
    }
    const double radius = circle.half[0];
    const auto corner = [&](int k) {
        const double x[4] = { 1, 0, -1, 0 };
        return circle.centre + fit::Point { radius * x[k & 3], radius * x[(k + 3) & 3] };
    };
    std::vector<fit::Piece> pieces;
    const double bulge = std::sqrt(2.0) - 1;
    for (int k = 0; k < 4; ++k) {
        const int q = turning > 0 ? k : 3 - k;
        fit::Piece arc = turning > 0 ? fit::arcPiece(corner(q), corner(q + 1), bulge)
                                     : fit::arcPiece(corner(q + 1), corner(q), -bulge);
        for (std::size_t i = 0; i < size; ++i) {
            if (quarter[i] == q && quarter[(i + size - 1) % size] != q)
                arc.first = int(i);
        }
        arc.count = int(std::count(quarter.begin(), quarter.end(), q));
        pieces.push_back(arc);
    }
    return pieces;
}

// Fits one boundary and cuts it at its nodes.
class WalkFitter
{
public:
    WalkFitter(const BoundaryMap &m, const std::vector<ChainPoints> &p, const NodePlaces &n,
               const Walk &w)
        : map(m), points(p), nodes(n), walk(w)
    { }

    // The paths of its chains, in the picture; none where the boundary is not one curve.
    // Nothing, and at which of its chains it is to be parted, where a node is not on it.
    std::vector<fit::Path> fitted(std::size_t *parted)
    {
        std::vector<fit::Path> paths = fittedOrNone();
        *parted = failsAt;
        return paths;
    }

private:
    std::vector<fit::Path> fittedOrNone()
    {
        gather();
        const ChainPoints posed = intoPose(walk.pose, all.points);
        if (int(posed.x.size()) < 2 * kLeastPoints)
            return {};
        fit::Path path = fitPoints(posed, walk.closed);
        if (path.pieces.size() == 1 && fit::isWhole(path.pieces.front().kind)) {
            if (path.pieces.front().kind == fit::Kind::Circle)
                path.pieces = quartersOf(path.pieces.front(), posed);
            else
                path = fitPoints(posed, true, false);
        }
        pieces = std::move(path.pieces);
        if (!findPlaces())
            return {};
        std::vector<fit::Path> paths;
        for (std::size_t k = 0; k < walk.references.size(); ++k)
            paths.push_back(pathOf(k));
        return paths;
    }

    void gather()
    {
        uint32_t cracks = 0;
        all.points.edge = fit::Edge::Soft;
        if (!walk.closed)
            add(nodes.places[std::size_t(startOf(map, walk.references.front()))], fit::kSoftSigma,
                0, 0);
        for (uint32_t reference : walk.references) {
            all.begins.push_back(int(all.points.x.size()));
            addChain(reference, cracks);
            cracks += map.chains[chainOf(reference)].cracks;
        }
        all.begins.push_back(int(all.points.x.size()));
        if (!walk.closed)
            add(nodes.places[std::size_t(endOf(map, walk.references.back()))], fit::kSoftSigma,
                cracks, cracks);
    }

    void addChain(uint32_t reference, uint32_t cracks)
    {
        const Chain &chain = map.chains[chainOf(reference)];
        const ChainPoints &p = points[chainOf(reference)];
        if (!p.isSoft())
            return;
        const std::size_t size = p.x.size();
        for (std::size_t k = 0; k < size; ++k) {
            const std::size_t i = isReversed(reference) ? size - 1 - k : k;
            const fit::Point q = { p.x[i], p.y[i] };
            if (!nodes.isBlurred(map, chain.startNode, q)
                && !nodes.isBlurred(map, chain.endNode, q))
                add(q, p.sigma[i],
                    cracks + (isReversed(reference) ? chain.cracks - 1 - p.crack[i] : p.crack[i]),
                    p.crack[i]);
        }
    }

    void add(fit::Point q, double sigma, uint32_t crack, uint32_t own)
    {
        all.points.x.push_back(q.x);
        all.points.y.push_back(q.y);
        all.points.sigma.push_back(sigma);
        all.points.crack.push_back(crack);
        all.ownCrack.push_back(own);
    }

    // Where the boundary passes its nodes: each after the one before it.
    bool findPlaces()
    {
        const std::size_t count = walk.references.size();
        if (!walk.closed)
            cuts.push_back({ 0, 0 });
        for (std::size_t k = walk.closed ? 0 : 1; k < count; ++k) {
            const std::optional<Place> place = placeOfNode(k);
            if (!place) {
                failsAt = k;
                return false;
            }
            cuts.push_back(*place);
        }
        if (walk.closed) {
            turnToFirstCut();
            cuts.push_back({ pieces.size() - 1, 1 });
        } else {
            cuts.push_back({ pieces.size() - 1, 1 });
        }
        for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
            if (!isAfter(cuts[k], cuts[k + 1])) {
                failsAt = k + 1 < count ? k + 1 : k;
                return false;
            }
        }
        return true;
    }

    bool isAfter(Place a, Place b) const
    {
        if (a.piece > b.piece || (a.piece == b.piece && a.t >= b.t))
            return false;
        return distance(pointAt(pieces[a.piece], a.t), pointAt(pieces[b.piece], b.t))
            > kBetweenNodes
            || b.piece > a.piece + 1;
    }

    // A closed path begins where its first chain does.
    void turnToFirstCut()
    {
        const Place first = cuts.front();
        const fit::Piece whole = pieces[first.piece];
        std::rotate(pieces.begin(), pieces.begin() + std::ptrdiff_t(first.piece), pieces.end());
        const std::size_t size = pieces.size();
        const bool isJoint = first.t <= 0;
        if (!isJoint) {
            pieces.front() = cutOut(whole, first.t, 1);
            pieces.push_back(cutOut(whole, 0, first.t));
        }
        for (Place &cut : cuts) {
            const bool isSame = cut.piece == first.piece;
            cut.piece = (cut.piece + size - first.piece) % size;
            if (isJoint || !isSame)
                continue;
            if (cut.t >= first.t) {
                cut.t = (cut.t - first.t) / (1 - first.t);
            } else {
                cut.t = cut.t / first.t;
                cut.piece = size;
            }
        }
    }

    std::optional<Place> placeOfNode(std::size_t chain) const
    {
        const int32_t number = startOf(map, walk.references[chain]);
        const Node &node = map.nodes[std::size_t(number)];
        const fit::Point lattice = posed({ double(node.x), double(node.y) });
        const std::optional<fit::Point> direction = directionOfThird(node, chain);
        const fit::Point wanted = direction ? posed(nodes.places[std::size_t(number)]) : lattice;
        Place place = nearest(wanted, all.begins[chain]);
        for (int step = 0; direction && step < 2; ++step) {
            const fit::Point on = pointAt(pieces[place.piece], place.t);
            const fit::Point tangent = tangentAt(place);
            const double sine = cross(*direction, tangent);
            if (std::fabs(sine) < kCrossing)
                break;
            const double along = cross(*direction, wanted - on) / sine;
            if (std::fabs(along) > kFarthestNode)
                break;
            place = nearest(on + along * tangent, all.begins[chain]);
        }
        snapToJoint(&place);
        if (distance(pointAt(pieces[place.piece], place.t), lattice) > kFarthestNode)
            return std::nullopt;
        return place;
    }

    // Of the points of the chain that ends there, in the frame of the walk.
    std::optional<fit::Point> directionOfThird(const Node &node, std::size_t chain) const
    {
        const std::size_t count = walk.references.size();
        const uint32_t leaves = walk.references[chain];
        const uint32_t arrives = walk.references[(chain + count - 1) % count] ^ 1u;
        for (uint32_t reference : node.leaving) {
            if (reference == kNoReference || reference == leaves || reference == arrives)
                continue;
            const std::optional<fit::Point> d
                = directionBeside(points[chainOf(reference)], isReversed(reference),
                                  { double(node.x), double(node.y) });
            if (d)
                return posed({ node.x + d->x, node.y + d->y })
                    - posed({ double(node.x), double(node.y) });
        }
        return std::nullopt;
    }

    // Of the line through the points near the begin of a chain; nothing where they are on none.
    static std::optional<fit::Point> directionBeside(const ChainPoints &p, bool reversed,
                                                     fit::Point origin)
    {
        std::vector<fit::Point> near;
        for (std::size_t k = 0; k < p.x.size(); ++k) {
            const std::size_t i = reversed ? p.x.size() - 1 - k : k;
            const fit::Point q = { p.x[i], p.y[i] };
            if (distance(q, origin) > kDirectionFrom)
                break;
            if (distance(q, origin) >= kNodeLeavesOut)
                near.push_back(q);
        }
        if (near.size() < std::size_t(kLeastPoints))
            return std::nullopt;
        const fit::Piece chord = fit::linePiece(near.front(), near.back());
        const double length = distance(near.front(), near.back());
        for (fit::Point q : near) {
            if (distanceTo(chord, q) > kOffDirection)
                return std::nullopt;
        }
        if (length < kNodeLeavesOut)
            return std::nullopt;
        return (1 / length) * (near.back() - near.front());
    }

    fit::Point posed(fit::Point p) const
    {
        ChainPoints one;
        one.x = { p.x };
        one.y = { p.y };
        one.sigma = { 0 };
        one = intoPose(walk.pose, one);
        return { one.x.front(), one.y.front() };
    }

    fit::Point tangentAt(Place place) const
    {
        const double step = 1e-4;
        const fit::Piece &piece = pieces[place.piece];
        const fit::Point a = pointAt(piece, std::max(0.0, place.t - step));
        const fit::Point b = pointAt(piece, std::min(1.0, place.t + step));
        const double length = std::max(1e-12, distance(a, b));
        return (1 / length) * (b - a);
    }

    // On the pieces that explain points around number `at`.
    Place nearest(fit::Point p, int at) const
    {
        Place best = { 0, 0 };
        double least = HUGE_VAL;
        const int size = int(all.points.x.size());
        for (std::size_t k = 0; k < pieces.size(); ++k) {
            const int after = ((at - pieces[k].first) % size + size) % size;
            const bool isNear = after <= pieces[k].count + kWindow || after >= size - kWindow;
            if (pieces[k].count > 0 && !isNear)
                continue;
            const double t = nearestOn(pieces[k], p);
            const double d = distance(pointAt(pieces[k], t), p);
            if (d < least) {
                least = d;
                best = { k, t };
            }
        }
        return best;
    }

    void snapToJoint(Place *place) const
    {
        const fit::Piece &piece = pieces[place->piece];
        const fit::Point p = pointAt(piece, place->t);
        if (distance(p, piece.end) < kNearJoint
            && (walk.closed || place->piece + 1 < pieces.size()))
            *place = { (place->piece + 1) % pieces.size(), 0 };
        else if (distance(p, piece.start) < kNearJoint)
            place->t = 0;
    }

    // In the direction of the chain and in the picture.
    fit::Path pathOf(std::size_t number) const
    {
        const uint32_t reference = walk.references[number];
        const Place from = cuts[number];
        const Place to = cuts[number + 1];
        fit::Path path = {};
        for (std::size_t k = from.piece; k <= to.piece; ++k) {
            const double begin = k == from.piece ? from.t : 0;
            const double end = k == to.piece ? to.t : 1;
            if (begin >= end)
                continue;
            fit::Piece piece
                = begin > 0 || end < 1 ? straightened(cutOut(pieces[k], begin, end)) : pieces[k];
            tellCracks(pieces[k], number, &piece);
            path.pieces.push_back(piece);
        }
        if (isReversed(reference)) {
            std::reverse(path.pieces.begin(), path.pieces.end());
            for (fit::Piece &piece : path.pieces)
                piece = reversedWithCracks(piece);
        }
        for (fit::Piece &piece : path.pieces)
            piece.smooth = false;
        return outOfPose(walk.pose, std::move(path));
    }

    // Between two nodes a pixel or two apart a line does.
    static fit::Piece straightened(const fit::Piece &piece)
    {
        if (piece.kind == fit::Kind::Line)
            return piece;
        const fit::Piece line = fit::linePiece(piece.start, piece.end);
        for (double t : { 0.25, 0.5, 0.75 }) {
            if (distanceTo(line, pointAt(piece, t)) > kAsGoodAsLine)
                return piece;
        }
        return line;
    }

    static fit::Piece reversedWithCracks(const fit::Piece &piece)
    {
        fit::Piece result = fit::reversed(piece);
        result.first = piece.first;
        result.count = piece.count;
        return result;
    }

    // Of the points that the whole piece explains those of the chain.
    void tellCracks(const fit::Piece &whole, std::size_t number, fit::Piece *piece) const
    {
        const int size = int(all.points.x.size());
        uint32_t low = kNoReference, high = 0;
        for (int k = 0; k < whole.count; ++k) {
            const int i = (whole.first + k) % size;
            if (i < all.begins[number] || i >= all.begins[number + 1])
                continue;
            low = std::min(low, all.ownCrack[std::size_t(i)]);
            high = std::max(high, all.ownCrack[std::size_t(i)]);
        }
        piece->first = low == kNoReference ? -1 : int(low);
        piece->count = low == kNoReference ? 0 : int(high - low) + 1;
    }

    const BoundaryMap &map;
    const std::vector<ChainPoints> &points;
    const NodePlaces &nodes;
    const Walk &walk;
    WalkPoints all;
    std::vector<fit::Piece> pieces;
    std::size_t failsAt = 0;
    std::vector<Place> cuts; // where each chain begins, and the end
};

// All boundaries that go on, each after those at which it ends.
class ThroughNodes
{
public:
    ThroughNodes(const BoundaryMap &m, const std::vector<Pose> &po,
                 const std::vector<ChainPoints> &p, NodePlaces *n)
        : map(m), points(p), nodes(n), finder(m, p, po), toothBefore(n->hasTooth),
          passing(m.nodes.size(), -1), paths(m.chains.size())
    {
        walks = finder.found();
        done.assign(walks.size(), 0);
        for (std::size_t k = 0; k < walks.size(); ++k)
            pass(k, true);
    }

    std::vector<fit::Path> fitted(unsigned threads)
    {
        for (std::vector<std::size_t> list = ready(); !list.empty(); list = ready()) {
            std::vector<std::vector<fit::Path>> found(list.size());
            std::vector<std::size_t> parted(list.size());
            forEachOnThreads(list.size(), threads, [&](std::size_t k) {
                found[k] = WalkFitter(map, points, *nodes, walks[list[k]]).fitted(&parted[k]);
            });
            for (std::size_t k = 0; k < list.size(); ++k) {
                done[list[k]] = 1;
                if (found[k].empty())
                    part(list[k], parted[k]);
                else
                    take(walks[list[k]], std::move(found[k]));
            }
        }
        return std::move(paths);
    }

private:
    // That a boundary goes through its nodes, or that it does not.
    void pass(std::size_t walk, bool does)
    {
        const std::vector<uint32_t> &list = walks[walk].references;
        for (std::size_t i = walks[walk].closed ? 0 : 1; i < list.size(); ++i) {
            const auto node = std::size_t(startOf(map, list[i]));
            passing[node] = does ? int(walk) : -1;
            nodes->hasTooth[node] = does ? finder.hasTooth(int32_t(node)) : toothBefore[node];
        }
    }

    // Those that end at none that is still to be fitted; where they wait for each other, all.
    std::vector<std::size_t> ready() const
    {
        std::vector<std::size_t> result, left;
        for (std::size_t k = 0; k < walks.size(); ++k) {
            const Walk &walk = walks[k];
            if (done[k])
                continue;
            left.push_back(k);
            if (walk.closed
                || (!waits(k, startOf(map, walk.references.front()))
                    && !waits(k, endOf(map, walk.references.back()))))
                result.push_back(k);
        }
        return result.empty() ? left : result;
    }

    bool waits(std::size_t walk, int32_t node) const
    {
        const int other = passing[std::size_t(node)];
        return other >= 0 && std::size_t(other) != walk && !done[std::size_t(other)];
    }

    void take(const Walk &walk, std::vector<fit::Path> found)
    {
        for (std::size_t i = 0; i < found.size(); ++i) {
            const uint32_t reference = walk.references[i];
            const fit::Path &path = found[i];
            if (i > 0 || walk.closed)
                nodes->places[std::size_t(startOf(map, reference))]
                    = isReversed(reference) ? path.pieces.back().end : path.pieces.front().start;
            paths[chainOf(reference)] = std::move(found[i]);
        }
    }

    // A boundary that is not where one of its nodes is ends there.
    void part(std::size_t number, std::size_t at)
    {
        pass(number, false);
        const Walk whole = walks[number];
        const auto middle = whole.references.begin() + std::ptrdiff_t(at);
        std::vector<uint32_t> first(whole.references.begin(), middle);
        std::vector<uint32_t> second(middle, whole.references.end());
        if (whole.closed) {
            second.insert(second.end(), first.begin(), first.end());
            first.clear();
        }
        for (std::vector<uint32_t> *list : { &first, &second }) {
            // What is parted at its start is not parted.
            if (list->size() < 2 || (list->size() == whole.references.size() && !whole.closed))
                continue;
            Walk walk;
            walk.references = *list;
            finder.settle(&walk);
            walks.push_back(walk);
            done.push_back(0);
            pass(walks.size() - 1, true);
        }
    }

    const BoundaryMap &map;
    const std::vector<ChainPoints> &points;
    NodePlaces *nodes;
    SmoothWalks finder;
    std::vector<Walk> walks;
    std::vector<char> done;
    const std::vector<char> toothBefore; // of each node, of which no boundary goes through
    std::vector<int> passing;            // of each node the walk that goes through it, or -1
    std::vector<fit::Path> paths;
};

} // namespace

std::vector<fit::Path> fitThroughNodes(const BoundaryMap &map, const std::vector<Pose> &poses,
                                       const std::vector<ChainPoints> &points, NodePlaces *nodes,
                                       unsigned threads)
{
    return ThroughNodes(map, poses, points, nodes).fitted(threads);
}

void tellPoints(const ChainPoints &points, fit::Path *path)
{
    const auto begin = points.crack.begin();
    int last = 1;
    for (fit::Piece &piece : path->pieces) {
        if (piece.first < 0) {
            piece.first = last;
            piece.count = 0;
            continue;
        }
        // The ends are nodes and no points.
        const auto low = std::lower_bound(begin + 1, points.crack.end() - 1, uint32_t(piece.first));
        const auto high
            = std::lower_bound(low, points.crack.end() - 1, uint32_t(piece.first + piece.count));
        piece.first = int(low - begin);
        piece.count = int(high - low);
        last = piece.first + piece.count;
    }
}

} // namespace ztrace
