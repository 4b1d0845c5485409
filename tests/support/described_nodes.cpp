#include "support/described_nodes.h"

#include "nodemap/math_expression_parser.h"
#include "support/byte_values.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

namespace GenTL::internal
{

namespace
{

int64_t NumberIn(pugi::xml_node node, const char *element)
{
    return std::stoll(node.child(element).text().get(), nullptr, 0);
}

bool IsOneOf(pugi::xml_node node, std::initializer_list<std::string_view> kinds)
{
    return std::ranges::find(kinds, std::string_view(node.name())) != kinds.end();
}

uint64_t ReadNumber(const RegisterPort &port, const NodeRegister &place)
{
    return NumberOf(port.read(place.address, place.length), place.bigEndian);
}

/// The bits of a register's value that a MaskedIntReg or a StructEntry names.
int64_t BitsOf(uint64_t value, pugi::xml_node node, const NodeRegister &place)
{
    const bool isBit = node.child("Bit");
    const auto first = NumberIn(node, isBit ? "Bit" : "LSB");
    const auto last = NumberIn(node, isBit ? "Bit" : "MSB");
    // A big-endian register counts its bits from the highest.
    const auto lowest = place.bigEndian ? static_cast<int64_t>(place.length) * 8 - 1 - first : first;
    const auto count = std::abs(last - first) + 1;
    const auto mask = ~uint64_t{0} >> (64 - count);
    return static_cast<int64_t>(value >> lowest & mask);
}

} // namespace

DescribedNodes::DescribedNodes(RegisterPort port, const std::string &description)
    : m_port(std::move(port)), m_document(std::make_shared<pugi::xml_document>())
{
    if (!m_document->load_buffer(description.data(), description.size()))
    {
        throw std::runtime_error("Description is not XML");
    }
    for (const auto &found : m_document->select_nodes("//*[@Name and not(self::EnumEntry)]"))
    {
        m_nodes[found.node().attribute("Name").value()] = found.node();
    }
}

pugi::xml_node DescribedNodes::Node(const std::string &name) const
{
    return m_nodes.at(name);
}

pugi::xml_node DescribedNodes::Behind(const std::string &name) const
{
    const auto node = Node(name);
    return node.child("pValue") ? Behind(node.child("pValue").text().get()) : node;
}

NodeRegister DescribedNodes::RegisterOf(pugi::xml_node node) const
{
    const bool isEntry = IsOneOf(node, {"StructEntry"});
    const auto place = isEntry ? node.parent() : node;
    const auto length =
        place.child("pLength") ? Get(place.child("pLength").text().get()) : NumberIn(place, "Length");
    const bool bigEndian = std::string_view(place.child("Endianess").text().get()) == "BigEndian";
    return {AddressOf(place), static_cast<size_t>(length), bigEndian};
}

NodeRegister DescribedNodes::RegisterBehind(const std::string &name) const
{
    return RegisterOf(Behind(name));
}

uint64_t DescribedNodes::AddressOf(pugi::xml_node node) const
{
    const auto partOf = [&](pugi::xml_node child) -> int64_t
    {
        const auto text = child.text().get();
        const std::string_view kind = child.name();
        if (kind == "pIndex")
        {
            const auto offset = child.attribute("Offset");
            const auto target = child.attribute("pOffset").value();
            return Get(text) * (offset ? offset.as_llong() : Get(target));
        }
        return kind == "Address"         ? std::stoll(text, nullptr, 0)
               : kind == "pAddress"      ? Get(text)
               : kind == "IntSwissKnife" ? Evaluate(child, "Formula", {})
                                         : 0;
    };
    int64_t address = 0;
    for (const auto child : node.children())
    {
        address += partOf(child);
    }
    return static_cast<uint64_t>(address);
}

int64_t DescribedNodes::Evaluate(pugi::xml_node node, const char *element,
                                 const std::map<std::string, double> &more) const
{
    using nodemap::MathExpressionParser;
    MathExpressionParser::Variables variables(more.begin(), more.end());
    for (const auto variable : node.children("pVariable"))
    {
        variables[variable.attribute("Name").value()] = static_cast<double>(Get(variable.text().get()));
    }
    for (const auto constant : node.children("Constant"))
    {
        variables[constant.attribute("Name").value()] = constant.text().as_double();
    }
    for (const auto expression : node.children("Expression"))
    {
        variables[expression.attribute("Name").value()] =
            MathExpressionParser(expression.text().get(), variables).Parse();
    }
    return std::llround(MathExpressionParser(node.child(element).text().get(), variables).Parse());
}

int64_t DescribedNodes::Get(const std::string &name) const
{
    const auto node = Node(name);
    if (IsOneOf(node, {"SwissKnife", "IntSwissKnife"}))
    {
        return Evaluate(node, "Formula", {});
    }
    if (IsOneOf(node, {"Converter", "IntConverter"}))
    {
        return Evaluate(node, "FormulaFrom",
                        {{"TO", static_cast<double>(Get(node.child("pValue").text().get()))}});
    }
    if (IsOneOf(node, {"MaskedIntReg", "StructEntry"}))
    {
        const auto place = RegisterOf(node);
        return BitsOf(ReadNumber(m_port, place), node, place);
    }
    if (IsOneOf(node, {"IntReg"}))
    {
        return static_cast<int64_t>(ReadNumber(m_port, RegisterOf(node)));
    }
    return node.child("pValue") ? Get(node.child("pValue").text().get()) : NumberIn(node, "Value");
}

float DescribedNodes::GetFloat(const std::string &name) const
{
    const auto number = ReadNumber(m_port, RegisterBehind(name));
    return std::bit_cast<float>(static_cast<uint32_t>(number));
}

std::string DescribedNodes::GetText(const std::string &name) const
{
    const auto place = RegisterBehind(name);
    auto bytes = m_port.read(place.address, place.length);
    bytes.push_back(0);
    return reinterpret_cast<const char *>(bytes.data());
}

GC_ERROR DescribedNodes::Set(const std::string &name, int64_t value) const
{
    const auto node = Node(name);
    if (IsOneOf(node, {"IntConverter"}))
    {
        return Set(node.child("pValue").text().get(),
                   Evaluate(node, "FormulaTo", {{"FROM", static_cast<double>(value)}}));
    }
    if (node.child("pValue"))
    {
        return Set(node.child("pValue").text().get(), value);
    }
    const auto place = RegisterOf(node);
    const auto bytes = NumberBytes(static_cast<uint64_t>(value), place.length, place.bigEndian);
    return m_port.write(place.address, bytes);
}

GC_ERROR DescribedNodes::SetEntry(const std::string &name, const std::string &entry) const
{
    return Set(name, EntryValue(name, entry));
}

GC_ERROR DescribedNodes::SetFloat(const std::string &name, float value) const
{
    const auto place = RegisterBehind(name);
    const auto bytes = NumberBytes(std::bit_cast<uint32_t>(value), place.length, place.bigEndian);
    return m_port.write(place.address, bytes);
}

GC_ERROR DescribedNodes::SetText(const std::string &name, const std::string &value) const
{
    const auto place = RegisterBehind(name);
    std::vector<uint8_t> bytes(value.begin(), value.end());
    bytes.resize(place.length);
    return m_port.write(place.address, bytes);
}

bool DescribedNodes::IsAvailable(const std::string &name, const std::string &entry) const
{
    const auto node = Node(name).find_child_by_attribute("EnumEntry", "Name", entry.c_str());
    const auto holds = [&](const char *element)
    { return !node.child(element) || Get(node.child(element).text().get()) != 0; };
    return holds("pIsImplemented") && holds("pIsAvailable");
}

int64_t DescribedNodes::EntryValue(const std::string &name, const std::string &entry) const
{
    return NumberIn(Node(name).find_child_by_attribute("EnumEntry", "Name", entry.c_str()), "Value");
}

} // namespace GenTL::internal
