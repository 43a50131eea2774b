// (c) the ztrace developers. Licence: see LICENSE.
//
// What cannot be traced.
#ifndef ZTRACE_IMAGING_FAILURE_H
#define ZTRACE_IMAGING_FAILURE_H

#include <stdexcept>
#include <string>

namespace ztrace {

// A picture that is too large for memory, or a request that it cannot meet; the text says which in
// one line.
class TraceError : public std::runtime_error
{
public:
    explicit TraceError(const std::string &text) : std::runtime_error(text) { }
};

// With more memory it could be traced.
class NoMemory : public TraceError
{
public:
    using TraceError::TraceError;
};

[[noreturn]] inline void throwNoRoom()
{
    throw NoMemory("the image does not fit into memory");
}

} // namespace ztrace

#endif
