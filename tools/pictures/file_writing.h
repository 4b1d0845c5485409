#pragma once

#include <cstddef>
#include <filesystem>

namespace gentlctl
{

/// Writes bytes as they are. The file has its name once it is complete: until then, and after a failure, what
/// had the name before stays. A device or a pipe is written to directly.
/// @throws std::runtime_error the file cannot be written
void WriteBytes(const std::filesystem::path &file, const void *data, size_t size);

/// Makes a folder, and those above it, if it is not there, and sees to it that files can be written there.
/// @throws std::runtime_error it cannot be made, or takes no files
void MakeFolder(const std::filesystem::path &folder);

} // namespace gentlctl
