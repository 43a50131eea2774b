// (c) the ztrace developers. Licence: see LICENSE.
//
// JSON: everything that a drawing is, and how it came about; docs/command.md describes it.
#ifndef ZTRACE_DRAWING_JSON_H
#define ZTRACE_DRAWING_JSON_H

#include <QByteArray>
#include <QJsonValue>

#include "Drawing.h"

class QIODevice;

namespace ztrace {

const char kJsonFormatName[] = "ztrace drawing";
const int kJsonFormatVersion = 1;
// Of drawings that have what readers of the first one would draw wrongly: pens, elliptic arcs.
const int kJsonFormatVersionOfPens = 2;

// Writes the drawing losslessly: readJson gives an equal one, and writing that the same bytes.
// Returns false when the device took less than everything.
bool writeJson(const Drawing &drawing, QIODevice *device);

// Reads what writeJson has written. Returns false, and says in `error` what is wrong and in which
// outline and piece (both counted from 0), for text that is no such drawing. Splines have degrees 1
// to 3; an outline is no hole of its own holes, and not twice of one outline.
bool readJson(const QByteArray &text, Drawing *drawing, QString *error);

// A JSON string with its quotes.
QByteArray jsonText(const QString &text);

// Any value, on one line.
QByteArray jsonValue(const QJsonValue &value);

// A number for a document, with the strings of jsonNumber.
QJsonValue jsonNumberValue(double value);

// A JSON number; what has no number there is one of the strings "nan", "inf", "-inf" and "-0".
QByteArray jsonNumber(double value);

} // namespace ztrace

#endif
