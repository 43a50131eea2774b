// (c) the ztrace developers. Licence: see LICENSE.
//
// What a drawing depends on besides the picture and the program.
#ifndef ZTRACE_CLI_BATCH_FINGERPRINT_H
#define ZTRACE_CLI_BATCH_FINGERPRINT_H

#include <QByteArray>

#include "cli/commandline.h"
#include "names.h"

namespace ztrace {

// SHA-256 in hexadecimal digits of all that was said of how pictures are traced and written: the
// options on the command line, the text of the settings file, the presets that may be taken, the
// palette. Where drawings go and how the run is done is no part of it. `line` is as it was
// parsed. Throws a Failure for files that cannot be read.
QByteArray fingerprintOf(const CommandLine &line);

// The same for a picture with settings of its own, which may name files too.
QByteArray fingerprintOf(const QByteArray &ofAll, const std::vector<Said> &settings);

QByteArray sha256Of(const QByteArray &bytes);

} // namespace ztrace

#endif
