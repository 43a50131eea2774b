// (c) the ztrace developers. Licence: see LICENSE.
//
// Files as texts and folders as lists, for scripts:
//
//   readTextFile(fileName)        the file's text, taken for UTF-8
//   listFolder(folder, pattern)   the names in a folder in alphabetical order (by code units),
//                                 folders with a slash at the end; hidden ones are left out. With
//                                 a pattern such as "*.png" those that match it, in either case
//
// What cannot be read, and more than 64 megabytes, is a script error.
#ifndef ZELVORA_TEXTFILES_H
#define ZELVORA_TEXTFILES_H

#include <QString>

class QScriptContext;
class QScriptEngine;
class QScriptValue;

namespace zelvora {

// Why a text is no file's name; empty where it may be one. The system's names end at a zero byte:
// what stands behind it would be lost, and with it the ending that tells a format.
QString whyNoFileName(const QString &text);

// "NAME: ERROR", or the error alone about what is no name.
QString aboutFile(const QString &name, const QString &error);

// The file's text, "-" being standard input. False with the reason in `error`.
bool readText(const QString &fileName, QString *text, QString *error);

QScriptValue readTextFile(QScriptContext *context, QScriptEngine *engine);
QScriptValue listFolder(QScriptContext *context, QScriptEngine *engine);

} // namespace zelvora

#endif
