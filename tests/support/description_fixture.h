#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace GenTL::internal
{

/// A description in tests/fixtures/descriptions, by its name without the extension.
inline std::string Fixture(const std::string &name)
{
    std::ifstream file(std::filesystem::path(QVR_SOURCE_DIR) / "tests/fixtures/descriptions" /
                           (name + ".xml"),
                       std::ios::binary);
    if (!file)
    {
        throw std::runtime_error("no fixture " + name);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace GenTL::internal
