// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZTRACE_CLI_MOSTPAGES_H
#define ZTRACE_CLI_MOSTPAGES_H

namespace ztrace {

const int kMostPages = 100000; // of a file; the last one of ranges without an end

} // namespace ztrace

#endif
