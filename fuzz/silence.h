// (c) the ztrace developers. Licence: see LICENSE.
//
// The engine's fixed debug lines, switched off for the whole process.
#ifndef ZTRACE_FUZZ_SILENCE_H
#define ZTRACE_FUZZ_SILENCE_H

#include <QLoggingCategory>

namespace fuzz {

inline void silence()
{
    static const bool done = [] {
        QLoggingCategory::setFilterRules("default.debug=false");
        return true;
    }();
    (void)done;
}

} // namespace fuzz

#endif
