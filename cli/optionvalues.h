// (c) the ztrace developers. Licence: see LICENSE.
//
// Kinds of values that options have: how they are read, and what help and completion say of them.
#ifndef ZTRACE_CLI_OPTIONVALUES_H
#define ZTRACE_CLI_OPTIONVALUES_H

#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "Settings.h"
#include "values.h"

namespace ztrace {

struct OptionValue
{
    enum Kind {
        Flag,
        Whole,
        Number,
        Word,
        Colour,
        Palette,    // colours, or a file with them
        File,       // to be read, or written
        PresetName, // or a file
        Assignment, // NAME=VALUE of the engine's options
        Action      // what the command does instead of tracing
    };

    Kind kind = Flag;
    std::string placeholder; // what help calls the value; empty for flags
    double least = 0.0;      // of numbers
    double most = std::numeric_limits<double>::max();
    std::vector<std::string> words;    // the only ones, or those besides numbers
    std::vector<std::string> examples; // of numbers, offered by completion
    std::string pattern;               // of file names, "*.toml"

    // `option` is what messages call it, with its dashes. Throws a Failure.
    std::function<void(const std::string &option, const std::string &text, Settings *settings)>
        store;

    OptionValue offering(std::vector<std::string> numbers) const;
};

typedef void (*FlagStore)(Settings &, bool);
typedef void (*WholeStore)(Settings &, int);
typedef void (*NumberStore)(Settings &, double);
typedef void (*TextStore)(Settings &, const std::string &);
typedef void (*ColourStore)(Settings &, QRgb);

OptionValue flag(FlagStore store);
OptionValue action(); // the command line knows what to do
OptionValue wholeNumber(const char *placeholder, int least, int most, WholeStore store);
OptionValue number(const char *placeholder, double least, double most, NumberStore store);
OptionValue colour(const char *placeholder, ColourStore store);
OptionValue fileName(const char *placeholder, const char *pattern, TextStore store);

// A word that stands for a number: "auto" for 0.
typedef std::pair<const char *, int> NamedNumber;
OptionValue wholeNumberOr(const char *placeholder, NamedNumber word, int least, int most,
                          WholeStore store);
OptionValue numberOr(const char *placeholder, NamedNumber word, double least, double most,
                     NumberStore store);

template<typename Meaning>
using WordTable = std::vector<std::pair<std::string, Meaning>>;

template<typename Meaning>
std::vector<std::string> wordsOf(const WordTable<Meaning> &table)
{
    std::vector<std::string> words;
    for (const auto &entry : table)
        words.push_back(entry.first);
    return words;
}

// One of some words, each with what it means.
template<typename Meaning>
OptionValue oneOf(const char *placeholder, const WordTable<Meaning> &table,
                  void (*store)(Settings &, Meaning))
{
    OptionValue value;
    value.kind = OptionValue::Word;
    value.placeholder = placeholder;
    value.words = wordsOf(table);
    value.store
        = [table, store](const std::string &option, const std::string &text, Settings *settings) {
              store(*settings, table[wordValue(option, text, wordsOf(table))].second);
          };
    return value;
}

} // namespace ztrace

#endif
