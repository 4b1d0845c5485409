#include "remote/device_description.h"

#include "nodemap/description_url.h"
#include "nodemap/unzip.h"
#include "utils/lower_info.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace GenTL::internal
{

namespace
{

std::string_view TextOf(const std::vector<uint8_t> &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

} // namespace

DeviceDescription::DeviceDescription(ProxyModule &port)
{
    const auto url = utils::ReadText([&port](INFO_DATATYPE *, void *buffer, size_t *size)
                                     { port.GetPortURL(static_cast<char *>(buffer), size); });
    const auto range = ParseDescriptionUrl(url);
    if (!range)
    {
        return;
    }
    m_address = range->Address;
    m_document.resize(range->Size);
    size_t size = m_document.size();
    port.ReadRegisters(m_address, m_document.data(), &size);
    const bool isZip = url.find(".zip") != std::string::npos;
    if (isZip)
    {
        m_unzippedDocument = Unzip(m_document.data(), m_document.size());
    }
    m_parser = std::make_unique<nodemap::NodeMapParser>(TextOf(isZip ? m_unzippedDocument : m_document));
}

void DeviceDescription::Read(uint64_t address, uint8_t *buffer, size_t size,
                             const PortOverrides::ReadGap &readDevice) const
{
    const uint64_t ahead = m_address > address ? m_address - address : 0;
    const uint64_t skipped = address > m_address ? address - m_address : 0;
    if (ahead >= size || skipped >= m_document.size())
    {
        return readDevice(address, buffer, size);
    }
    const size_t overlap = std::min<size_t>(size - ahead, m_document.size() - skipped);
    readDevice(address, buffer, ahead);
    std::memcpy(buffer + ahead, m_document.data() + skipped, overlap);
    readDevice(address + ahead + overlap, buffer + ahead + overlap, size - ahead - overlap);
}

} // namespace GenTL::internal
