// What the consumer sees of the device's features: the registers that RemotePort answers for itself.

#include "nodemap/enum_entry_bits.h"
#include "nodemap/node_access.h"
#include "nodemap/value_encoding.h"
#include "remoteport.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/map_at.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

namespace
{

using nodemap::Endianess;
using tarn::common::PixelFormat;

Component ComponentOf(std::string_view entry)
{
    if (entry == "Range")
    {
        return Component::Image3D;
    }
    return entry == "Confidence" ? Component::Confidence : Component::Image2D;
}

bool IsKnownComponent(std::string_view entry)
{
    return entry == "Range" || entry == "Intensity" || entry == "Confidence";
}

} // namespace

void RemotePort::AddReadCallback(const NodeInfo &node, ReadCallback read)
{
    AddCallbacks(node, std::move(read), {});
}

void RemotePort::AddWriteCallback(const NodeInfo &node, WriteCallback write)
{
    AddCallbacks(node, {}, std::move(write));
}

void RemotePort::AddCallbacks(const NodeInfo &node, ReadCallback read, WriteCallback write)
{
    m_overrides.AddPortCallback(
        node.Address,
        {.Name = node.Name, .OnRead = std::move(read), .OnWrite = std::move(write), .Length = node.Length});
}

void RemotePort::InjectOverrides()
{
    OverridePayloadSize();
    OverridePixelFormat();
    OverrideComponents();
    OverrideScan3d();
    OverrideAvailability();
    OverrideUserSetLoad();
}

void RemotePort::OverridePayloadSize()
{
    const auto &node = FindNode("PayloadSize");
    AddReadCallback(node,
                    [this, endianess = node.Endianess](void *buffer, size_t *size)
                    {
                        nodemap::EncodeValue(m_processor->PayloadSize(), buffer, *size, endianess);
                        return true;
                    });
}

void RemotePort::OverridePixelFormat()
{
    // In the byte order of PayloadSize and not in PixelFormat's own: consumers work with cameras where the
    // two differ in the description only.
    const auto endianess = FindNode("PayloadSize").Endianess;
    const auto &node = FindNode("PixelFormat");
    AddCallbacks(
        node,
        [this, endianess](void *buffer, size_t *size)
        {
            const auto format = m_processor->OutputPixelFormat(m_currentComponent);
            nodemap::EncodeValue(static_cast<uint64_t>(format), buffer, *size, endianess);
            return true;
        },
        [this, &node, endianess](const void *buffer, size_t *size)
        { return WritePixelFormat(node, endianess, buffer, size); });
}

bool RemotePort::WritePixelFormat(const NodeInfo &node, Endianess endianess, const void *buffer, size_t *size)
{
    const auto value = nodemap::DecodeUnsigned(buffer, std::min(*size, sizeof(uint32_t)), endianess);
    const auto input = m_processor->SetOutputPixelFormat(m_currentComponent, static_cast<PixelFormat>(value));
    std::array<uint8_t, sizeof(uint64_t)> bytes{};
    nodemap::StoreLeadingBytes(static_cast<uint64_t>(input), bytes.data(), bytes.size(), endianess);
    WriteToDevice(node.Address, bytes.data(), std::min(*size, bytes.size()));
    *size = sizeof(uint32_t);
    return true;
}

bool RemotePort::IsUsable(const NodeInfo &node)
{
    return (node.AccessMode == nodemap::AccessMode::RW || node.AccessMode == nodemap::AccessMode::None) &&
           nodemap::IsTrue(*this, Parser(), node.pIsAvailable) &&
           nodemap::IsTrue(*this, Parser(), node.pIsImplemented);
}

void RemotePort::OverrideComponents()
{
    const auto &pixelFormat = FindNode("PixelFormat");
    const auto selector = TryFindNode("ComponentSelector");
    if (!selector || !IsUsable(*selector))
    {
        return UpdatePixelFormatEntries(pixelFormat, Component::Image2D);
    }
    const auto original = nodemap::GetEnumEntry(*this, Parser(), *selector);
    for (const auto &name : nodemap::GetAvailableEnumEntries(*this, Parser(), *selector))
    {
        VisitComponent(*selector, name, original);
    }
    nodemap::SetEnumEntry(*this, Parser(), *selector, original);
    m_currentComponent = ComponentOf(original);
    AddWriteCallback(*selector, [this, node = *selector](const void *buffer, size_t *size)
                     { return WriteComponentSelector(node, buffer, size); });
}

