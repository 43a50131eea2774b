// (c) the ztrace developers. Licence: see LICENSE.
//
// What the toolkit's plug-in loader looks for in the library.
//
// Qt 4.8 finds the verification text by its section without loading the library, then calls the two
// functions. Qt 5 reads metadata of its own (Q_PLUGIN_METADATA in ZTracePlugin.h), which brings a
// qt_plugin_instance along; the text does not disturb it, so that both find what they need.
#include <QtGlobal>

// A section of its own that holds nothing else; `used` keeps it through every optimisation.
// One line of the text a line:
// clang-format off
static const char kVerificationText[] __attribute__((section(".qtplugin"), used))
    = "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
      "version=4.8.4\n"
      "debug=false\n"
      "buildkey=x86_64 linux g++-4 full-config";
// clang-format on

extern "C" Q_DECL_EXPORT const char *qt_plugin_query_verification_data();

const char *qt_plugin_query_verification_data()
{
    return kVerificationText;
}

#if QT_VERSION < 0x050000
#include "ZTracePlugin.h"

#include <QPointer>

extern "C" Q_DECL_EXPORT QObject *qt_plugin_instance();

// The same object on every call; a new one after the host has deleted it.
QObject *qt_plugin_instance()
{
    static QPointer<QObject> instance;
    if (!instance)
        instance = new ZTracePlugin;
    return instance;
}
#endif
