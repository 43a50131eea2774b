// (c) the ztrace developers. Licence: see LICENSE.
//
// The files of cli/presets/, compiled in, so that the program works without being installed.
#ifndef ZTRACE_CLI_BUILTIN_PRESETS_H
#define ZTRACE_CLI_BUILTIN_PRESETS_H

namespace ztrace {

struct BuiltinPreset
{
    const char *name;
    const char *text;
};

extern const BuiltinPreset kBuiltinPresets[];
extern const int kBuiltinPresetCount;

} // namespace ztrace

#endif
