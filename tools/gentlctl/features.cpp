#include "gentlctl/features.h"

#include "gentlctl/description.h"

#include "nodemap/formula_evaluator.h"
#include "nodemap/node_access.h"
#include "nodemap/nodemap_parser.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <pugixml.hpp>

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cstring>
#include <set>
#include <sstream>
#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;
using internal::nodemap::NodeInfo;
using internal::nodemap::NodeMapParser;

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

std::string ReadText(internal::IPort &port, const NodeInfo &node)
{
    const auto bytes = ReadWhole(port, node.Address, node.Length);
    return {bytes.begin(), std::find(bytes.begin(), bytes.end(), uint8_t{0})};
}

// A number above it is a broken description.
constexpr uint64_t longestText = 1U << 30U;

void WriteText(Port &port, const NodeInfo &node, const std::string &text)
{
    if (text.size() > node.Length || node.Length > longestText)
    {
        throw std::runtime_error(fmt::format("it takes at most {} characters", node.Length));
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

double ReadNumber(internal::IPort &port, const NodeMapParser &parser, const NodeInfo &node)
{
    if (node.Length == sizeof(double))
    {
        uint64_t bits = 0;
        size_t size = sizeof bits;
        port.ReadRegisters(node.Address, &bits, &size);
        return std::bit_cast<double>(SwappedFor(node, bits));
    }
    if (node.Length != 0)
    {
        return static_cast<double>(
            std::bit_cast<float>(static_cast<uint32_t>(internal::nodemap::ReadUnsigned(port, node))));
    }
    const auto *literal = node.Value ? std::get_if<double>(&node.Value->Value) : nullptr;
    return literal != nullptr ? *literal
                              : internal::nodemap::FormulaEvaluator(port, parser).Evaluate(node.pValue);
}

/// The bytes of a chunk as a port that can only be read.
class ChunkPort final : public internal::ProxyModule
{
public:
    explicit ChunkPort(std::span<const uint8_t> bytes) : ProxyModule(nullptr, nullptr), m_bytes(bytes) {}

    internal::ModuleType GetModuleType() const override { return internal::ModuleType::RemoteDevice; }

    void ReadRegisters(uint64_t address, void *buffer, size_t *size) override
    {
        if (address > m_bytes.size() || *size > m_bytes.size() - address)
        {
            throw std::runtime_error("the chunk is too short");
        }
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(address), *size,
                    static_cast<uint8_t *>(buffer));
    }

private:
    std::span<const uint8_t> m_bytes;
};

std::string TextOf(const pugi::xml_document &description)
{
    std::ostringstream text;
    description.save(text, "", pugi::format_raw);
    return text.str();
}

/// The numbers of chunks, by their ports.
std::map<std::string, uint64_t> ChunkNumbers(const pugi::xml_document &description)
{
    std::map<std::string, uint64_t> numbers;
    for (const auto &found : description.select_nodes("//Port[ChunkID]"))
    {
        const std::string_view text = found.node().child("ChunkID").text().get();
        const auto digits = text.substr(text.starts_with("0x") || text.starts_with("0X") ? 2 : 0);
        uint64_t number = 0;
        if (std::from_chars(digits.data(), digits.data() + digits.size(), number, 16).ec == std::errc())
        {
            numbers[found.node().attribute("Name").value()] = number;
        }
    }
    return numbers;
}

/// Ports of chunks and events, by name.
std::map<std::string, std::string> PassingPorts(const pugi::xml_document &description)
{
    std::map<std::string, std::string> ports;
    for (const auto &found : description.select_nodes("//Port"))
    {
        const auto port = found.node();
        const std::string name = port.attribute("Name").value();
        if (port.child("ChunkID") || port.child("pChunkID"))
        {
            ports[name] = "only with a frame";
        }
        else if (port.child("EventID"))
        {
            ports[name] = "only with an event";
        }
    }
    return ports;
}

std::string Ipv4Address(uint64_t value)
{
    return fmt::format("{}.{}.{}.{}", (value >> 24U) & 0xFFU, (value >> 16U) & 0xFFU, (value >> 8U) & 0xFFU,
                       value & 0xFFU);
}

std::string MacAddress(uint64_t value)
{
    std::vector<uint64_t> bytes;
    for (int shift = 40; shift >= 0; shift -= 8)
    {
        bytes.push_back((value >> static_cast<unsigned>(shift)) & 0xFFU);
    }
    return fmt::format("{:02x}", fmt::join(bytes, ":"));
}

/// Features that are read as addresses, by name.
std::map<std::string, std::string (*)(uint64_t)> Forms(const pugi::xml_document &description)
{
    std::map<std::string, std::string (*)(uint64_t)> forms;
    for (const auto &found : description.select_nodes("//Representation"))
    {
        const std::string name = found.node().parent().attribute("Name").value();
        const std::string_view form = found.node().text().get();
        if (form == "IPV4Address")
        {
            forms[name] = Ipv4Address;
        }
        else if (form == "MACAddress")
        {
            forms[name] = MacAddress;
        }
    }
    return forms;
}

bool Resembles(const std::string &name, const std::string &wanted)
{
    const auto same = [](char a, char b)
    { return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b)); };
    const auto contains = [&](const std::string &longer, const std::string &shorter) {
        return std::search(longer.begin(), longer.end(), shorter.begin(), shorter.end(), same) !=
               longer.end();
    };
    constexpr size_t leastLength = 3;
    return std::min(name.size(), wanted.size()) >= leastLength &&
           (contains(name, wanted) || contains(wanted, name));
}

