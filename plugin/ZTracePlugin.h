// (c) the ztrace developers. Licence: see LICENSE.
//
// The plug-in object: it puts the script class ZTraceBitmap into the host's script engines.
#ifndef ZTRACEPLUGIN_H
#define ZTRACEPLUGIN_H

#include "ZPluginBase.h"

// Read by the older toolkit's moc too: plain syntax only. One object for a process, made by
// qt_plugin_instance and deleted by the host.
class ZTracePlugin : public ZPluginBase
{
    Q_OBJECT
    Q_INTERFACES(ZPluginInterface)
#if QT_VERSION >= 0x050000
    Q_PLUGIN_METADATA(IID ZPluginInterface_iid)
#endif

    // The meta-object compiler of Qt 4 does not know "override".
    // NOLINTBEGIN(modernize-use-override)
public:
    ZTracePlugin();
    virtual ~ZTracePlugin();

    // Always true: there is nothing to prepare.
    virtual bool init();
    virtual void uninit(bool remove);

    // Installs the script class; each engine gets one of its own.
    virtual void initScriptExtensions(QScriptEngine &engine);

    // Does nothing: the plug-in has no texts to translate.
    virtual void initTranslations();

    // Seven texts: ID, Name, Version, QtVersion, Description, License, URL.
    virtual ZPluginInfo getPluginInfo();
    // NOLINTEND(modernize-use-override)
};

#endif
