// (c) the ztrace developers. Licence: see LICENSE.
//
// The one place of the engine that knows more than one release of the toolkit.
#ifndef ZTRACE_QTCOMPAT_H
#define ZTRACE_QTCOMPAT_H

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

} // namespace ztrace

#endif
