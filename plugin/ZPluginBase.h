// (c) the ztrace developers. Licence: see LICENSE.
//
// What plug-ins of the host have in common.
#ifndef ZPLUGINBASE_H
#define ZPLUGINBASE_H

#include "ZPluginInterface.h"

#include <QObject>
#include <QString>

// Read by the older toolkit's moc too: plain syntax only.
class ZPluginBase : public QObject, public ZPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(ZPluginInterface)

    // The meta-object compiler of Qt 4 does not know "override".
    // NOLINTBEGIN(modernize-use-override)
public:
    // `id` names the plug-in to the host; `text` is free for the derived class.
    ZPluginBase(const QString &id, const QString &text);
    virtual ~ZPluginBase();

    // Does nothing.
    virtual void postInit(InitStatus status);

protected:
    QString pluginId;
    QString pluginText;
    // NOLINTEND(modernize-use-override)
};

#endif
