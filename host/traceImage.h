// (c) the ztrace developers. Licence: see LICENSE.
//
// The global function traceImage(image, options): what the command ztrace does between reading an
// image and writing its drawing.
//
//   image     a QImage, or the name of a file that the command could read
//   options   an object with the long names of the command's options (scriptsettings.h)
//   result    { drawing: ZDrawing, report: { preset, reason, palette, threshold, upsampling, angle,
//             evened, counts, options, seconds, remarks } }
//
// What the command ends for is a script error with its text; what it warns of stands in remarks.
#ifndef ZELVORA_TRACEIMAGE_H
#define ZELVORA_TRACEIMAGE_H

class QScriptContext;
class QScriptEngine;
class QScriptValue;

namespace zelvora {

QScriptValue traceImage(QScriptContext *context, QScriptEngine *engine);

} // namespace zelvora

#endif
