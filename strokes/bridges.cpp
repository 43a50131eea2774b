// (c) the ztrace developers. Licence: see LICENSE.
#include "strokes/bridges.h"

#include <array>
#include <cmath>

namespace ztrace::strokes {

namespace {

const int kDirections = 16; // of half a turn
const int kReachAlong = 9;  // pixels that a line is looked at to either side
const int kLeastInk = 5;    // of them that have ink at most a pixel beside them, on each side
const int kMostGap = 3;     // pixels between what has ink that near
const int kAside = 3;       // pixels beside a thin line where there is none of its ink
const int kMostAside = 3;   // of ten places there that have ink: more is a wide line, or its edge
const int kNear = 3;        // pixels within which there is ink at all
const double kPi = 3.14159265358979323846;

// Offsets in a plane of cells.
struct Direction
{
    std::array<int, 2 * kReachAlong + 1> along; // from -kReachAlong on
    int across;                                 // to the pixel beside
    int aside;
};

class Bridger
{
public:
    explicit Bridger(const InkPicture &p)
        : picture(p), stride(p.width + 2 * kRim),
          ink(std::size_t(stride) * std::size_t(p.height + 2 * kRim), uint8_t(0)),
          near(ink.size(), uint8_t(0)), wide(ink.size(), uint8_t(0))
    {
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                if (picture.isInk(x, y))
                    enter(cellOf(x, y));
            }
        }
        for (int k = 0; k < kDirections; ++k)
            directions[std::size_t(k)] = directionOf(k * kPi / kDirections);
    }

    std::vector<uint8_t> bridge() const
    {
        const std::size_t pixels = std::size_t(picture.width) * std::size_t(picture.height);
        std::vector<uint8_t> grey(picture.grey, picture.grey + pixels);
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const std::size_t cell = cellOf(x, y);
                if (near[cell] != 0 && ink[cell] == 0 && isOnLine(cell))
                    grey[picture.at(x, y)] = 0;
            }
        }
        return grey;
    }

private:
    static const int kRim = kReachAlong + kAside + 2;

    std::size_t cellOf(int x, int y) const
    {
        return std::size_t(y + kRim) * std::size_t(stride) + std::size_t(x + kRim);
    }

    void enter(std::size_t cell)
    {
        ink[cell] = 1;
        for (int step : { 0, 1, -1, stride, -stride })
            wide[std::size_t(std::ptrdiff_t(cell) + step)] = 1;
        for (int y = -kNear; y <= kNear; ++y) {
            for (int x = -kNear; x <= kNear; ++x)
                near[std::size_t(std::ptrdiff_t(cell) + std::ptrdiff_t(y) * stride + x)] = 1;
        }
    }

    Direction directionOf(double angle) const
    {
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        const auto offset = [this](double x, double y) {
            return int(std::lround(y)) * stride + int(std::lround(x));
        };
        Direction direction;
        for (int t = -kReachAlong; t <= kReachAlong; ++t)
            direction.along[std::size_t(t + kReachAlong)] = offset(t * c, t * s);
        direction.across
            = std::fabs(c) > std::fabs(s) ? stride : 1; // of neighbouring lines of pixels
        direction.aside = offset(-kAside * s, kAside * c);
        return direction;
    }

    static int at(const std::vector<uint8_t> &plane, std::size_t cell, int offset)
    {
        return plane[std::size_t(std::ptrdiff_t(cell) + offset)];
    }

    // Pixels to the first ink on one side; more than kMostGap + 1 where it is farther.
    int firstInk(std::size_t cell, const Direction &direction, int side) const
    {
        for (int t = 1; t <= kMostGap; ++t) {
            if (at(wide, cell, direction.along[std::size_t(kReachAlong + side * t)]))
                return t;
        }
        return kMostGap + 2;
    }

    int inkOn(std::size_t cell, const Direction &direction, int side) const
    {
        int sum = 0;
        for (int t = 1; t <= kReachAlong; ++t)
            sum += at(wide, cell, direction.along[std::size_t(kReachAlong + side * t)]);
        return sum;
    }

    // Whether there is nothing beside the line, a few pixels away.
    bool isThin(std::size_t cell, const Direction &direction) const
    {
        int left = 0;
        int right = 0;
        for (int t = -kReachAlong; t <= kReachAlong; t += 2) {
            const int along = direction.along[std::size_t(kReachAlong + t)];
            left += at(wide, cell, along + direction.aside);
            right += at(wide, cell, along - direction.aside);
        }
        return left <= kMostAside && right <= kMostAside;
    }

    // Whether the lines of pixels beside have no more ink.
    bool isMiddle(std::size_t cell, const Direction &direction) const
    {
        int sum[3] = { 0, 0, 0 };
        for (int along : direction.along) {
            sum[0] += at(ink, cell, along);
            sum[1] += at(ink, cell, along + direction.across);
            sum[2] += at(ink, cell, along - direction.across);
        }
        return sum[0] >= sum[1] && sum[0] >= sum[2];
    }

    bool isOnLine(std::size_t cell) const
    {
        for (const Direction &direction : directions) {
            const int gap = firstInk(cell, direction, 1) + firstInk(cell, direction, -1) - 1;
            if (gap > kMostGap)
                continue;
            if (inkOn(cell, direction, 1) >= kLeastInk && inkOn(cell, direction, -1) >= kLeastInk
                && isThin(cell, direction) && isMiddle(cell, direction))
                return true;
        }
        return false;
    }

    const InkPicture &picture;
    const int stride;
    std::vector<uint8_t> ink;
    std::vector<uint8_t> near;
    std::vector<uint8_t> wide; // ink, and what has ink beside it
    std::array<Direction, kDirections> directions;
};

} // namespace

std::vector<uint8_t> bridged(const InkPicture &picture)
{
    return Bridger(picture).bridge();
}

} // namespace ztrace::strokes
