#include "consumer/feature_writing.h"

#include "nodemap/node_access.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <stdexcept>
#include <system_error>
#include <type_traits>
#include <vector>

namespace gentlctl
{

using namespace GenTL::internal::nodemap;
using GenTL::internal::IPort;

namespace
{

/// A whole text as a number.
template <typename T>
T ParseNumber(const std::string &text)
{
    T value{};
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto *begin = text.data() + (hexadecimal ? 2 : 0);
    const auto *end = text.data() + text.size();
    std::from_chars_result result{};
    if constexpr (std::is_integral_v<T>)
    {
        result = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    }
    else
    {
        result = std::from_chars(begin, end, value);
    }
    if (result.ec != std::errc() || result.ptr != end || begin == end)
    {
        throw std::runtime_error("not a number");
    }
    return value;
}

void WriteTextFeature(IPort &port, const NodeInfo &node, const std::string &text)
{
    // A larger number means a broken description.
    constexpr uint64_t longestText = 1U << 30U;
    if (text.size() > node.Length || node.Length > longestText)
    {
        throw std::runtime_error(fmt::format("it takes at most {} characters", node.Length));
    }
    std::vector<char> bytes(node.Length);
    std::ranges::copy(text, bytes.begin());
    size_t size = bytes.size();
    port.WriteRegisters(node.Address, bytes.data(), &size);
}

void WriteNumberFeature(IPort &port, const NodeInfo &node, double value)
{
    if (node.Length == sizeof(double))
    {
        WriteInteger(port, node, std::bit_cast<int64_t>(value));
    }
    else if (node.Length == sizeof(float))
    {
        WriteInteger(port, node, std::bit_cast<int32_t>(static_cast<float>(value)));
    }
    else
    {
        throw std::runtime_error("it has no register that takes a floating-point number");
    }
}

} // namespace

void WriteFeature(IPort &port, const NodeMapParser &nodes, const NodeInfo &node, const std::string &value)
{
    if (node.Type == "Enumeration")
    {
        SetEnumEntry(port, nodes, node, value);
    }
    else if (node.Type == "Command")
    {
        WriteCommand(port, node, 1);
    }
    else if (node.Type == "StringReg")
    {
        WriteTextFeature(port, node, value);
    }
    else if (node.Type == "Register")
    {
        throw std::runtime_error("it holds bytes, which gentlctl does not write");
    }
    else if (node.Type == "Float" || node.Type == "FloatReg")
    {
        WriteNumberFeature(port, node, ParseNumber<double>(value));
    }
    else if (node.Type == "Boolean" && (value == "true" || value == "false"))
    {
        WriteInteger(port, node, value == "true" ? 1 : 0);
    }
    else
    {
        WriteInteger(port, node, ParseNumber<int64_t>(value));
    }
}

} // namespace gentlctl
