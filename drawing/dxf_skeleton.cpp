// (c) the ztrace developers. Licence: see LICENSE.
//
// Objects of the skeleton have fixed handles below kFirstFreeHandle. From R2000 on readers want
// all nine tables, the block records of both spaces and the root dictionary, even where they are
// empty; R12 wants none of the subclass marks and handles.
#include "dxf_skeleton.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace ztrace {

namespace {

const char kModelSpaceRecord[] = "1F";
const char kPaperSpaceRecord[] = "1B";
const char kRootDictionary[] = "C";
const char kGroupDictionary[] = "D";
const int kContinuousByLayer = 7;
const unsigned kFirstLineType = 0x30; // handles
const unsigned kFirstLayer = 0x40;

const char *versionName(DxfVersion version)
{
    switch (version) {
    case DxfVersion::R12:
        return "AC1009";
    case DxfVersion::R2000:
        return "AC1015";
    case DxfVersion::R2004:
        break;
    }
    return "AC1018";
}

class Skeleton
{
public:
    Skeleton(DxfText *o, DxfVersion v) : out(*o), version(v), old(v == DxfVersion::R12) { }

    void header(int unitCode, const DxfExtents &extents, unsigned handleSeed)
    {
        section("HEADER");
        variable("$ACADVER", 1, versionName(version));
        if (!old) {
            variable("$HANDSEED", 5, DxfText::handleText(handleSeed));
            variable("$INSUNITS", 70, QByteArray::number(unitCode));
            variable("$MEASUREMENT", 70, unitCode == 1 ? "0" : "1");
        }
        corner("$EXTMIN", extents.left, extents.bottom);
        corner("$EXTMAX", extents.right, extents.top);
        endSection();
    }

    void tables(const DxfTables &listed)
    {
        section("TABLES");
        if (!old)
            viewport();
        lineTypes(listed.lineTypes);
        layerTable(listed.layers);
        styleTable();
        if (!old) {
            emptyTable("VIEW", "6");
            emptyTable("UCS", "7");
            applicationTable();
            dimensionTable();
            blockRecords();
        }
        endSection();
    }

    void blocks()
    {
        if (old)
            return;
        section("BLOCKS");
        block("*Model_Space", kModelSpaceRecord, "20", "21", false);
        block("*Paper_Space", kPaperSpaceRecord, "1C", "1D", true);
        endSection();
    }

    void objects()
    {
        if (old)
            return;
        section("OBJECTS");
        out.group(0, "DICTIONARY");
        out.group(5, kRootDictionary);
        out.group(330, "0");
        out.group(100, "AcDbDictionary");
        out.group(281, 1);
        out.group(3, "ACAD_GROUP");
        out.group(350, kGroupDictionary);
        out.group(0, "DICTIONARY");
        out.group(5, kGroupDictionary);
        out.group(330, kRootDictionary);
        out.group(100, "AcDbDictionary");
        out.group(281, 1);
        endSection();
    }

    void section(const char *name)
    {
        out.group(0, "SECTION");
        out.group(2, name);
    }

    void endSection() { out.group(0, "ENDSEC"); }

private:
    void variable(const char *name, int code, const QByteArray &value)
    {
        out.group(9, name);
        out.group(code, value);
    }

    void corner(const char *name, double x, double y)
    {
        out.group(9, name);
        out.number(10, x);
        out.number(20, y);
        out.number(30, 0.0);
    }

    void table(const char *name, const char *handle, int entries)
    {
        out.group(0, "TABLE");
        out.group(2, name);
        if (!old) {
            out.group(5, handle);
            out.group(330, "0");
            out.group(100, "AcDbSymbolTable");
        }
        out.group(70, entries);
    }

    void endTable() { out.group(0, "ENDTAB"); }

    void record(const char *kind, const char *tableHandle, const QByteArray &handle,
                const char *subclass, int handleCode = 5)
    {
        out.group(0, kind);
        if (old)
            return;
        out.group(handleCode, handle);
        out.group(330, tableHandle);
        out.group(100, "AcDbSymbolTableRecord");
        out.group(100, subclass);
    }

