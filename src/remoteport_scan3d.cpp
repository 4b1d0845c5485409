// What the device tells of its 3D output and of its image geometry, and what the consumer sees of it once
// the processing has calibrated it.

#include "nodemap/enum_entry_bits.h"
#include "nodemap/math_expression_parser.h"
#include "nodemap/node_access.h"
#include "nodemap/value_encoding.h"
#include "remoteport.h"
#include "utils/file_access.h"
#include "utils/gentl_exception.h"
#include "utils/log.h"
#include "utils/map_at.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <map>
#include <set>

namespace GenTL::internal
{

using nodemap::Bound;
using nodemap::Endianess;
using nodemap::NodeInfo;
using tarn::common::Metadata;
using tarn::common::Rectangle;

namespace
{

constexpr uint64_t variableDivisor = 1000;

void StoreBytes(uint64_t value, void *buffer, size_t length, Endianess endianess)
{
    auto *const bytes = static_cast<uint8_t *>(buffer);
    for (size_t i = 0; i < length; ++i)
    {
        const size_t position = endianess == Endianess::Little ? i : length - 1 - i;
        bytes[i] = static_cast<uint8_t>(value >> (8 * position));
    }
}

/// Writes a number as a register of this size holds it; in any size but 2, 4 and 8 just the lowest byte is
/// written.
void StoreBySize(int64_t value, void *buffer, size_t size, Endianess endianess)
{
    const size_t length = size == 2 || size == 4 || size == 8 ? size : std::min<size_t>(size, 1);
    StoreBytes(static_cast<uint64_t>(value), buffer, length, endianess);
}

/// Sets bits of a register; of one that has not 8 bytes, bits of its first 4.
void SetBits(uint64_t mask, void *buffer, size_t size, Endianess endianess)
{
    const size_t length = size == sizeof(uint64_t) ? size : std::min(size, sizeof(uint32_t));
    const auto value = nodemap::DecodeUnsigned(buffer, length, endianess) | mask;
    StoreBytes(value, buffer, length, endianess);
}

/// A literal has none, and nothing to be answered in its place.
bool HasRegister(const std::optional<NodeInfo> &node)
{
    return node && node->Address != 0;
}

std::optional<Scan3dCoordinate> CoordinateOf(std::string_view entry)
{
    static constexpr std::array<std::string_view, 3> names{"CoordinateA", "CoordinateB", "CoordinateC"};
    const auto *name = std::ranges::find(names, entry);
    return name != names.end() ? std::optional(static_cast<Scan3dCoordinate>(name - names.begin()))
                               : std::nullopt;
}

/// The name of what a formula like TO / DIVISOR divides by, empty for a literal; none for any other formula,
/// be it one that cannot be read.
std::optional<std::string> DivisorIn(const std::string &formula)
{
    using nodemap::TokenType;
    std::vector<nodemap::Token> tokens; // the last one is End
    try
    {
        tokens = nodemap::Tokenize(formula);
    }
    catch (const std::exception &)
    {
        return std::nullopt;
    }
    if (tokens.size() != 4 || tokens[0].Type != TokenType::Identifier || tokens[0].Name != "TO" ||
        tokens[1].Type != TokenType::Divide ||
        (tokens[2].Type != TokenType::Identifier && tokens[2].Type != TokenType::Number))
    {
        return std::nullopt;
    }
    return tokens[2].Name;
}

/// Goes through the registers behind a node: its own, or those that its formula needs, and those of its
/// limits.
class RegisterVisitor
{
public:
    using Action = std::function<void(const NodeInfo &)>;

    RegisterVisitor(const nodemap::NodeMapParser &parser, Action action)
        : m_parser(parser), m_action(std::move(action))
    {
    }

    /// @throws std::runtime_error "Converter {} not found!"
    void Visit(const NodeInfo &node)
    {
        // Nodes may be each other's limits.
        if (!m_visited.insert(node.Name).second)
        {
            return;
        }
        if (node.Address != 0)
        {
            Act(node);
        }
        else if (node.pValue.empty())
        {
            return;
        }
        else
        {
            VisitConverter(node.pValue);
        }
        VisitBound(node.Min);
        VisitBound(node.Max);
    }

private:
    void Act(const NodeInfo &node)
    {
        if (node.Address != 0)
        {
            m_action(node);
        }
    }

