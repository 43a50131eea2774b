// (c) the ztrace developers. Licence: see LICENSE.
//
// What of the ink is in no drawing.
#ifndef ZTRACE_STROKES_LEFTOUT_H
#define ZTRACE_STROKES_LEFTOUT_H

#include <cstddef>

namespace ztrace::strokes {

// Parts of the ink: how many, and the largest of them.
struct LeftOutParts
{
    std::size_t count = 0;
    int largest = 0; // pixels
    int x = 0;       // where it is, in pixels of the picture
    int y = 0;

    void add(int pixels, int column, int row)
    {
        ++count;
        if (pixels > largest) {
            largest = pixels;
            x = column;
            y = row;
        }
    }

    void add(const LeftOutParts &others)
    {
        count += others.count;
        if (others.largest > largest) {
            largest = others.largest;
            x = others.x;
            y = others.y;
        }
    }
};

struct LeftOut
{
    LeftOutParts specks;
    LeftOutParts pale; // much lighter than the lines
};

} // namespace ztrace::strokes

#endif
