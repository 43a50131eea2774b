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

public:
    // `id` names the plug-in to the host; `text` is free for the derived class.
    ZPluginBase(const QString &id, const QString &text);
    ~ZPluginBase() override;

    // Does nothing.
    void postInit(InitStatus status) override;

protected:
    QString pluginId;
    QString pluginText;
};

#endif
