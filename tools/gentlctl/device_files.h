#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gentlctl
{

class Features;

/// Names of the files on a device; none when it gives no access to files.
std::vector<std::string> FilesOf(const Features &remote);

/// The content of a file on a device.
/// @throws std::runtime_error there is no such file, it cannot be read, or it is empty
std::vector<uint8_t> FetchFile(const Features &remote, const std::string &name);

/// Replaces the content of a file on a device.
/// @throws std::runtime_error there is no such file, the device refuses the content, or it reports another
/// size afterwards
void SendFile(const Features &remote, const std::string &name, const std::vector<uint8_t> &content);

} // namespace gentlctl
