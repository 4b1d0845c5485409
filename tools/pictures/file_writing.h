#pragma once

#include <cstddef>
#include <filesystem>

namespace gentlctl
{

/// Writes a file under another name and renames it when it is complete, so that a failure leaves an existing
/// file as it was. Writes directly to what is no regular file: a device, a pipe, a link.
/// @throws std::runtime_error the file cannot be written
void WriteBytes(const std::filesystem::path &file, const void *data, size_t size);

/// Writes all bytes to a descriptor.
/// @throws std::system_error it does not take them
void WriteBytes(int descriptor, const void *data, size_t size);

/// Makes a folder with its parents unless it exists, and checks that files can be written into it.
/// @throws std::runtime_error it cannot be made or written into
void MakeFolder(const std::filesystem::path &folder);

} // namespace gentlctl
