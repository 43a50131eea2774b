// (c) the ztrace developers. Licence: see LICENSE.
//
// Between the class's nested palettes and the flat ones of the doors.
#ifndef ZTRACE_NESTEDPALETTE_H
#define ZTRACE_NESTEDPALETTE_H

#include <QVector>

#include "quantize.h"

namespace ztrace {

// An entry that a caller made shorter reads as 0 where it ends.
inline FlatPalette flattened(const QVector<QVector<char>> &palette)
{
    FlatPalette flat(4 * static_cast<std::size_t>(palette.size()), 0);
    for (int k = 0; k < palette.size(); ++k) {
        const QVector<char> &entry = palette.at(k);
        for (int c = 0; c < 4 && c < entry.size(); ++c)
            flat[4 * static_cast<std::size_t>(k) + static_cast<std::size_t>(c)]
                = static_cast<signed char>(entry.at(c));
    }
    return flat;
}

inline QVector<char> entryOf(const FlatPalette &palette, int k)
{
    QVector<char> entry(4);
    for (int c = 0; c < 4; ++c)
        entry[c] = static_cast<char>(
            palette[4 * static_cast<std::size_t>(k) + static_cast<std::size_t>(c)]);
    return entry;
}

inline QVector<QVector<char>> nested(const FlatPalette &palette)
{
    const int entries = static_cast<int>(palette.size() / 4);
    QVector<QVector<char>> result;
    result.reserve(entries);
    for (int k = 0; k < entries; ++k)
        result.append(entryOf(palette, k));
    return result;
}

} // namespace ztrace

#endif
