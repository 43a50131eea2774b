// (c) the ztrace developers. Licence: see LICENSE.
//
// Values of settings from text. Each throws a Failure that names the setting and repeats the
// beginning of the text.
#ifndef ZTRACE_CLI_VALUES_H
#define ZTRACE_CLI_VALUES_H

#include <QRgb>

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace ztrace {

// What messages repeat of a text: all of it, or where it is longer the beginning and three dots. A
// character that UTF-8 writes in several bytes is not cut.
std::string shortened(const std::string &text, std::size_t most = 100);

// Of file names, in bytes; the system has no longer ones.
const std::size_t kLongestName = 4096;

// Texts become values; every function throws a Failure for text that has none. `words` names the
// words that the setting takes besides numbers.

// A finite number from `least` to `most`; the whole text must be the number.
double numberValue(const std::string &setting, const std::string &text, double least,
                   double most = std::numeric_limits<double>::max(),
                   const std::string &words = std::string());

// A number of any size, infinity included, but not not-a-number.
double anyNumberValue(const std::string &setting, const std::string &text);

int wholeValue(const std::string &setting, const std::string &text, int least, int greatest,
               const std::string &words = std::string());

bool flagValue(const std::string &setting, const std::string &text);

// "#rgb", "#rrggbb", with or without "#", or a colour name that the toolkit knows.
QRgb colourValue(const std::string &setting, const std::string &text);

// Whether the text, in letters of either case, is among the words.
bool isWord(const std::string &text, const std::vector<std::string> &words);

// "a, b or c".
std::string listOfWords(const std::vector<std::string> &words);

// Position of the text, in letters of either case, among the words.
std::size_t wordValue(const std::string &setting, const std::string &text,
                      const std::vector<std::string> &words);

// The shortest text that is read as this number.
std::string shortText(double value);

} // namespace ztrace

#endif
