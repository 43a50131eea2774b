// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas of a picture as what every pixel did when it came: two bits a pixel, from which rows of
// areas' numbers are made again whenever they are asked for.
#ifndef ZTRACE_IMAGING_PIXELJOINS_H
#define ZTRACE_IMAGING_PIXELJOINS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ztrace {

// What a pixel is of. The first pixel of a row is no Left, and none of the first row is Up.
enum class PixelJoin : uint8_t {
    Left, // the area of the pixel on its left
    Up,   // that of the pixel above
    Start // one that begins with it. Several starts may be of one area in the end
};

// Rows from the top. Starts are counted in the order of their pixels.
class PixelJoins
{
public:
    PixelJoins() = default;
    PixelJoins(int w, int h)
        : columns(std::size_t(w)), bytesOfRow((columns + kOfByte - 1) / kOfByte),
          bytes(bytesOfRow * std::size_t(h), 0)
    { }

    void setRow(int y, const PixelJoin *joins)
    {
        uint8_t *to = bytes.data() + std::size_t(y) * bytesOfRow;
        for (std::size_t x = 0; x < columns; ++x)
            to[x / kOfByte] = uint8_t(to[x / kOfByte] | unsigned(joins[x]) << 2 * (x % kOfByte));
    }

    // Goes over the rows from the top and names their pixels.
    template<typename Name>
    class Rows
    {
    public:
        // The name of every start's area, and one entry more of any value. Both have to stay.
        Rows(const PixelJoins &j, const std::vector<Name> &namesOfStarts)
            : joins(j), byte(j.bytes.data()), start(namesOfStarts.data())
        { }

        // Names the next row; `above` is the one before it, and anything that can be read for the
        // first one.
        void next(const Name *above, Name *own)
        {
            Name name = Name();
            std::size_t x = 0;
            for (; x + kOfByte <= joins.columns; x += kOfByte) {
                unsigned four = *byte++;
                for (std::size_t k = x; k < x + kOfByte; ++k, four >>= 2)
                    own[k] = name = pick(four & 3u, name, above[k]);
            }
            if (x == joins.columns)
                return;
            for (unsigned rest = *byte++; x < joins.columns; ++x, rest >>= 2)
                own[x] = name = pick(rest & 3u, name, above[x]);
        }

    private:
        // Which one it is can hardly be foretold: no branches.
        Name pick(unsigned join, Name left, Name up)
        {
            const Name begun = *start;
            start += join == unsigned(PixelJoin::Start) ? 1 : 0;
            const Name joined = join == unsigned(PixelJoin::Left) ? left : up;
            return join == unsigned(PixelJoin::Start) ? begun : joined;
        }

        const PixelJoins &joins;
        const uint8_t *byte;
        const Name *start;
    };

private:
    static const std::size_t kOfByte = 4;

    std::size_t columns = 0;
    std::size_t bytesOfRow = 0;
    std::vector<uint8_t> bytes;
};

} // namespace ztrace

#endif
