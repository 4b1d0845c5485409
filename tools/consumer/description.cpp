#include "consumer/description.h"

#include "consumer/text.h"
#include "nodemap/description_url.h"
#include "nodemap/unzip.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace gentlctl
{

using namespace GenTL;

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

bool HasScheme(std::string_view url, std::string_view scheme)
{
    const auto sameIgnoringCase = [](char a, char b)
    { return a == std::tolower(static_cast<unsigned char>(b)); };
    return url.size() >= scheme.size() &&
           std::ranges::equal(scheme, url.substr(0, scheme.size()), sameIgnoringCase);
}

/// The bytes behind "local:[///]NAME;ADDRESS;SIZE[?...]" or "file://PATH[?...]".
std::vector<uint8_t> FetchDescription(internal::IPort &port, const std::string &url)
{
    constexpr std::string_view file = "file://";
    const auto withoutQuery = url.substr(0, url.find('?'));
    // A local URL must give address and size. ParseDescriptionUrl also accepts a single number for both.
    if (HasScheme(withoutQuery, "local:") && std::ranges::count(withoutQuery, ';') > 1)
    {
        const auto range = internal::ParseDescriptionUrl(withoutQuery).value();
        return ReadWhole(port, range.address, range.size);
    }
    if (HasScheme(withoutQuery, file))
    {
        return ReadFile(withoutQuery.substr(file.size()));
    }
    throw std::runtime_error(fmt::format("Cannot load a description from \"{}\"", url));
}

bool IsArchive(const std::vector<uint8_t> &bytes)
{
    constexpr std::array<uint8_t, 4> magic{'P', 'K', 3, 4};
    return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

} // namespace

std::vector<uint8_t> ReadWhole(internal::IPort &port, uint64_t address, uint64_t size)
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

std::string LoadDescription(internal::IPort &port)
{
    const auto url = ReadText([&](char *text, size_t *size) { port.GetPortURL(text, size); });
    auto bytes = FetchDescription(port, url);
    if (IsArchive(bytes))
    {
        bytes = internal::Unzip(bytes.data(), bytes.size());
    }
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0})};
}

} // namespace gentlctl
