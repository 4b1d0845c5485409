#include "remote/scan3d_modes.h"

#include "nodemap/enum_entry_bits.h"
#include "nodemap/value_encoding.h"
#include "remote/node_callbacks.h"
#include "utils/gentl_exception.h"

#include <algorithm>
#include <variant>

namespace GenTL::internal
{

using nodemap::Endianess;
using nodemap::NodeInfo;

namespace
{

/// The bits that stand for entries of an enumeration, by the address of their register.
/// @param isWanted (std::string_view name of an entry) -> bool
template <typename IsWanted>
std::map<uint64_t, uint64_t> MasksOf(const nodemap::NodeMapParser &parser, const NodeInfo &enumeration,
                                     IsWanted isWanted)
{
    std::map<uint64_t, uint64_t> masks;
    for (const auto &entry : nodemap::CollectEnumEntryBits(parser, enumeration))
    {
        if (!isWanted(entry.Name))
        {
            continue;
        }
        for (const auto &reference : {entry.IsAvailable, entry.IsImplemented})
        {
            if (reference)
            {
                masks[reference->Address] |= reference->Mask;
            }
        }
    }
    return masks;
}

bool IsInTheGridOnly(std::string_view entry)
{
    const auto coordinate = Scan3dCoordinateOf(entry);
    return coordinate && *coordinate != Scan3dCoordinate::CoordinateC;
}

} // namespace

Scan3dModes::Scan3dModes(const DeviceFeatures &features, IProcessor &processor, PortOverrides &overrides,
                         std::function<void()> updateFormats)
    : m_features(features), m_processor(processor), m_overrides(overrides),
      m_updateFormats(std::move(updateFormats))
{
}

void Scan3dModes::Install()
{
    OverrideOutputMode();
    EnableCoordinateSelectorEntries();
}

void Scan3dModes::OverrideOutputMode()
{
    const auto *node = m_features.TryFindReadableAndWritable("Scan3dOutputMode");
    if (node == nullptr)
    {
        return;
    }
    const auto endianess = m_features.Find("PayloadSize").Endianess;
    if (HasRegister(node))
    {
        AddCallbacks(
            m_overrides, *node,
            [this, endianess](void *buffer, size_t *size) { return ReadOutputMode(endianess, buffer, size); },
            [this, endianess](const void *buffer, size_t *size)
            { return WriteOutputMode(endianess, buffer, size); });
    }
    EnableScan3dOutputModes(*node);
}

void Scan3dModes::EnableScan3dOutputModes(const NodeInfo &node)
{
    ForceBits(MasksOf(m_features.Parser(), node, MadeOutputMode), false);
}

void Scan3dModes::EnableCoordinateSelectorEntries()
{
    const auto *node = m_features.TryFind("Scan3dCoordinateSelector");
    if (node == nullptr)
    {
        return;
    }
    ForceBits(MasksOf(m_features.Parser(), *node, IsInTheGridOnly), true);
    if (!HasRegister(node))
    {
        return;
    }
    AddCallbacks(
        m_overrides, *node,
        [this, endianess = node->Endianess](void *buffer, size_t *size)
        { return ReadCoordinate(endianess, buffer, size); },
        [this, endianess = node->Endianess](const void *buffer, size_t *size)
        { return WriteCoordinate(endianess, buffer, size); });
    for (const auto &entry : node->EnumEntries)
    {
        if (const auto coordinate = Scan3dCoordinateOf(entry.Name))
        {
            m_coordinates.emplace_back(*coordinate, static_cast<int32_t>(std::get<int64_t>(entry.Value)));
        }
    }
}

void Scan3dModes::ForceBits(const std::map<uint64_t, uint64_t> &masks, bool inTheGridOnly)
{
    for (const auto &[address, mask] : masks)
    {
        const auto node = m_features.Parser().TryFindNodeByAddress(address);
        if (!node)
        {
            continue;
        }
        AddReadCallback(m_overrides, *node,
                        [this, node = *node, bits = mask, inTheGridOnly](void *buffer, size_t *size)
                        {
                            // A lower producer may claim to have read more than it was asked for.
                            size_t read = *size;
                            m_features.Port().ReadRegisters(node.Address, buffer, &read);
                            if (!inTheGridOnly || TraitsOf(m_processor.GetScan3dOutputMode()).hasGrid)
                            {
                                nodemap::SetBits(bits, buffer, *size, node.Endianess);
                            }
                            return true;
                        });
    }
}

bool Scan3dModes::ReadOutputMode(Endianess endianess, void *buffer, const size_t *size) const
{
    const auto mode = m_processor.GetScan3dOutputMode();
    const auto entry = std::ranges::find(m_outputModes, mode, &OutputModeValues::value_type::first);
    if (entry == m_outputModes.end())
    {
        throw GenTLException(fmt::format("Unexpected Scan3dOutputMode {}!", ToString(mode)), GC_ERR_ERROR);
    }
    nodemap::EncodeValue(entry->second, buffer, *size, endianess);
    return true;
}

bool Scan3dModes::WriteOutputMode(Endianess endianess, const void *buffer, size_t *size)
{
    const auto value = nodemap::DecodeUnsigned(buffer, std::min(*size, sizeof(uint32_t)), endianess);
    const auto entry = std::ranges::find(m_outputModes, value, &OutputModeValues::value_type::second);
    if (entry == m_outputModes.end())
    {
        throw GenTLException(fmt::format("Unexpected Scan3dOutputMode value {}!", value), GC_ERR_ERROR);
    }
    const auto mode = entry->first;
    m_processor.SetScan3dOutputMode(mode);
    *size = sizeof(uint32_t);
    // m_updateFormats resets the output format, so the one that the mode chose is set again afterwards.
    const auto format = m_processor.OutputPixelFormat(Component::Image3D);
    m_updateFormats();
    m_processor.SetOutputPixelFormat(Component::Image3D, format);
    if (!TraitsOf(mode).hasGrid)
    {
        m_currentCoordinate = Scan3dCoordinate::CoordinateC;
    }
    return true;
}

bool Scan3dModes::ReadCoordinate(Endianess endianess, void *buffer, const size_t *size) const
{
    const auto entry =
        std::ranges::find(m_coordinates, m_currentCoordinate, &std::pair<Scan3dCoordinate, int32_t>::first);
    if (entry != m_coordinates.end())
    {
        nodemap::EncodeValue(static_cast<uint64_t>(entry->second), buffer, *size, endianess);
    }
    return true;
}

bool Scan3dModes::WriteCoordinate(Endianess endianess, const void *buffer, const size_t *size)
{
    const auto value = nodemap::DecodeSigned(buffer, *size, endianess);
    const auto entry = std::ranges::find(m_coordinates, value, &std::pair<Scan3dCoordinate, int32_t>::second);
    if (entry != m_coordinates.end())
    {
        m_currentCoordinate = entry->first;
    }
    return true;
}

} // namespace GenTL::internal
