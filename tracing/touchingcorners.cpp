// (c) the ztrace developers. Licence: see LICENSE.
#include "touchingcorners.h"

#include "softedges.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace ztrace {

namespace {

const double kStraightOn = 0.99; // cosine of 8 degrees: what lines of three cracks are off at most
const double kNoCorner = 0.87;   // cosine of 30 degrees; rounder ones are no corners of four areas
// Pixels between two corners that are one: each is half a pixel from its lattice point at most
// along both axes where edges are hard, and on the pixels' edges that is exact.
const double kOneCorner = 0.75;
const double kLeastSide = 1.5; // pixels; shorter ones would lean by the move

struct Corner
{
    fit::Point place;
    fit::Point out[2]; // unit vectors along its sides, away from it: back, and onwards
    uint32_t chain;
    uint32_t piece; // that begins there; of a rectangle none
};

double distanceBetween(fit::Point a, fit::Point b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

fit::Point towards(fit::Point from, fit::Point to)
{
    const double length = distanceBetween(from, to);
    return { (to.x - from.x) / length, (to.y - from.y) / length };
}

class Corners
{
public:
    Corners(const BoundaryMap &m, const std::vector<fit::Path> &paths, bool rectanglesToo) : map(m)
    {
        for (uint32_t chain = 0; chain < paths.size(); ++chain) {
            const std::vector<fit::Piece> &pieces = paths[chain].pieces;
            if (!pieces.empty() && !fit::isWhole(pieces.front().kind))
                addJoints(chain, pieces);
            else if (rectanglesToo && pieces.size() == 1)
                addRectangle(chain, pieces.front());
        }
        std::sort(list.begin(), list.end(), [](const Corner &a, const Corner &b) {
            return std::make_tuple(cellOf(a.place.y), cellOf(a.place.x), a.chain, a.piece)
                < std::make_tuple(cellOf(b.place.y), cellOf(b.place.x), b.chain, b.piece);
        });
    }

    const std::vector<Corner> &all() const { return list; }

    // The one corner that goes on in another, -1 where there is none or several do.
    int partnerOf(std::size_t number) const
    {
        const Corner &corner = list[number];
        const int column = cellOf(corner.place.x);
        const int row = cellOf(corner.place.y);
        int partner = -1;
        for (int y = row - 1; y <= row + 1; ++y) {
            for (std::size_t k = firstFrom(y, column - 1); k < list.size(); ++k) {
                if (cellOf(list[k].place.y) != y || cellOf(list[k].place.x) > column + 1)
                    break;
                if (k == number || !isPartner(corner, list[k]))
                    continue;
                if (partner >= 0)
                    return -1;
                partner = int(k);
            }
        }
        return partner;
    }

private:
    static int cellOf(double coordinate) { return int(std::floor(coordinate)); }

    std::size_t firstFrom(int row, int column) const
    {
        const auto first = std::lower_bound(
            list.begin(), list.end(), std::make_pair(row, column),
            [](const Corner &corner, const std::pair<int, int> &cell) {
                return std::make_pair(cellOf(corner.place.y), cellOf(corner.place.x)) < cell;
            });
        return std::size_t(first - list.begin());
    }

    bool isPartner(const Corner &one, const Corner &other) const
    {
        if (distanceBetween(one.place, other.place) > kOneCorner
            || !goOnInEachOther(one.out, other.out))
            return false;
        const Chain &a = map.chains[one.chain];
        const Chain &b = map.chains[other.chain];
        return a.left == b.left || a.left == b.right || a.right == b.left || a.right == b.right;
    }

    void addJoints(uint32_t chain, const std::vector<fit::Piece> &pieces)
    {
        const auto isSide = [](const fit::Piece &p) {
            return p.kind == fit::Kind::Line && distanceBetween(p.start, p.end) >= kLeastSide;
        };
        const bool loop = map.chains[chain].startNode == kNoNode;
        for (std::size_t k = loop ? 0 : 1; k < pieces.size(); ++k) {
            const fit::Piece &before = pieces[k > 0 ? k - 1 : pieces.size() - 1];
            if (isSide(before) && isSide(pieces[k]))
                add(before.start, pieces[k].start, pieces[k].end, chain, uint32_t(k));
        }
    }

    void addRectangle(uint32_t chain, const fit::Piece &piece)
    {
        if (piece.kind != fit::Kind::RoundedRectangle || piece.radius > 0
            || 2 * std::min(piece.half[0], piece.half[1]) < kLeastSide)
            return;
        const fit::Point first = { std::cos(piece.angle), std::sin(piece.angle) };
        const fit::Point second = { -first.y, first.x };
        fit::Point corner[4];
        for (int k = 0; k < 4; ++k)
            corner[k] = piece.centre + (k == 0 || k == 3 ? piece.half[0] : -piece.half[0]) * first
                + (k < 2 ? piece.half[1] : -piece.half[1]) * second;
        for (int k = 0; k < 4; ++k)
            add(corner[(k + 3) % 4], corner[k], corner[(k + 1) % 4], chain, kNoReference);
    }

    void add(fit::Point before, fit::Point place, fit::Point after, uint32_t chain, uint32_t piece)
    {
        list.push_back({ place, { towards(place, before), towards(place, after) }, chain, piece });
    }

    const BoundaryMap &map;
    std::vector<Corner> list; // by the pixel that they lie in, row by row
};

} // namespace

bool goOnInEachOther(const fit::Point one[2], const fit::Point other[2])
{
    if (std::fabs(dot(one[0], one[1])) > kNoCorner)
        return false;
    const auto goesOn = [](fit::Point a, fit::Point b) { return dot(a, b) < -kStraightOn; };
    return (goesOn(one[0], other[0]) && goesOn(one[1], other[1]))
        || (goesOn(one[0], other[1]) && goesOn(one[1], other[0]));
}

std::vector<uint32_t> rectanglesThatTouch(const BoundaryMap &map,
                                          const std::vector<fit::Path> &paths)
{
    const Corners corners(map, paths, true);
    std::vector<uint32_t> found;
    for (std::size_t k = 0; k < corners.all().size(); ++k) {
        if (corners.all()[k].piece == kNoReference && corners.partnerOf(k) >= 0)
            found.push_back(corners.all()[k].chain);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
}

void joinTouchingCorners(const BoundaryMap &map, std::vector<fit::Path> *paths)
{
    const Corners corners(map, *paths, false);
    const auto move = [paths](const Corner &corner, fit::Point place) {
        std::vector<fit::Piece> &pieces = (*paths)[corner.chain].pieces;
        pieces[corner.piece].start = place;
        pieces[corner.piece > 0 ? corner.piece - 1 : pieces.size() - 1].end = place;
    };
    for (std::size_t k = 0; k < corners.all().size(); ++k) {
        const int partner = corners.partnerOf(k);
        if (partner <= int(k) || corners.partnerOf(std::size_t(partner)) != int(k))
            continue;
        const Corner &one = corners.all()[k];
        const Corner &other = corners.all()[std::size_t(partner)];
        const fit::Point place = onGrid(0.5 * (one.place + other.place), kPointGrid);
        move(one, place);
        move(other, place);
    }
}

} // namespace ztrace
