// (c) the ztrace developers. Licence: see LICENSE.
//
// The fixed debug lines that accompany every polyline.
#ifndef ZTRACE_ANNOUNCE_H
#define ZTRACE_ANNOUNCE_H

#include <QDebug>

namespace ztrace {

// Two lines: the palette entry of an outline, and its place among that entry's outlines.
inline void announcePolyline(int entry, int place)
{
    qDebug() << "k:" << entry;
    qDebug() << "pcnt:" << place;
}

} // namespace ztrace

#endif
