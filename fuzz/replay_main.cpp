// (c) the ztrace developers. Licence: see LICENSE.
//
// Stands in for the fuzzing library: runs a target once over every file that is named, so that
// targets build with any compiler and their corpora are tested everywhere.
#include "Input.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

// Budget of one input: the worst takes a second, ten under sanitizers.
const double kMostSeconds = 60.0; // of processor time

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

} // namespace

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "cannot read %s\n", argv[i]);
            return 1;
        }
        const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                      std::istreambuf_iterator<char>());
        // Named before it runs: after a crash the last line tells the input.
        std::printf("%s: %zu bytes\n", argv[i], bytes.size());
        std::fflush(stdout);
        const double start = processorSeconds();
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
        if (processorSeconds() - start > kMostSeconds) {
            std::printf("it took more than %g seconds\n", kMostSeconds);
            return 1;
        }
    }
    std::printf("%d inputs\n", argc - 1);
    return argc > 1 ? 0 : 1;
}
