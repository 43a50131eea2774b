// (c) the ztrace developers. Licence: see LICENSE.
//
// A fuzzer's bytes taken apart piece by piece. Beyond their end everything reads as 0.
#ifndef ZTRACE_FUZZ_INPUT_H
#define ZTRACE_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace fuzz {

class Input
{
public:
    Input(const uint8_t *data, size_t size) : next(data), left(size) { }

    bool isAtEnd() const { return left == 0; }

    int byte()
    {
        if (left == 0)
            return 0;
        --left;
        return *next++;
    }

    // low to high, both included, from one byte or two.
    int between(int low, int high)
    {
        const int span = high - low + 1;
        const int drawn = span > 256 ? byte() * 256 + byte() : byte();
        return low + drawn % span;
    }

    // A number worth trying: mostly a small one in steps of a sixteenth, at times an odd one.
    double number()
    {
        static const double odd[] = { std::numeric_limits<double>::quiet_NaN(),
                                      std::numeric_limits<double>::infinity(),
                                      -std::numeric_limits<double>::infinity(),
                                      1e300,
                                      -1e300,
                                      4e9,
                                      -4e9,
                                      -1.0,
                                      2147483648.0,
                                      1e-300,
                                      -0.0,
                                      200.5 };
        const int drawn = byte();
        return drawn < 240 ? (drawn - 16) / 16.0 : odd[drawn % 12];
    }

private:
    const uint8_t *next;
    size_t left;
};

// Ends the process where an answer is wrong: the fuzzer keeps the input.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

#endif
