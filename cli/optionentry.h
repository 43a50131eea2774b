// (c) the ztrace developers. Licence: see LICENSE.
//
// How an entry of the table of options is written.
#ifndef ZTRACE_CLI_OPTIONENTRY_H
#define ZTRACE_CLI_OPTIONENTRY_H

#include "options.h"

namespace ztrace {

class Entry
{
public:
    Entry(const char *name, char shortName, const OptionValue &value)
    {
        option.name = name;
        option.shortName = shortName;
        option.value = value;
    }
    Entry(const char *name, const OptionValue &value) : Entry(name, 0, value) { }

    Entry &standard(const char *text) { return option.standard = text, *this; }
    Entry &appliesTo(unsigned what) { return option.appliesTo = what, *this; }
    Entry &needs(unsigned capabilities) { return option.needs = capabilities, *this; }
    Entry &several() { return option.several = true, *this; }
    Entry &commas() { return option.commas = true, *this; }
    Entry &place(Place last) { return option.place = last, *this; }
    Entry &commandOnly() { return option.inScripts = false, *this; }
    Entry &help(const char *text) { return option.help = text, *this; }
    Entry &manual(const char *text) { return option.manual = text, *this; }

    Option option;
};

} // namespace ztrace

#endif
