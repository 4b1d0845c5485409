#include "gentlctl/input_file.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace gentlctl
{
namespace
{

std::runtime_error CannotRead(const std::filesystem::path &file, const std::string &cause)
{
    return std::runtime_error(fmt::format("Cannot read {}: {}", file.string(), cause));
}

std::runtime_error CannotRead(const std::filesystem::path &file, int code)
{
    return CannotRead(file, std::generic_category().message(code));
}

} // namespace

std::string ReadInputFile(const std::filesystem::path &file, uint64_t limit)
{
    std::error_code missing;
    const auto status = std::filesystem::status(file, missing);
    if (missing || is_directory(status))
    {
        throw CannotRead(file, missing ? missing.value() : EISDIR);
    }
    if (!is_regular_file(status) && !is_fifo(status))
    {
        throw CannotRead(file, "it is a device or a socket, and no file");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
    {
        throw CannotRead(file, errno);
    }
    std::string content;
    std::array<char, 65536> part{};
    while (stream.read(part.data(), part.size()), stream.gcount() > 0)
    {
        content.append(part.data(), static_cast<size_t>(stream.gcount()));
        if (content.size() > limit)
        {
            throw CannotRead(file, fmt::format("it has more than {} MiB", limit >> 20U));
        }
    }
    return content;
}

} // namespace gentlctl
