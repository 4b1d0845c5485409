#include "gentlctl/features.h"

#include "nodemap/formula_evaluator.h"
#include "nodemap/node_access.h"
#include "nodemap/nodemap_parser.h"
#include "unzip.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;
using internal::nodemap::NodeInfo;
using internal::nodemap::NodeMapParser;

namespace
{

// No honest description comes near this; a number above it is a broken URL.
constexpr uint64_t descriptionLimit = 1U << 30U;

std::vector<uint8_t> ReadWhole(Port &port, uint64_t address, uint64_t size)
{
    if (size == 0 || size > descriptionLimit)
    {
        throw std::runtime_error(fmt::format("The description's URL names a size of {} bytes", size));
    }
    std::vector<uint8_t> bytes(size);
    size_t read = bytes.size();
    port.ReadRegisters(address, bytes.data(), &read);
    bytes.resize(std::min(read, bytes.size()));
    return bytes;
}

std::vector<uint8_t> ReadFile(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        throw std::runtime_error(fmt::format("Cannot read the description {}", path));
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Bytes behind "local:[///]NAME;ADDRESS;SIZE[?...]" or "file:///PATH[?...]".
std::vector<uint8_t> Fetch(Port &port, const std::string &url)
{
    const auto withoutQuery = url.substr(0, url.find('?'));
    constexpr std::string_view local = "local:";
    constexpr std::string_view file = "file://";
    const auto lower = [&](std::string_view scheme)
    {
        return std::equal(scheme.begin(), scheme.end(), withoutQuery.begin(),
                          withoutQuery.begin() +
                              static_cast<std::ptrdiff_t>(std::min(scheme.size(), withoutQuery.size())),
                          [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
    };
    if (lower(local))
    {
        const auto last = withoutQuery.rfind(';');
        const auto first = last == std::string::npos ? last : withoutQuery.rfind(';', last - 1);
        if (first != std::string::npos)
        {
            return ReadWhole(port, std::stoull(withoutQuery.substr(first + 1), nullptr, 16),
                             std::stoull(withoutQuery.substr(last + 1), nullptr, 16));
        }
    }
    if (lower(file))
    {
        return ReadFile(withoutQuery.substr(file.size()));
    }
    throw std::runtime_error(fmt::format("Cannot load a description from \"{}\"", url));
}

bool IsArchive(const std::vector<uint8_t> &bytes)
{
    constexpr std::array<uint8_t, 4> magic{'P', 'K', 3, 4};
    return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

/// A whole text as a number.
template <typename T>
T ParseNumber(const std::string &text, const std::string &feature)
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
        throw std::runtime_error(fmt::format("{} takes a number; \"{}\" is none", feature, text));
    }
    return value;
}

std::string ReadText(Port &port, const NodeInfo &node)
{
    const auto bytes = ReadWhole(port, node.Address, node.Length);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0})};
}

void WriteText(Port &port, const NodeInfo &node, const std::string &text)
{
    if (text.size() > node.Length || node.Length > descriptionLimit)
    {
        throw std::runtime_error(fmt::format("{} takes at most {} characters", node.Name, node.Length));
    }
    std::vector<char> bytes(node.Length);
    std::copy(text.begin(), text.end(), bytes.begin());
    size_t size = bytes.size();
    port.WriteRegisters(node.Address, bytes.data(), &size);
}

constexpr uint32_t littleEndian = 0xDEAD;

template <typename T>
T SwappedFor(const NodeInfo &node, T bits)
{
    if (static_cast<uint32_t>(node.Endianess) == littleEndian)
    {
        return bits;
    }
    T swapped = 0;
    for (size_t i = 0; i < sizeof bits; ++i)
    {
        swapped = static_cast<T>((swapped << 8U) | ((bits >> (8U * i)) & 0xFFU));
    }
    return swapped;
}

double ReadNumber(Port &port, const NodeMapParser &parser, const NodeInfo &node)
{
    if (node.Address != 0 && node.Length == sizeof(double))
    {
        uint64_t bits = 0;
        size_t size = sizeof bits;
        port.ReadRegisters(node.Address, &bits, &size);
        return std::bit_cast<double>(SwappedFor(node, bits));
    }
    return static_cast<double>(internal::nodemap::ReadFloat(port, parser, node));
}

void WriteNumber(Port &port, const NodeInfo &node, double value)
{
    const auto write = [&](auto bits)
    {
        const auto bytes = SwappedFor(node, bits);
        size_t size = sizeof bytes;
        port.WriteRegisters(node.Address, &bytes, &size);
    };
    if (node.Length == sizeof(double))
    {
        write(std::bit_cast<uint64_t>(value));
    }
    else if (node.Length == sizeof(float))
    {
        write(std::bit_cast<uint32_t>(static_cast<float>(value)));
    }
    else
    {
        throw std::runtime_error(
            fmt::format("{} has no register that takes a floating-point number", node.Name));
    }
}

} // namespace

