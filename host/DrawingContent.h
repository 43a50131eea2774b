// (c) the ztrace developers. Licence: see LICENSE.
//
// What is behind a script's "ZDrawing".
#ifndef ZELVORA_DRAWINGCONTENT_H
#define ZELVORA_DRAWINGCONTENT_H

#include "cli/Settings.h"
#include "drawing/Drawing.h"

#include <QMetaType>

#include <memory>

class QScriptEngine;
class QScriptValue;

namespace zelvora {

struct DrawingContent
{
    ztrace::Drawing drawing;
    ztrace::Settings settings; // how it is written where save() says nothing else
};

} // namespace zelvora

// A method holds the content by a pointer of its own: scripts that run meanwhile may put something
// else into the object, or let go of it.
struct ZDrawing
{
    std::shared_ptr<zelvora::DrawingContent> content = std::make_shared<zelvora::DrawingContent>();
};

Q_DECLARE_METATYPE(ZDrawing)
Q_DECLARE_METATYPE(ZDrawing *)

#endif
