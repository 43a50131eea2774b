// (c) the ztrace developers. Licence: see LICENSE.
//
// Codes of growing size, walked without what they stand for.
#ifndef ZTRACE_CLI_CODELENGTHS_H
#define ZTRACE_CLI_CODELENGTHS_H

#include <QtGlobal>

namespace ztrace {

// How long the strings are that codes stand for (GIF89a, appendix F; TIFF 6.0, section 13).
class CodeLengths
{
public:
    static const int kMostBits = 12; // of a code

    // Values of so many bits, below 12. In TIFF codes get longer one code before they have to.
    explicit CodeLengths(int bits, bool isTiff = false)
        : first(bits), clear(1 << bits), early(isTiff ? 1 : 0)
    {
        reset();
    }

    int size() const { return codeSize; }
    bool isEnd(int code) const { return code == clear + 1; }

    // Values that a code stands for; -1 for one that cannot be there.
    qint64 take(int code)
    {
        if (code == clear) {
            reset();
            return 0;
        }
        const int known = code < next ? lengthOf(code) : 0;
        if (code > next || (code == next && previous < 0))
            return -1;
        const int length = known > 0 ? known : lengthOf(previous) + 1;
        if (previous >= 0 && next < kMostCodes) {
            lengths[next++] = lengthOf(previous) + 1;
            if (next + early == 1 << codeSize && codeSize < kMostBits)
                ++codeSize;
        }
        previous = code;
        return length;
    }

private:
    static const int kMostCodes = 1 << kMostBits;

    int lengthOf(int code) const { return code < clear ? 1 : lengths[code]; }

    void reset()
    {
        codeSize = first + 1;
        next = clear + 2;
        previous = -1;
    }

    int first;
    int clear;
    int early;
    int codeSize = 0;
    int next = 0;
    int previous = -1;
    int lengths[kMostCodes] = {};
};

} // namespace ztrace

#endif
