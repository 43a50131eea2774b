// (c) the ztrace developers. Licence: see LICENSE.
//
// How much of the toolkit a run needs.
#ifndef ZTRACE_CLI_TOOLKIT_H
#define ZTRACE_CLI_TOOLKIT_H

#include <memory>

class QCoreApplication;

namespace ztrace {

// Fonts, and a platform that shows nothing, are for images that may hold text, such as SVG; they
// are more than half of the toolkit's start. True unless one of the arguments names a file that
// begins as images of pixels do, and none names any other file, but for the file to write; and
// where there are options alone, which read nothing.
bool needsFonts(int argc, const char *const *argv);

// The toolkit's application object: with fonts, or only as much as images of pixels need.
std::unique_ptr<QCoreApplication> startToolkit(int argc, char **argv);

// Ends the process with what was printed delivered, but without the toolkit's own way out, which
// reads all fonts of the system (some 200 calls to it). Sanitizers look for what is lost there.
[[noreturn]] void leave(int code, std::unique_ptr<QCoreApplication> application);

} // namespace ztrace

#endif
