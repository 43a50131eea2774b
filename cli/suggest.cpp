// (c) the ztrace developers. Licence: see LICENSE.
#include "suggest.h"

#include <algorithm>

namespace ztrace {

namespace {

const int kMostChanges = 2;
const std::size_t kLettersAChange = 3;
const std::size_t kLeastBeginning = 3; // letters, to be taken for the beginning of a word

} // namespace

int editDistance(const std::string &a, const std::string &b)
{
    std::vector<std::vector<int>> cost(a.size() + 1, std::vector<int>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i)
        cost[i][0] = static_cast<int>(i);
    for (std::size_t j = 0; j <= b.size(); ++j)
        cost[0][j] = static_cast<int>(j);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const int exchanged = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            cost[i][j] = std::min({ exchanged, cost[i - 1][j] + 1, cost[i][j - 1] + 1 });
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
        }
    }
    return cost[a.size()][b.size()];
}

std::string mostAlike(const std::string &typed, const std::vector<std::string> &words)
{
    const int bound = std::min(kMostChanges, static_cast<int>(typed.size() / kLettersAChange));
    std::string best;
    int least = bound + 1;
    for (const std::string &word : words) {
        const int distance = editDistance(typed, word);
        if (distance < least) {
            least = distance;
            best = word;
        }
    }
    if (!best.empty() || typed.size() < kLeastBeginning)
        return best;
    const auto begins
        = [&typed](const std::string &word) { return word.compare(0, typed.size(), typed) == 0; };
    if (std::count_if(words.begin(), words.end(), begins) != 1)
        return std::string();
    return *std::find_if(words.begin(), words.end(), begins);
}

std::string suggestion(const std::string &typed, const std::vector<std::string> &words,
                       const std::string &before)
{
    const std::string word = mostAlike(typed, words);
    return word.empty() ? word : " (did you mean " + before + word + "?)";
}

} // namespace ztrace
