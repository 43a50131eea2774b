// (c) the ztrace developers. Licence: see LICENSE.
#include "ZPluginBase.h"

ZPluginBase::ZPluginBase(const QString &id, const QString &text)
    : pluginId(id), pluginText(text) { }

ZPluginBase::~ZPluginBase() { }

void ZPluginBase::postInit(InitStatus) { }
