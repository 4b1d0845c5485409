#pragma once

#include <filesystem>
#include <string>

namespace GenTL::simulator
{

/// The URL of a file.
/// @param path from the root
std::string FileUrl(const std::filesystem::path &path);

} // namespace GenTL::simulator
