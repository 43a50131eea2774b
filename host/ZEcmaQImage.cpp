// (c) the ztrace developers. Licence: see LICENSE.
#include "ZEcmaQImage.h"

#include "binding.h"
#include "readImage.h"
#include "saveImage.h"
#include "textFiles.h"

#include <QStringList>

namespace {

using namespace zelvora;

const char kClass[] = "QImage";
const QRgb kTopBits = 0x80808080u;

QImage *imageOf(const char *method, QScriptContext *context)
{
    return selfOf<QImage>(kClass, method, context);
}

// The image of a method that takes no arguments; null, with an error raised, otherwise.
QImage *imageAlone(const char *method, QScriptContext *context)
{
    QImage *image = imageOf(method, context);
    if (image && context->argumentCount() != 0) {
        raiseWrongArguments(kClass, method, context);
        return nullptr;
    }
    return image;
}

void makeArgb32(QImage *image)
{
    if (image->format() != QImage::Format_ARGB32 && !image->isNull())
        *image = image->convertToFormat(QImage::Format_ARGB32);
}

QScriptValue create(QScriptContext *context, QScriptEngine *engine)
{
    if (calledWithoutNew(kClass, context, engine))
        return engine->undefinedValue();
    QImage image;
    if (context->argumentCount() == 1 && context->argument(0).isString()) {
        const QString name = context->argument(0).toString();
        if (name.contains(QChar(0)))
            return raise(QLatin1String("QImage(): ") + whyNoFileName(name), context);
        image = readImage(name);
    } else if (areNumbers(context, 2)) {
        image = QImage(integerArgument(context, 0), integerArgument(context, 1),
                       QImage::Format_ARGB32);
        image.fill(0u);
    } else {
        return raise(QString::fromLatin1("QImage(): no matching constructor found."), context);
    }
    return engine->newVariant(context->thisObject(), QVariant(image));
}

QScriptValue isNull(QScriptContext *context, QScriptEngine *)
{
    const QImage *image = imageAlone("isNull", context);
    return image ? QScriptValue(image->isNull()) : QScriptValue();
}

QScriptValue width(QScriptContext *context, QScriptEngine *)
{
    const QImage *image = imageAlone("width", context);
    return image ? QScriptValue(image->width()) : QScriptValue();
}

QScriptValue height(QScriptContext *context, QScriptEngine *)
{
    const QImage *image = imageAlone("height", context);
    return image ? QScriptValue(image->height()) : QScriptValue();
}

// Whether the first two arguments lie in the image; raises an error when they do not.
bool isInside(const QImage &image, const char *method, QScriptContext *context)
{
    if (image.valid(integerArgument(context, 0), integerArgument(context, 1)))
        return true;
    raise(QString::fromLatin1("QImage.%1(): The position is outside the image.")
              .arg(QLatin1String(method)),
          context);
    return false;
}

QScriptValue pixel(QScriptContext *context, QScriptEngine *)
{
    const QImage *image = imageOf("pixel", context);
    if (!image)
        return QScriptValue();
    if (!areNumbers(context, 2))
        return raiseWrongArguments(kClass, "pixel", context);
    if (!isInside(*image, "pixel", context))
        return QScriptValue();
    return QScriptValue(image->pixel(integerArgument(context, 0), integerArgument(context, 1)));
}

QScriptValue setPixel(QScriptContext *context, QScriptEngine *engine)
{
    QImage *image = imageOf("setPixel", context);
    if (!image)
        return QScriptValue();
    if (!areNumbers(context, 3))
        return raiseWrongArguments(kClass, "setPixel", context);
    if (!isInside(*image, "setPixel", context))
        return QScriptValue();
    if (image->format() != QImage::Format_RGB32)
        makeArgb32(image);
    image->setPixel(integerArgument(context, 0), integerArgument(context, 1),
                    context->argument(2).toUInt32());
    return engine->undefinedValue();
}

QScriptValue copy(QScriptContext *context, QScriptEngine *engine)
{
    const QImage *image = imageAlone("copy", context);
    return image ? engine->newVariant(QVariant(image->copy())) : QScriptValue();
}

QScriptValue save(QScriptContext *context, QScriptEngine *)
{
    const QImage *image = imageOf("save", context);
    if (!image)
        return QScriptValue();
    if (context->argumentCount() != 1 || !context->argument(0).isString())
        return raiseWrongArguments(kClass, "save", context);
    const QString name = context->argument(0).toString();
    if (name.contains(QChar(0)))
        return raise(QLatin1String("QImage.save(): ") + whyNoFileName(name), context);
    return QScriptValue(saveImage(*image, name));
}

QScriptValue convertToArgb32(QScriptContext *context, QScriptEngine *engine)
{
    QImage *image = imageAlone("convertToArgb32", context);
    if (!image)
        return QScriptValue();
    makeArgb32(image);
    return engine->undefinedValue();
}

QScriptValue invertTopBits(QScriptContext *context, QScriptEngine *engine)
{
    QImage *image = imageAlone("invertTopBits", context);
    if (!image)
        return QScriptValue();
    makeArgb32(image);
    for (int y = 0; y < image->height(); ++y) {
        QRgb *words = reinterpret_cast<QRgb *>(image->scanLine(y));
        for (int x = 0; x < image->width(); ++x)
            words[x] ^= kTopBits;
    }
    return engine->undefinedValue();
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
    const QImage *image = ZEcmaHelper::scriptValueTo<QImage>(context->thisObject());
    if (!image)
        return QScriptValue(QString::fromLatin1(kClass));
    return QScriptValue(
        QString::fromLatin1("QImage(%1 x %2)").arg(image->width()).arg(image->height()));
}

} // namespace

void ZEcmaQImage::initEcma(QScriptEngine &engine)
{
    static const Method kMethods[] = {
        { "toString", guarded<toString> },
        { "getClassName", guarded<getClassName> },
        { "getBaseClasses", guarded<getBaseClasses> },
        { "isNull", guarded<isNull> },
        { "width", guarded<width> },
        { "height", guarded<height> },
        { "pixel", guarded<pixel> },
        { "setPixel", guarded<setPixel> },
        { "copy", guarded<copy> },
        { "save", guarded<save> },
        { "convertToArgb32", guarded<convertToArgb32> },
        { "invertTopBits", guarded<invertTopBits> },
    };
    const QScriptValue proto
        = makePrototype<QImage>(engine, kMethods, sizeof(kMethods) / sizeof(kMethods[0]));
    installConstructor(engine, kClass, guarded<create>, proto);
}
