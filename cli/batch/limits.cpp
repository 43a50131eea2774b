// (c) the ztrace developers. Licence: see LICENSE.
#include "limits.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ztrace {

namespace {

// Where --time-limit does not say it: a hundred times what large scans take, so that only a picture
// that hangs is given up.
const double kSecondsAPicture = 600.0;

} // namespace

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double processorSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double secondsAPicture(const Settings &settings)
{
    return settings.timeLimit.value_or(kSecondsAPicture);
}

double peakMemory(bool begin)
{
    if (begin) {
        const int file = open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
        if (file >= 0) {
            (void)!::write(file, "5", 1);
            close(file);
        }
        return 0.0;
    }
    char text[4096];
    const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    const ssize_t size = file >= 0 ? ::read(file, text, sizeof text - 1) : 0;
    if (file >= 0)
        close(file);
    text[std::max<ssize_t>(0, size)] = 0;
    const char *line = std::strstr(text, "VmHWM:");
    return line ? std::strtod(line + 6, nullptr) * 1024.0 : 0.0;
}

void limitMemory(double millions)
{
#if !defined(__SANITIZE_ADDRESS__)
    if (millions <= 0.0)
        return;
    long long pages = 0;
    if (std::FILE *file = std::fopen("/proc/self/statm", "re")) {
        if (std::fscanf(file, "%lld", &pages) != 1)
            pages = 0;
        std::fclose(file);
    }
    rlimit limit;
    if (getrlimit(RLIMIT_AS, &limit) != 0)
        return;
    const double bytes = millions * 1e6 + double(pages) * double(sysconf(_SC_PAGESIZE));
    if (bytes < double(limit.rlim_cur)) {
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        setrlimit(RLIMIT_AS, &limit);
    }
#else
    (void)millions;
#endif
}

} // namespace ztrace
