#include "gentlctl/device_files.h"

#include "consumer/features.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

namespace gentlctl
{

std::vector<std::string> FilesOf(const Features &remote)
{
    return remote.Has("FileSelector") ? remote.Files().AvailableFiles() : std::vector<std::string>();
}

namespace
{

/// @throws std::runtime_error the device has no such file
void CheckFile(const Features &remote, const std::string &name)
{
    const auto known = FilesOf(remote);
    if (std::ranges::find(known, name) == known.end())
    {
        throw std::runtime_error(known.empty() ? fmt::format("The device has no files, and so no {}", name)
                                               : fmt::format("The device has no file \"{}\"; it has {}", name,
                                                             fmt::join(known, ", ")));
    }
}

} // namespace

std::vector<uint8_t> FetchFile(const Features &remote, const std::string &name)
{
    CheckFile(remote, name);
    auto content = remote.Files().ReadFile(name);
    if (content.empty())
    {
        throw std::runtime_error(fmt::format("The file {} on the device is empty", name));
    }
    return content;
}

void SendFile(const Features &remote, const std::string &name, const std::vector<uint8_t> &content)
{
    CheckFile(remote, name);
    remote.Files().WriteFile(name, content);
}

} // namespace gentlctl
