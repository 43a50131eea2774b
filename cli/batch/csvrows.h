// (c) the ztrace developers. Licence: see LICENSE.
//
// Rows of a CSV text that comes in portions: quotes, doubled quotes in quotes, and line ends in
// quotes; a line may end with a carriage return besides. Empty lines are no rows.
#ifndef ZTRACE_CLI_BATCH_CSVROWS_H
#define ZTRACE_CLI_BATCH_CSVROWS_H

#include <functional>
#include <string>
#include <vector>

namespace ztrace {

struct CsvRow
{
    int line = 0; // that it begins with, from 1
    std::vector<std::string> fields;
};

class CsvRows
{
public:
    explicit CsvRows(std::function<void(const CsvRow &)> takeRow) : take(std::move(takeRow)) { }

    void add(const std::string &portion);

    // False, and the line that its row begins with, for a quote without an end.
    bool end(int *wrongLine);

private:
    void read(char letter);
    void endRow();

    std::function<void(const CsvRow &)> take;
    CsvRow row;
    std::string field;
    int line = 1;
    bool inQuotes = false;
    bool afterQuote = false;  // in quotes: it may be their end, or the first of two
    bool afterReturn = false; // that belongs to the field unless the line ends
};

} // namespace ztrace

#endif
