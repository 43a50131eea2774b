// (c) the ztrace developers. Licence: see LICENSE.
#include "pages.h"

#include "values.h"

#include <algorithm>

namespace ztrace {

PageRanges pagesValue(const std::string &setting, const std::string &text, int most)
{
    const std::string all = "all";
    if (isWord(text, { all }))
        return { { 1, most } };
    const auto number = [&](const std::string &digits) {
        return wholeValue(setting, digits, 1, most, all + " or as in 2-4,7");
    };
    PageRanges ranges;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        const std::string part = text.substr(at, comma - at);
        at = comma + 1;
        const std::size_t dash = part.find('-');
        if (dash == std::string::npos || dash == 0) {
            const int page = number(part);
            ranges.push_back({ page, page });
            continue;
        }
        const int first = number(part.substr(0, dash));
        const int last = dash + 1 == part.size() ? most : number(part.substr(dash + 1));
        ranges.push_back({ std::min(first, last), std::max(first, last) });
    }
    return ranges;
}

std::vector<int> pagesWithin(const PageRanges &ranges, int pages)
{
    std::vector<int> found;
    for (const auto &range : ranges) {
        for (int page = range.first; page <= std::min(range.second, pages); ++page)
            found.push_back(page);
        if (range.first == range.second && range.first > pages)
            found.push_back(range.first); // asked for by its own number
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    if (found.empty() && !ranges.empty())
        found.push_back(ranges.front().first);
    return found;
}

std::string rangesText(const std::vector<int> &pages)
{
    std::string text;
    for (std::size_t i = 0; i < pages.size();) {
        std::size_t last = i;
        while (last + 1 < pages.size() && pages[last + 1] == pages[last] + 1)
            ++last;
        text += (text.empty() ? "" : ",") + std::to_string(pages[i]);
        if (last > i)
            text += '-' + std::to_string(pages[last]);
        i = last + 1;
    }
    return text;
}

std::string pageNumber(int page, int pages)
{
    const std::string number = std::to_string(page);
    const std::size_t digits = std::to_string(std::max(page, pages)).size();
    return std::string(digits - number.size(), '0') + number;
}

int lastBeyond(const PageRanges &ranges, int pages)
{
    int last = 0;
    for (const auto &range : ranges) {
        if (range.first < range.second && range.second > pages && range.second < kMostPages)
            last = std::max(last, range.second);
    }
    return last;
}

} // namespace ztrace
