#include "remote/description_source.h"

#include "nodemap/description_text.h"
#include "nodemap/unzip.h"
#include "port/i_port.h"
#include "utils/gentl_exception.h"
#include "utils/lower_info.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

namespace GenTL::internal
{

namespace
{

constexpr uint64_t largestDescription = uint64_t{64} << 20U;

std::string UrlOf(IPort &port, uint32_t index)
{
    return utils::ReadText([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                           { port.GetPortURLInfo(index, URL_INFO_URL, type, buffer, size); });
}

/// All URLs of the port. GetPortURL is for producers older than GenTL 1.1, which have one URL.
std::vector<DescriptionLocation> LocationsOf(IPort &port)
{
    std::vector<DescriptionLocation> locations;
    uint32_t count = 0;
    // A producer whose function fails counts as one without the function.
    static_cast<void>(utils::Try(
        [&]
        {
            port.GetNumPortURLs(&count);
            for (uint32_t index = 0; index < count; ++index)
            {
                locations.push_back(ParseLocation(UrlOf(port, index)));
            }
            return true;
        }));
    const auto isLocal = [](const auto &location) { return location.Scheme == UrlScheme::Local; };
    if (std::ranges::none_of(locations, isLocal))
    {
        const auto url = utils::Try(
            [&port]
            {
                return utils::ReadText([&port](INFO_DATATYPE *, void *buffer, size_t *size)
                                       { port.GetPortURL(static_cast<char *>(buffer), size); });
            });
        if (url)
        {
            locations.push_back(ParseLocation(*url));
        }
    }
    return locations;
}

/// The location to read: the first one in the port, else the first one in a file.
DescriptionLocation ChooseLocation(const std::vector<DescriptionLocation> &locations,
                                   const std::string &device)
{
    for (const auto scheme : {UrlScheme::Local, UrlScheme::File})
    {
        const auto found = std::ranges::find(locations, scheme, &DescriptionLocation::Scheme);
        if (found != locations.end())
        {
            return *found;
        }
    }
    if (locations.empty())
    {
        throw GenTLException(fmt::format("{}: the device's port names no description.", device),
                             GC_ERR_NOT_IMPLEMENTED);
    }
    throw GenTLException(
        fmt::format("{}: the description is at {}, which cannot be fetched.", device, locations.front().Url),
        GC_ERR_NOT_IMPLEMENTED);
}

void CheckSize(const std::string &device, uint64_t size)
{
    if (size == 0 || size > largestDescription)
    {
        throw GenTLException(fmt::format("{}: the description has {} bytes; 1 to {} can be read.", device,
                                         size, largestDescription),
                             GC_ERR_ERROR);
    }
}

std::vector<uint8_t> ReadFromFile(const std::string &device, const std::string &path)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    std::ifstream file(path, std::ios::binary);
    if (error || !file)
    {
        throw GenTLException(
            fmt::format("{}: the description is in the file {}, which cannot be read.", device, path),
            GC_ERR_IO);
    }
    CheckSize(device, size);
    std::vector<uint8_t> bytes(size);
    file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(size));
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
}

/// Reads in pieces, for transports that limit the length of one read.
void ReadInPieces(IPort &port, uint64_t address, std::vector<uint8_t> &bytes)
{
    constexpr size_t largestPiece = 4096;
    for (size_t offset = 0; offset < bytes.size();)
    {
        const size_t piece = std::min(largestPiece, bytes.size() - offset);
        size_t size = piece;
        port.ReadRegisters(address + offset, bytes.data() + offset, &size);
        if (size == 0)
        {
            throw GenTLException(fmt::format("no bytes at 0x{:X}", address + offset), GC_ERR_IO);
        }
        offset += std::min(size, piece);
    }
}

std::vector<uint8_t> ReadFromPort(const std::string &device, IPort &port, uint64_t address, uint64_t count)
{
    std::vector<uint8_t> bytes(count);
    const auto readAtOnce = [&]
    {
        size_t size = bytes.size();
        port.ReadRegisters(address, bytes.data(), &size);
        return size >= bytes.size();
    };
    try
    {
        if (!utils::Try(readAtOnce).value_or(false))
        {
            ReadInPieces(port, address, bytes);
        }
    }
    catch (const GenTLException &exception)
    {
        throw GenTLException(fmt::format("{}: the description ({} bytes at 0x{:X}) cannot be read: {}",
                                         device, bytes.size(), address, exception.what()),
                             exception.Code());
    }
    return bytes;
}

/// The bytes at a location. Where the device has fewer than its URL says in base 16, the size may be meant in
/// base 10.
std::vector<uint8_t> Fetch(const std::string &device, IPort &port, const DescriptionLocation &location)
{
    if (location.Scheme == UrlScheme::File)
    {
        return ReadFromFile(device, location.Path);
    }
    CheckSize(device, location.Size);
    try
    {
        return ReadFromPort(device, port, location.Address, location.Size);
    }
    catch (const GenTLException &)
    {
        auto bytes =
            location.DecimalSize
                ? utils::Try([&]
                             { return ReadFromPort(device, port, location.Address, *location.DecimalSize); })
                : std::nullopt;
        if (!bytes)
        {
            throw;
        }
        return std::move(*bytes);
    }
}

/// Counts the lines up to a place in the text, from 1.
size_t LineAt(std::string_view text, size_t offset)
{
    return 1 + static_cast<size_t>(std::ranges::count(text.substr(0, offset), '\n'));
}

} // namespace

DescriptionSource::DescriptionSource(IPort &port, std::string_view device)
    : m_device(device), m_location(ChooseLocation(LocationsOf(port), m_device))
{
    const auto bytes = Fetch(m_device, port, m_location);
    m_location.Size = bytes.size();
    Parse(bytes);
}

void DescriptionSource::Parse(const std::vector<uint8_t> &bytes)
{
    const auto fail = [&](std::string_view reason)
    {
        throw GenTLException(
            fmt::format("{}: the description ({} bytes) is not XML: {}.", m_device, bytes.size(), reason),
            GC_ERR_ERROR);
    };
    if (IsZip(bytes))
    {
        try
        {
            m_text = DescriptionText(UnzipFirst(WithoutTail(bytes), ".xml", largestDescription));
        }
        catch (const GenTLException &exception)
        {
            fail(exception.what());
        }
    }
    else
    {
        m_text = DescriptionText(bytes);
    }
    // Unlike load_buffer_inplace, load_buffer leaves the text as it is.
    const auto result =
        m_tree.load_buffer(m_text.data(), m_text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result)
    {
        fail(fmt::format("{} at line {}", result.description(),
                         LineAt(m_text, static_cast<size_t>(result.offset))));
    }
    if (!m_tree.document_element())
    {
        fail("it has no element");
    }
}

} // namespace GenTL::internal