std::string EntryOf(const NodeInfo &node, int64_t value)
{
    const auto entry = std::ranges::find(node.EnumEntries, value,
                                         [](const internal::nodemap::EnumEntry &candidate)
                                         { return std::get<int64_t>(candidate.Value); });
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
        throw std::runtime_error("it has no register that takes a floating-point number");
    }
}

} // namespace

Features::Features(std::shared_ptr<Port> port) : m_port(std::move(port))
{
    const auto description = LoadDescription(*m_port);
    pugi::xml_document document;
    document.load_buffer(description.data(), description.size());
    GiveRegisters(document, *m_port);
    m_parser = std::make_unique<NodeMapParser>(TextOf(document));
    if (!m_parser->IsValid())
    {
        throw std::runtime_error("The module's description is not a GenICam description");
    }
    m_passingPorts = PassingPorts(document);
    m_forms = Forms(document);
    const auto chunks = ChunkNumbers(document);
    for (const auto &name : chunks.empty() ? std::vector<std::string>() : Names())
    {
        if (const auto chunk = chunks.find(PassingPort(name)); chunk != chunks.end())
        {
            m_chunkFeatures.emplace_back(name, chunk->second);
        }
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
        const auto similar = Similar(name);
        throw std::runtime_error(
            similar.empty()
                ? fmt::format("There is no feature \"{}\"; `gentlctl get` without a name lists all", name)
                : fmt::format("There is no feature \"{}\"; there is {}", name, fmt::join(similar, ", ")));
    }
    return m_parser->FindNode(name);
}

std::vector<std::string> Features::Similar(const std::string &name) const
{
    constexpr size_t most = 8;
    auto names = Names();
    std::erase_if(names, [&](const std::string &candidate) { return !Resembles(candidate, name); });
    const auto sameLength = std::ranges::find_if(names, [&](const std::string &candidate)
                                                 { return candidate.size() == name.size(); });
    if (sameLength != names.end())
    {
        // It differs in upper and lower case only.
        return {*sameLength};
    }
    names.resize(std::min(names.size(), most));
    return names;
}

/// The port of a frame or an event that a node stands on; empty when there is none. What is behind a feature
/// may be a register, a formula over others, or another feature.
std::string Features::PassingPort(const std::string &node, int depth) const
{
    constexpr int deepest = 16;
    if (node.empty() || depth > deepest)
    {
        return {};
    }
    if (const auto found = m_parser->TryFindNode(node))
    {
        return m_passingPorts.contains(found->pPort) ? found->pPort : PassingPort(found->pValue, depth + 1);
    }
    if (const auto converter = m_parser->TryFindConverter(node))
    {
        if (auto port = PassingPort(converter->pValue, depth + 1); !port.empty())
        {
            return port;
        }
        for (const auto &[variable, behind] : converter->Variables)
        {
            if (auto port = PassingPort(behind, depth + 1); !port.empty())
            {
                return port;
            }
        }
    }
    return {};
}

std::optional<std::string> Features::WhyWithoutValue(const std::string &name) const
{
    using namespace internal::nodemap;
    const auto &node = Find(name);
    if (const auto port = PassingPort(name); !port.empty())
    {
        return m_passingPorts.at(port);
    }
    return IsTrue(*m_port, *m_parser, node.pIsImplemented) && IsTrue(*m_port, *m_parser, node.pIsAvailable)
               ? std::nullopt
               : std::optional("not available now");
}

Json Features::Get(const std::string &name) const
{
    using namespace internal::nodemap;
    const auto &node = Find(name);
    if (const auto why = WhyWithoutValue(name))
    {
        throw std::runtime_error(fmt::format("{}: {}", name, *why));
    }
    return Value(*m_port, node);
}

Json Features::Values(const std::vector<std::string> &names) const
{
    auto values = Json::object();
    for (const auto &name : names.empty() ? Names() : names)
    {
        values[name] = Attempt(name, names.empty());
    }
    return values;
}

Json Features::Attempt(const std::string &name, bool isOneOfAll) const
{
    try
    {
        if (const auto why = isOneOfAll ? WhyWithoutValue(name) : std::nullopt)
        {
            // In a list of everything this is an answer, not a failure.
            return {{"text", *why}};
        }
        return Get(name);
    }
    catch (const std::exception &exception)
    {
        return {{"error", exception.what()}};
    }
}

Json Features::ChunkValues(const std::map<uint64_t, std::span<const uint8_t>> &chunks) const
{
    auto values = Json::object();
    for (const auto &[name, number] : m_chunkFeatures)
    {
        const auto chunk = chunks.find(number);
        if (chunk == chunks.end())
        {
            continue;
        }
        ChunkPort port(chunk->second);
        try
        {
            values[name] = Value(port, Find(name));
        }
        catch (const std::exception &exception)
        {
            values[name] = {{"error", exception.what()}};
        }
    }
    return values;
}

