// (c) the ztrace developers. Licence: see LICENSE.
#include "ScriptWriter.h"

#include <iterator>

namespace fuzz {

namespace {

const int kVariables = 6;
const int kMostStatements = 24;
const int kDeepest = 4;

const char *const kClasses[] = { "ZTraceBitmap", "QImage", "ZDrawing" };

// No method that writes a file.
const char *const kMethods[] = { "ZTraceBitmap.prototype.toString",
                                 "ZTraceBitmap.prototype.trace",
                                 "ZTraceBitmap.prototype.destroy",
                                 "ZTraceBitmap.prototype.preprocess",
                                 "ZTraceBitmap.prototype.setOption",
                                 "ZTraceBitmap.prototype.getClassName",
                                 "ZTraceBitmap.prototype.getBaseClasses",
                                 "QImage.prototype.toString",
                                 "QImage.prototype.width",
                                 "QImage.prototype.isNull",
                                 "QImage.prototype.pixel",
                                 "QImage.prototype.setPixel",
                                 "QImage.prototype.copy",
                                 "QImage.prototype.invertTopBits",
                                 "QImage.prototype.convertToArgb32",
                                 "ZDrawing.prototype.toString",
                                 "ZDrawing.prototype.addObject",
                                 "ZDrawing.prototype.count",
                                 "ZDrawing.prototype.setPage",
                                 "ZDrawing.prototype.getPage",
                                 "ZDrawing.prototype.getObject",
                                 "ZDrawing.prototype.getLayer",
                                 "ZDrawing.prototype.getLayers",
                                 "ZDrawing.prototype.getColor",
                                 "ZDrawing.prototype.setUnit",
                                 "ZDrawing.prototype.getUnit",
                                 "ZDrawing.prototype.setResolution",
                                 "ZDrawing.prototype.getResolution",
                                 "traceImage",
                                 "listFolder",
                                 "readTextFile",
                                 "Polyline.toString",
                                 "Polyline.countPieces",
                                 "Polyline.getPieceKind",
                                 "Polyline.getPiecePoints",
                                 "Polyline.getStartPoint",
                                 "Polyline.getEndPoint",
                                 "Polyline.getLength",
                                 "Polyline.getBoundingBox",
                                 "Array.prototype.toString",
                                 "Object.prototype.valueOf",
                                 "Function.prototype.call" };

const char *const kNames[] = { "getBaseClasses",
                               "getZTraceBitmap",
                               "getQImage",
                               "getZPolyline",
                               "getZDrawing",
                               "toString",
                               "valueOf",
                               "length",
                               "x",
                               "y",
                               "0",
                               "1",
                               "2",
                               "minimum",
                               "data",
                               "message" };

// An option that could ask for minutes has its bounds in the prelude.
const char *const kOptions[]
    = { "'monochrome'", "'numberofcolors'", "'blurradius'", "'blurdelta'",    "'pathomit'",
        "'ltres'",      "'qtres'",          "'nothing'",    "'mincolorratio'" };

// Members of what traceImage() is told, with values that are right, and places for others.
const char *const kTraceOptions[] = { "preset: 'logo'",
                                      "preset: 'photo'",
                                      "preset: 'lineart'",
                                      "method: 'flat'",
                                      "method: 'blend'",
                                      "raw: true",
                                      "colors: 3",
                                      "palette: '#000,#fff'",
                                      "threshold: 'otsu'",
                                      "despeckle: 2",
                                      "units: 'mm', dpi: 96",
                                      "fit: 'shapes'",
                                      "set: { pathomit: %1 }",
                                      "onlyColor: %1",
                                      "layers: %1",
                                      "minPath: %1",
                                      "nothing: %1",
                                      "seed: %1",
                                      "palette: %1",
                                      "background: %1" };

const char *const kValues[]
    = { "null", "undefined", "true", "NaN", "Infinity", "-1",     "0",
        "1",    "2.5",       "7",    "4e9", "''",       "'text'", "Error('e')" };

const char *const kPrelude
    = "var calls = 0;"
      "function tick() { if (++calls > 300) throw new Error('enough'); }"
      "function picture(n) { var image = new QImage(n + 2, n + 3);"
      " for (var i = 0; i < n; ++i) image.setPixel(i, i, 0xff000000 + i * 40); return image; }"
      "var tracer = new ZTraceBitmap(); tracer.setOption('pathomit', 0);"
      "var outlines = tracer.trace(picture(5)); var Polyline = outlines[0].__proto__;"
      "var v = [tracer, picture(3), outlines[0], new ZDrawing(), {}, outlines];";

template<class Table>
int sizeOf(const Table &table)
{
    return static_cast<int>(std::size(table));
}

} // namespace

// Pieces are drawn in chains of arg(), whose order is the same with every compiler.
QString ScriptWriter::oneOf(const char *const *texts, int count)
{
    return QString::fromLatin1(texts[input->between(0, count - 1)]);
}

QString ScriptWriter::script()
{
    QString text = QString::fromLatin1(kPrelude);
    for (int count = input->between(1, kMostStatements); count > 0 && !input->isAtEnd(); --count)
        text += QString::fromLatin1("\ntry { %1 } catch (e) { v[%2] = e }")
                    .arg(statement())
                    .arg(input->between(0, 2 * kVariables));
    return text;
}

QString ScriptWriter::variable()
{
    return QString::fromLatin1("v[%1]").arg(input->between(0, kVariables - 1));
}

QString ScriptWriter::statement()
{
    const QString name = oneOf(kNames, sizeOf(kNames));
    switch (input->between(0, 9)) {
    case 0:
    case 1:
        return QString::fromLatin1("%1 = %2").arg(variable()).arg(expression());
    case 2:
        return QString::fromLatin1("%1['%2'] = %3").arg(variable()).arg(name).arg(expression());
    case 3:
        return QString::fromLatin1("%1.__proto__ = %2").arg(variable()).arg(expression());
    case 4:
        // With a setter: the script engine's own code ends the process at the second assignment to
        // a property that has none.
        return QString::fromLatin1("%1.__defineGetter__('%2', %3); %1.__defineSetter__('%2', tick)")
            .arg(variable())
            .arg(name)
            .arg(callable());
    case 5:
        return QString::fromLatin1("Object.prototype.__defineSetter__('%1', %2)")
            .arg(name)
            .arg(callable());
    case 6:
        return QString::fromLatin1("delete Object.prototype['%1']; gc()").arg(name);
    default:
        return call();
    }
}

QString ScriptWriter::plainValue()
{
    return input->between(0, 1) ? oneOf(kValues, sizeOf(kValues)) : variable();
}

QString ScriptWriter::expression()
{
    if (depth >= kDeepest)
        return plainValue();
    ++depth;
    QString text = object();
    --depth;
    return text;
}

QString ScriptWriter::object()
{
    switch (input->between(0, 11)) {
    case 0:
        return QString::fromLatin1("new %1()").arg(oneOf(kClasses, sizeOf(kClasses)));
    case 1:
        return QString::fromLatin1("picture(%1)").arg(input->between(0, 9));
    case 2:
        return QString::fromLatin1("%1.prototype").arg(oneOf(kClasses, sizeOf(kClasses)));
    case 3:
        return QString::fromLatin1("Object.create(%1)").arg(expression());
    case 4:
    case 5:
        return standIn();
    case 6:
        return QString::fromLatin1("[%1, %2]").arg(expression()).arg(expression());
    case 7:
        return callable();
    case 8:
    case 9:
        return call();
    default:
        return plainValue();
    }
}

// A native method, or a function that may change things before it answers.
QString ScriptWriter::callable()
{
    if (depth >= kDeepest || input->between(0, 2) == 0)
        return oneOf(kMethods, sizeOf(kMethods));
    ++depth;
    QString text = QString::fromLatin1("function() { tick(); %1; return %2 }")
                       .arg(statement())
                       .arg(expression());
    --depth;
    return text;
}

QString ScriptWriter::call()
{
    const QString self = depth < kDeepest ? expression() : variable();
    switch (input->between(0, 5)) {
    case 5:
        return tracing();
    case 0:
        return QString::fromLatin1("%1.call(%2%3)")
            .arg(oneOf(kClasses, sizeOf(kClasses)))
            .arg(self)
            .arg(arguments());
    case 1:
        return QString::fromLatin1("ZTraceBitmap.prototype.setOption.call(%1, %2, %3)")
            .arg(self)
            .arg(oneOf(kOptions, sizeOf(kOptions)))
            .arg(input->between(0, 40) - 4);
    case 2:
        return QString::fromLatin1("ZTraceBitmap.prototype.trace.call(%1, picture(%2))")
            .arg(self)
            .arg(input->between(0, 9));
    default:
        return QString::fromLatin1("%1.call(%2%3)")
            .arg(oneOf(kMethods, sizeOf(kMethods)))
            .arg(self)
            .arg(arguments());
    }
}

// The drawing of a small picture, or what stands for one, or the whole answer.
QString ScriptWriter::tracing()
{
    QString options;
    for (int count = input->between(0, 3); count > 0; --count) {
        const QString option = oneOf(kTraceOptions, sizeOf(kTraceOptions));
        const bool takesValue = option.contains(QLatin1String("%1"));
        options
            += (takesValue ? option.arg(depth < kDeepest ? expression() : plainValue()) : option)
            + QLatin1String(", ");
    }
    const QString picture = input->between(0, 2) > 0
        ? QString::fromLatin1("picture(%1)").arg(input->between(0, 9))
        : variable();
    const QString drawing = QLatin1String(input->between(0, 1) ? ".drawing" : "");
    return QString::fromLatin1("traceImage(%1, { %2 })%3").arg(picture, options, drawing);
}

QString ScriptWriter::arguments()
{
    QString text;
    for (int count = input->between(0, 3); count > 0; --count)
        text += QLatin1String(", ") + (depth < kDeepest ? expression() : plainValue());
    return text;
}

QString ScriptWriter::standIn()
{
    const QString name = oneOf(kNames + 1, 4);
    const QString getter = callable();
    const QString classes = input->between(0, 3) == 0
        ? callable()
        : QString::fromLatin1("function() { tick(); %1; return ['', '%2', 'Other'] }")
              .arg(depth < kDeepest ? statement() : variable())
              .arg(name.mid(3));
    return QString::fromLatin1("({ getBaseClasses: %1, %2: %3 })")
        .arg(classes)
        .arg(name)
        .arg(getter);
}

} // namespace fuzz
