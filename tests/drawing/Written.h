// (c) the ztrace developers. Licence: see LICENSE.
//
// What writers write, as bytes.
#ifndef ZTRACE_TESTS_DRAWING_WRITTEN_H
#define ZTRACE_TESTS_DRAWING_WRITTEN_H

#include <QBuffer>
#include <QByteArray>

#include <functional>

#include "drawing/dxf.h"

// Nothing where the writer failed.
inline QByteArray written(const std::function<bool(QIODevice *)> &write)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return write(&buffer) ? buffer.data() : QByteArray();
}

inline QByteArray dxfOf(const ztrace::Drawing &drawing,
                        const ztrace::DxfOptions &options = ztrace::DxfOptions())
{
    return written([&](QIODevice *device) { return writeDxf(drawing, options, device); });
}

#endif
