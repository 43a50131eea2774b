// (c) the ztrace developers. Licence: see LICENSE.
#include "imagedata.h"

#include "ByteWalk.h"
#include "CodeLengths.h"

#include <QList>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

namespace ztrace {

namespace {

const int kCoefficients = 64;

int byteAt(const QByteArray &bytes, int at)
{
    return at < bytes.size() ? static_cast<unsigned char>(bytes.at(at)) : 0;
}

int pairAt(const QByteArray &bytes, int at)
{
    return 256 * byteAt(bytes, at) + byteAt(bytes, at + 1);
}

// The place of the next mark that is neither stuffing nor a restart; -1 at the end.
int nextMark(const QByteArray &bytes, int at)
{
    for (; at + 1 < bytes.size(); ++at) {
        const void *found = std::memchr(bytes.constData() + at, 0xFF,
                                        static_cast<std::size_t>(bytes.size() - at));
        if (!found)
            return -1;
        at = static_cast<int>(static_cast<const char *>(found) - bytes.constData());
        const int mark = byteAt(bytes, at + 1);
        if (mark != 0x00 && mark != 0xFF && (mark < 0xD0 || mark > 0xD7))
            return at;
    }
    return -1;
}

// The lowest bit that is known of each coefficient of each component, by its name.
class Progression
{
public:
    void addFrame(const QByteArray &bytes, int at)
    {
        const int components = byteAt(bytes, at + 9);
        for (int i = 0; i < components; ++i)
            lowest[byteAt(bytes, at + 10 + 3 * i)].fill(kUnknown);
    }

    void addScan(const QByteArray &bytes, int at)
    {
        const int components = byteAt(bytes, at + 4);
        const int band = at + 5 + 2 * components;
        const int first = byteAt(bytes, band);
        const int last = std::min(byteAt(bytes, band + 1), kCoefficients - 1);
        for (int i = 0; i < components; ++i) {
            const auto found = lowest.find(byteAt(bytes, at + 5 + 2 * i));
            for (int k = first; found != lowest.end() && k <= last; ++k)
                found->second[static_cast<std::size_t>(k)] = byteAt(bytes, band + 2) & 15;
        }
    }

    bool isComplete() const
    {
        return std::all_of(lowest.begin(), lowest.end(), [](const auto &component) {
            return component.second == std::array<int, kCoefficients>();
        });
    }

private:
    static constexpr int kUnknown = 16;
    std::map<int, std::array<int, kCoefficients>> lowest;
};

qint64 inWholes(qint64 size, qint64 part)
{
    return (size + part - 1) / part;
}

// How many units of blocks the scans of a frame have (T.81, A.2). `at` is the place of its mark.
class Units
{
public:
    Units() = default;
    Units(const QByteArray &bytes, int at)
        : height(pairAt(bytes, at + 5)), width(pairAt(bytes, at + 7))
    {
        for (int i = 0; i < byteAt(bytes, at + 9); ++i) {
            const int factors = byteAt(bytes, at + 11 + 3 * i);
            const Sampling sampling
                = { std::max<qint64>(1, factors >> 4), std::max<qint64>(1, factors & 15) };
            samplings[byteAt(bytes, at + 10 + 3 * i)] = sampling;
            most = { std::max(most.across, sampling.across), std::max(most.down, sampling.down) };
        }
    }

