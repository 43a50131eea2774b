// (c) the ztrace developers. Licence: see LICENSE.
//
// The engine's twelve options and what they are without being set: the only list of their names.
#ifndef ZTRACE_ENGINE_OPTIONDEFAULTS_H
#define ZTRACE_ENGINE_OPTIONDEFAULTS_H

namespace ztrace {

struct OptionDefault
{
    const char *name;
    double value;
};

const OptionDefault kOptionDefaults[] = {
    { "monochrome", 1.0 },
    { "numberofcolors", 16.0 },
    { "mincolorratio", 0.02 },
    { "colorquantcycles", 3.0 },
    { "colorsampling", 1.0 },
    { "blurradius", 1.0 },
    { "blurdelta", 2000.0 },
    { "pathomit", 8.0 },
    { "ltres", 1.0 },
    { "qtres", 1.0 },
    { "alphathreshold", 200.0 },
    { "brightnessthreshold", 200.0 },
};

} // namespace ztrace

#endif
