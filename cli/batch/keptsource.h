// (c) the ztrace developers. Licence: see LICENSE.
//
// The file that a worker read last: its bytes and what is known of them are kept from page to page.
#ifndef ZTRACE_CLI_BATCH_KEPTSOURCE_H
#define ZTRACE_CLI_BATCH_KEPTSOURCE_H

#include <memory>
#include <string>

#include <sys/stat.h>

#include "cli/source.h"

namespace ztrace {

class KeptSource
{
public:
    void setLimits(const SourceLimits &newLimits) { limits = newLimits; }

    // Reads the file unless it is the one of before, unchanged. Throws a Failure.
    const ImageSource &of(const std::string &path);

    void drop() { source.reset(); }

    // Of the bytes that were read, also of those that are no image; empty when none were.
    const std::string &sha256() const { return sha; }
    qint64 size() const { return bytes; }

private:
    SourceLimits limits;
    std::unique_ptr<ImageSource> source;
    std::string path;
    std::string sha;
    qint64 bytes = 0;
    struct stat info = {};
};

} // namespace ztrace

#endif