    void emptyTable(const char *name, const char *handle)
    {
        table(name, handle, 0);
        endTable();
    }

    void viewport()
    {
        table("VPORT", "8", 1);
        record("VPORT", "8", "2E", "AcDbViewportTableRecord");
        out.group(2, "*Active");
        out.group(70, 0);
        endTable();
    }

    void lineTypes(const std::vector<DxfLineType> &patterned)
    {
        table("LTYPE", "5", (old ? 1 : 3) + static_cast<int>(patterned.size()));
        if (!old) {
            lineType("ByBlock", "14");
            lineType("ByLayer", "15");
        }
        lineType(old ? "CONTINUOUS" : "Continuous", "16");
        unsigned serial = kFirstLineType;
        for (const DxfLineType &type : patterned)
            lineType(type, old ? QByteArray() : freeHandle(serial++, kFirstLayer));
        endTable();
    }

    // Lengths that are left out are negative.
    void lineType(const DxfLineType &type, const QByteArray &handle)
    {
        record("LTYPE", "5", handle, "AcDbLinetypeTableRecord");
        out.group(2, type.name);
        out.group(70, 0);
        out.group(3, describe(type.pattern));
        out.group(72, 65);
        out.group(73, static_cast<int>(type.pattern.size()));
        double length = 0.0;
        for (double part : type.pattern)
            length += part;
        out.number(40, length);
        for (std::size_t i = 0; i < type.pattern.size(); ++i) {
            out.number(49, i % 2 == 0 ? type.pattern[i] : -type.pattern[i]);
            if (!old)
                out.group(74, 0);
        }
    }

    // The way such records are described: "____ _ ____".
    static QByteArray describe(const std::vector<double> &pattern)
    {
        const double most
            = pattern.empty() ? 0.0 : *std::max_element(pattern.begin(), pattern.end());
        QByteArray text;
        for (std::size_t i = 0; i < pattern.size(); i += 2) {
            text += pattern[i] == 0.0 ? "." : pattern[i] >= 0.5 * most ? "____" : "_";
            text += ' ';
        }
        return text + text.trimmed();
    }

    void lineType(const char *name, const char *handle)
    {
        record("LTYPE", "5", handle, "AcDbLinetypeTableRecord");
        out.group(2, name);
        out.group(70, 0);
        out.group(3, "");
        out.group(72, 65);
        out.group(73, 0);
        out.number(40, 0.0);
    }

    void layerTable(const std::vector<DxfLayer> &layers)
    {
        bool hasZero = false;
        for (const DxfLayer &layer : layers)
            hasZero = hasZero || layer.name == "0";
        table("LAYER", "2", static_cast<int>(layers.size()) + (hasZero ? 0 : 1));
        if (!hasZero)
            layerRecord("0", kContinuousByLayer, nullptr, "10");
        unsigned serial = kFirstLayer;
        for (const DxfLayer &layer : layers) {
            // Layer handles follow those of the skeleton and end below the entities'.
            const QByteArray handle = old
                ? QByteArray()
                : (layer.name == "0" ? QByteArray("10")
                                     : freeHandle(serial++, DxfText::kFirstFreeHandle));
            layerRecord(layer.name, dxfColourIndex(layer.colour), &layer.colour, handle);
        }
        endTable();
    }

    // There may be more records than handles kept for them: take new ones then.
    QByteArray freeHandle(unsigned serial, unsigned end)
    {
        return serial < end ? DxfText::handleText(serial) : DxfText::handleText(++out.lastHandle);
    }

    void layerRecord(const QByteArray &name, int index, const QRgb *trueColour,
                     const QByteArray &handle)
    {
        record("LAYER", "2", handle, "AcDbLayerTableRecord");
        // Some readers skip the first group of a record, which is the handle where there is one.
        if (old)
            out.group(70, 0);
        out.group(2, name);
        if (!old)
            out.group(70, 0);
        out.group(62, index);
        if (trueColour && !old && !isDxfInk(*trueColour))
            out.group(420, static_cast<int>(*trueColour & 0xFFFFFFu));
        out.group(6, old ? "CONTINUOUS" : "Continuous");
    }

