// (c) the ztrace developers. Licence: see LICENSE.
//
// The path data of SVG in few bytes.
#ifndef ZTRACE_DRAWING_SVG_PATH_H
#define ZTRACE_DRAWING_SVG_PATH_H

#include "pieces.h"

#include <string>

namespace ztrace {

// More decimals than this are not written in few bytes.
const int kMostCompactDecimals = 9;

// Path data with rounded coordinates. Every point is rounded by itself; what is written relative to
// the one before is the difference of the rounded ones, so that errors do not add up. Letters that
// need not be repeated are left out, and separators where a sign or a point begins the next number;
// of absolute and relative coordinates those are taken that are shorter.
//
// An arc's radii get as many decimals more as it takes for the middle of the arc to be where it is,
// as well as its ends are: of half a circle whose radius is wrong by 0.005 the center may be off by
// a pixel.
class SvgPath
{
public:
    // Points are written as x - left and top - y; 0 <= decimals <= kMostCompactDecimals. In units
    // of the last decimal they have no point, which is a byte less for most numbers; who draws them
    // has to know.
    SvgPath(double left, double top, int decimals, bool inUnits = false);

    // Whether all coordinates can be written so: not where they have more than 15 digits.
    bool canWrite(const std::vector<PathPiece> &pieces) const;

    // Turns a closed list of pieces so that the line that takes most bytes is the last one, which
    // need not be written.
    void endWithLongestLine(std::vector<PathPiece> *pieces) const;

    // Appends a part of the data; it goes on from the part before. A closed one ends with z in
    // place of a last line.
    void append(const std::vector<PathPiece> &pieces, std::string *text);

private:
    struct Place
    {
        int64_t x;
        int64_t y;
    };

    class Text;
    class Numbers;

    Place placeOf(const Point &p) const;
    Point pointOf(const Place &place) const;
    Text textOf(int64_t units) const;
    void moveTo(const Place &to, std::string *text);
    void lineTo(const Place &to, std::string *text);
    void curveTo(char letter, const Place *points, int count, std::string *text);
    void arcTo(const PathPiece &piece, std::string *text);
    void appendArc(const PathPiece &piece, std::string *text);
    double distanceOfMiddle(const Ellipse &ellipse, const Place &to, const double radii[2],
                            double turn) const;

    const double left;
    const double top;
    const int decimals;
    const double unit; // of places: 10 to the power of decimals
    const int written; // decimals of what is written: none of units
    Place at = { 0, 0 };
    char letter = '\0';       // of the command before, as it would be repeated
    bool hadPoint = false;    // in the number before
    std::string absoluteRoom; // of Numbers
    std::string relativeRoom;
};

// The shortest text of a number that is rounded to so many decimals: without a 0 before the point.
void appendShort(std::string *text, double value, int decimals);

} // namespace ztrace

#endif
