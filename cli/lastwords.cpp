// (c) the ztrace developers. Licence: see LICENSE.
#include "lastwords.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <new>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ztrace {

namespace {

const std::size_t kMostLetters = 160;

// The sanitizer says more of a fault, and has to see it.
#if defined(__SANITIZE_ADDRESS__)
const bool kHandlesFaults = false;
#else
const bool kHandlesFaults = true;
#endif

// Made beforehand: a handler may not.
char outOfMemory[kMostLetters];
char fault[kMostLetters];
int exitCode = 1;
int messageDescriptor = STDERR_FILENO;
char handlerStack[1 << 14]; // the process's own may be what has run out

[[noreturn]] void end(const char *sentence)
{
    (void)!write(messageDescriptor, sentence, std::strlen(sentence));
    _exit(exitCode);
}

[[noreturn]] void endOfExceptions()
{
    if (const std::exception_ptr exception = std::current_exception()) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::bad_alloc &) {
            end(outOfMemory);
        } catch (...) { }
    }
    std::abort();
}

void handleFault(int number, siginfo_t *info, void *)
{
    const bool isSent = info->si_code == SI_USER || info->si_code == SI_QUEUE;
    if (!isSent)
        end(fault);
    std::signal(number, SIG_DFL);
    raise(number);
}

bool wantsCoreFiles()
{
    rlimit limit = {};
    return getrlimit(RLIMIT_CORE, &limit) == 0 && limit.rlim_cur > 0;
}

} // namespace

void sayLastWords(const char *program, int code)
{
    exitCode = code;
    // Standard error may be silenced while an image library is at work.
    const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (copy >= 0)
        messageDescriptor = copy;
    std::snprintf(outOfMemory, sizeof outOfMemory, "%s: not enough memory\n", program);
    std::snprintf(fault, sizeof fault,
                  "%s: a library has failed, for want of memory or by a defect of its own\n",
                  program);
    std::set_terminate(endOfExceptions);
    if (!kHandlesFaults || wantsCoreFiles())
        return;
    stack_t stack = {};
    stack.ss_sp = handlerStack;
    stack.ss_size = sizeof handlerStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_sigaction = handleFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const int number : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP })
        sigaction(number, &action, nullptr);
}

} // namespace ztrace
