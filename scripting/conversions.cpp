// (c) the ztrace developers. Licence: see LICENSE.
#include "conversions.h"

#include "TracerPool.h"

#include "ZEcmaHelper.h"

#include <QImage>
#include <QScriptEngine>

namespace {

// The toolkit compares the type of a variant with the id of "T" too when it casts to T*. For a name
// that is not registered that id is 0, which is also the type of a variant of nothing: the engine's
// own variant prototype would be taken for a tracer. tst_safety holds this.
int registerTracerTypes()
{
    qRegisterMetaType<ZTraceBitmap>("ZTraceBitmap");
    return qRegisterMetaType<ZTraceBitmap *>("ZTraceBitmap*");
}

int imageType()
{
    static const int id = qRegisterMetaType<QImage *>("QImage*");
    return id;
}

// A script that sets __proto__ can give any variant a prototype of tracers or images, and the
// toolkit then hands out the variant's bytes as one, also those of a variant of nothing. True for
// a variant of none of the two types.
bool isDisguised(const QScriptValue &value, int pointerType, int valueType)
{
    if (!value.isVariant())
        return false;
    const int type = value.toVariant().userType();
    return type != pointerType && type != valueType;
}

// The toolkit's qscriptvalue_cast by id, which needs no declaration of the type: the host's headers
// may have made one already, and there must not be two.
template<class T>
T *pointerCast(const QScriptValue &value, int type)
{
    T *pointer = nullptr;
    if (qscriptvalue_cast_helper(value, type, &pointer))
        return pointer;
    if (!value.isVariant())
        return nullptr;
    const QVariant variant = value.toVariant();
    return variant.userType() == type ? *static_cast<T *const *>(variant.constData()) : nullptr;
}

// Whether the tracer that the toolkit sees in the value, or else in its prototype, is a disguise.
bool leadsAstray(const QScriptValue &value)
{
    const int type = ztrace::tracerType();
    const QScriptValue holder = pointerCast<ZTraceBitmap>(value, type) ? value : value.prototype();
    return pointerCast<ZTraceBitmap>(holder, type)
        && isDisguised(holder, type, QMetaType::type("ZTraceBitmap"));
}

// A look-up that is under way, those around it included.
class LookUp
{
public:
    LookUp() { isOverflowing = ++depth > ztrace::kDeepestLookUp || isOverflowing; }
    ~LookUp() { isOverflowing = --depth > 0 && isOverflowing; }

    static bool isTooDeep() { return isOverflowing; }

private:
    Q_DISABLE_COPY(LookUp)

    static thread_local int depth;
    // Stays set on the way out: what is called there could otherwise go down again, each level
    // as often as it likes.
    static thread_local bool isOverflowing;
};

thread_local int LookUp::depth = 0;
thread_local bool LookUp::isOverflowing = false;

// The host's conversion where the host's headers declare the meta type of its polyline.
template<class T, bool isDeclared>
struct ListConversion
{
    static QScriptValue toScript(QScriptEngine *engine, const QList<T> &list)
    {
        return ZEcmaHelper::listToScriptValue<T>(engine, list);
    }
};

// The same where they leave the declaration to the other bindings.
template<class T>
struct ListConversion<T, false>
{
    static QScriptValue toScript(QScriptEngine *engine, const QList<T> &list)
    {
        const int type = qRegisterMetaType<T>("ZPolyline");
        QVariantList variants;
        for (int i = 0; i < list.size(); ++i)
            variants.append(QVariant(type, &list.at(i)));
        return qScriptValueFromValue(engine, variants);
    }
};

} // namespace

int ztrace::tracerType()
{
    static const int id = registerTracerTypes();
    return id;
}

QVariant ztrace::tracerVariant(ZTraceBitmap *tracer)
{
    return QVariant(tracerType(), &tracer);
}

bool ztrace::holdsTracer(const QScriptValue &value, const ZTraceBitmap *tracer)
{
    return value.isVariant() && value.toVariant().userType() == tracerType()
        && pointerCast<ZTraceBitmap>(value, tracerType()) == tracer;
}

ZTraceBitmap *ztrace::tracerFromScript(const QScriptValue &value, bool *isTooDeep)
{
    const LookUp lookUp;
    if (isTooDeep)
        *isTooDeep = lookUp.isTooDeep();
    if (lookUp.isTooDeep() || leadsAstray(value))
        return nullptr;
    ZTraceBitmap *tracer = ZEcmaHelper::scriptValueTo<ZTraceBitmap>(value);
    return isDead(tracer) ? nullptr : tracer;
}

QImage *ztrace::imageFromScript(const QScriptValue &value)
{
    if (isDisguised(value, imageType(), QMetaType::QImage))
        return nullptr;
    return pointerCast<QImage>(value, imageType());
}

QScriptValue ztrace::polylinesToScript(QScriptEngine *engine, const QList<ZPolyline> &list)
{
    return ListConversion<ZPolyline, bool(QMetaTypeId2<ZPolyline>::Defined)>::toScript(engine,
                                                                                       list);
}
