#include "consumer/feature_values.h"

#include "consumer/description.h"
#include "nodemap/formula_evaluator.h"
#include "nodemap/node_access.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace gentlctl
{

using namespace GenTL::internal::nodemap;
using GenTL::internal::IPort;

namespace
{

std::string ReadTextFeature(IPort &port, const NodeInfo &node)
{
    const auto bytes = ReadWhole(port, node.Address, node.Length);
    return {bytes.begin(), std::ranges::find(bytes, uint8_t{0})};
}

/// A floating-point number: a register of 8 or 4 bytes, a literal or a formula. ReadFloat of node_access.h is
/// too narrow: it reads no register of 8 bytes and rounds each value to a float.
double ReadNumberFeature(IPort &port, const NodeMapParser &nodes, const NodeInfo &node)
{
    if (node.Length == sizeof(double))
    {
        return std::bit_cast<double>(ReadUnsigned(port, node));
    }
    if (node.Length != 0)
    {
        return static_cast<double>(std::bit_cast<float>(ReadUnsigned32(port, node)));
    }
    const auto *literal = node.Value ? std::get_if<double>(&node.Value->Value) : nullptr;
    return literal != nullptr ? *literal : FormulaEvaluator(port, nodes).Evaluate(node.pValue);
}

std::string EntryOf(const NodeInfo &node, int64_t value)
{
    const auto entry =
        std::ranges::find(node.EnumEntries, value,
                          [](const EnumEntry &candidate) { return std::get<int64_t>(candidate.Value); });
    if (entry == node.EnumEntries.end())
    {
        throw std::runtime_error(fmt::format("{} is {}, which is none of its entries", node.Name, value));
    }
    return entry->Name;
}

std::string Hexadecimal(const std::vector<uint8_t> &bytes)
{
    return fmt::format("0x{:02x}", fmt::join(bytes, ""));
}

} // namespace

Json ReadFeature(IPort &port, const FeatureDescription &description, const NodeInfo &node)
{
    const auto integer = [&] { return ReadIntegerFeature(port, description, node); };
    if (node.Type == "Command")
    {
        return "(command)";
    }
    if (node.AccessMode == AccessMode::WO)
    {
        return "(write only)";
    }
    if (node.Type == "Enumeration")
    {
        return EntryOf(node, integer());
    }
    if (node.Type == "StringReg")
    {
        return ReadTextFeature(port, node);
    }
    if (node.Type == "Register")
    {
        return Hexadecimal(ReadWhole(port, node.Address, node.Length));
    }
    if (node.Type == "Float" || node.Type == "FloatReg")
    {
        return ReadNumberFeature(port, description.Nodes(), node);
    }
    if (node.Type == "Boolean")
    {
        return integer() != 0;
    }
    if (const auto form = description.FormOf(node))
    {
        return form(static_cast<uint64_t>(integer()));
    }
    return integer();
}

int64_t ReadIntegerFeature(IPort &port, const FeatureDescription &description, const NodeInfo &node)
{
    if (node.Length == 0 && description.Nodes().TryFindConverter(node.pValue))
    {
        return static_cast<int64_t>(FormulaEvaluator(port, description.Nodes()).Evaluate(node.pValue));
    }
    if (node.Length == 0)
    {
        throw std::runtime_error(fmt::format("{} has nothing behind it that can be read", node.Name));
    }
    return node.Sign == Sign::Unsigned ? static_cast<int64_t>(ReadUnsigned(port, node))
                                       : ReadInteger(port, node);
}

} // namespace gentlctl
