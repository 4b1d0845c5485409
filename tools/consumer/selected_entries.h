#pragma once

#include "consumer/features.h"

#include <string>
#include <vector>

namespace gentlctl
{

/// The entries of a selector for which a condition holds while they are selected. The selector has its value
/// again afterwards.
/// @throws as the condition, and as Features::Set
template <typename Condition>
std::vector<std::string> EntriesWhere(const Features &features, const std::string &selector,
                                      Condition condition)
{
    std::vector<std::string> found;
    const auto selected = features.Get(selector).get<std::string>();
    for (const auto &entry : features.AvailableEntries(selector))
    {
        features.Set(selector, entry);
        if (condition(entry))
        {
            found.push_back(entry);
        }
    }
    features.Set(selector, selected);
    return found;
}

} // namespace gentlctl
