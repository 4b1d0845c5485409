#pragma once

#include <string>

namespace GenTL::simulator
{

/// A zip archive with one deflated file.
std::string ZipFile(const std::string &name, const std::string &content);

} // namespace GenTL::simulator
