#include "remote/format_availability.h"

#include "nodemap/node_access.h"
#include "nodemap/value_encoding.h"
#include "utils/map_at.h"

#include <algorithm>
#include <array>

namespace GenTL::internal
{

using nodemap::EnumEntryBits;
using tarn::common::PixelFormat;

namespace
{

/// Sets bits of a number; the low end of the mask meets the low end of the number in either byte order.
void SetBitsFromTheLowEnd(uint64_t mask, uint8_t *bytes, size_t length, nodemap::Endianess endianess)
{
    std::array<uint8_t, sizeof mask> maskBytes{};
    nodemap::StoreLeadingBytes(mask, maskBytes.data(), maskBytes.size(), endianess);
    const size_t first = endianess == nodemap::Endianess::Little ? 0 : maskBytes.size() - length;
    for (size_t i = 0; i < length; ++i)
    {
        bytes[i] = static_cast<uint8_t>(bytes[i] | maskBytes[first + i]);
    }
}

} // namespace

void FormatAvailability::Update(Component component)
{
    const auto &pixelFormat = m_features.Find("PixelFormat");
    const auto entries = nodemap::CollectEnumEntryBits(m_features.Parser(), pixelFormat);
    const auto inputs = OfferedByDevice(entries);
    m_processor.SetAvailableInputFormats(component, inputs.data(), inputs.size());
    const auto outputs = m_processor.AvailableOutputPixelFormats(component);
    m_processor.SetOutputPixelFormat(
        component, static_cast<PixelFormat>(nodemap::ReadInteger(m_features.Port(), pixelFormat)));
    for (auto &[address, masks] : m_pixelFormatMasks)
    {
        if (const auto mask = masks.find(component); mask != masks.end())
        {
            mask->second = 0;
        }
    }
    for (const auto format : outputs)
    {
        const auto entry = std::ranges::find(entries, static_cast<int64_t>(format), &EnumEntryBits::Value);
        if (entry != entries.end())
        {
            Collect(*entry, component);
        }
    }
}

std::vector<PixelFormat> FormatAvailability::OfferedByDevice(const std::vector<EnumEntryBits> &entries) const
{
    nodemap::BitReader reader(m_features.Port(), m_features.Parser());
    std::vector<PixelFormat> formats;
    for (const auto &entry : entries)
    {
        if (reader.TestBit(entry.IsAvailable) && reader.TestBit(entry.IsImplemented))
        {
            formats.push_back(static_cast<PixelFormat>(entry.Value));
        }
    }
    return formats;
}

void FormatAvailability::Collect(const EnumEntryBits &entry, Component component)
{
    for (const auto &reference : {entry.IsAvailable, entry.IsImplemented})
    {
        if (reference)
        {
            m_pixelFormatMasks[reference->Address][component] |= reference->Mask;
        }
    }
}

std::vector<uint64_t> FormatAvailability::Addresses() const
{
    std::vector<uint64_t> addresses;
    for (const auto &[address, masks] : m_pixelFormatMasks)
    {
        addresses.push_back(address);
    }
    return addresses;
}

void FormatAvailability::Read(const nodemap::NodeInfo &node, Component component, void *buffer,
                              size_t *size) const
{
    m_features.Port().ReadRegisters(node.Address, buffer, size);
    const auto mask = utils::MapAt(utils::MapAt(m_pixelFormatMasks, node.Address), component);
    // The number has 64 bits in a register of 8 bytes and 32 bits in any other. The size that the lower
    // producer reports as read does not count.
    const auto length = node.Length == sizeof(uint64_t) ? sizeof(uint64_t)
                                                        : std::min<uint64_t>(node.Length, sizeof(uint32_t));
    if (component == Component::Image3D)
    {
        // The device's bits are dropped: they say nothing about the formats that the processing makes of a
        // range image. A register of 4 bytes gets the first 4 of the mask's 8 bytes in either byte order.
        nodemap::StoreLeadingBytes(mask, buffer, length, node.Endianess);
        return;
    }
    SetBitsFromTheLowEnd(mask, static_cast<uint8_t *>(buffer), length, node.Endianess);
}

} // namespace GenTL::internal
