#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace gentlctl
{

/// The content of a file that the user names. Takes a pipe, too, which a shell puts in place of a file.
/// @param limit bytes
/// @throws std::runtime_error the file cannot be read, is neither a file nor a pipe, or is larger than the
/// limit
std::string ReadInputFile(const std::filesystem::path &file, uint64_t limit);

} // namespace gentlctl
