// (c) the ztrace developers. Licence: see LICENSE.
#include "keptsource.h"

#include "fingerprint.h"

#include <cstring>
#include <utility>

namespace ztrace {

namespace {

bool isSameFile(const struct stat &a, const struct stat &b)
{
    return a.st_ino == b.st_ino && a.st_dev == b.st_dev && a.st_size == b.st_size
        && std::memcmp(&a.st_mtim, &b.st_mtim, sizeof a.st_mtim) == 0
        && std::memcmp(&a.st_ctim, &b.st_ctim, sizeof a.st_ctim) == 0;
}

} // namespace

const ImageSource &KeptSource::of(const std::string &newPath)
{
    struct stat now = {};
    const bool isThere = ::stat(newPath.c_str(), &now) == 0;
    if (isThere && source && newPath == path && isSameFile(now, info))
        return *source;
    source.reset();
    sha.clear();
    QByteArray contents = contentsOf(newPath, limits);
    bytes = contents.size();
    sha = sha256Of(contents).toStdString();
    path = newPath;
    info = now;
    source = std::make_unique<ImageSource>(newPath, std::move(contents), limits);
    return *source;
}

} // namespace ztrace
