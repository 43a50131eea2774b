// (c) the ztrace developers. Licence: see LICENSE.
//
// Plug-ins that a host meets beside ours. One source, several libraries:
//   SIBLING_ABSENT      is linked to a library that is not there
//   SIBLING_STRANGER    is a plug-in of the toolkit, but not of this host
//   SIBLING_UNWILLING   says no to init
//   SIBLING_FATAL       gives the toolkit's message that ends the process
//   none of them        works, and tells every call on standard output
#ifndef SIBLING_H
#define SIBLING_H

#include "ZPluginInterface.h"

#include <QObject>

#ifdef SIBLING_STRANGER
class Sibling : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "example.stranger/1.0")
};
#else
class Sibling : public QObject, public ZPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(ZPluginInterface)
    Q_PLUGIN_METADATA(IID ZPluginInterface_iid)

public:
    virtual ~Sibling();
    virtual bool init();
    virtual void uninit(bool remove);
    virtual void postInit(InitStatus status);
    virtual void initScriptExtensions(QScriptEngine &engine);
    virtual void initTranslations();
    virtual ZPluginInfo getPluginInfo();
};
#endif

#endif
