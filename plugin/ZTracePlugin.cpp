// (c) the ztrace developers. Licence: see LICENSE.
#include "ZTracePlugin.h"

#include "ZEcmaTraceBitmap.h"

namespace {

void set(ZPluginInfo *info, const char *key, const char *text)
{
    (*info)[QLatin1String(key)] = QVariant(QString::fromLatin1(text));
}

} // namespace

ZTracePlugin::ZTracePlugin() : ZPluginBase(QLatin1String("TRACE"), QString()) { }
ZTracePlugin::~ZTracePlugin() { }

bool ZTracePlugin::init()
{
    return true;
}

void ZTracePlugin::uninit(bool) { }

void ZTracePlugin::initScriptExtensions(QScriptEngine &engine)
{
    ZEcmaTraceBitmap::initEcma(engine, nullptr);
}

void ZTracePlugin::initTranslations() { }

ZPluginInfo ZTracePlugin::getPluginInfo()
{
    ZPluginInfo info;
    set(&info, "QtVersion", qVersion());
    set(&info, "Version", ZTRACE_VERSION);
    info[QLatin1String("ID")] = QVariant(pluginId);
    set(&info, "Name", "Zelvora Professional");
    set(&info, "Description", "Bitmap vectorization.");
    set(&info, "License", "Proprietary");
    set(&info, "URL", "https://zelvora.example/addons/trace");
    return info;
}
