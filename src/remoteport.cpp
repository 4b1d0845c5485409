#include "remoteport.h"

#include "nodemap/node_access.h"
#include "remote/unzip.h"
#include "utils/checks.h"
#include "utils/lower_info.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace GenTL::internal
{

namespace
{

uint64_t ParseHexadecimal(std::string_view text)
{
    return std::stoull(std::string(text), nullptr, 16);
}

std::string_view TextOf(const std::vector<uint8_t> &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

} // namespace

std::optional<DescriptionRange> ParseDescriptionUrl(std::string_view url)
{
    const auto first = url.find(';');
    const auto last = url.rfind(';');
    if (first == std::string_view::npos)
    {
        return std::nullopt;
    }
    // From the separator to the end of the URL's part before the query; with one separator only, the address
    // is what stands behind it, too.
    const auto query = url.rfind('?');
    const auto end = query != std::string_view::npos && query > last ? query : url.size();
    const auto sizeText = url.substr(last + 1, end - last - 1);
    const auto addressText = first != last ? url.substr(first + 1, last - first - 1) : sizeText;
    return DescriptionRange{ParseHexadecimal(addressText), ParseHexadecimal(sizeText)};
}

RemotePort::RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
                       std::shared_ptr<IProcessor> processor)
    : ProxyModule(proxy, handle), m_processor(std::move(processor))
{
    LoadDescription();
    m_processor->SetImageSizeCallback([this] { return ImageSize(); });
    m_processor->SetPayloadSizeCallback([this] { return DevicePayloadSize(); });
    // Ahead of the overrides, for what the device itself tells. A description that cannot be read fails
    // there.
    if (!m_parser || m_parser->IsValid())
    {
        ReadScan3dInfo();
    }
    InjectOverrides();
}

void RemotePort::ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piSize", piSize}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("*piSize", *piSize);
    m_overrides.Read(iAddress, pBuffer, *piSize,
                     [this](uint64_t address, void *buffer, size_t size)
                     { ReadGap(address, static_cast<uint8_t *>(buffer), size); });
}

void RemotePort::WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piSize", piSize}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("*piSize", *piSize);
    m_overrides.Write(iAddress, pBuffer, *piSize,
                      [this](uint64_t address, const void *buffer, size_t size)
                      { WriteToDevice(address, buffer, size); });
}

void RemotePort::ReadFromDevice(uint64_t address, void *buffer, size_t size)
{
    if (size != 0)
    {
        ReadRegisters(address, buffer, &size);
    }
}

void RemotePort::WriteToDevice(uint64_t address, const void *buffer, size_t size)
{
    WriteRegisters(address, buffer, &size);
}

// The description comes out of memory, as it was read when the device was opened.
void RemotePort::ReadGap(uint64_t address, uint8_t *buffer, size_t size)
{
    const uint64_t ahead = m_descriptionAddress > address ? m_descriptionAddress - address : 0;
    const uint64_t skipped = address > m_descriptionAddress ? address - m_descriptionAddress : 0;
    if (ahead >= size || skipped >= m_description.size())
    {
        return ReadFromDevice(address, buffer, size);
    }
    const size_t overlap = std::min<size_t>(size - ahead, m_description.size() - skipped);
    ReadFromDevice(address, buffer, ahead);
    std::memcpy(buffer + ahead, m_description.data() + skipped, overlap);
    ReadFromDevice(address + ahead + overlap, buffer + ahead + overlap, size - ahead - overlap);
}

void RemotePort::LoadDescription()
{
    const auto url = utils::ReadText([this](INFO_DATATYPE *, void *buffer, size_t *size)
                                     { GetPortURL(static_cast<char *>(buffer), size); });
    const auto range = ParseDescriptionUrl(url);
    if (!range)
    {
        return;
    }
    m_descriptionAddress = range->address;
    m_description.resize(range->size);
    size_t size = m_description.size();
    ReadRegisters(m_descriptionAddress, m_description.data(), &size);
    const bool isZip = url.find(".zip") != std::string::npos;
    if (isZip)
    {
        m_unzippedDescription = Unzip(m_description.data(), m_description.size());
    }
    m_parser =
        std::make_unique<nodemap::NodeMapParser>(TextOf(isZip ? m_unzippedDescription : m_description));
}

const nodemap::NodeMapParser &RemotePort::Parser() const
{
    if (!m_parser)
    {
        throw GenTLException("Parser not initialized", GC_ERR_ERROR);
    }
    return *m_parser;
}

const nodemap::NodeInfo &RemotePort::FindNode(const std::string &name) const
{
    return Parser().FindNode(name);
}

std::optional<nodemap::NodeInfo> RemotePort::TryFindNode(const std::string &name) const
{
    return Parser().TryFindNode(name);
}

tarn::common::Size RemotePort::ImageSize()
{
    if (!m_parser || !m_parser->IsValid())
    {
        throw GenTLException("XML not parsed or not valid!", GC_ERR_ERROR);
    }
    return {nodemap::ReadUnsigned32(*this, FindNode("Width")),
            nodemap::ReadUnsigned32(*this, FindNode("Height"))};
}

uint64_t RemotePort::DevicePayloadSize()
{
    return nodemap::ReadUnsigned(*this, FindNode("PayloadSize"));
}

} // namespace GenTL::internal
