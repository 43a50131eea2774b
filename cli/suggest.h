// (c) the ztrace developers. Licence: see LICENSE.
//
// What a mistyped word was probably meant to be.
#ifndef ZTRACE_CLI_SUGGEST_H
#define ZTRACE_CLI_SUGGEST_H

#include <string>
#include <vector>

namespace ztrace {

// The least number of letters put in, left out, exchanged, or swapped with their neighbour that
// turns one word into the other.
int editDistance(const std::string &a, const std::string &b);

// The word that `typed` is most like, or the only one that it begins: empty when it is like none,
// which is when more than a third of its letters and more than two would have to change.
std::string mostAlike(const std::string &typed, const std::vector<std::string> &words);

// " (did you mean BEFOREword?)", or nothing.
std::string suggestion(const std::string &typed, const std::vector<std::string> &words,
                       const std::string &before = std::string());

} // namespace ztrace

#endif
