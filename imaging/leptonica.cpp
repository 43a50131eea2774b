// (c) the ztrace developers. Licence: see LICENSE.
#include "leptonica.h"

#include "failure.h"

#include <algorithm>
#include <cstring>
#include <string>

#ifdef ZTRACE_LEPTONICA
#include <dlfcn.h>
#include <sys/mman.h>
#endif

namespace ztrace {

namespace {

// The library keeps four bytes, or 32 bits, in a word with the leftmost in the highest place.
void swapWords(l_uint32 *line, int words)
{
    for (int i = 0; i < words; ++i)
        line[i] = __builtin_bswap32(line[i]);
}

#ifdef ZTRACE_LEPTONICA

// Addresses that the library and what it brings along surely find room in: they take 13 megabytes.
const std::size_t kRoom = 32 << 20;

// The loader says in the user's language what it lacks.
bool isRoomLeft()
{
    void *const room = mmap(nullptr, kRoom, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED)
        return false;
    munmap(room, kRoom);
    return true;
}

// Throws with what the loader says, which names the library; where there is no room for it, as for
// any other want of memory.
[[noreturn]] void throwNotLoaded()
{
    const char *const why = dlerror();
    if (!isRoomLeft())
        throwNoRoom();
    throw TraceError(std::string("the imaging library cannot be loaded: ") + (why ? why : ""));
}

Leptonica load()
{
    void *const handle = dlopen(ZTRACE_LEPTONICA, RTLD_LAZY | RTLD_LOCAL);
    if (!handle)
        throwNotLoaded();
    Leptonica library = {};
    const auto find = [handle](const char *name, auto *function) {
        void *const address = dlsym(handle, name);
        if (!address)
            throwNotLoaded();
        std::memcpy(function, &address, sizeof address); // no cast leads from data to functions
    };
#define ZTRACE_FIND(name) find(#name, &library.name);
    ZTRACE_LEPTONICA_FUNCTIONS(ZTRACE_FIND)
#undef ZTRACE_FIND
    library.setMsgSeverity(L_SEVERITY_NONE);
    return library;
}

#else

Leptonica load()
{
    Leptonica library = {};
#define ZTRACE_TAKE(name) library.name = &::name;
    ZTRACE_LEPTONICA_FUNCTIONS(ZTRACE_TAKE)
#undef ZTRACE_TAKE
    library.setMsgSeverity(L_SEVERITY_NONE);
    return library;
}

#endif

} // namespace

const Leptonica &leptonica()
{
    static const Leptonica library = load();
    return library;
}

PixPtr greyPixOf(const GreyPicture &page)
{
    PixPtr pix(leptonica().pixCreateNoInit(page.width(), page.height(), 8));
    if (!pix)
        throwNoRoom();
    const int stride = leptonica().pixGetWpl(pix.get());
    std::vector<uint8_t> buffer(static_cast<std::size_t>(page.width()));
    for (int y = 0; y < page.height(); ++y) {
        l_uint32 *line
            = leptonica().pixGetData(pix.get()) + static_cast<std::ptrdiff_t>(y) * stride;
        line[stride - 1] = 0; // what the width does not fill
        std::memcpy(line, page.row(y, buffer.data()), buffer.size());
        swapWords(line, stride);
    }
    return pix;
}

GreyPicture pageOfPix(PIX *pix)
{
    const bool bilevel = leptonica().pixGetDepth(pix) == 1;
    QImage image(leptonica().pixGetWidth(pix), leptonica().pixGetHeight(pix),
                 bilevel ? QImage::Format_Mono : QImage::Format_Grayscale8);
    if (image.isNull())
        throwNoRoom();
    if (bilevel)
        image.setColorTable({ 0xFFFFFFFFu, 0xFF000000u });
    const int stride = leptonica().pixGetWpl(pix);
    // The toolkit's lines are whole words, too.
    const std::size_t bytes
        = std::min<std::size_t>(static_cast<std::size_t>(image.bytesPerLine()),
                                static_cast<std::size_t>(stride) * sizeof(l_uint32));
    for (int y = 0; y < image.height(); ++y) {
        l_uint32 *words = reinterpret_cast<l_uint32 *>(image.scanLine(y));
        std::memcpy(words, leptonica().pixGetData(pix) + static_cast<std::ptrdiff_t>(y) * stride,
                    bytes);
        swapWords(words, static_cast<int>(bytes / sizeof(l_uint32)));
    }
    return GreyPicture(image);
}

} // namespace ztrace
