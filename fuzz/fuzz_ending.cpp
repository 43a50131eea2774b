// (c) the ztrace developers. Licence: see LICENSE.
//
// The checks of where image files end, over any bytes as any format: they end, and bytes that are
// whole stay whole with more behind them where the format has an end mark. So are the samples of a
// PNM, the restart marks of a JPEG, the strips of a TIFF and the holes of a WebP.
#include "Input.h"

#include "cli/complaints.h"
#include "cli/ending.h"
#include "cli/imagedata.h"
#include "cli/tiffpages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const char *const kFormats[] = { "bmp", "gif", "icns", "ico",  "jpeg", "mng", "pgm", "png",
                                     "svg", "tga", "tiff", "wbmp", "webp", "xbm", "xpm" };
    fuzz::Input input(data, size);
    const char *format = kFormats[input.between(0, 14)];
    const size_t used = size > 0 ? 1 : 0;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + used,
                           static_cast<int>(size - used));
    const ztrace::Ending ending = ztrace::endingOf(bytes, format);
    fuzz::require(ending != ztrace::Ending::Untold);
    fuzz::require(ztrace::tiffPages(bytes).size() <= static_cast<size_t>(bytes.size()));
    const QByteArray name(format);
    if (ending == ztrace::Ending::Whole && (name == "gif" || name == "png" || name == "mng"))
        fuzz::require(ztrace::endingOf(bytes + "more", format) == ending);
    fuzz::require(ztrace::longestHole(bytes) <= bytes.size());
    const QByteArray complaint = ztrace::complaintOf(bytes, name);
    if (ending == ztrace::Ending::Whole && name == "pgm")
        fuzz::require(ztrace::complaintOf(bytes + "\n9999", name) == complaint);
    return 0;
}
