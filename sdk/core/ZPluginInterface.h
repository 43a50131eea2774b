// (c) the ztrace developers. Licence: see LICENSE.
//
// What the host asks of a plug-in.
#ifndef ZPLUGININTERFACE_H
#define ZPLUGININTERFACE_H

#include <QMap>
#include <QString>
#include <QVariant>
#include <QtPlugin>

class QScriptEngine;

// What a plug-in says of itself, for the host's list of plug-ins: a text key to a value.
typedef QMap<QString, QVariant> ZPluginInfo;

// The host finds this interface in a library by ZPluginInterface_iid, then calls, on its main
// thread and in this order: init once, postInit once all plug-ins are there, initScriptExtensions
// for every script engine that it makes, and uninit before it deletes the plug-in. The order of
// the virtual operations is part of the binary interface.
class ZPluginInterface
{
public:
    // How the start-up went, all plug-ins taken together.
    enum InitStatus { AllInitialized, SomeRefused };

    virtual ~ZPluginInterface() { }

    // Prepares the plug-in. False refuses to run; the host then drops it.
    virtual bool init() = 0;

    // Releases what init took; `remove` tells that the user takes the plug-in off for good.
    virtual void uninit(bool remove) = 0;

    virtual void postInit(InitStatus status) = 0;

    // Installs the plug-in's script classes in an engine. The engine stays the host's.
    virtual void initScriptExtensions(QScriptEngine &engine) = 0;

    virtual void initTranslations() = 0;

    virtual ZPluginInfo getPluginInfo() = 0;
};

#define ZPluginInterface_iid "example.zelvora.Zelvora.ZPluginInterface/1.0"
Q_DECLARE_INTERFACE(ZPluginInterface, ZPluginInterface_iid)

#endif
