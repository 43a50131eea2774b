// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZPLUGININTERFACE_H
#define ZPLUGININTERFACE_H

#include <QMap>
#include <QString>
#include <QVariant>
#include <QtPlugin>

class QScriptEngine;

typedef QMap<QString, QVariant> ZPluginInfo;

class ZPluginInterface
{
public:
    enum InitStatus { Whatever };
    virtual ~ZPluginInterface() { }
    virtual bool init() = 0;
    virtual void uninit(bool remove) = 0;
    virtual void postInit(InitStatus status) = 0;
    virtual void initScriptExtensions(QScriptEngine &engine) = 0;
    virtual void initTranslations() = 0;
    virtual ZPluginInfo getPluginInfo() = 0;
};

#define ZPluginInterface_iid "example.zelvora.Zelvora.ZPluginInterface/1.0"
Q_DECLARE_INTERFACE(ZPluginInterface, ZPluginInterface_iid)

#endif
