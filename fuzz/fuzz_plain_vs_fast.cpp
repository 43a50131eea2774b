// (c) the ztrace developers. Licence: see LICENSE.
//
// The plain kernels against the fast ones: one image and palette through the assignment pass and
// the blur.
#include "Input.h"

#include "engine/kernels/IndexPlane.h"
#include "engine/kernels/assign.h"
#include "engine/kernels/blur.h"

namespace {

typedef std::vector<signed char> Bytes;

// Pixels or entries; `run` makes neighbours alike, `mask` makes ties.
Bytes colours(fuzz::Input &input, int count, int run, int mask)
{
    Bytes bytes(static_cast<size_t>(4 * count), 0);
    for (size_t i = 0; i < bytes.size(); ++i) {
        const bool repeats = i >= 4 && static_cast<int>(i / 4) % run != 0;
        bytes[i] = repeats ? bytes[i - 4] : static_cast<signed char>((input.byte() & mask) - 128);
    }
    return bytes;
}

void compareAssign(const ztrace::PixelView &image, const Bytes &palette)
{
    const int entries = static_cast<int>(palette.size() / 4);
    std::vector<ztrace::ColourSum> sums[2];
    ztrace::IndexPlane planes[2];
    planes[0].resize(image.width, image.height, entries);
    planes[1].resize(image.width, image.height, entries);
    ztrace::assignPlain(image, palette, &sums[0], &planes[0]);
    ztrace::assignFast(image, palette, &sums[1], &planes[1]);
    fuzz::require(sums[0].size() == sums[1].size());
    fuzz::require(
        !std::memcmp(sums[0].data(), sums[1].data(), sums[0].size() * sizeof(ztrace::ColourSum)));
    const size_t cells
        = static_cast<size_t>(planes[0].stride()) * (static_cast<size_t>(image.height) + 2);
    planes[0].visit([&](const auto *expected) {
        planes[1].visit([&](const auto *actual) {
            fuzz::require(!std::memcmp(actual, expected, cells * sizeof *expected));
        });
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const int width = input.between(1, 40);
    const int height = input.between(1, 24);
    const int entries = input.between(1, 300);
    const int radius = input.between(1, 5);
    const int limit = input.between(-1, 1024);
    const int run = input.between(1, 20);
    const int mask = input.byte() | 1;
    const Bytes palette = colours(input, entries, 1, mask);
    const Bytes pixels = colours(input, width * height, run, mask);
    compareAssign({ pixels.data(), width, height }, palette);

    Bytes plain = pixels;
    Bytes fast = pixels;
    ztrace::blurPlain(plain.data(), width, height, radius, limit);
    ztrace::blurFast(fast.data(), width, height, radius, limit);
    fuzz::require(plain == fast);
    return 0;
}
