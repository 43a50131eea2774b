// (c) the ztrace developers. Licence: see LICENSE.
//
// Numbers in bytes of a file.
#ifndef ZTRACE_CLI_BYTEWALK_H
#define ZTRACE_CLI_BYTEWALK_H

#include <QByteArray>

namespace ztrace {

// A place in bytes that may be moved anywhere. What lies beyond the end is 0, and isBeyond() is
// true from then on.
class ByteWalk
{
public:
    explicit ByteWalk(const QByteArray &file, bool littleEndian = true)
        : bytes(file), little(littleEndian)
    { }

    qint64 at() const { return place; }
    bool isBeyond() const { return beyond; }
    void skip(qint64 count) { moveTo(place + count); }

    void moveTo(qint64 to)
    {
        beyond = beyond || to < 0 || to > bytes.size();
        place = beyond ? bytes.size() : to;
    }

    // The next 1 to 8 bytes as a number without sign; one of 8 that large is beyond all files.
    qint64 number(int count)
    {
        const qint64 from = place;
        skip(count);
        if (beyond)
            return 0;
        quint64 value = 0;
        for (int i = 0; i < count; ++i) {
            const int index = static_cast<int>(from) + (little ? count - 1 - i : i);
            value = (value << 8) | static_cast<unsigned char>(bytes.at(index));
        }
        const quint64 kFar = Q_UINT64_C(1) << 61; // sums of two are numbers, too
        return static_cast<qint64>(value < kFar ? value : kFar);
    }

private:
    const QByteArray &bytes;
    bool little;
    qint64 place = 0;
    bool beyond = false;
};

} // namespace ztrace

#endif
