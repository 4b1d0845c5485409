#include "consumer/description.h"

#include "consumer/text.h"
#include "nodemap/description_location.h"
#include "nodemap/description_text.h"
#include "nodemap/unzip.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace gentlctl
{

using namespace GenTL;
using internal::UrlScheme;

namespace
{

// Far above any real description: a larger number means a broken URL.
constexpr uint64_t descriptionLimit = 1U << 30U;

std::vector<uint8_t> ReadFile(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        throw std::runtime_error(fmt::format("Cannot read the description {}", path));
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<uint8_t> ReadRange(internal::IPort &port, uint64_t address, uint64_t size)
{
    if (size == 0 || size > descriptionLimit)
    {
        throw std::runtime_error(fmt::format("The description's URL names a size of {} bytes", size));
    }
    std::vector<uint8_t> bytes(size);
    size_t read = bytes.size();
    port.ReadRegisters(address, bytes.data(), &read);
    bytes.resize(std::min(read, bytes.size()));
    return bytes;
}

std::vector<uint8_t> FetchDescription(internal::IPort &port, const std::string &url)
{
    const auto location = internal::ParseLocation(url);
    switch (location.Scheme)
    {
    case UrlScheme::Local:
        return ReadRange(port, location.Address, location.Size);
    case UrlScheme::File:
        return ReadFile(location.Path);
    default:
        throw std::runtime_error(fmt::format("Cannot load a description from \"{}\"", url));
    }
}

} // namespace

std::vector<uint8_t> LoadDescriptionFile(internal::IPort &port)
{
    return FetchDescription(port, ReadText([&](char *text, size_t *size) { port.GetPortURL(text, size); }));
}

std::string LoadDescription(internal::IPort &port)
{
    return DescriptionIn(LoadDescriptionFile(port));
}

std::string DescriptionIn(std::vector<uint8_t> bytes)
{
    if (internal::IsZip(bytes))
    {
        const auto archive = internal::WithoutTail(bytes);
        bytes = internal::Unzip(archive.data(), archive.size());
    }
    auto text = internal::DescriptionText(bytes);
    if (text.empty())
    {
        // Not XML, which the parser reports.
        text.assign(bytes.begin(), bytes.end());
    }
    return text.substr(0, text.find('\0'));
}

} // namespace gentlctl
