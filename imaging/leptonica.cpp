// (c) the ztrace developers. Licence: see LICENSE.
#include "leptonica.h"

#include "failure.h"
#ifdef ZTRACE_LEPTONICA_FILES
#include "leptonicafiles.h"
#endif

#include <algorithm>
#include <cstring>

namespace ztrace {

namespace {

// The library keeps four bytes, or 32 bits, in a word with the leftmost in the highest place.
void swapWords(l_uint32 *line, int words)
{
    for (int i = 0; i < words; ++i)
        line[i] = __builtin_bswap32(line[i]);
}

} // namespace

void silenceLibrary()
{
#ifdef ZTRACE_LEPTONICA_FILES
    leaveOutFiles();
#endif
    static const int once = setMsgSeverity(L_SEVERITY_NONE);
    static_cast<void>(once);
}

PixPtr greyPixOf(const GreyPicture &page)
{
    silenceLibrary();
    PixPtr pix(pixCreateNoInit(page.width(), page.height(), 8));
    if (!pix)
        throwNoRoom();
    const int stride = pixGetWpl(pix.get());
    std::vector<uint8_t> buffer(static_cast<std::size_t>(page.width()));
    for (int y = 0; y < page.height(); ++y) {
        l_uint32 *line = pixGetData(pix.get()) + static_cast<std::ptrdiff_t>(y) * stride;
        line[stride - 1] = 0; // what the width does not fill
        std::memcpy(line, page.row(y, buffer.data()), buffer.size());
        swapWords(line, stride);
    }
    return pix;
}

GreyPicture pageOfPix(PIX *pix)
{
    const bool bilevel = pixGetDepth(pix) == 1;
    QImage image(pixGetWidth(pix), pixGetHeight(pix),
                 bilevel ? QImage::Format_Mono : QImage::Format_Grayscale8);
    if (image.isNull())
        throwNoRoom();
    if (bilevel)
        image.setColorTable({ 0xFFFFFFFFu, 0xFF000000u });
    const int stride = pixGetWpl(pix);
    // The toolkit's lines are whole words, too.
    const std::size_t bytes
        = std::min<std::size_t>(static_cast<std::size_t>(image.bytesPerLine()),
                                static_cast<std::size_t>(stride) * sizeof(l_uint32));
    for (int y = 0; y < image.height(); ++y) {
        l_uint32 *words = reinterpret_cast<l_uint32 *>(image.scanLine(y));
        std::memcpy(words, pixGetData(pix) + static_cast<std::ptrdiff_t>(y) * stride, bytes);
        swapWords(words, static_cast<int>(bytes / sizeof(l_uint32)));
    }
    return GreyPicture(image);
}

} // namespace ztrace
