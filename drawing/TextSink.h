// (c) the ztrace developers. Licence: see LICENSE.
//
// Text on its way to a device, in large portions.
#ifndef ZTRACE_DRAWING_TEXTSINK_H
#define ZTRACE_DRAWING_TEXTSINK_H

#include <QByteArray>
#include <QIODevice>

namespace ztrace {

// A device may take a part, as a disk does on which that was all the room; only the next attempt
// says why.
inline bool writeFully(QIODevice *device, const QByteArray &bytes)
{
    qint64 written = 0;
    while (written < bytes.size()) {
        const qint64 taken = device->write(bytes.constData() + written, bytes.size() - written);
        if (taken <= 0)
            return false;
        written += taken;
    }
    return true;
}

// Writers append to text() and call flushIfLarge() between elements. A device that takes less than
// it is given makes finish() return false; nothing more is written to it then.
class TextSink
{
public:
    explicit TextSink(QIODevice *target) : device(target) { buffer.reserve(2 * kPortion); }

    QByteArray &text() { return buffer; }

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
    static const int kPortion = 1 << 20;

    void flush()
    {
        if (good && !buffer.isEmpty())
            good = writeFully(device, buffer);
        buffer.resize(0); // keeps the memory
    }

    QIODevice *device;
    QByteArray buffer;
    bool good = true;
};

} // namespace ztrace

#endif
