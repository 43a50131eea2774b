// (c) the ztrace developers. Licence: see LICENSE.
//
// A TIFF is a chain of directories: a count of entries, the entries (tag, type, count, value or
// place), the place of the next directory. The large form of it has 8 bytes where the other has 4.
#include "tiffpages.h"

#include "ByteWalk.h"

#include <iterator>
#include <memory>
#include <set>

namespace ztrace {

namespace {

const int kStripOffsets = 273;
const int kStripSizes = 279;
const int kTileOffsets = 324;
const int kTileSizes = 325;

class TiffWalk
{
public:
    TiffWalk(const QByteArray &file, bool littleEndian, bool isLarge)
        : bytes(file), little(littleEndian), large(isLarge), wide(isLarge ? 8 : 4),
          left(file.size())
    { }

    // `wanted` gets the values of the page of that number, 1 is the first.
    std::vector<Ending> pages(int number = 0, TiffValues *wanted = nullptr)
    {
        std::vector<Ending> found;
        ByteWalk walk(bytes, little);
        walk.moveTo(large ? 8 : 4);
        std::set<qint64> places;
        qint64 next = walk.number(wide);
        while (next != 0 && places.insert(next).second) {
            const bool isWanted = static_cast<int>(found.size()) + 1 == number;
            // A directory that is not there is a page nevertheless.
            const Ending end = readDirectory(next, &next, isWanted ? wanted : nullptr);
            found.push_back(end);
        }
        return found;
    }

private:
    // Whether all of it is there. Where that cannot be told there is no next one.
    Ending readDirectory(qint64 place, qint64 *next, TiffValues *values)
    {
        ByteWalk walk(bytes, little);
        walk.moveTo(place);
        const qint64 entries = walk.number(large ? 8 : 2);
        std::vector<qint64> offsets;
        std::vector<qint64> sizes;
        bool areValuesThere = true;
        for (qint64 i = 0; i < entries && !walk.isBeyond() && left > 0; ++i, --left) {
            const qint64 tag = walk.number(2);
            const qint64 type = walk.number(2);
            const qint64 count = walk.number(wide);
            const qint64 value = walk.at();
            walk.skip(wide);
            areValuesThere = areValuesThere && isThere(value, type, count);
            if (tag == kStripOffsets || tag == kTileOffsets)
                offsets = numbersAt(value, type, count);
            else if (tag == kStripSizes || tag == kTileSizes)
                sizes = numbersAt(value, type, count);
            else if (values && isWhole(type))
                (*values)[tag] = numbersAt(value, type, count);
        }
        if (values) {
            (*values)[kStripOffsets] = offsets;
            (*values)[kStripSizes] = sizes;
        }
        *next = walk.number(wide);
        if (walk.isBeyond() || left <= 0) {
            *next = 0;
            return Ending::CutShort;
        }
        if (!dataIsThere(offsets, sizes))
            return Ending::CutShort;
        return areValuesThere ? Ending::Whole : Ending::PartsLost;
    }

    // Bytes of a value; 0 of types that are not known, which readers pass over.
    static qint64 sizeOfType(qint64 type)
    {
        const int kSizes[] = { 0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8 };
        return type < static_cast<qint64>(std::size(kSizes)) ? kSizes[type] : 0;
    }

    // Numbers without sign, of 2, 4 or 8 bytes.
    static bool isWhole(qint64 type) { return type == 3 || type == 4 || type == 16; }

    // Values that do not fit into the entry lie elsewhere, in the file.
    bool isThere(qint64 place, qint64 type, qint64 count) const
    {
        const qint64 size = sizeOfType(type);
        if (size == 0 || count <= wide / size)
            return true;
        ByteWalk walk(bytes, little);
        walk.moveTo(place);
        walk.moveTo(walk.number(wide));
        return !walk.isBeyond() && count <= (bytes.size() - walk.at()) / size;
    }

    // Values of an entry; a single -1 where they lie beyond the end.
    std::vector<qint64> numbersAt(qint64 place, qint64 type, qint64 count)
    {
        const int size = type == 3 ? 2 : type == 16 ? 8 : 4;
        ByteWalk walk(bytes, little);
        walk.moveTo(place);
        if (count > wide / size)
            walk.moveTo(walk.number(wide));
        std::vector<qint64> numbers;
        for (qint64 i = 0; i < count && !walk.isBeyond() && left > 0; ++i, --left)
            numbers.push_back(walk.number(size));
        return walk.isBeyond() || left <= 0 ? std::vector<qint64> { -1 } : numbers;
    }

    // Sizes may be missing, and those of old writers may be 0.
    bool dataIsThere(const std::vector<qint64> &offsets, const std::vector<qint64> &sizes) const
    {
        for (std::size_t i = 0; i < offsets.size(); ++i) {
            const qint64 size = i < sizes.size() ? sizes[i] : 1;
            if (offsets[i] < 0 || size < 0 || offsets[i] + size > bytes.size())
                return false;
        }
        return true;
    }

    const QByteArray &bytes;
    const bool little;
    const bool large;
    const int wide; // bytes of a place
    qint64 left;    // entries and numbers that may be read: each has bytes of its own
};

// What walks through a TIFF; nothing where there is none.
std::unique_ptr<TiffWalk> walkOf(const QByteArray &bytes)
{
    for (const bool little : { true, false }) {
        for (const int version : { 42, 43 }) {
            ByteWalk walk(bytes, little);
            const qint64 order = walk.number(2);
            if (order == (little ? 0x4949 : 0x4D4D) && walk.number(2) == version)
                return std::make_unique<TiffWalk>(bytes, little, version == 43);
        }
    }
    return nullptr;
}

} // namespace

std::vector<Ending> tiffPages(const QByteArray &bytes)
{
    const std::unique_ptr<TiffWalk> walk = walkOf(bytes);
    return walk ? walk->pages() : std::vector<Ending>();
}

TiffValues tiffValues(const QByteArray &bytes, int page)
{
    TiffValues values;
    if (const std::unique_ptr<TiffWalk> walk = walkOf(bytes))
        walk->pages(page, &values);
    return values;
}

} // namespace ztrace
