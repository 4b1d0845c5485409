#include "nodemap/node_access.h"

#include "nodemap/formula_evaluator.h"
#include "nodemap/math_expression_parser.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace GenTL::internal::nodemap
{
namespace
{

// Far beyond any register that holds a number. A broken description must not lead to a huge allocation.
constexpr uint64_t maximumLength = 1U << 20U;

size_t CheckedLength(const NodeInfo &node)
{
    if (node.Length > maximumLength)
    {
        throw GenTLException(fmt::format("Node {} has an unusable length of {}", node.Name, node.Length),
                             GC_ERR_ERROR);
    }
    return static_cast<size_t>(node.Length);
}

/// Reads the node's bytes, most significant first.
std::vector<uint8_t> ReadBytes(IPort &port, const NodeInfo &node)
{
    std::vector<uint8_t> bytes(CheckedLength(node));
    size_t size = bytes.size();
    port.ReadRegisters(node.Address, bytes.data(), &size);
    if (node.Endianess == Endianess::Little)
    {
        std::reverse(bytes.begin(), bytes.end());
    }
    return bytes;
}

template <typename T>
T Accumulate(const std::vector<uint8_t> &bytes)
{
    T value = 0;
    for (const auto byte : bytes)
    {
        value = static_cast<T>((value << 8U) | byte);
    }
    return value;
}

/// Writes a node's bytes. byteAt(i) gives byte i, counted from the most significant one.
template <typename ByteAt>
void WriteBytes(IPort &port, const NodeInfo &node, ByteAt byteAt)
{
    std::vector<uint8_t> bytes(CheckedLength(node));
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = byteAt(i);
    }
    if (node.Endianess == Endianess::Little)
    {
        std::reverse(bytes.begin(), bytes.end());
    }
    size_t size = bytes.size();
    port.WriteRegisters(node.Address, bytes.data(), &size);
}

/// @tparam Conditional NodeInfo or EnumEntry
template <typename Conditional>
bool Holds(IPort &port, const NodeMapParser &parser, const Conditional &conditional)
{
    return IsTrue(port, parser, conditional.pIsAvailable) && IsTrue(port, parser, conditional.pIsImplemented);
}

int64_t ValueOf(const EnumEntry &entry)
{
    return std::get<int64_t>(entry.Value);
}

} // namespace

int64_t ReadInteger(IPort &port, const NodeInfo &node)
{
    const auto bits = ReadUnsigned(port, node);
    if (node.Length == 0 || node.Length >= sizeof bits)
    {
        return static_cast<int64_t>(bits);
    }
    const auto unused = static_cast<unsigned>((sizeof bits - node.Length) * 8);
    return static_cast<int64_t>(bits << unused) >> unused;
}

uint64_t ReadUnsigned(IPort &port, const NodeInfo &node)
{
    return Accumulate<uint64_t>(ReadBytes(port, node));
}

uint32_t ReadUnsigned32(IPort &port, const NodeInfo &node)
{
    return Accumulate<uint32_t>(ReadBytes(port, node));
}

void WriteInteger(IPort &port, const NodeInfo &node, int64_t value)
{
    const auto bits = static_cast<uint64_t>(value);
    WriteBytes(port, node,
               [bits, length = node.Length](size_t i)
               {
                   const auto position = length - 1 - i;
                   return position < sizeof bits ? static_cast<uint8_t>(bits >> (position * 8)) : uint8_t{0};
               });
}

void WriteCommand(IPort &port, const NodeInfo &node, uint32_t value)
{
    WriteBytes(port, node,
               [value, length = node.Length](size_t i)
               { return static_cast<uint8_t>(value >> (((length - 1 - i) * 8) & 31U)); });
}

bool ReadStructEntry(IPort &port, const StructEntryRecord &entry)
{
    constexpr uint64_t bits = 64;
    const auto value = static_cast<uint64_t>(ReadInteger(port, entry.Register));
    return entry.Bit < bits && ((value >> entry.Bit) & 1U) != 0;
}