std::string LoadDescription(Port &port)
{
    size_t size = 0;
    port.GetPortURL(nullptr, &size);
    std::string url(size, '\0');
    port.GetPortURL(url.data(), &size);
    url.resize(std::min(url.find('\0'), url.size()));
    auto bytes = Fetch(port, url);
    if (IsArchive(bytes))
    {
        bytes = internal::Unzip(bytes.data(), bytes.size());
    }
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0})};
}

Features::Features(std::shared_ptr<Port> port)
    : m_port(std::move(port)), m_parser(std::make_unique<NodeMapParser>(LoadDescription(*m_port)))
{
    if (!m_parser->IsValid())
    {
        throw std::runtime_error("The module's description is not a GenICam description");
    }
}

Features::~Features() = default;

std::vector<std::string> Features::Names() const
{
    std::vector<std::string> names;
    std::set<std::string> seen;
    // Depth first, so that the features come in the order of a feature tree.
    const auto visit = [&](const auto &self, const std::string &name) -> void
    {
        if (!seen.insert(name).second)
        {
            return;
        }
        if (Has(name))
        {
            names.push_back(name);
            return;
        }
        try
        {
            for (const auto &child : m_parser->GetCategoryFeatures(name))
            {
                self(self, child);
            }
        }
        catch (const std::runtime_error &) // NOLINT(bugprone-empty-catch): neither a feature nor a category
        {
        }
    };
    visit(visit, "Root");
    return names;
}

bool Features::Has(const std::string &name) const
{
    return m_parser->HasNode(name);
}

const NodeInfo &Features::Find(const std::string &name) const
{
    if (!m_parser->HasNode(name))
    {
        throw std::runtime_error(fmt::format("There is no feature \"{}\"", name));
    }
    return m_parser->FindNode(name);
}

Json Features::Get(const std::string &name) const
{
    using namespace internal::nodemap;
    const auto &node = Find(name);
    if (node.Type == "Enumeration")
    {
        return GetEnumEntry(*m_port, *m_parser, node);
    }
    if (!IsTrue(*m_port, *m_parser, node.pIsImplemented) || !IsTrue(*m_port, *m_parser, node.pIsAvailable))
    {
        throw std::runtime_error(fmt::format("{} is not available now", name));
    }
    if (node.Type == "Command")
    {
        return "(command)";
    }
    if (node.Type == "StringReg")
    {
        return ReadText(*m_port, node);
    }
    if (node.Type == "Float" || node.Type == "FloatReg")
    {
        return ReadNumber(*m_port, *m_parser, node);
    }
    if (node.Type == "Boolean")
    {
        return GetInteger(name) != 0;
    }
    return GetInteger(name);
}

std::vector<std::string> Features::AvailableEntries(const std::string &name) const
{
    return internal::nodemap::GetAvailableEnumEntries(*m_port, *m_parser, Find(name));
}

int64_t Features::GetInteger(const std::string &name) const
{
    using namespace internal::nodemap;
    const auto &node = Find(name);
    if (node.Address == 0 && !node.pValue.empty() && m_parser->TryFindConverter(node.pValue))
    {
        return static_cast<int64_t>(FormulaEvaluator(*m_port, *m_parser).Evaluate(node.pValue));
    }
    if (node.Length == 0 && node.Value && !node.Value->IsReference)
    {
        return GetBoundValue(*m_port, *m_parser, node.Value);
    }
    return ReadInteger(*m_port, node);
}

void Features::Set(const std::string &name, const std::string &value) const
{
    using namespace internal::nodemap;
    const auto &node = Find(name);
    if (node.Type == "Enumeration")
    {
        SetEnumEntry(*m_port, *m_parser, node, value);
        return;
    }
    if (node.Length == 0)
    {
        throw std::runtime_error(fmt::format("{} has no register of its own and cannot be written", name));
    }
    if (node.Type == "Command")
    {
        WriteCommand(*m_port, node, 1);
    }
    else if (node.Type == "StringReg")
    {
        WriteText(*m_port, node, value);
    }
    else if (node.Type == "Float" || node.Type == "FloatReg")
    {
        WriteNumber(*m_port, node, ParseNumber<double>(value, name));
    }
    else if (node.Type == "Boolean" && (value == "true" || value == "false"))
    {
        WriteInteger(*m_port, node, value == "true" ? 1 : 0);
    }
    else
    {
        WriteInteger(*m_port, node, ParseNumber<int64_t>(value, name));
    }
}

} // namespace gentlctl
