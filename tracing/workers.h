// (c) the ztrace developers. Licence: see LICENSE.
//
// One kind of work on many things, by several threads.
#ifndef ZTRACE_TRACING_WORKERS_H
#define ZTRACE_TRACING_WORKERS_H

#include <atomic>
#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

namespace ztrace {

// Calls work(k) for k from 0 to count - 1, each once, in ascending order but side by side, in
// `threads` threads at most, of which the caller's is one. All have ended when it returns. The
// first exception ends the work and is thrown again. Where the machine gives no more threads, fewer
// do.
template<typename Work>
void forEachOnThreads(std::size_t count, unsigned threads, const Work &work)
{
    std::atomic<std::size_t> next(0);
    std::atomic<bool> failed(false);
    std::exception_ptr failure;
    const auto run = [&] {
        try {
            for (std::size_t k; !failed && (k = next.fetch_add(1)) < count;)
                work(k);
        } catch (...) {
            if (!failed.exchange(true))
                failure = std::current_exception();
        }
    };
    std::vector<std::thread> others;
    others.reserve(threads);
    try {
        for (unsigned k = 1; k < threads && k < count; ++k)
            others.emplace_back(run);
    } catch (const std::system_error &) {
        // Those that run do all of it.
    }
    run();
    for (std::thread &thread : others)
        thread.join();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace ztrace

#endif