void RemotePort::VisitComponent(const NodeInfo &selector, const std::string &name,
                                const std::string &original)
{
    if (!IsKnownComponent(name))
    {
        throw GenTLException(fmt::format("Not implemented component '{}'.", name), GC_ERR_NOT_AVAILABLE);
    }
    try
    {
        nodemap::SetEnumEntry(*this, Parser(), selector, name);
        m_currentComponent = ComponentOf(name);
        UpdatePixelFormatEntries(FindNode("PixelFormat"), m_currentComponent);
    }
    catch (const std::exception &exception)
    {
        QVR_LOG_ERROR_FOR(
            "RemotePort::InjectOverrides",
            "Could not set ComponentSelector to {}, with exception: {}. Original Selector Value: {}", name,
            exception.what(), original);
    }
}

bool RemotePort::WriteComponentSelector(const NodeInfo &node, const void *buffer, size_t *size)
{
    const size_t given = *size;
    WriteRegisters(node.Address, buffer, size);
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
        m_currentComponent = ComponentOf(entry->Name);
    }
    return true;
}

void RemotePort::UpdatePixelFormatEntries(const NodeInfo &pixelFormat, Component component)
{
    const auto entries = nodemap::CollectEnumEntryBits(Parser(), pixelFormat);
    nodemap::BitReader reader(*this, Parser());
    std::vector<PixelFormat> inputs;
    for (const auto &entry : entries)
    {
        if (reader.TestBit(entry.IsAvailable) && reader.TestBit(entry.IsImplemented))
        {
            inputs.push_back(static_cast<PixelFormat>(entry.Value));
        }
    }
    m_processor->SetAvailableInputFormats(component, inputs.data(), inputs.size());
    const auto outputs = m_processor->AvailableOutputPixelFormats(component);
    m_processor->SetOutputPixelFormat(component,
                                      static_cast<PixelFormat>(nodemap::ReadInteger(*this, pixelFormat)));
    for (auto &[address, masks] : m_pixelFormatMasks)
    {
        if (const auto mask = masks.find(component); mask != masks.end())
        {
            mask->second = 0;
        }
    }
    for (const auto format : outputs)
    {
        const auto entry =
            std::ranges::find(entries, static_cast<int64_t>(format), &nodemap::EnumEntryBits::Value);
        if (entry == entries.end())
        {
            continue;
        }
        for (const auto &reference : {entry->IsAvailable, entry->IsImplemented})
        {
            if (reference)
            {
                m_pixelFormatMasks[reference->Address][component] |= reference->Mask;
            }
        }
    }
}

void RemotePort::OverrideAvailability()
{
    for (const auto &[address, masks] : m_pixelFormatMasks)
    {
        if (const auto node = Parser().TryFindNodeByAddress(address))
        {
            AddReadCallback(*node, [this, node = *node](void *buffer, size_t *size)
                            { return ReadAvailability(node, buffer, size); });
        }
    }
}

// Formats that the processing makes of others look available.
bool RemotePort::ReadAvailability(const NodeInfo &node, void *buffer, size_t *size)
{
    ReadRegisters(node.Address, buffer, size);
    const auto mask = utils::MapAt(utils::MapAt(m_pixelFormatMasks, node.Address), m_currentComponent);
    // A number of 64 bits in a register of 8 bytes and of 32 bits in any other, whatever size the lower
    // producer says that it has read.
    const auto length = node.Length == sizeof(uint64_t) ? sizeof(uint64_t)
                                                        : std::min<uint64_t>(node.Length, sizeof(uint32_t));
    if (m_currentComponent == Component::Image3D)
    {
        // The mask alone, since nothing of what a 3D device sends is delivered as it is. A register of 4
        // bytes gets the first half of the 8, whatever the byte order.
        nodemap::StoreLeadingBytes(mask, buffer, length, node.Endianess);
        return true;
    }
    auto *const bytes = static_cast<uint8_t *>(buffer);
    std::array<uint8_t, sizeof(uint64_t)> maskBytes{};
    nodemap::StoreLeadingBytes(mask, maskBytes.data(), maskBytes.size(), node.Endianess);
    // The low end of the mask meets the low end of the number in either byte order.
    const size_t first = node.Endianess == Endianess::Little ? 0 : maskBytes.size() - length;
    for (size_t i = 0; i < length; ++i)
    {
        bytes[i] = static_cast<uint8_t>(bytes[i] | maskBytes[first + i]);
    }
    return true;
}

} // namespace GenTL::internal
