// (c) the ztrace developers. Licence: see LICENSE.
//
// Text of points on its way to an SVG path.
#ifndef ZTRACE_DRAWING_POINTTEXT_H
#define ZTRACE_DRAWING_POINTTEXT_H

#include <cstddef>
#include <initializer_list>
#include <string>

#include "Drawing.h"
#include "text.h"

namespace ztrace {

// Photographs have a million points: the text of many is appended at once, and all of it by
// flush(), before anything else is appended to the target.
class PointText
{
public:
    // Points as seen in the frame, y downwards, with so many decimals.
    PointText(const Frame &frame, int decimalPlaces, std::string *target)
        : left(frame.x), top(frame.y + frame.height), decimals(decimalPlaces), text(*target),
          end(room)
    { }

    // A letter and points behind it, three at most.
    void add(char letter, std::initializer_list<const Point *> points)
    {
        if (end > room + kRoom - kMost)
            flush();
        for (const Point *p : points) {
            *end++ = letter;
            end = writeNumber(end, p->x - left, decimals);
            *end++ = ' ';
            end = writeNumber(end, top - p->y, decimals);
            letter = ' ';
        }
    }

    void flush()
    {
        text.append(room, std::size_t(end - room));
        end = room;
    }

private:
    static const std::size_t kMost = 3 * (2 * std::size_t(kLongestNumber) + 2); // added at once
    static const std::size_t kRoom = 8 * kMost;

    const double left;
    const double top;
    const int decimals;
    std::string &text;
    char room[kRoom];
    char *end;
};

} // namespace ztrace

#endif
