// (c) the ztrace developers. Licence: see LICENSE.
#include "toolkit.h"

#include "imageplugins.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

// How images of pixels, and drawings as JSON, begin.
const struct
{
    const char *bytes;
    std::size_t size;
} kBeginnings[] = {
    { "\x89PNG", 4 }, { "\xFF\xD8\xFF", 3 }, { "II*\0", 4 }, { "MM\0*", 4 }, { "GIF8", 4 },
    { "BM", 2 },      { "P1", 2 },           { "P2", 2 },    { "P3", 2 },    { "P4", 2 },
    { "P5", 2 },      { "P6", 2 },           { "{", 1 },     { "RIFF", 4 },
};

enum class Beginning { NoFile, Pixels, Other };

Beginning beginningOf(const char *fileName)
{
    struct stat info;
    if (stat(fileName, &info) != 0 || !S_ISREG(info.st_mode))
        return Beginning::NoFile;
    char bytes[4] = { 0, 0, 0, 0 };
    const int file = open(fileName, O_RDONLY | O_CLOEXEC);
    const ssize_t size = file >= 0 ? read(file, bytes, sizeof bytes) : -1;
    if (file >= 0)
        close(file);
    for (const auto &beginning : kBeginnings) {
        if (size >= static_cast<ssize_t>(beginning.size)
            && std::memcmp(bytes, beginning.bytes, beginning.size) == 0)
            return Beginning::Pixels;
    }
    return Beginning::Other;
}

} // namespace

bool needsFonts(int argc, const char *const *argv)
{
    const auto is = [argv](int i, const char *word) { return std::strcmp(argv[i], word) == 0; };
    bool pixels = false;
    bool words = false; // anything but options: --version reads nothing
    bool onlyInputs = false;
    for (int i = 1; i < argc; ++i) {
        // A drawing that is to be replaced is not read. Neither word can be another option's value.
        if (!onlyInputs && (is(i - 1, "-o") || is(i - 1, "--output")))
            continue;
        onlyInputs = onlyInputs || is(i, "--");
        words = words || argv[i][0] != '-' || is(i, "-");
        const Beginning beginning = beginningOf(argv[i]);
        if (beginning == Beginning::Other)
            return true;
        pixels = pixels || beginning == Beginning::Pixels;
    }
    return words && !pixels;
}

namespace {

// Where a login session has not made a folder for the toolkit it makes one itself, which stays. It
// asks for it when it starts, and needs nothing there: one that goes at once does.
class RuntimeFolder
{
public:
    RuntimeFolder()
    {
        if (!qEnvironmentVariableIsEmpty(kName))
            return;
        folder = std::make_unique<QTemporaryDir>();
        qputenv(kName, QFile::encodeName(folder->path()));
    }
    ~RuntimeFolder()
    {
        if (folder)
            qunsetenv(kName);
    }

private:
    static constexpr const char *kName = "XDG_RUNTIME_DIR";
    std::unique_ptr<QTemporaryDir> folder;
};

} // namespace

std::unique_ptr<QCoreApplication> startToolkit(int argc, char **argv)
{
    static int ownName = 1; // the toolkit has options of its own, which are not ours
    // Its workers read the images.
    if (argc > 1 && std::strcmp(argv[1], "batch") == 0)
        return std::make_unique<QCoreApplication>(ownName, argv);
    if (needsFonts(argc, argv)) {
        const RuntimeFolder forNow;
        return std::make_unique<QGuiApplication>(ownName, argv);
    }
    auto application = std::make_unique<QCoreApplication>(ownName, argv);
    postponeImagePlugins();
    return application;
}

void leave(int code, std::unique_ptr<QCoreApplication> application)
{
    std::fflush(nullptr);
#if defined(__SANITIZE_ADDRESS__) || defined(ZTRACE_COVERAGE)
    application.reset();
    std::exit(code);
#else
    (void)application.release(); // it goes with the process
    _exit(code);
#endif
}

} // namespace ztrace