Json Features::Value(internal::IPort &port, const NodeInfo &node) const
{
    using namespace internal::nodemap;
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
        return EntryOf(node, Integer(port, node));
    }
    if (node.Type == "StringReg")
    {
        return ReadText(port, node);
    }
    if (node.Type == "Register")
    {
        return Hexadecimal(ReadWhole(port, node.Address, node.Length));
    }
    if (node.Type == "Float" || node.Type == "FloatReg")
    {
        return ReadNumber(port, *m_parser, node);
    }
    if (node.Type == "Boolean")
    {
        return Integer(port, node) != 0;
    }
    // The register behind a feature may say it for the feature.
    for (const auto &name : {node.Name, node.pValue})
    {
        if (const auto form = m_forms.find(name); form != m_forms.end())
        {
            return form->second(static_cast<uint64_t>(Integer(port, node)));
        }
    }
    return Integer(port, node);
}

std::vector<std::string> Features::AvailableEntries(const std::string &name) const
{
    return internal::nodemap::GetAvailableEnumEntries(*m_port, *m_parser, Find(name));
}

int64_t Features::GetInteger(const std::string &name) const
{
    return Integer(*m_port, Find(name));
}

int64_t Features::Integer(internal::IPort &port, const NodeInfo &node) const
{
    using namespace internal::nodemap;
    if (node.Length == 0 && m_parser->TryFindConverter(node.pValue))
    {
        return static_cast<int64_t>(FormulaEvaluator(port, *m_parser).Evaluate(node.pValue));
    }
    if (node.Length == 0)
    {
        throw std::runtime_error(fmt::format("{} has nothing behind it that can be read", node.Name));
    }
    return node.Sign == Sign::Unsigned ? static_cast<int64_t>(ReadUnsigned(port, node))
                                       : ReadInteger(port, node);
}

void Features::Set(const std::string &name, const std::string &value) const
{
    const auto &node = Find(name);
    if (const auto port = PassingPort(name); !port.empty())
    {
        throw std::runtime_error(m_passingPorts.at(port));
    }
    if (node.Type != "Enumeration" && node.Length == 0)
    {
        throw std::runtime_error("it has no register of its own");
    }
    Write(node, value);
}

bool Features::IsReadOnly(const std::string &name) const
{
    return Find(name).AccessMode == internal::nodemap::AccessMode::RO;
}

void Features::Write(const NodeInfo &node, const std::string &value) const
{
    using namespace internal::nodemap;
    if (node.Type == "Enumeration")
    {
        SetEnumEntry(*m_port, *m_parser, node, value);
    }
    else if (node.Type == "Command")
    {
        WriteCommand(*m_port, node, 1);
    }
    else if (node.Type == "StringReg")
    {
        WriteText(*m_port, node, value);
    }
    else if (node.Type == "Register")
    {
        throw std::runtime_error("it holds bytes, which gentlctl does not write");
    }
    else if (node.Type == "Float" || node.Type == "FloatReg")
    {
        WriteNumber(*m_port, node, ParseNumber<double>(value));
    }
    else if (node.Type == "Boolean" && (value == "true" || value == "false"))
    {
        WriteInteger(*m_port, node, value == "true" ? 1 : 0);
    }
    else
    {
        WriteInteger(*m_port, node, ParseNumber<int64_t>(value));
    }
}

std::string Features::Allowed(const std::string &name) const
{
    using namespace internal::nodemap;
    const auto &node = Find(name);
    if (node.Type == "Enumeration")
    {
        return fmt::format("it takes {}", fmt::join(GetAvailableEnumEntries(*m_port, *m_parser, node), ", "));
    }
    if (node.Type == "Boolean")
    {
        return "it takes true or false";
    }
    const auto limit = [&](const std::optional<Bound> &bound) -> std::optional<std::string>
    {
        if (!bound)
        {
            return std::nullopt;
        }
        if (!bound->IsReference && std::holds_alternative<double>(bound->Value))
        {
            return fmt::format("{}", std::get<double>(bound->Value));
        }
        try
        {
            if (const auto *formula = std::get_if<std::string>(&bound->Value);
                formula != nullptr && m_parser->TryFindConverter(*formula))
            {
                return fmt::format("{}", FormulaEvaluator(*m_port, *m_parser).Evaluate(*formula));
            }
            const auto *known = std::get_if<VectorPtr>(&bound->Value);
            const auto value =
                known != nullptr ? Value(*m_port, **known) : Json(GetBoundValue(*m_port, *m_parser, bound));
            return value.dump();
        }
        catch (const std::exception &)
        {
            return std::nullopt;
        }
    };
    const auto minimum = limit(node.Min);
    const auto maximum = limit(node.Max);
    const auto increment = limit(node.Inc);
    if (!minimum || !maximum)
    {
        return "";
    }
    return fmt::format("it takes {} to {}{}", *minimum, *maximum,
                       increment && *increment != "1" ? " in steps of " + *increment : "");
}

} // namespace gentlctl
