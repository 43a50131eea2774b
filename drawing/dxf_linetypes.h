// (c) the ztrace developers. Licence: see LICENSE.
//
// Line types and line weights of DXF.
#ifndef ZTRACE_DRAWING_DXF_LINETYPES_H
#define ZTRACE_DRAWING_DXF_LINETYPES_H

#include "Drawing.h"
#include "dxf.h"

namespace ztrace {

// A record of the table LTYPE.
struct DxfLineType
{
    QByteArray name;
    LineType type;
    std::vector<double> pattern; // drawn and left out in turn; 0 drawn is a dot
};

// The line types that a drawing's pens need. A record's proportions are those of the first pen of
// its type, its length that of the standard pattern, so that a scale, which entities have, gives
// every pen its own lengths - also where a program puts its own definition in place of the record.
// Pens of other proportions get records of their own, named with a number. R12 has no scale: the
// lengths themselves are in the record there.
class DxfLineTypes
{
public:
    // None for a drawing without pens.
    DxfLineTypes(const Drawing &drawing, DxfVersion version);

    const std::vector<DxfLineType> &records() const { return all; }

    // Of a pen by its number in the drawing; null for a continuous line.
    const DxfLineType *recordOf(int pen) const;
    double scaleOf(int pen) const;

private:
    struct Use
    {
        int record = -1;
        double scale = 1.0;
    };

    Use useFor(const Pen &pen, double unitsPerPixel, bool scaled);
    int recordFor(LineType type, const std::vector<double> &pattern);

    std::vector<DxfLineType> all;
    std::vector<Use> uses;
    std::vector<bool> taken; // by a pen, of every record; others still have the standard pattern
};

// What groups 370 may say, in hundredths of a millimetre: the nearest to a width.
int dxfLineWeight(double millimetres);

} // namespace ztrace

#endif
