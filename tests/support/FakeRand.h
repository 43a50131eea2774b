// (c) the ztrace developers. Licence: see LICENSE.
//
// Include in one file of a test program: its rand() takes the place of the C library's, counts the
// draws and gives forced values when asked to.
#ifndef FAKERAND_H
#define FAKERAND_H

#include <cstdlib>
#include <vector>

namespace ztrace {

struct FakeRand
{
    static int &draws()
    {
        static int count = 0;
        return count;
    }
    // Values for the next draws, first one first.
    static std::vector<int> &forced()
    {
        static std::vector<int> values;
        return values;
    }
    static void reset(const std::vector<int> &values = std::vector<int>())
    {
        draws() = 0;
        forced() = values;
    }
};

} // namespace ztrace

// The C library's rand() and random() are one generator.
extern "C" int rand() noexcept
{
    using ztrace::FakeRand;
    ++FakeRand::draws();
    std::vector<int> &values = FakeRand::forced();
    if (values.empty())
        return static_cast<int>(random());
    const int value = values.front();
    values.erase(values.begin());
    return value;
}

#endif
