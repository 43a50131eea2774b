// (c) the ztrace developers. Licence: see LICENSE.
#include "csvrows.h"

namespace ztrace {

void CsvRows::add(const std::string &portion)
{
    for (const char letter : portion)
        read(letter);
}

void CsvRows::read(char letter)
{
    if (row.line == 0)
        row.line = line;
    if (letter == '\n')
        ++line;
    if (afterQuote && letter == '"') {
        afterQuote = false;
        field += letter;
        return;
    }
    if (afterQuote)
        inQuotes = afterQuote = false;
    if (afterReturn && letter != '\n')
        field += '\r';
    afterReturn = false;
    if (inQuotes && letter == '"')
        afterQuote = true;
    else if (letter == '"' && field.empty() && !inQuotes)
        inQuotes = true;
    else if (!inQuotes && letter == ',')
        row.fields.push_back(std::move(field)), field.clear();
    else if (!inQuotes && letter == '\n')
        endRow();
    else if (!inQuotes && letter == '\r')
        afterReturn = true;
    else
        field += letter;
}

void CsvRows::endRow()
{
    row.fields.push_back(std::move(field));
    field.clear();
    if (row.fields.size() > 1 || !row.fields.front().empty())
        take(row);
    row = CsvRow();
}

bool CsvRows::end(int *wrongLine)
{
    *wrongLine = row.line;
    if (inQuotes && !afterQuote)
        return false;
    if (!field.empty() || !row.fields.empty())
        endRow();
    return true;
}

} // namespace ztrace