    void styleTable()
    {
        table("STYLE", "3", 1);
        record("STYLE", "3", "11", "AcDbTextStyleTableRecord");
        out.group(2, old ? "STANDARD" : "Standard");
        out.group(70, 0);
        out.number(40, 0.0);
        out.number(41, 1.0);
        out.number(50, 0.0);
        out.group(71, 0);
        out.number(42, 1.0);
        out.group(3, "txt");
        out.group(4, "");
        endTable();
    }

    void applicationTable()
    {
        table("APPID", "9", 1);
        record("APPID", "9", "12", "AcDbRegAppTableRecord");
        out.group(2, "ACAD");
        out.group(70, 0);
        endTable();
    }

    void dimensionTable()
    {
        table("DIMSTYLE", "A", 1);
        out.group(100, "AcDbDimStyleTable");
        record("DIMSTYLE", "A", "27", "AcDbDimStyleTableRecord", 105);
        out.group(2, "Standard");
        out.group(70, 0);
        endTable();
    }

    void blockRecords()
    {
        table("BLOCK_RECORD", "1", 2);
        record("BLOCK_RECORD", "1", kModelSpaceRecord, "AcDbBlockTableRecord");
        out.group(2, "*Model_Space");
        record("BLOCK_RECORD", "1", kPaperSpaceRecord, "AcDbBlockTableRecord");
        out.group(2, "*Paper_Space");
        endTable();
    }

    void block(const char *name, const char *owner, const char *beginHandle, const char *endHandle,
               bool paper)
    {
        out.group(0, "BLOCK");
        out.group(5, beginHandle);
        out.group(330, owner);
        out.group(100, "AcDbEntity");
        if (paper)
            out.group(67, 1);
        out.group(8, "0");
        out.group(100, "AcDbBlockBegin");
        out.group(2, name);
        out.group(70, 0);
        out.number(10, 0.0);
        out.number(20, 0.0);
        out.number(30, 0.0);
        out.group(3, name);
        out.group(1, "");
        out.group(0, "ENDBLK");
        out.group(5, endHandle);
        out.group(330, owner);
        out.group(100, "AcDbEntity");
        if (paper)
            out.group(67, 1);
        out.group(8, "0");
        out.group(100, "AcDbBlockEnd");
    }

    DxfText &out;
    DxfVersion version;
    bool old;
};

} // namespace

const char kDxfModelSpace[] = "1F";

void DxfText::group(int code, const char *value)
{
    begin(code);
    *text += value;
    *text += '\n';
}

void DxfText::group(int code, int value)
{
    begin(code);
    appendWhole(text, value);
    *text += '\n';
}

void DxfText::number(int code, double value)
{
    char group[kLongestNumber + 30];
    char *const start = std::to_chars(group, group + 20, code).ptr;
    *start = '\n';
    char *end = writeNumber(start + 1, value);
    // Readers take a real by its point.
    if (!std::memchr(start, '.', static_cast<std::size_t>(end - start))) {
        *end++ = '.';
        *end++ = '0';
    }
    *end++ = '\n';
    text->append(group, static_cast<std::size_t>(end - group));
}

QByteArray DxfText::handle()
{
    QByteArray next = handleText(++lastHandle);
    group(5, next);
    return next;
}

QByteArray DxfText::handleText(unsigned serial)
{
    return QByteArray::number(serial, 16).toUpper();
}

void appendDxfHead(DxfText *out, DxfVersion version, int unitCode, const DxfExtents &extents,
                   const DxfTables &tables, unsigned handleSeed)
{
    Skeleton skeleton(out, version);
    skeleton.header(unitCode, extents, handleSeed);
    if (version != DxfVersion::R12) {
        skeleton.section("CLASSES");
        skeleton.endSection();
    }
    skeleton.tables(tables);
    skeleton.blocks();
    skeleton.section("ENTITIES");
}

void appendDxfTail(DxfText *out, DxfVersion version)
{
    Skeleton skeleton(out, version);
    skeleton.endSection();
    skeleton.objects();
    out->group(0, "EOF");
}

} // namespace ztrace
