// (c) the ztrace developers. Licence: see LICENSE.
//
// A script engine with the host's own functions and classes, and the running of one script in it.
//
//   print(values...)   one line on standard output, the values separated by blanks; an error when
//                      it cannot be written
//   args               the script's arguments, an array of texts
//   quit(code)         ends the script at once; a whole number from 0 to 255, 0 when none is given
//   include(file)      runs another script in the global scope; its name is taken from the folder
//                      of the script that includes it
//   readTextFile(file), listFolder(folder, pattern)   see textFiles.h
//   traceImage(image, options)                        see traceImage.h
#ifndef ZELVORA_SCRIPTWORLD_H
#define ZELVORA_SCRIPTWORLD_H

#include <QObject>
#include <QScriptEngine>
#include <QStringList>

namespace zelvora {

class ScriptWorld
{
public:
    // An engine whose global object keeps back what is set to be skipped in enumerations.
    explicit ScriptWorld(const QStringList &arguments);

    QScriptEngine &engine() { return scriptEngine; }

    // Runs the file, "-" being standard input. False when it cannot be read, with the reason in
    // `error`.
    bool run(const QString &fileName, QString *error);

    // After run: what the script gave to quit, if it did.
    bool hasEndedItself() const { return hasQuit; }
    int exitCode() const { return code; }

    // After run: whether an error got out of the script; message, file, line and backtrace of it.
    bool hasFailed() const { return !failure.isEmpty(); }
    const QString &failureText() const { return failure; }

    // Why something that the script printed did not arrive; nothing when all of it did.
    const QString &outputError() const { return lossOfOutput; }

private:
    static QScriptValue print(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue quit(QScriptContext *context, QScriptEngine *engine);
    static QScriptValue include(QScriptContext *context, QScriptEngine *engine);
    static ScriptWorld *of(QScriptEngine *engine);

    QScriptValue evaluateFile(const QString &fileName, const QString &text);
    QString describeFailure(const QScriptValue &error) const;

    QScriptEngine scriptEngine;
    QStringList folders; // of the scripts being run, the innermost last
    bool hasQuit;
    int code;
    QString failure;
    QString lossOfOutput;
};

} // namespace zelvora

#endif