    // 0 where the frame does not say its height.
    qint64 ofScan(const QByteArray &bytes, int at) const
    {
        if (byteAt(bytes, at + 4) != 1)
            return inWholes(width, 8 * most.across) * inWholes(height, 8 * most.down);
        const auto found = samplings.find(byteAt(bytes, at + 5));
        const Sampling own = found == samplings.end() ? most : found->second;
        return inWholes(inWholes(width * own.across, most.across), 8)
            * inWholes(inWholes(height * own.down, most.down), 8);
    }

private:
    struct Sampling
    {
        qint64 across = 1;
        qint64 down = 1;
    };
    std::map<int, Sampling> samplings;
    Sampling most;
    qint64 height = 0;
    qint64 width = 0;
};

// Whether so many restart marks follow each other from `at` on, before any other mark.
bool restartsFollow(const QByteArray &bytes, int at, qint64 wanted)
{
    const int end = nextMark(bytes, at);
    const int to = end < 0 ? bytes.size() : end;
    qint64 found = 0;
    for (; found < wanted && at + 1 < to; ++at) {
        const void *stop
            = std::memchr(bytes.constData() + at, 0xFF, static_cast<std::size_t>(to - at));
        if (!stop)
            break;
        at = static_cast<int>(static_cast<const char *>(stop) - bytes.constData());
        const int mark = byteAt(bytes, at + 1);
        if (mark < 0xD0 || mark > 0xD7)
            continue;
        if (mark != 0xD0 + found % 8)
            return false;
        ++found;
    }
    return found >= wanted;
}

qint64 longestRunOfZeros(const QByteArray &bytes, qint64 from, qint64 size)
{
    const qint64 to = size < bytes.size() - from ? from + size : bytes.size();
    qint64 longest = 0;
    qint64 run = 0;
    for (qint64 at = from; at < to; ++at) {
        run = bytes.at(static_cast<int>(at)) == 0 ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    return longest;
}

// A name of four letters, a length, the content, of an even number of bytes.
qint64 holeOfWebp(const QByteArray &bytes)
{
    qint64 longest = 0;
    ByteWalk walk(bytes);
    walk.moveTo(12);
    while (!walk.isBeyond()) {
        const QByteArray name = bytes.mid(static_cast<int>(walk.at()), 4);
        walk.skip(4);
        const qint64 length = walk.number(4);
        if (name == "VP8 " || name == "VP8L" || name == "ANMF")
            longest = std::max(longest, longestRunOfZeros(bytes, walk.at(), length));
        walk.skip(length + length % 2);
    }
    return longest;
}

// A length, which counts itself, a name of four letters, the content. Lengths that are 1 stand
// behind the name, with 0 a box reaches to the end.
qint64 holeOfBoxes(const QByteArray &bytes)
{
    qint64 longest = 0;
    ByteWalk walk(bytes, false);
    while (!walk.isBeyond() && walk.at() < bytes.size()) {
        const qint64 begin = walk.at();
        qint64 length = walk.number(4);
        const QByteArray name = bytes.mid(static_cast<int>(walk.at()), 4);
        walk.skip(4);
        if (length == 1)
            length = walk.number(8);
        if (length < walk.at() - begin)
            length = bytes.size() - begin;
        if (name == "mdat" || name == "jxlc" || name == "jxlp")
            longest = std::max(longest,
                               longestRunOfZeros(bytes, walk.at(), begin + length - walk.at()));
        walk.moveTo(begin + length);
    }
    return longest;
}

// The number behind the n-th "#define NAME ".
qint64 definedNumber(const QByteArray &text, int n)
{
    int at = 0;
    for (int i = 0; i < n; ++i)
        at = text.indexOf("#define", at) + 7;
    const QList<QByteArray> words = text.mid(at, 300).simplified().split(' ');
    return words.value(1).toLongLong();
}

} // namespace

bool areScansComplete(const QByteArray &bytes)
{
    const int kEnd = 0xD9, kScan = 0xDA, kProgressive = 0xC2, kProgressiveArithmetic = 0xCA;
    Progression progression;
    for (int at = nextMark(bytes, 2); at >= 0;) {
        const int mark = byteAt(bytes, at + 1);
        if (mark == kEnd)
            break;
        if (mark == kProgressive || mark == kProgressiveArithmetic)
            progression.addFrame(bytes, at);
        else if (mark == kScan && progression.isComplete())
            return true; // not progressive, or no more bits to come
        else if (mark == kScan)
            progression.addScan(bytes, at);
        at = nextMark(bytes, at + 2 + pairAt(bytes, at + 2));
    }
    return progression.isComplete();
}

bool areRestartsComplete(const QByteArray &bytes)
{
    const int kEnd = 0xD9, kScan = 0xDA, kInterval = 0xDD;
    const std::array<int, 5> kFrames = { { 0xC0, 0xC1, 0xC2, 0xC9, 0xCA } };
    Units units;
    int interval = 0; // units between marks; 0: none
    for (int at = nextMark(bytes, 2); at >= 0;) {
        const int mark = byteAt(bytes, at + 1);
        const int behind = at + 2 + pairAt(bytes, at + 2);
        if (mark == kEnd)
            break;
        if (std::find(kFrames.begin(), kFrames.end(), mark) != kFrames.end())
            units = Units(bytes, at);
        else if (mark == kInterval)
            interval = pairAt(bytes, at + 4);
        else if (mark == kScan && interval > 0
                 && !restartsFollow(bytes, behind, inWholes(units.ofScan(bytes, at), interval) - 1))
            return false;
        at = nextMark(bytes, behind);
    }
    return true;
}

bool isPadded(const QByteArray &bytes, qint64 count)
{
    const int kEnd = 0xD9;
    const int kAhead = 8; // bytes that the reader has taken before it counts: a word of a machine
    int at = nextMark(bytes, 2);
    while (at >= 0 && byteAt(bytes, at + 1) != kEnd)
        at = nextMark(bytes, at + 2 + pairAt(bytes, at + 2));
    while (at > 0 && byteAt(bytes, at - 1) == 0xFF)
        --at; // any number of them belongs to a mark
    if (at < 1)
        return false;
    qint64 run = 1;
    while (run < at && bytes.at(at - 1 - static_cast<int>(run)) == bytes.at(at - 1))
        ++run;
    return run >= count && run <= count + kAhead;
}

QByteArray withoutNotes(const QByteArray &bytes)
{
    const int kFirstNote = 0xE0, kLastNote = 0xEF, kComment = 0xFE, kEnd = 0xD9, kScan = 0xDA;
    const int kBaseline = 0xC0, kSequential = 0xC1;
    bool isSequential = false;
    QByteArray plain = bytes.left(2);
    int copied = 2;
    for (int at = nextMark(bytes, 2); at >= 0 && byteAt(bytes, at + 1) != kEnd;) {
        const int mark = byteAt(bytes, at + 1);
        const int behind = std::min(bytes.size(), at + 2 + pairAt(bytes, at + 2));
        isSequential = isSequential || mark == kBaseline || mark == kSequential;
        plain += bytes.mid(copied, at - copied);
        if (mark == kScan && isSequential)
            plain += bytes.mid(at, behind - at - 3) + QByteArray("\0\x3F\0", 3);
        else if ((mark < kFirstNote || mark > kLastNote) && mark != kComment)
            plain += bytes.mid(at, behind - at);
        copied = behind;
        at = nextMark(bytes, behind);
    }
    return plain + bytes.mid(copied);
}

bool areCodesEnough(const QByteArray &codes, int bits, qint64 pixels)
{
    if (bits < 1 || bits >= CodeLengths::kMostBits)
        return true; // the reader refuses them
    CodeLengths lengths(bits);
    unsigned waiting = 0;
    int bitsWaiting = 0;
    for (const char byte : codes) {
        waiting |= static_cast<unsigned>(static_cast<unsigned char>(byte)) << bitsWaiting;
        bitsWaiting += 8;
        while (bitsWaiting >= lengths.size() && pixels > 0) {
            const int size = lengths.size();
            const int code = static_cast<int>(waiting & ((1u << size) - 1));
            waiting >>= size;
            bitsWaiting -= size;
            const qint64 length = lengths.isEnd(code) ? -1 : lengths.take(code);
            if (length < 0)
                return false;
            pixels -= length;
        }
        if (pixels <= 0)
            return true;
    }
    return pixels <= 0;
}

qint64 longestHole(const QByteArray &bytes)
{
    if (bytes.startsWith("RIFF") && bytes.mid(8, 4) == "WEBP")
        return holeOfWebp(bytes);
    const bool isOfBoxes = bytes.mid(4, 4) == "ftyp" || bytes.mid(4, 4) == "JXL ";
    return isOfBoxes ? holeOfBoxes(bytes) : 0;
}

bool areValuesEnough(const QByteArray &text)
{
    const qint64 width = definedNumber(text, 1);
    const qint64 height = definedNumber(text, 2);
    const int from = std::max(0, text.indexOf('{'));
    const qint64 values = text.mid(from).toLower().count("0x");
    return width <= 0 || height <= 0 || values >= (width + 7) / 8 * height;
}

} // namespace ztrace
