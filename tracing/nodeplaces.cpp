// (c) the ztrace developers. Licence: see LICENSE.
#include "nodeplaces.h"

#include "walks.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace ztrace {

namespace {

const double kNodeLooksAt = 7.0; // pixels around a node that tell where it is
const double kLeastOfLine = 3;   // points that tell a line there, and how far they may be off it:
const double kBent = 0.15;       // pixels rms, of soft edges,
const double kBentStairs = 0.4;  // and of hard ones
// Weight of a line along the pixels beside one of steps: the square of their deviations' ratio. A
// node between two such lines and a mitre of a few steps lies where the two meet.
const double kExactWeight = 8;
const double kNodeAnchor = 0.05;  // weight of the lattice point beside that of a chain
const double kRimAnchor = 0.002;  // likewise on the rim, where one line is enough
const double kToothLooksAt = 12;  // pixels around a node with a tooth that tell where it is,
const double kStraight = 0.06;    // pixels rms that points there may be off a line,
const double kMeet = 0.15;        // pixels that lines may pass where they meet, and
const double kLeastAcross = 0.25; // what their normals differ by: the determinant of the sums
const double kNodeReach = 0.75;   // pixels from there at most
const double kRimReach = 0.45;    // likewise of nodes on the rim that would pass each other

class NodeFinder
{
public:
    NodeFinder(const BoundaryMap &m, const std::vector<ChainPoints> &p) : map(m), points(p) { }

    // Where the chains that end in a node meet: least squares of the distances from their lines
    // beside it. On the rim it stays on the rim, in corners of the plane where it is.
    NodePlaces found()
    {
        const int width = map.runs.width;
        const int height = map.runs.height;
        for (const Node &node : map.nodes) {
            const bool upright = node.x == 0 || node.x == width;
            const bool flat = node.y == 0 || node.y == height;
            fit::Point p = { double(node.x), double(node.y) };
            const std::optional<fit::Point> far
                = upright || flat ? std::nullopt : farMeetingAt(node, p);
            if (far)
                p = *far;
            else if (!(upright && flat))
                p = meetingAt(node, p, !upright, !flat);
            places.push_back(p);
            hasTooth.push_back(far.has_value());
        }
        for (int side : { 0, width })
            orderAlongRim(&Node::x, side, &Node::y, height, &fit::Point::y);
        for (int side : { 0, height })
            orderAlongRim(&Node::y, side, &Node::x, width, &fit::Point::x);
        return { places, hasTooth };
    }

private:
    // Nodes that would pass each other, or the end of the side, stay nearer to where they were.
    void orderAlongRim(int Node::*across, int side, int Node::*along, int length,
                       double fit::Point::*coordinate)
    {
        std::vector<std::size_t> nodes;
        for (std::size_t k = 0; k < map.nodes.size(); ++k) {
            if (map.nodes[k].*across == side)
                nodes.push_back(k);
        }
        std::sort(nodes.begin(), nodes.end(), [&](std::size_t a, std::size_t b) {
            return map.nodes[a].*along < map.nodes[b].*along;
        });
        const auto placeOf = [&](std::size_t i) { return places[nodes[i]].*coordinate; };
        const double least = 1 - 2 * kRimReach;
        std::vector<char> isNear(nodes.size(), 0);
        for (bool moved = true; moved;) {
            // All at once, so that it does not matter from which end one looks.
            std::vector<char> passes = isNear;
            for (std::size_t i = 0; i < nodes.size(); ++i) {
                if ((i == 0 && placeOf(i) < 0) || (i + 1 == nodes.size() && placeOf(i) > length))
                    passes[i] = 1;
                if (i > 0 && placeOf(i) - placeOf(i - 1) < 0.999 * least)
                    passes[i - 1] = passes[i] = 1;
            }
            moved = passes != isNear;
            isNear.swap(passes);
            for (std::size_t i = 0; i < nodes.size(); ++i) {
                const double lattice = map.nodes[nodes[i]].*along;
                double &place = places[nodes[i]].*coordinate;
                if (isNear[i])
                    place = std::min(lattice + kRimReach, std::max(lattice - kRimReach, place));
            }
        }
    }

    fit::Point meetingAt(const Node &node, fit::Point lattice, bool movesInX, bool movesInY) const
    {
        double xx = kNodeAnchor, xy = 0, yy = kNodeAnchor, x = 0, y = 0;
        for (uint32_t reference : node.leaving) {
            fit::Point normal, on;
            if (reference == kNoReference || isOnRim(map.chains[chainOf(reference)])
                || !lineBeside(reference, lattice, &normal, &on))
                continue;
            const double d = dot(normal, on - lattice);
            const double weight = runsAlongPixels(reference, lattice) ? kExactWeight : 1;
            xx += weight * normal.x * normal.x;
            xy += weight * normal.x * normal.y;
            yy += weight * normal.y * normal.y;
            x += weight * normal.x * d;
            y += weight * normal.y * d;
        }
        fit::Point move = { 0, 0 };
        if (movesInX && movesInY) {
            const double determinant = xx * yy - xy * xy;
            move = { (x * yy - y * xy) / determinant, (y * xx - x * xy) / determinant };
        } else if (movesInX) {
            move.x = x / (xx - kNodeAnchor + kRimAnchor);
        } else {
            move.y = y / (yy - kNodeAnchor + kRimAnchor);
        }
        const double length = std::sqrt(dot(move, move));
        return onGrid(lattice + (length > kNodeReach ? kNodeReach / length : 1.0) * move,
                      kPointGrid);
    }

