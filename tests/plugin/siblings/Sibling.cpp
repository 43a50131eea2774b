// (c) the ztrace developers. Licence: see LICENSE.
#include "Sibling.h"

#ifndef SIBLING_STRANGER
#include <QScriptEngine>

#include <cstdio>

#ifdef SIBLING_ABSENT
extern "C" int absent_library();
#endif

namespace {

void say(const char *text)
{
    std::printf("sibling: %s\n", text);
    std::fflush(stdout);
}

} // namespace

Sibling::~Sibling()
{
    say("deleted");
}

bool Sibling::init()
{
    say("init");
#ifdef SIBLING_ABSENT
    return absent_library() == 0;
#elif defined(SIBLING_UNWILLING)
    return false;
#elif defined(SIBLING_FATAL)
    qFatal("nothing goes\n on");
    return false;
#else
    return true;
#endif
}

void Sibling::uninit(bool remove)
{
    say(remove ? "uninit, remove" : "uninit");
}

void Sibling::postInit(InitStatus status)
{
    say(status == AllInitialized ? "postInit, all" : "postInit, some refused");
}

void Sibling::initScriptExtensions(QScriptEngine &engine)
{
    say("initScriptExtensions");
    engine.globalObject().setProperty(QLatin1String("sibling"), QScriptValue(true));
}

void Sibling::initTranslations()
{
    say("initTranslations");
}

ZPluginInfo Sibling::getPluginInfo()
{
    return ZPluginInfo();
}
#endif

#include "moc_Sibling.cpp"
