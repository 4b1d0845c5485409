#pragma once

#include <fnmatch.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace gentlctl
{

/// Whether a name is a pattern of the shell, as in "Exposure*".
inline bool IsPattern(const std::string &name)
{
    return name.find_first_of("*?[") != std::string::npos;
}

/// The names that a pattern matches, in their order; none for a name that is no pattern.
inline std::vector<std::string> MatchingNames(const std::vector<std::string> &names,
                                              const std::string &pattern)
{
    std::vector<std::string> matching;
    std::ranges::copy_if(names, std::back_inserter(matching),
                         [&](const std::string &name)
                         { return IsPattern(pattern) && fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
    return matching;
}

} // namespace gentlctl
