// (c) the ztrace developers. Licence: see LICENSE.
//
// The most similar colour of a palette, for many words.
#ifndef ZTRACE_IMAGING_NEARESTCOLOUR_H
#define ZTRACE_IMAGING_NEARESTCOLOUR_H

#include <QRgb>

#include <cstdint>
#include <vector>

namespace ztrace {

// For a palette of 1 to 65535 colours, by colourDistance; of several the first. Remembers what it
// finds out about similar words, so that one object belongs to one thread.
class NearestColour
{
public:
    explicit NearestColour(std::vector<QRgb> palette);

    uint16_t of(QRgb word);

private:
    // Opaque words fall into cubes by the upper four bits of their channels. For each cube there is
    // a list of the colours that are nearest to some word in it, made when it is asked for first.
    static const std::size_t kCubes = std::size_t(16) * 16 * 16;

    std::size_t makeList(QRgb word);
    uint16_t nearestToTranslucent(QRgb word);
    uint16_t nearestOfAll(QRgb word) const;

    std::vector<QRgb> colours;
    std::vector<uint32_t> lists;   // of every cube: 0, or the place of its list in entries
    std::vector<uint16_t> entries; // lists in the palette's order, each after its length
    // Other words are few. Each has one place, which it shares with others.
    static const std::size_t kPlaces = 1024; // a power of two
    struct Place
    {
        QRgb word = 0;
        uint16_t nearest = 0;
    };
    std::vector<Place> translucent;
    QRgb last = 0;
    uint16_t nearestToLast = 0;
};

} // namespace ztrace

#endif
