// (c) the ztrace developers. Licence: see LICENSE.
//
// The table of options. The command line, settings files, presets, the help, the man page, both
// completions and the tables of docs/command.md are made from it: a new option is an entry here, a
// member of Settings, and the code that reads that.
#ifndef ZTRACE_CLI_OPTIONS_H
#define ZTRACE_CLI_OPTIONS_H

#include <string>
#include <vector>

#include "optionvalues.h"

namespace ztrace {

enum class Group { Output, Size, Colours, Outlines, Running, Batch };

// How an image is treated, or that the input is a drawing, which has its colours and outlines.
enum AppliesTo : unsigned {
    kToInk = 1,
    kToFlat = 2,
    kToBlend = 4,
    kToRaw = 8,
    kToDrawings = 16,
    kToColours = kToFlat | kToBlend,
    kToReduced = kToInk | kToColours,
    kToImages = kToReduced | kToRaw,
    kToAll = kToImages | kToDrawings
};

// Where an option may be said. A settings file is read before its preset is, a preset after the
// input is chosen.
enum class Place { CommandLine, UpToSettingsFile, UpToPreset };

struct Option
{
    std::string name;
    char shortName = 0; // 0: none
    OptionValue value;
    Group group = Group::Running;
    unsigned appliesTo = kToAll;
    unsigned needs = 0;   // capabilities (drawing/formats.h); a format that is written has one
    bool several = false; // may be given several times
    bool commas = false;  // a list in a file is one text with commas
    Place place = Place::UpToPreset;
    bool inScripts = true; // false: what it is about is the script's own business
    std::string standard;  // what holds when nothing is said; empty when there is nothing to tell

    // Sentences in which `words to type` stand in backticks: one for all, and those that only the
    // manuals have.
    std::string help;
    std::string manual;

    bool isFlag() const { return value.kind == OptionValue::Flag; }
    bool isAction() const { return value.kind == OptionValue::Action; }
};

// All of them, in the order of the help.
const std::vector<Option> &allOptions();

const Option *findOption(const std::string &name);
const Option *findOption(char shortName);

// What is said of a long name that no option has: "there is no option --x (did you mean --y?)".
std::string noSuchOption(const std::string &name);

// What the help and the documents call a group.
const std::vector<std::pair<Group, const char *>> &allGroups();

// What can be said for the value beside the help: "1 to 4096; default 16". Empty when that is
// nothing.
std::string valueNote(const Option &option);

// Stores a value and keeps what was said. Throws a Failure for a value that cannot be.
void storeOption(const Option &option, const std::string &text, Settings *settings);

// The options that --set takes: the engine's own.
const std::vector<std::string> &engineOptionNames();
bool isEngineOption(const std::string &name);

std::vector<std::string> optionNames();

} // namespace ztrace

#endif
