// (c) the ztrace developers. Licence: see LICENSE.
//
// Native values to script values and back: tracers, images and lists of polylines.
//
// They travel as variants of the meta types "ZTraceBitmap*", "QImage*" and "ZPolyline". These names
// are shared with the host and its other bindings: whoever registers a name first, all get one id.
// The pointer types never own what they point to.
#ifndef ZTRACE_CONVERSIONS_H
#define ZTRACE_CONVERSIONS_H

#include "ZTraceBitmap.h"

#include <QList>
#include <QMetaType>
#include <QScriptValue>
#include <QVariant>

class QImage;
class QScriptEngine;

Q_DECLARE_METATYPE(ZTraceBitmap *)

namespace ztrace {

// The id of "ZTraceBitmap*"; registers it, and what the casts below rely on, on first use.
int tracerType();

// A variant that holds the pointer, which may be null.
QVariant tracerVariant(ZTraceBitmap *tracer);

// True when the value itself is a variant object that holds exactly this tracer.
bool holdsTracer(const QScriptValue &value, const ZTraceBitmap *tracer);

// Look-ups inside each other that are answered; stand-ins of stand-ins need two or three.
const int kDeepestLookUp = 32;

// The live tracer that the value holds or leads to (ZEcmaHelper::scriptValueTo), or null. Methods
// of the value run meanwhile, and when they are the tracer's own they look for a tracer again,
// without a call of a script in between that the engine would count. Beyond kDeepestLookUp nothing
// is looked for any more, until the outermost look-up has come back; isTooDeep tells that.
ZTraceBitmap *tracerFromScript(const QScriptValue &value, bool *isTooDeep = nullptr);

// The image that the value holds, as a pointer or by value, or null. Of an image held by value
// this is the script's own, so that changes show.
QImage *imageFromScript(const QScriptValue &value);

// An array of copies in the same order; not valid without an engine.
QScriptValue polylinesToScript(QScriptEngine *engine, const QList<ZPolyline> &list);

} // namespace ztrace

#endif