    void VisitConverter(const std::string &name)
    {
        const auto &converter = m_parser.FindConverter(name);
        for (const auto &[variable, node] : converter.Variables)
        {
            Act(m_parser.FindNode(node));
        }
        if (!converter.pValue.empty())
        {
            Act(m_parser.FindNode(converter.pValue));
        }
    }

    void VisitBound(const std::optional<Bound> &bound)
    {
        if (!bound || !bound->IsReference)
        {
            return;
        }
        if (const auto *node = std::get_if<nodemap::VectorPtr>(&bound->Value))
        {
            Visit(**node);
        }
        else if (const auto *name = std::get_if<std::string>(&bound->Value))
        {
            if (const auto known = m_parser.TryFindNode(*name))
            {
                Visit(*known);
            }
            else
            {
                VisitConverter(*name);
            }
        }
    }

    const nodemap::NodeMapParser &m_parser;
    Action m_action;
    std::set<std::string> m_visited;
};

} // namespace

void RemotePort::OverrideScan3d()
{
    if (const auto node = TryFindNode("Scan3dOutputMode"); node && IsUsable(*node))
    {
        const auto endianess = FindNode("PayloadSize").Endianess;
        if (HasRegister(node))
        {
            AddCallbacks(
                *node,
                [this, endianess](void *buffer, size_t *size)
                { return ReadOutputMode(endianess, buffer, size); },
                [this, endianess](const void *buffer, size_t *size)
                { return WriteOutputMode(endianess, buffer, size); });
        }
        EnableScan3dOutputModes(*node);
    }
    EnableCoordinateSelectorEntries();
    InjectScan3dOverrides();
}

void RemotePort::OverrideUserSetLoad()
{
    if (const auto node = TryFindNode("UserSetLoad"); HasRegister(node))
    {
        AddWriteCallback(*node,
                         [this, address = node->Address](const void *buffer, size_t *size)
                         {
                             WriteRegisters(address, buffer, size);
                             ReadScan3dInfo();
                             return true;
                         });
    }
}

// The processing makes these of any raw output, whatever the device says.
void RemotePort::EnableScan3dOutputModes(const NodeInfo &node)
{
    ForceBits(node, {"UncalibratedC", "CalibratedC", "CalibratedABC_Grid"}, false);
}

void RemotePort::EnableCoordinateSelectorEntries()
{
    const auto node = TryFindNode("Scan3dCoordinateSelector");
    if (!node)
    {
        return;
    }
    ForceBits(*node, {"CoordinateA", "CoordinateB"}, true);
    if (!HasRegister(node))
    {
        return;
    }
    AddCallbacks(
        *node,
        [this, endianess = node->Endianess](void *buffer, size_t *size)
        { return ReadCoordinate(endianess, buffer, size); },
        [this, endianess = node->Endianess](const void *buffer, size_t *size)
        { return WriteCoordinate(endianess, buffer, size); });
    for (const auto &entry : node->EnumEntries)
    {
        if (const auto coordinate = CoordinateOf(entry.Name))
        {
            m_coordinates.emplace_back(*coordinate, static_cast<int32_t>(std::get<int64_t>(entry.Value)));
        }
    }
}

void RemotePort::ForceBits(const NodeInfo &enumeration, std::initializer_list<std::string_view> entries,
                           bool inTheGridOnly)
{
    std::map<uint64_t, uint64_t> masks;
    for (const auto &entry : nodemap::CollectEnumEntryBits(Parser(), enumeration))
    {
        if (std::ranges::find(entries, entry.Name) == entries.end())
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
    for (const auto &[address, mask] : masks)
    {
        if (const auto node = Parser().TryFindNodeByAddress(address))
        {
            AddReadCallback(*node,
                            [this, node = *node, bits = mask, inTheGridOnly](void *buffer, size_t *size)
                            {
                                // A lower producer may claim to have read more than it was asked for.
                                ReadFromDevice(node.Address, buffer, *size);
                                if (!inTheGridOnly || m_processor->GetScan3dOutputMode() ==
                                                          Scan3dOutputMode::CalibratedABC_Grid)
                                {
                                    SetBits(bits, buffer, *size, node.Endianess);
                                }
                                return true;
                            });
        }
    }
}

bool RemotePort::ReadOutputMode(Endianess endianess, void *buffer, const size_t *size)
{
    const auto mode = m_processor->GetScan3dOutputMode();
    const auto entry = std::ranges::find(m_outputModes, mode, &std::pair<Scan3dOutputMode, uint32_t>::first);
    if (entry == m_outputModes.end())
    {
        throw GenTLException(fmt::format("Unexpected Scan3dOutputMode {}!", ToString(mode)), GC_ERR_ERROR);
    }
    nodemap::EncodeValue(entry->second, buffer, *size, endianess);
    return true;
}

bool RemotePort::WriteOutputMode(Endianess endianess, const void *buffer, size_t *size)
{
    const auto value = nodemap::DecodeUnsigned(buffer, std::min(*size, sizeof(uint32_t)), endianess);
    const auto entry =
        std::ranges::find(m_outputModes, value, &std::pair<Scan3dOutputMode, uint32_t>::second);
    if (entry == m_outputModes.end())
    {
        throw GenTLException(fmt::format("Unexpected Scan3dOutputMode value {}!", value), GC_ERR_ERROR);
    }
    const auto mode = entry->first;
    m_processor->SetScan3dOutputMode(mode);
    *size = sizeof(uint32_t);
    const auto format = m_processor->OutputPixelFormat(Component::Image3D);
    UpdatePixelFormatEntries(FindNode("PixelFormat"), Component::Image3D);
    m_processor->SetOutputPixelFormat(Component::Image3D, format);
    if (mode != Scan3dOutputMode::CalibratedABC_Grid)
    {
        m_currentCoordinate = Scan3dCoordinate::CoordinateC;
    }
    return true;
}

bool RemotePort::ReadCoordinate(Endianess endianess, void *buffer, const size_t *size)
{
    const auto entry =
        std::ranges::find(m_coordinates, m_currentCoordinate, &std::pair<Scan3dCoordinate, int32_t>::first);
    if (entry != m_coordinates.end())
    {
        nodemap::EncodeValue(static_cast<uint64_t>(entry->second), buffer, *size, endianess);
    }
    return true;
}

bool RemotePort::WriteCoordinate(Endianess endianess, const void *buffer, const size_t *size)
{
    const auto value = nodemap::DecodeSigned(buffer, *size, endianess);
    const auto entry = std::ranges::find(m_coordinates, value, &std::pair<Scan3dCoordinate, int32_t>::second);
    if (entry != m_coordinates.end())
    {
        m_currentCoordinate = entry->first;
    }
    return true;
}

void RemotePort::InjectScan3dOverrides()
{
    OverrideConstant("Scan3dCoordinateScale", 1);
    OverrideConstant("Scan3dCoordinateOffset", 0);
    OverrideAxis("Scan3dAxisMax", true);
    OverrideAxis("Scan3dAxisMin", false);
    OverrideConstant("Scan3dInvalidDataValue", 0);
    OverrideInvalidDataFlag();
}

// The device's own value is read while its raw output is passed on.
void RemotePort::AddCalibratedRead(const NodeInfo &node, std::function<void(void *buffer, size_t size)> store)
{
    AddReadCallback(node,
                    [this, store = std::move(store)](void *buffer, size_t *size)
                    {
                        if (m_processor->GetScan3dOutputMode() == Scan3dOutputMode::UncalibratedC)
                        {
                            return false;
                        }
                        store(buffer, *size);
                        return true;
                    });
}

void RemotePort::OverrideConstant(const std::string &feature, int64_t constant)
{
    const auto answer = [&](const NodeInfo &node)
    {
        AddCalibratedRead(node,
                          [node, constant](void *buffer, size_t size)
                          {
                              const auto number = static_cast<double>(constant);
                              if (node.Type != "Float")
                              {
                                  return StoreBySize(constant, buffer, size, node.Endianess);
                              }
                              if (node.Length == sizeof(double))
                              {
                                  return StoreBySize(std::bit_cast<int64_t>(number), buffer, size,
                                                     node.Endianess);
                              }
                              if (node.Length == sizeof(float))
                              {
                                  return StoreBySize(std::bit_cast<int32_t>(static_cast<float>(number)),
                                                     buffer, size, node.Endianess);
                              }
                              throw GenTLException(fmt::format("Unable to handle node {} with length {}",
                                                               node.Name, node.Length),
                                                   GC_ERR_ERROR);
                          });
    };
    if (const auto node = TryFindNode(feature))
    {
        RegisterVisitor(Parser(), answer).Visit(*node);
    }
}

// Of a formula like TO / DIVISOR, so that what is behind it can hold the calibrated range.
void RemotePort::OverrideAxis(const std::string &feature, bool isMaximum)
{
    const auto axis = TryFindNode(feature);
    const auto converter = axis ? Parser().TryFindConverter(axis->pValue) : std::nullopt;
    if (!converter)
    {
        return;
    }
    const auto operand = DivisorIn(converter->Formula);
    if (!operand)
    {
        return;
    }
    auto divisor = variableDivisor;
    if (const auto variable = converter->Variables.find(*operand); variable != converter->Variables.end())
    {
        if (const auto node = TryFindNode(variable->second); HasRegister(node))
        {
            AddCalibratedRead(*node, [endianess = node->Endianess](void *buffer, size_t size)
                              { StoreBySize(variableDivisor, buffer, size, endianess); });
        }
    }
    else
    {
        divisor =
            static_cast<uint64_t>(nodemap::TruncateToInteger(utils::MapAt(converter->Constants, *operand)));
    }
    const auto node = TryFindNode(converter->pValue);
    if (!HasRegister(node))
    {
        return;
    }
    AddCalibratedRead(*node,
                      [this, isMaximum, factor = static_cast<double>(divisor),
                       endianess = node->Endianess](void *buffer, size_t size)
                      {
                          const auto [minimum, maximum] =
                              m_processor->GetScan3dAxisMinMax(m_currentCoordinate);
                          const auto value =
                              isMaximum ? std::ceil(maximum * factor) : std::floor(minimum * factor);
                          StoreBySize(nodemap::TruncateToInteger(value), buffer, size, endianess);
                      });
}

void RemotePort::OverrideInvalidDataFlag()
{
    const auto answer = [this](const NodeInfo &node)
    {
        AddReadCallback(node,
                        [this, endianess = node.Endianess](void *buffer, size_t *size)
                        {
                            // In the grid the depth alone tells whether a pixel is valid.
                            const bool isSet =
                                m_processor->GetScan3dOutputMode() != Scan3dOutputMode::CalibratedABC_Grid ||
                                m_currentCoordinate == Scan3dCoordinate::CoordinateC;
                            StoreBySize(isSet ? 1 : 0, buffer, *size, endianess);
                            return true;
                        });
    };
    if (const auto node = TryFindNode("Scan3dInvalidDataFlag"))
    {
        RegisterVisitor(Parser(), answer).Visit(*node);
    }
}

void RemotePort::ReadScan3dInfo()
{
    Scan3dInfo info{};
    info.scan3dCoordinateScale = ReadOptionalFloat("Scan3dCoordinateScale");
    info.scan3dAxisMax = ReadOptionalFloat("Scan3dAxisMax");
    info.scan3dAxisMin = ReadOptionalFloat("Scan3dAxisMin");
    info.scan3dCoordinateOffset = ReadOptionalFloat("Scan3dCoordinateOffset");
    info.scan3dInvalidDataValue = ReadOptionalFloat("Scan3dInvalidDataValue");
    const std::string flag = "Scan3dInvalidDataFlag";
    if (const auto node = TryFindNode(flag); node && IsReadable(*node))
    {
        info.scan3dInvalidDataFlag = nodemap::IsTrue(*this, Parser(), flag);
    }
    m_processor->SetScan3dInfo(info);
    ReadOutputModes();
    ReadLensCalibration();
    m_processor->SetMetadata(ReadMetadata());
    m_processor->SetMetadataCallback([this] { return ReadMetadata(); });
}

void RemotePort::ReadOutputModes()
{
    const auto node = TryFindNode("Scan3dOutputMode");
    if (!node || !IsReadable(*node))
    {
        return;
    }
    m_outputModes.clear();
    for (const auto &entry : node->EnumEntries)
    {
        m_outputModes.emplace_back(Scan3dOutputModeOf(entry.Name),
                                   static_cast<uint32_t>(std::get<int64_t>(entry.Value)));
    }
}

void RemotePort::ReadLensCalibration()
{
    const std::string name = "LensCalibrationData";
    try
    {
        const utils::FileAccess files(*this, Parser());
        // The answers are of no use, but a device without file access fails here.
        files.AvailableFiles();
        files.FileSize(name);
        m_processor->SetLensCalibrationData(files.ReadFile(name));
    }
    catch (const std::exception &exception)
    {
        // Ordinary: most devices have none.
        QVR_LOG_ERROR_FOR("RemotePort::ReadScan3dInfo", "{}", exception.what());
    }
}

bool RemotePort::IsReadable(const NodeInfo &node)
{
    return node.AccessMode != nodemap::AccessMode::WO &&
           nodemap::IsTrue(*this, Parser(), node.pIsAvailable) &&
           nodemap::IsTrue(*this, Parser(), node.pIsImplemented);
}

std::optional<double> RemotePort::ReadOptionalFloat(const std::string &name)
{
    const auto node = TryFindNode(name);
    if (!node || !IsReadable(*node))
    {
        return std::nullopt;
    }
    return nodemap::ReadFloat(*this, Parser(), *node);
}

Metadata RemotePort::ReadMetadata()
{
    if (!m_parser || !m_parser->IsValid())
    {
        throw GenTLException("XML not parsed or not valid!", GC_ERR_ERROR);
    }
    Metadata metadata;
    const auto offsetX = TryFindNode("OffsetX");
    const auto offsetY = TryFindNode("OffsetY");
    const auto height = TryFindNode("Height");
    const auto width = TryFindNode("Width");
    if (offsetX && offsetY && height && width)
    {
        metadata.Set("Roi", Rectangle{nodemap::ReadUnsigned32(*this, *offsetX),
                                      nodemap::ReadUnsigned32(*this, *offsetY),
                                      nodemap::ReadUnsigned32(*this, *width),
                                      nodemap::ReadUnsigned32(*this, *height)});
    }
    const auto binning = ReadFactors("Binning");
    const auto decimation = ReadFactors("Decimation");
    const uint32_t horizontal = binning.first * decimation.first;
    const uint32_t vertical = binning.second * decimation.second;
    metadata.Set("BinningHorizontal", uint64_t{horizontal});
    metadata.Set("BinningVertical", uint64_t{vertical});
    return metadata;
}

// The selector stays where it ends up.
std::pair<uint32_t, uint32_t> RemotePort::ReadFactors(const std::string &prefix)
{
    const auto selector = TryFindNode(prefix + "Selector");
    const auto horizontal = TryFindNode(prefix + "Horizontal");
    const auto vertical = TryFindNode(prefix + "Vertical");
    std::pair<uint32_t, uint32_t> factors{1, 1};
    if (!selector || !horizontal || !vertical)
    {
        return factors;
    }
    for (const auto &entry : nodemap::GetAvailableEnumEntries(*this, Parser(), *selector))
    {
        nodemap::SetEnumEntry(*this, Parser(), *selector, entry);
        factors.first *= nodemap::ReadUnsigned32(*this, *horizontal);
        factors.second *= nodemap::ReadUnsigned32(*this, *vertical);
    }
    return factors;
}

} // namespace GenTL::internal
