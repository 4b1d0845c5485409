#pragma once

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace gentlctl
{

/// The entries of a folder by name: none of one that cannot be read, and the first ones where the reading
/// fails. A range-based for would throw there.
inline std::vector<std::filesystem::path> EntriesIn(const std::filesystem::path &folder)
{
    std::vector<std::filesystem::path> entries;
    std::error_code failure;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry(folder, failure); entry != end; entry.increment(failure))
    {
        entries.push_back(entry->path());
    }
    std::ranges::sort(entries);
    return entries;
}

} // namespace gentlctl
