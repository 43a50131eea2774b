// (c) the ztrace developers. Licence: see LICENSE.
#include "outside.h"

#include "failure.h"

#include "drawing/files.h"

#include <QProcess>

#include <algorithm>
#include <csignal>
#include <cstring>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ztrace {

namespace {

const double kOwnNeeds = 512e6;         // bytes of address space for a program and its libraries
const double kMostBytes = 2147480000.0; // what the toolkit's containers hold
const qint64 kMostComplaint = 1 << 16;  // bytes of what a program says of a file
const int kPatience = 50;               // milliseconds between looks at the signals

// Those that end a process by being sent, and by its timer and its terminal.
const int kEnds[] = { SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGUSR1, SIGUSR2 };

// The hard limit, where the system says nothing before it kills, lies a little above.
void limit(int what, double most)
{
    const rlim_t kAbove = 5;
    const auto resource = static_cast<__rlimit_resource>(what);
    const rlim_t wanted = static_cast<rlim_t>(most);
    rlimit now = {};
    getrlimit(resource, &now);
    now.rlim_max = std::min(now.rlim_max, wanted + kAbove); // no limit is the largest number
    now.rlim_cur = std::min(now.rlim_max, wanted);
    setrlimit(resource, &now);
}

// The other program, between fork and exec: no memory is asked for there.
class Outside : public QProcess
{
public:
    explicit Outside(double most) : bytes(most), parent(::getpid()) { }

protected:
    void setupChildProcess() override
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(kFailed);
        limit(RLIMIT_AS, kOwnNeeds + bytes);
        limit(RLIMIT_FSIZE, bytes);
        limit(RLIMIT_CPU, kMostOutsideSeconds);
        limit(RLIMIT_CORE, 0.0);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        std::signal(SIGPIPE, SIG_DFL);
        std::signal(SIGXFSZ, SIG_DFL);
    }

private:
    double bytes;
    pid_t parent;
};

// Why it has failed; in the program's own words where it has some.
std::string reasonOf(const QProcess &process, const QByteArray &said)
{
    const bool isKilled = process.exitStatus() == QProcess::CrashExit;
    const int number = isKilled ? process.exitCode() : 0;
    if (number == SIGXCPU)
        return "it takes more than " + std::to_string(kMostOutsideSeconds) + " seconds";
    if (number == SIGXFSZ)
        return "it becomes too large (see --max-memory)";
    const QByteArray line = said.trimmed().split('\n').value(0);
    if (!line.isEmpty())
        return line.toStdString();
    return isKilled ? "it was ended by signal " + std::to_string(number) : "it says nothing";
}

} // namespace

NamedContents::NamedContents(const QByteArray &contents)
    : file(static_cast<int>(::memfd_create("ztrace", MFD_CLOEXEC)))
{
    if (file < 0 || writeAll(file, contents.constData(), contents.size()) != 0) {
        if (file >= 0)
            ::close(file);
        failForMemory();
    }
}

NamedContents::~NamedContents()
{
    ::close(file);
}

QString NamedContents::name() const
{
    return QString::fromLatin1("/proc/%1/fd/%2").arg(::getpid()).arg(file);
}

QByteArray NamedContents::contents(qint64 most) const
{
    struct stat info = {};
    ::fstat(file, &info);
    QByteArray bytes(static_cast<int>(std::min<qint64>(info.st_size, most)), '\0');
    const ssize_t size = ::pread(file, bytes.data(), static_cast<std::size_t>(bytes.size()), 0);
    bytes.resize(static_cast<int>(std::max<ssize_t>(0, size)));
    return bytes;
}

bool EndsLater::isAsked()
{
    sigset_t waiting;
    sigpending(&waiting);
    return std::any_of(std::begin(kEnds), std::end(kEnds),
                       [&](int number) { return sigismember(&waiting, number) == 1; });
}

sigset_t EndsLater::ofEnds()
{
    sigset_t held;
    sigemptyset(&held);
    for (const int number : kEnds)
        sigaddset(&held, number);
    return held;
}

QByteArray outputOf(const char *program, const char *package, const QStringList &arguments,
                    const std::string &name, double bytes, QByteArray *complaints)
{
    const double most = std::min(bytes, kMostBytes);
    const NamedContents printed;
    const NamedContents said;
    Outside process(most);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(printed.name());
    process.setStandardErrorFile(said.name());
    process.start(QLatin1String(program), arguments, QIODevice::ReadOnly);
    const std::string file = name + ": ";
    if (!process.waitForStarted(-1)) {
        throw MissingProgram(kInputUnreadable,
                             file + "reading it takes " + program + " (Debian package " + package
                                 + ")");
    }
    while (!process.waitForFinished(kPatience) && process.state() != QProcess::NotRunning) {
        if (EndsLater::isAsked()) {
            process.kill();
            process.waitForFinished(-1);
        }
    }
    const bool isGood = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (isGood && complaints)
        *complaints = said.contents(kMostComplaint);
    if (isGood)
        return printed.contents(static_cast<qint64>(most));
    // Few programs say it when memory is what they lacked.
    throw LimitFailure(kInputUnreadable,
                       file + "cannot be read by " + program + ": "
                           + reasonOf(process, said.contents(kMostComplaint)));
}

} // namespace ztrace