bool IsTrue(IPort &port, const NodeMapParser &parser, const std::string &name)
{
    if (name.empty())
    {
        return true;
    }
    switch (parser.GetNodeType(name))
    {
    case GenNodeType::Register:
    case GenNodeType::Interface:
        return ReadInteger(port, parser.FindNode(name)) != 0;
    case GenNodeType::Converter:
        // A negative result is false here, although formulas treat it as true.
        return FormulaEvaluator(port, parser).Evaluate(name) > 0.0;
    case GenNodeType::StructEntry:
        return ReadStructEntry(port, parser.FindStructEntry(name));
    default:
        return false;
    }
}

bool IsAvailable(IPort &port, const NodeMapParser &parser, const NodeInfo &node)
{
    return Holds(port, parser, node);
}

bool IsReadable(IPort &port, const NodeMapParser &parser, const NodeInfo &node)
{
    return node.AccessMode != AccessMode::WO && IsAvailable(port, parser, node);
}

bool IsReadableAndWritable(IPort &port, const NodeMapParser &parser, const NodeInfo &node)
{
    return (node.AccessMode == AccessMode::RW || node.AccessMode == AccessMode::None) &&
           IsAvailable(port, parser, node);
}

int64_t GetBoundValue(IPort &port, const NodeMapParser &parser, const std::optional<Bound> &bound)
{
    if (!bound)
    {
        throw std::runtime_error("Bound has no value!");
    }
    if (!bound->IsReference)
    {
        return std::get<int64_t>(bound->Value);
    }
    const NodeInfo *node = nullptr;
    if (const auto *known = std::get_if<VectorPtr>(&bound->Value))
    {
        node = &**known;
    }
    else if (const auto *name = std::get_if<std::string>(&bound->Value))
    {
        node = &parser.FindNode(*name);
    }
    else
    {
        throw std::runtime_error("Double currently not supported!");
    }
    if (!IsReadable(port, parser, *node))
    {
        throw std::runtime_error("Node is not readable");
    }
    return ReadInteger(port, *node);
}

float ReadFloat(IPort &port, const NodeMapParser &parser, const NodeInfo &node)
{
    if (node.Value && std::holds_alternative<double>(node.Value->Value))
    {
        return static_cast<float>(std::get<double>(node.Value->Value));
    }
    if (node.Address != 0)
    {
        if (!IsAvailable(port, parser, node))
        {
            throw std::runtime_error("Node is not available");
        }
        return std::bit_cast<float>(ReadUnsigned32(port, node));
    }
    return static_cast<float>(FormulaEvaluator(port, parser).Evaluate(node.pValue));
}

std::string GetEnumEntry(IPort &port, const NodeMapParser &parser, const NodeInfo &node)
{
    if (!IsReadable(port, parser, node))
    {
        throw std::runtime_error("Enumeration is not readable");
    }
    const bool literal = node.Value && !node.Value->IsReference;
    const auto value =
        literal ? TruncateToInteger(std::get<double>(node.Value->Value)) : ReadInteger(port, node);
    const auto entry =
        std::find_if(node.EnumEntries.begin(), node.EnumEntries.end(),
                     [value](const EnumEntry &candidate) { return ValueOf(candidate) == value; });
    if (entry == node.EnumEntries.end())
    {
        throw std::runtime_error("Enumeration entry not found!");
    }
    return entry->Name;
}

std::vector<std::string> GetAvailableEnumEntries(IPort &port, const NodeMapParser &parser,
                                                 const NodeInfo &node)
{
    std::vector<std::string> names;
    for (const auto &entry : node.EnumEntries)
    {
        if (Holds(port, parser, entry))
        {
            names.push_back(entry.Name);
        }
    }
    return names;
}

void SetEnumEntry(IPort &port, const NodeMapParser &parser, const NodeInfo &node, const std::string &name)
{
    if (node.AccessMode == AccessMode::RO || !Holds(port, parser, node))
    {
        throw std::runtime_error("Enumeration is not writeable");
    }
    const auto entry = std::find_if(node.EnumEntries.begin(), node.EnumEntries.end(),
                                    [&name](const EnumEntry &candidate) { return candidate.Name == name; });
    if (entry == node.EnumEntries.end())
    {
        throw std::runtime_error("Enumeration entry not found");
    }
    if (!Holds(port, parser, *entry))
    {
        throw std::runtime_error("Enumeration entry not available");
    }
    WriteInteger(port, node, ValueOf(*entry));
}

} // namespace GenTL::internal::nodemap
