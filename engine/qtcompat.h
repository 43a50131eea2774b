// (c) the ztrace developers. Licence: see LICENSE.
//
// The one place of the engine that knows more than one release of the toolkit.
#ifndef ZTRACE_QTCOMPAT_H
#define ZTRACE_QTCOMPAT_H

#include <QImage>
#include <QtGlobal>

#if QT_VERSION >= 0x050000
#include <QLoggingCategory>
#endif

namespace ztrace {

// True when the toolkit prints debug lines of the default category, so that one is worth being
// formatted. The older release has no switch but its build option.
inline bool debugOutputIsOn()
{
#if QT_VERSION >= 0x050000
    const QLoggingCategory *category = QLoggingCategory::defaultCategory();
    return category && category->isDebugEnabled();
#else
    return true;
#endif
}

// What QImage::pixel adds to the words of Format_RGB32: opaque alpha in the newer releases, nothing
// in 4.8, which returns the bits as somebody wrote them. The toolkit is asked, not its version.
inline QRgb alwaysSetInRgb32()
{
    QImage probe(1, 1, QImage::Format_RGB32);
    if (probe.isNull())
        return 0xFF000000u;
    *reinterpret_cast<QRgb *>(probe.scanLine(0)) = 0;
    return probe.pixel(0, 0);
}

} // namespace ztrace

#endif
