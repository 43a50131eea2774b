// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaPolyline.h"

#include "binding.h"

#include <QStringList>

namespace {

using namespace zelvora;

const char kClass[] = "ZPolyline";

// The polyline of a method that takes no arguments; null, with an error raised, otherwise.
const ZPolyline *polylineAlone(const char *method, QScriptContext *context)
{
    const ZPolyline *self = selfOf<ZPolyline>(kClass, method, context);
    if (self && context->argumentCount() != 0) {
        raiseWrongArguments(kClass, method, context);
        return nullptr;
    }
    return self;
}

// The polyline of a method that takes the index of one of its pieces.
const ZPolyline *polylineAndPiece(const char *method, QScriptContext *context, int *index)
{
    const ZPolyline *self = selfOf<ZPolyline>(kClass, method, context);
    if (!self)
        return nullptr;
    if (!areNumbers(context, 1)) {
        raiseWrongArguments(kClass, method, context);
        return nullptr;
    }
    *index = integerArgument(context, 0);
    if (*index >= 0 && *index < self->countPieces())
        return self;
    raise(QString::fromLatin1("ZPolyline.%1(): There is no such piece.").arg(QLatin1String(method)),
          context);
    return nullptr;
}

QScriptValue countPieces(QScriptContext *context, QScriptEngine *)
{
    const ZPolyline *self = polylineAlone("countPieces", context);
    return self ? QScriptValue(self->countPieces()) : QScriptValue();
}

QScriptValue getPieceKind(QScriptContext *context, QScriptEngine *)
{
    int index = 0;
    const ZPolyline *self = polylineAndPiece("getPieceKind", context, &index);
    if (!self)
        return QScriptValue();
    switch (self->getPieceKind(index)) {
    case ZPolyline::LinePiece:
        return QScriptValue(QString::fromLatin1("line"));
    case ZPolyline::ArcPiece:
        return QScriptValue(QString::fromLatin1("arc"));
    default:
        return QScriptValue(QString::fromLatin1("spline"));
    }
}

QScriptValue getPiecePoints(QScriptContext *context, QScriptEngine *engine)
{
    int index = 0;
    const ZPolyline *self = polylineAndPiece("getPiecePoints", context, &index);
    if (!self)
        return QScriptValue();
    const int count = self->countPiecePoints(index);
    // A copy, which shares the data: setters of the script run while the list is made.
    const ZPolyline polyline = *self;
    QScriptValue list = engine->newArray(uint(count));
    for (int i = 0; i < count; ++i)
        list.setProperty(quint32(i), pointToScript(polyline.getPiecePointAt(index, i), engine));
    return list;
}

QScriptValue getStartPoint(QScriptContext *context, QScriptEngine *engine)
{
    const ZPolyline *self = polylineAlone("getStartPoint", context);
    return self ? pointToScript(self->getStartPoint(), engine) : QScriptValue();
}

QScriptValue getEndPoint(QScriptContext *context, QScriptEngine *engine)
{
    const ZPolyline *self = polylineAlone("getEndPoint", context);
    return self ? pointToScript(self->getEndPoint(), engine) : QScriptValue();
}

QScriptValue getLength(QScriptContext *context, QScriptEngine *)
{
    const ZPolyline *self = polylineAlone("getLength", context);
    return self ? QScriptValue(self->getLength()) : QScriptValue();
}

QScriptValue getBoundingBox(QScriptContext *context, QScriptEngine *engine)
{
    const ZPolyline *self = polylineAlone("getBoundingBox", context);
    if (!self)
        return QScriptValue();
    const ZBox box = self->getBoundingBox();
    QScriptValue object = engine->newObject();
    object.setProperty(QLatin1String("minimum"), pointToScript(box.minimum, engine));
    object.setProperty(QLatin1String("maximum"), pointToScript(box.maximum, engine));
    return object;
}

QScriptValue getClassName(QScriptContext *, QScriptEngine *)
{
    return QScriptValue(QString::fromLatin1(kClass));
}

QScriptValue getBaseClasses(QScriptContext *, QScriptEngine *engine)
{
    return qScriptValueFromValue(engine, QStringList());
}

QScriptValue toString(QScriptContext *context, QScriptEngine *)
{
    const ZPolyline *self = ZEcmaHelper::scriptValueTo<ZPolyline>(context->thisObject());
    if (!self)
        return QScriptValue(QString::fromLatin1(kClass));
    const ZVector start = self->getStartPoint();
    return QScriptValue(QString::fromLatin1("ZPolyline(%1 pieces from %2, %3)")
                            .arg(self->countPieces())
                            .arg(start.x)
                            .arg(start.y));
}

} // namespace

void ZEcmaPolyline::initEcma(QScriptEngine &engine)
{
    static const Method kMethods[] = {
        { "toString", guarded<toString> },
        { "getClassName", guarded<getClassName> },
        { "getBaseClasses", guarded<getBaseClasses> },
        { "countPieces", guarded<countPieces> },
        { "getPieceKind", guarded<getPieceKind> },
        { "getPiecePoints", guarded<getPiecePoints> },
        { "getStartPoint", guarded<getStartPoint> },
        { "getEndPoint", guarded<getEndPoint> },
        { "getLength", guarded<getLength> },
        { "getBoundingBox", guarded<getBoundingBox> },
    };
    makePrototype<ZPolyline>(engine, kMethods, sizeof(kMethods) / sizeof(kMethods[0]));
}
