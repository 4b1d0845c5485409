#include "consumer/similar_names.h"

#include "consumer/text.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace gentlctl
{
namespace
{

/// How many letters must be left out, added, exchanged with their neighbour or replaced to make one word of
/// the other.
size_t DistanceOf(const std::string &a, const std::string &b)
{
    std::vector<std::vector<size_t>> distances(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i)
    {
        for (size_t j = 0; j <= b.size(); ++j)
        {
            if (i == 0 || j == 0)
            {
                distances[i][j] = i + j;
                continue;
            }
            const size_t replaced = a[i - 1] == b[j - 1] ? 0 : 1;
            distances[i][j] = std::min(
                {distances[i - 1][j] + 1, distances[i][j - 1] + 1, distances[i - 1][j - 1] + replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
            {
                distances[i][j] = std::min(distances[i][j], distances[i - 2][j - 2] + 1);
            }
        }
    }
    return distances[a.size()][b.size()];
}

bool OneContainsTheOther(const std::string &a, const std::string &b)
{
    constexpr size_t leastLength = 3;
    return std::min(a.size(), b.size()) >= leastLength &&
           (a.find(b) != std::string::npos || b.find(a) != std::string::npos);
}

/// Longer words may hold more slips.
bool DifferBySlips(const std::string &a, const std::string &b)
{
    constexpr size_t lettersForASlip = 3;
    const auto slips = std::min(b.size() / lettersForASlip, size_t{2});
    const auto difference = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    return difference <= slips && DistanceOf(a, b) <= slips;
}

using Resembles = bool (*)(const std::string &, const std::string &);

/// From the strictest to the loosest; both names are in lower case.
constexpr Resembles resemblances[] = {
    [](const std::string &a, const std::string &b) { return a == b; },
    OneContainsTheOther,
    DifferBySlips,
};

} // namespace

std::vector<std::string> SimilarNames(const std::vector<std::string> &names, const std::string &wanted)
{
    constexpr size_t most = 8;
    for (const auto resembles : resemblances)
    {
        std::vector<std::string> similar;
        std::ranges::copy_if(names, std::back_inserter(similar),
                             [&](const std::string &name)
                             { return resembles(Lowercase(name), Lowercase(wanted)); });
        if (!similar.empty())
        {
            std::stable_partition(similar.begin(), similar.end(),
                                  [&](const std::string &name)
                                  { return DifferBySlips(Lowercase(name), Lowercase(wanted)); });
            similar.resize(std::min(similar.size(), most));
            return similar;
        }
    }
    return {};
}

} // namespace gentlctl
