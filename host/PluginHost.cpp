// (c) the ztrace developers. Licence: see LICENSE.
#include "PluginHost.h"

#include <QDir>
#include <QPluginLoader>

using zelvora::PluginHost;

PluginHost::PluginHost() { }

PluginHost::~PluginHost()
{
    while (!plugins.isEmpty()) {
        const Plugin plugin = plugins.takeLast();
        plugin.interface->uninit(false);
        delete plugin.object;
    }
}

bool PluginHost::loadFolder(const QString &folder)
{
    const QDir dir(folder);
    if (!dir.exists())
        return false;
    const QStringList names = dir.entryList(QDir::Files, QDir::Name);
    for (const QString &name : names) {
        // The whole path: the loader looks for a bare name in other places first.
        const QString fileName = dir.absoluteFilePath(name);
        const QString reason = load(fileName);
        if (!reason.isEmpty())
            refused.append(fileName + QLatin1String(": ") + reason);
    }
    for (const Plugin &plugin : plugins) {
        plugin.interface->postInit(refused.isEmpty() ? ZPluginInterface::AllInitialized
                                                     : ZPluginInterface::SomeRefused);
    }
    return true;
}

// Returns why the file is refused, or nothing.
QString PluginHost::load(const QString &fileName)
{
    QPluginLoader loader(fileName);
    QObject *object = loader.instance();
    if (!object)
        return loader.errorString().simplified();
    ZPluginInterface *interface = qobject_cast<ZPluginInterface *>(object);
    if (!interface) {
        delete object;
        return QString::fromLatin1("The plug-in does not offer the interface %1.")
            .arg(QLatin1String(ZPluginInterface_iid));
    }
    if (!interface->init()) {
        delete object;
        return QString::fromLatin1("The plug-in could not be initialised.");
    }
    interface->initTranslations();
    plugins.append(Plugin { object, interface });
    return QString();
}

void PluginHost::extend(QScriptEngine &engine)
{
    for (const Plugin &plugin : plugins)
        plugin.interface->initScriptExtensions(engine);
}
