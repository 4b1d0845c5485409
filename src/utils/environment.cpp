#include "utils/environment.h"

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <vector>

namespace GenTL::internal::utils
{

namespace
{

/// The path of the shared library that contains an address; empty when there is none.
std::string PathOf(const void *address)
{
    Dl_info info{};
    const auto found = dladdr(address, &info);
    return found != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

bool HaveSameBytes(const std::string &one, const std::string &other)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(one, error);
    if (error || std::filesystem::file_size(other, error) != size || error)
    {
        return false;
    }
    std::ifstream oneFile(one, std::ios::binary);
    std::ifstream otherFile(other, std::ios::binary);
    // By blocks: a producer with debug information has tens of megabytes.
    std::vector<char> oneBlock(size_t{1} << 16);
    std::vector<char> otherBlock(oneBlock.size());
    while (oneFile && otherFile)
    {
        oneFile.read(oneBlock.data(), static_cast<std::streamsize>(oneBlock.size()));
        otherFile.read(otherBlock.data(), static_cast<std::streamsize>(otherBlock.size()));
        if (oneFile.gcount() != otherFile.gcount() ||
            !std::equal(oneBlock.begin(), oneBlock.begin() + oneFile.gcount(), otherBlock.begin()))
        {
            return false;
        }
    }
    return oneFile.eof() && otherFile.eof();
}

} // namespace

std::string GetOwnPath()
{
    return PathOf(reinterpret_cast<const void *>(&GetOwnPath));
}

bool IsInOwnFile(const void *address)
{
    // The loader loads a file once. Loaded again through a link, it keeps the path of its first load.
    const auto path = PathOf(address);
    return !path.empty() && (path == GetOwnPath() || HaveSameBytes(path, GetOwnPath()));
}

std::string GetEnvironmentVariable(const std::string &name)
{
    const char *value = std::getenv(name.c_str());
    return value != nullptr ? value : "";
}

} // namespace GenTL::internal::utils
