// (c) the ztrace developers. Licence: see LICENSE.
//
// Options of a script: an object with the long names of the command's options, { "min-path": 4,
// noFrame: true, set: { ltres: 1 } }, answered by the command's own table (cli/options.h).
#ifndef ZELVORA_SCRIPTSETTINGS_H
#define ZELVORA_SCRIPTSETTINGS_H

#include "cli/Settings.h"

#include <QScriptValue>

#include <set>
#include <string>

namespace zelvora {

enum class OptionsOf {
    Tracing, // all that are for scripts
    Writing  // those of them that change how a drawing is written
};

// Whether a value may be such an object; undefined is one that says nothing.
bool isOptions(const QScriptValue &value);

// Stores what the object says. A name may be written in the way of scripts (minPath). Values are
// texts, numbers, booleans, or lists of them where the option takes several; a member that is
// undefined is not said. Returns the names of what was said, as the command line would have them:
// without flags that are false. Throws a ztrace::Failure; an error of a getter is left in the
// engine, with nothing thrown.
std::set<std::string> storeOptions(const QScriptValue &object, OptionsOf which,
                                   ztrace::Settings *settings);

// A text of the command's for scripts.
inline QString textOf(const std::string &bytes)
{
    return QString::fromUtf8(bytes.c_str());
}

} // namespace zelvora

#endif