    // Where three lines meet that pass the lattice point by more than it may be off.
    std::optional<fit::Point> farMeetingAt(const Node &node, fit::Point lattice) const
    {
        fit::Point normals[3], ons[3];
        int count = 0;
        bool isFar = false;
        for (uint32_t reference : node.leaving) {
            if (reference == kNoReference)
                continue;
            if (count == 3 || isOnRim(map.chains[chainOf(reference)]))
                return std::nullopt;
            const ChainPoints &p = points[chainOf(reference)];
            double rms = HUGE_VAL;
            for (double reach : { kToothLooksAt, 0.75 * kToothLooksAt, 0.5 * kToothLooksAt }) {
                if (!p.isSoft()
                    || !lineWithin(p, isReversed(reference), lattice, kToothLeavesOut, reach,
                                   &normals[count], &ons[count], &rms))
                    return std::nullopt;
                if (rms <= kStraight)
                    break;
            }
            if (rms > kStraight)
                return std::nullopt;
            isFar = isFar || std::fabs(dot(normals[count], ons[count] - lattice)) > kNodeReach;
            ++count;
        }
        if (!isFar || count < 3)
            return std::nullopt;
        double xx = 0, xy = 0, yy = 0, x = 0, y = 0;
        for (int k = 0; k < 3; ++k) {
            const double d = dot(normals[k], ons[k] - lattice);
            xx += normals[k].x * normals[k].x;
            xy += normals[k].x * normals[k].y;
            yy += normals[k].y * normals[k].y;
            x += normals[k].x * d;
            y += normals[k].y * d;
        }
        const double determinant = xx * yy - xy * xy;
        if (determinant < kLeastAcross)
            return std::nullopt;
        const fit::Point place = lattice
            + fit::Point { (x * yy - y * xy) / determinant, (y * xx - x * xy) / determinant };
        for (int k = 0; k < 3; ++k) {
            if (std::fabs(dot(normals[k], ons[k] - place)) > kMeet)
                return std::nullopt;
        }
        const double reach = std::sqrt(dot(place - lattice, place - lattice));
        return reach <= kToothReach ? std::optional<fit::Point>(onGrid(place, kPointGrid))
                                    : std::nullopt;
    }

    // The line of the points of a chain that are near its begin; false where too few are, or where
    // it does not lead to the node. Nearer ones alone where they bend, as before a corner: a line
    // across it would put the node beside the chain.
    bool lineBeside(uint32_t reference, fit::Point lattice, fit::Point *normal,
                    fit::Point *on) const
    {
        const ChainPoints &p = points[chainOf(reference)];
        const double most = p.isSoft() ? kBent : kBentStairs;
        for (double reach : { kNodeLooksAt, 0.7 * kNodeLooksAt, 0.5 * kNodeLooksAt }) {
            double rms = 0;
            if (!lineWithin(p, isReversed(reference), lattice, kNodeLeavesOut, reach, normal, on,
                            &rms))
                return false;
            if (rms <= most)
                return std::fabs(dot(*normal, *on - lattice)) <= kNodeReach;
        }
        return false;
    }

    // Whether all points of a chain that tell its line run along the pixels.
    bool runsAlongPixels(uint32_t reference, fit::Point lattice) const
    {
        const ChainPoints &p = points[chainOf(reference)];
        if (p.isSoft())
            return false;
        const std::size_t count = p.x.size();
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t i = isReversed(reference) ? count - 1 - k : k;
            const fit::Point d = fit::Point { p.x[i], p.y[i] } - lattice;
            const double distance = std::sqrt(dot(d, d));
            if (distance > kNodeLooksAt)
                break;
            if (distance >= kNodeLeavesOut && p.sigma[i] > fit::kHardFloor)
                return false;
        }
        return true;
    }

    // Of at least three points between `from` and `reach` pixels from the lattice point.
    static bool lineWithin(const ChainPoints &p, bool reversed, fit::Point lattice, double from,
                           double reach, fit::Point *normal, fit::Point *on, double *rms)
    {
        const std::size_t count = p.x.size();
        double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t i = reversed ? count - 1 - k : k;
            const fit::Point d = fit::Point { p.x[i], p.y[i] } - lattice;
            const double distance = std::sqrt(dot(d, d));
            if (distance > reach)
                break;
            if (distance < from)
                continue;
            n += 1;
            sx += d.x;
            sy += d.y;
            sxx += d.x * d.x;
            sxy += d.x * d.y;
            syy += d.y * d.y;
        }
        if (n < kLeastOfLine)
            return false;
        const fit::Point mean = { sx / n, sy / n };
        const double xx = sxx / n - mean.x * mean.x;
        const double xy = sxy / n - mean.x * mean.y;
        const double yy = syy / n - mean.y * mean.y;
        const double angle = 0.5 * std::atan2(2 * xy, xx - yy);
        *normal = { -std::sin(angle), std::cos(angle) };
        *on = lattice + mean;
        *rms = std::sqrt(std::max(0.0, 0.5 * (xx + yy) - std::hypot(0.5 * (xx - yy), xy)));
        return true;
    }

    const BoundaryMap &map;
    const std::vector<ChainPoints> &points;
    std::vector<fit::Point> places;
    std::vector<char> hasTooth;
};

} // namespace

bool NodePlaces::isBlurred(const BoundaryMap &map, int32_t node, fit::Point p) const
{
    const auto number = std::size_t(node);
    const fit::Point from = p - places[number];
    const fit::Point lattice
        = p - fit::Point { double(map.nodes[number].x), double(map.nodes[number].y) };
    return std::sqrt(dot(from, from)) <= kNodeLeavesOut
        || (hasTooth[number] && std::sqrt(dot(lattice, lattice)) <= kToothLeavesOut);
}

NodePlaces placesOfNodes(const BoundaryMap &map, const std::vector<ChainPoints> &points)
{
    return NodeFinder(map, points).found();
}

} // namespace ztrace
