// (c) the ztrace developers. Licence: see LICENSE.
//
// Text on its way to a device, in large portions.
#ifndef ZTRACE_DRAWING_TEXTSINK_H
#define ZTRACE_DRAWING_TEXTSINK_H

#include <QByteArray>
#include <QIODevice>

#include <string>

namespace ztrace {

// A device may take a part, as a disk does on which that was all the room; only the next attempt
// says why.
inline bool writeFully(QIODevice *device, const char *data, qint64 size)
{
    while (size > 0) {
        const qint64 taken = device->write(data, size);
        if (taken <= 0)
            return false;
        data += taken;
        size -= taken;
    }
    return true;
}

inline bool writeFully(QIODevice *device, const QByteArray &bytes)
{
    return writeFully(device, bytes.constData(), bytes.size());
}

// Writers append to text() and call flushIfLarge() between elements. A device that takes less than
// it is given makes finish() return false; nothing more is written to it then.
class TextSink
{
public:
    explicit TextSink(QIODevice *target) : device(target) { buffer.reserve(2 * kPortion); }

    std::string &text() { return buffer; }

    void flushIfLarge()
    {
        if (buffer.size() >= kPortion)
            flush();
    }

    bool finish()
    {
        flush();
        return good;
    }

private:
    static const std::size_t kPortion = 1 << 20;

    void flush()
    {
        if (good && !buffer.empty())
            good = writeFully(device, buffer.data(), static_cast<qint64>(buffer.size()));
        buffer.clear(); // keeps the memory
    }

    QIODevice *device;
    std::string buffer;
    bool good = true;
};

} // namespace ztrace

#endif
