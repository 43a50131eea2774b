// (c) the ztrace developers. Licence: see LICENSE.
//
// Pages of a file, by their numbers.
#ifndef ZTRACE_CLI_PAGES_H
#define ZTRACE_CLI_PAGES_H

#include <string>
#include <utility>
#include <vector>

namespace ztrace {

const int kMostPages = 100000; // of a file; the last one of ranges without an end

// First and last page of each range, from 1.
typedef std::vector<std::pair<int, int>> PageRanges;

// "2-4,7", "5-", "all". Throws a Failure that names the setting for a text that is none, and for
// numbers beyond `most`.
PageRanges pagesValue(const std::string &setting, const std::string &text, int most);

// The pages of a file with so many that are in a range, in order, each once. Where none is: the
// first that was asked for, which is not there.
std::vector<int> pagesWithin(const PageRanges &ranges, int pages);

// The last page that a range from one number to another one names, if the file has fewer, else 0.
int lastBeyond(const PageRanges &ranges, int pages);

// Ranges that name pages in order: "2-4,7".
std::string rangesText(const std::vector<int> &pages);

// "07" of 12: numbers of one length.
std::string pageNumber(int page, int pages);

} // namespace ztrace

#endif
