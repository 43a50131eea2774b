// (c) the ztrace developers. Licence: see LICENSE.
//
// Areas of a picture as what every pixel did when it came: two bits a pixel, from which rows of
// areas' numbers are made again whenever they are asked for.
#ifndef ZTRACE_IMAGING_PIXELJOINS_H
#define ZTRACE_IMAGING_PIXELJOINS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

    // Of a row that was not set before.
    void setRow(int y, const PixelJoin *joins)
    {
        uint8_t *to = bytes.data() + std::size_t(y) * bytesOfRow;
        std::size_t x = 0;
        for (; x + kOfByte <= columns; x += kOfByte)
            *to++ = uint8_t(unsigned(joins[x]) | unsigned(joins[x + 1]) << 2
                            | unsigned(joins[x + 2]) << 4 | unsigned(joins[x + 3]) << 6);
        for (unsigned shift = 0; x < columns; ++x, shift += 2)
            *to = uint8_t(*to | unsigned(joins[x]) << shift);
    }

    // Entries that names of starts have beyond those of the starts: they are read, not used.
    static const std::size_t kNamesBeyond = 4;

    // Goes over the rows from the top and names their pixels.
    template<typename Name>
    class Rows
    {
    public:
        // The name of every start's area, and kNamesBeyond entries more of any value. Both have to
        // stay.
        Rows(const PixelJoins &j, const std::vector<Name> &namesOfStarts)
            : joins(j), byte(j.bytes.data()), start(namesOfStarts.data())
        { }

        // Names the next row; `above` is the one before it, and anything that can be read for the
        // first one.
        void next(const Name *above, Name *own)
        {
            Name left = Name();
            std::size_t x = 0;
            for (; x + kOfByte <= joins.columns; x += kOfByte)
                left = nextFour(left, above + x, own + x);
            if (x == joins.columns)
                return;
            Name fourAbove[kOfByte] = {};
            Name four[kOfByte];
            std::copy(above + x, above + joins.columns, fourAbove);
            nextFour(left, fourAbove, four);
            std::copy(four, four + (joins.columns - x), own + x);
        }

    private:
        // The four pixels of the next byte; returns the name of the last one. Which ones they are
        // of can hardly be foretold: they are picked out of all that it can be, without branches.
        Name nextFour(Name left, const Name *above, Name *own)
        {
            const Sources &from = kSources[*byte++];
            Name names[1 + 2 * kOfByte];
            names[0] = left;
            std::memcpy(names + 1, above, kOfByte * sizeof(Name));
            std::memcpy(names + 1 + kOfByte, start, kOfByte * sizeof(Name));
            for (std::size_t k = 0; k < kOfByte; ++k)
                own[k] = names[from.places[k]];
            start += from.starts;
            return own[kOfByte - 1];
        }

        const PixelJoins &joins;
        const uint8_t *byte;
        const Name *start;
    };

private:
    static const std::size_t kOfByte = 4;

    // Where the names of a byte's pixels come from: 0 from the left, 1 to 4 from above, 5 to 8 from
    // the next starts, of which there are so many.
    struct Sources
    {
        uint8_t places[kOfByte] = {};
        uint8_t starts = 0;
    };

    static constexpr std::array<Sources, 256> sourcesOfBytes()
    {
        std::array<Sources, 256> all {};
        for (unsigned byte = 0; byte < 256; ++byte) {
            Sources sources;
            uint8_t place = 0;
            for (unsigned k = 0; k < kOfByte; ++k) {
                const unsigned join = byte >> 2 * k & 3u;
                if (join == unsigned(PixelJoin::Up))
                    place = uint8_t(1 + k);
                else if (join == unsigned(PixelJoin::Start))
                    place = uint8_t(1 + kOfByte + sources.starts++);
                sources.places[k] = place;
            }
            all[byte] = sources;
        }
        return all;
    }

    static const std::array<Sources, 256> kSources;

    std::size_t columns = 0;
    std::size_t bytesOfRow = 0;
    std::vector<uint8_t> bytes;
};

inline const std::array<PixelJoins::Sources, 256> PixelJoins::kSources
    = PixelJoins::sourcesOfBytes();

} // namespace ztrace

#endif
