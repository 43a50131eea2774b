// (c) the ztrace developers. Licence: see LICENSE.
//
// Any script that ends, in the world of the headless host: it may get errors, but the process
// lives, no memory is touched after its end, and a world that is made afterwards is as it should
// be. That world, which costs as much as the script, is made after one input in eight, by its size,
// so that the same input always does the same.
//
// With ZTRACE_FUZZ_SHOW in the environment every script is printed before it runs.
#include "Input.h"
#include "ScriptWriter.h"
#include "silence.h"

#include "ScriptWorld.h"
#include "ZEcmaTraceBitmap.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

const size_t kSoundOneIn = 8;

// Looks itself up once more through a stand-in, and traces.
const char kSoundWorld[]
    = "var t = new ZTraceBitmap(); t.setOption('pathomit', 0);"
      "var s = { getBaseClasses: function() { return ['', 'T'] }, getT: function() { return t } };"
      "var image = new QImage(4, 4); image.setPixel(1, 1, 0xff000000);"
      "var n = ZTraceBitmap.prototype.trace.call(s, image).length;"
      "t.destroy(); n + ' ' + typeof t.trace";

// Script engines want one.
void makeApplication()
{
    static int count = 1;
    static char name[] = "fuzz_script";
    static char *names[] = { name, nullptr };
    static QCoreApplication application(count, names);
}

QString resultOf(const QString &script)
{
    zelvora::ScriptWorld world((QStringList()));
    ZEcmaTraceBitmap::initEcma(world.engine(), nullptr);
    std::srand(1); // the engine has seeded the generator from the clock
    return world.engine().evaluate(script).toString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::silence();
    makeApplication();
    static const QString expected = resultOf(QString::fromLatin1(kSoundWorld));
    fuzz::require(expected.endsWith(QLatin1String(" undefined")));
    fuzz::Input input(data, size);
    const QString script = fuzz::ScriptWriter(&input).script();
    if (std::getenv("ZTRACE_FUZZ_SHOW")) {
        std::printf("%s\n", qPrintable(script));
        std::fflush(stdout);
    }
    resultOf(script);
    if (size % kSoundOneIn == 0)
        fuzz::require(resultOf(QString::fromLatin1(kSoundWorld)) == expected);
    return 0;
}
