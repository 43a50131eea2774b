// (c) the ztrace developers. Licence: see LICENSE.
//
// The registry of the formats that drawings are written in. Command and host know formats from
// here alone: a new one is a writer and an entry in formats.cpp.
#ifndef ZTRACE_DRAWING_FORMATS_H
#define ZTRACE_DRAWING_FORMATS_H

#include <QString>

#include <string>
#include <vector>

#include "Drawing.h"
#include "dxf.h"
#include "text.h"

class QIODevice;

namespace ztrace {

// What can be asked of a format besides the drawing itself.
enum Capability : unsigned {
    kFillsAreas = 1,     // or strokes outlines: PaintStyle
    kGroupsLayers = 2,   // where PaintStyle::byLayer asks for it
    kCutsAreasOut = 4,   // areas that lie on others may be cut out of them
    kHasUnits = 8,       // the drawing's unit is in the file
    kRoundsNumbers = 16, // WriteOptions::decimals
    kIsRaster = 32,      // WriteOptions::scale
    kChoosesCurves = 64, // WriteOptions::dxf
    kIsAMap = 128,       // has the drawing's placement, and areas that do not lie on each other
    kHoldsPages = 256,   // one file may have several drawings: PdfBook
    kHasGradients = 512, // areas of others have their mean colour
    kKeepsAll = 1024,    // coordinates that are no finite numbers too; others leave pieces out
    kDrawsLines = 2048,  // has lines where a drawing has curves, or may have: coarsenessOf
    kHasChains = 4096    // tells the boundaries between areas once each: Drawing::chains
};

// A note in the previews that these writers make, by which they are known again.
const char kPreviewKey[] = "Software";
const char kPreviewValue[] = "ztrace";

// Whether a file with this beginning, of kTellingBytes unless it is shorter, is a PDF or PNG that
// these writers made: a drawing among pictures.
const int kTellingBytes = 256;
bool isOwnDrawing(const QByteArray &beginning);

// All that writers can be told; each takes what it knows.
struct WriteOptions
{
    PaintStyle style;
    int decimals = kDecimalsOfDrawing;
    double scale = 1.0; // of pictures
    DxfOptions dxf;
};

enum class Written {
    Whole,
    DeviceRefused, // the device took less than everything
    NoMemory
};

struct Format
{
    const char *name;
    const char *suffix;      // of file names, without the dot
    const char *description; // a few words
    unsigned capabilities;
    Written (*write)(const Drawing &drawing, const WriteOptions &options, QIODevice *device);

    // Why the drawing cannot be written in this format; empty when it can. Null: it always can.
    QString (*obstacle)(const Drawing &drawing, const WriteOptions &options);

    // A regular expression that the beginning of every file of this writer matches, in Latin-1, and
    // hardly one of any other program. Null: these files are known in another way.
    const char *beginning;
};

// All formats; the first is the one that is written when nothing is said.
const std::vector<Format> &allFormats();

// Null for a name, or a suffix in letters of any case, that no format has.
const Format *findFormat(const std::string &name);
const Format *formatOfSuffix(const QString &suffix);

// "svg, dxf, pdf, png, json".
QString namesOfFormats();

} // namespace ztrace

#endif
