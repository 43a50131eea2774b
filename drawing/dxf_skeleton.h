// (c) the ztrace developers. Licence: see LICENSE.
//
// The parts of a DXF file around its entities.
#ifndef ZTRACE_DRAWING_DXF_SKELETON_H
#define ZTRACE_DRAWING_DXF_SKELETON_H

#include <QByteArray>
#include <QRgb>

#include <string>
#include <vector>

#include "dxf.h"
#include "dxf_linetypes.h"
#include "text.h"

namespace ztrace {

struct DxfLayer
{
    QByteArray name;
    QRgb colour;
};

// Group codes and values, and handles in ascending order.
class DxfText
{
public:
    explicit DxfText(std::string *target) : text(target) { }

    void group(int code, const char *value);
    void group(int code, const QByteArray &value) { group(code, value.constData()); }
    void group(int code, int value);
    void number(int code, double value);
    // Groups that are put together already.
    void groups(const std::string &ready) { *text += ready; }
    // Writes a new handle as a group of code 5 and returns it.
    QByteArray handle();
    static QByteArray handleText(unsigned serial);

    unsigned lastHandle = kFirstFreeHandle;

    // Handles below this belong to the skeleton.
    static const unsigned kFirstFreeHandle = 0x100;

private:
    void begin(int code)
    {
        appendWhole(text, code);
        *text += '\n';
    }

    std::string *text;
};

// Handle of the model space, which owns the entities.
extern const char kDxfModelSpace[];

struct DxfExtents
{
    double left = 0.0;
    double bottom = 0.0;
    double right = 0.0;
    double top = 0.0;
};

// What the tables list.
struct DxfTables
{
    std::vector<DxfLayer> layers;
    std::vector<DxfLineType> lineTypes; // besides the continuous one
};

// Everything up to the first entity. handleSeed is above every handle of the file.
void appendDxfHead(DxfText *out, DxfVersion version, int unitCode, const DxfExtents &extents,
                   const DxfTables &tables, unsigned handleSeed);

// Everything after the last entity.
void appendDxfTail(DxfText *out, DxfVersion version);

} // namespace ztrace

#endif
