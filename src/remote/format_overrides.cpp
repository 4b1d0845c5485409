#include "remote/format_overrides.h"

#include "nodemap/node_access.h"
#include "nodemap/value_encoding.h"
#include "remote/node_callbacks.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <algorithm>
#include <array>
#include <variant>

namespace GenTL::internal
{

using nodemap::Endianess;
using nodemap::NodeInfo;
using tarn::common::PixelFormat;

FormatOverrides::FormatOverrides(const DeviceFeatures &features, IProcessor &processor,
                                 PortOverrides &overrides)
    : m_features(features), m_processor(processor), m_overrides(overrides),
      m_availability(features, processor)
{
}

void FormatOverrides::Install()
{
    OverridePayloadSize();
    OverridePixelFormat();
    OverrideComponents();
}

void FormatOverrides::OverridePayloadSize()
{
    const auto &node = m_features.Find("PayloadSize");
    AddReadCallback(m_overrides, node,
                    [this, endianess = node.Endianess](void *buffer, size_t *size)
                    {
                        nodemap::EncodeValue(m_processor.PayloadSize(), buffer, *size, endianess);
                        return true;
                    });
}

void FormatOverrides::OverridePixelFormat()
{
    // C-11: in the byte order of PayloadSize, not in that of PixelFormat.
    const auto endianess = m_features.Find("PayloadSize").Endianess;
    const auto &node = m_features.Find("PixelFormat");
    AddCallbacks(
        m_overrides, node,
        [this, endianess](void *buffer, size_t *size)
        {
            const auto format = m_processor.OutputPixelFormat(m_currentComponent);
            nodemap::EncodeValue(static_cast<uint64_t>(format), buffer, *size, endianess);
            return true;
        },
        [this, &node, endianess](const void *buffer, size_t *size)
        { return WritePixelFormat(node, endianess, buffer, size); });
}

bool FormatOverrides::WritePixelFormat(const NodeInfo &node, Endianess endianess, const void *buffer,
                                       size_t *size)
{
    const auto value = nodemap::DecodeUnsigned(buffer, std::min(*size, sizeof(uint32_t)), endianess);
    const auto input = m_processor.SetOutputPixelFormat(m_currentComponent, static_cast<PixelFormat>(value));
    std::array<uint8_t, sizeof(uint64_t)> bytes{};
    nodemap::StoreLeadingBytes(static_cast<uint64_t>(input), bytes.data(), bytes.size(), endianess);
    size_t written = std::min(*size, bytes.size());
    m_features.Port().WriteRegisters(node.Address, bytes.data(), &written);
    *size = sizeof(uint32_t);
    return true;
}

void FormatOverrides::OverrideComponents()
{
    const auto *selector = m_features.TryFindReadableAndWritable("ComponentSelector");
    if (selector == nullptr)
    {
        return m_availability.Update(Component::Image2D);
    }
    auto &port = m_features.Port();
    const auto &parser = m_features.Parser();
    const auto original = nodemap::GetEnumEntry(port, parser, *selector);
    for (const auto &name : nodemap::GetAvailableEnumEntries(port, parser, *selector))
    {
        VisitComponent(*selector, name, original);
    }
    nodemap::SetEnumEntry(port, parser, *selector, original);
    m_currentComponent = ComponentOfEntry(original).value_or(Component::Image2D);
    AddWriteCallback(m_overrides, *selector,
                     [this, selector](const void *buffer, size_t *size)
                     { return WriteComponentSelector(*selector, buffer, size); });
}

void FormatOverrides::VisitComponent(const NodeInfo &selector, const std::string &name,
                                     const std::string &original)
{
    const auto component = ComponentOfEntry(name);
    if (!component)
    {
        throw GenTLException(fmt::format("Not implemented component '{}'.", name), GC_ERR_NOT_AVAILABLE);
    }
    try
    {
        nodemap::SetEnumEntry(m_features.Port(), m_features.Parser(), selector, name);
        m_currentComponent = *component;
        m_availability.Update(*component);
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(
            "RemotePort::InjectOverrides",
            "Could not set ComponentSelector to {}, with exception: {}. Original Selector Value: {}", name,
            exception.what(), original);
    }
}

bool FormatOverrides::WriteComponentSelector(const NodeInfo &node, const void *buffer, size_t *size)
{
    const size_t given = *size;
    m_features.Port().WriteRegisters(node.Address, buffer, size);
    // A lower producer may claim to have written more than it got.
    const auto value = nodemap::DecodeSigned(buffer, std::min(*size, given), node.Endianess);
    const auto entry = std::ranges::find_if(node.EnumEntries,
                                            [&](const auto &candidate)
                                            {
                                                const auto *number = std::get_if<int64_t>(&candidate.Value);
                                                return number != nullptr && *number == value;
                                            });
    if (entry != node.EnumEntries.end())
    {
        m_currentComponent = ComponentOfEntry(entry->Name).value_or(Component::Image2D);
    }
    return true;
}

void FormatOverrides::InstallAvailability()
{
    for (const auto address : m_availability.Addresses())
    {
        if (const auto node = m_features.Parser().TryFindNodeByAddress(address))
        {
            AddReadCallback(m_overrides, *node,
                            [this, node = *node](void *buffer, size_t *size)
                            {
                                m_availability.Read(node, m_currentComponent, buffer, size);
                                return true;
                            });
        }
    }
}

} // namespace GenTL::internal
