// (c) the ztrace developers. Licence: see LICENSE.
//
// Finds, loads and drives plug-ins as the application does. What a plug-in does is its own affair:
// nothing here knows more than ZPluginInterface.
#ifndef ZELVORA_PLUGINHOST_H
#define ZELVORA_PLUGINHOST_H

#include "ZPluginInterface.h"

#include <QList>
#include <QObject>
#include <QStringList>

namespace zelvora {

class PluginHost
{
public:
    PluginHost();

    // Calls uninit on every plug-in and deletes it. The libraries stay in memory, so that what
    // they registered with the toolkit stays valid until the process ends.
    ~PluginHost();

    // Loads every file of the folder, in the order of the names, initialises what turns out to be
    // a plug-in, and tells each how the start-up went. False when there is no such folder. A file
    // that cannot be used is left out; `refusals` then has "<file>: <reason>".
    bool loadFolder(const QString &folder);

    int count() const { return plugins.size(); }
    const QStringList &refusals() const { return refused; }

    // Lets every plug-in install its script classes.
    void extend(QScriptEngine &engine);

private:
    struct Plugin
    {
        QObject *object;
        ZPluginInterface *interface;
    };

    QString load(const QString &fileName);

    QList<Plugin> plugins;
    QStringList refused;

    Q_DISABLE_COPY(PluginHost)
};

} // namespace zelvora

#endif
