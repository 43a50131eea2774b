// (c) the ztrace developers. Licence: see LICENSE.
//
// Which boundaries are drawn as lines, and in which colour.
#ifndef ZTRACE_TRACING_EDGECOLOURS_H
#define ZTRACE_TRACING_EDGECOLOURS_H

#include "tracing/Areas.h"
#include "tracing/boundarymap.h"

#include <QRgb>

#include <algorithm>
#include <utility>
#include <vector>

namespace ztrace {

// All three must outlive it. No colours wanted are all.
class EdgeColours
{
public:
    EdgeColours(const Areas &a, const BoundaryMap &m, const std::vector<QRgb> &wanted)
        : areas(a), map(m), onlyColours(wanted)
    { }

    bool isDrawn(const Chain &chain) const
    {
        if (isOnRim(chain)) {
            const int inside = std::max(chain.left, chain.right);
            const Component &area = map.areas.list[std::size_t(inside)];
            if (isPage(area, map.runs.width, map.runs.height) || qAlpha(colourOf(inside)) == 0)
                return false;
        }
        return onlyColours.empty() || isWanted(chain.left) || isWanted(chain.right);
    }

    // Of two equally dark colours the one that has the lower number.
    QRgb of(const Chain &chain) const
    {
        if (isOnRim(chain))
            return colourOf(std::max(chain.left, chain.right));
        const QRgb left = colourOf(chain.left);
        const QRgb right = colourOf(chain.right);
        return std::make_pair(lightness(left), left) < std::make_pair(lightness(right), right)
            ? left
            : right;
    }

private:
    QRgb colourOf(int area) const { return areas.colours[map.areas.list[std::size_t(area)].label]; }

    bool isWanted(int area) const
    {
        return area >= 0 && qAlpha(colourOf(area)) != 0
            && std::find(onlyColours.begin(), onlyColours.end(), colourOf(area) | 0xFF000000u)
            != onlyColours.end();
    }

    // As seen on white paper; what is clear is lighter than that.
    static int lightness(QRgb colour)
    {
        return 255 * 255 - qAlpha(colour) * (255 - qGray(colour)) + int(qAlpha(colour) == 0);
    }

    const Areas &areas;
    const BoundaryMap &map;
    const std::vector<QRgb> &onlyColours;
};

} // namespace ztrace

#endif
