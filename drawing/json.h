// (c) the ztrace developers. Licence: see LICENSE.
//
// JSON: everything that a drawing is, and how it came about; docs/command.md describes it.
#ifndef ZTRACE_DRAWING_JSON_H
#define ZTRACE_DRAWING_JSON_H

#include <QByteArray>

#include "Drawing.h"

class QIODevice;

namespace ztrace {

// Writes the drawing losslessly: readJson gives an equal one. `about` is put into the file as it
// is: the members of an object, without braces, or nothing. Returns false when the device took less
// than everything.
bool writeJson(const Drawing &drawing, const QByteArray &about, QIODevice *device);

// Reads what writeJson has written. Returns false, and says in `error` what is wrong, for text that
// is no such drawing.
bool readJson(const QByteArray &text, Drawing *drawing, QString *error);

// A JSON string with its quotes.
QByteArray jsonText(const QString &text);

// A JSON number; what has no number there is one of the strings "nan", "inf", "-inf" and "-0".
QByteArray jsonNumber(double value);

} // namespace ztrace

#endif
