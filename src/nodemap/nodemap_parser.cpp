#include "nodemap/nodemap_parser.h"

#include "utils/gentl_exception.h"
#include "utils/log.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <locale.h>
#include <stdexcept>

namespace GenTL::internal::nodemap
{
namespace
{

std::string ChildText(const pugi::xml_node &element, const char *child)
{
    return element.child(child).text().get();
}

/// Reads a number: hexadecimal with the prefix 0x, otherwise decimal.
uint64_t ChildNumber(const pugi::xml_node &element, const char *child)
{
    return element.child(child).text().as_ullong();
}

/// Reads a floating point number with a decimal point, whatever the locale of the consumer's process.
double ToDouble(const pugi::xml_text &text)
{
    static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text.get(), nullptr, classic);
}

AccessMode ReadAccessMode(const pugi::xml_node &element)
{
    const auto text = ChildText(element, "AccessMode");
    if (text.empty() || text == "RW")
    {
        return AccessMode::RW;
    }
    if (text == "RO")
    {
        return AccessMode::RO;
    }
    if (text == "WO")
    {
        return AccessMode::WO;
    }
    throw GenTLException(fmt::format("Invalid access mode in XML: {}!", text), GC_ERR_ERROR);
}

Sign ReadSign(const pugi::xml_node &element, Sign missing)
{
    const auto text = ChildText(element, "Sign");
    if (text.empty())
    {
        return missing;
    }
    if (text == "Unsigned")
    {
        return Sign::Unsigned;
    }
    if (text == "Signed")
    {
        return Sign::Signed;
    }
    throw GenTLException(fmt::format("Invalid sign value in XML: {}!", text), GC_ERR_ERROR);
}

Endianess ReadEndianess(const pugi::xml_node &element)
{
    return ChildText(element, "Endianess") == "BigEndian" ? Endianess::Big : Endianess::Little;
}

template <size_t count>
bool IsOneOf(std::string_view name, const std::array<std::string_view, count> &names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> TextsOf(const pugi::xml_node &element, const char *child)
{
    std::vector<std::string> texts;
    for (const auto &node : element.children(child))
    {
        texts.emplace_back(node.text().get());
    }
    return texts;
}

std::vector<EnumEntry> ReadEnumEntries(const pugi::xml_node &element)
{
    std::vector<EnumEntry> entries;
    for (const auto &entry : element.children("EnumEntry"))
    {
        entries.push_back({entry.attribute("Name").value(), int64_t{entry.child("Value").text().as_llong()},
                           ChildText(entry, "pIsAvailable"), ChildText(entry, "pIsImplemented")});
    }
    return entries;
}

} // namespace

const NodeInfo &VectorPtr::operator*() const
{
    if (m_parser == nullptr)
    {
        throw std::runtime_error("Cannot dereference invalid VectorPtr");
    }
    return m_parser->m_nodes.at(m_index);
}

/// Reads one kind of element at any depth. for_each always returns true, which continues the walk.
template <GenNodeType type>
struct NodeWalker final : pugi::xml_tree_walker
{
    explicit NodeWalker(NodeMapParser *target) : m_parser(target) {}

    bool for_each(pugi::xml_node &element) override;

private:
    /// Reads the name, the sign and the entries of a StructReg.
    void ReadStruct(const pugi::xml_node &element, NodeInfo &node);
    NodeInfo StartOf(const std::string &pValue) const;
    std::optional<Bound> ReadBound(const pugi::xml_node &element, const char *literal,
                                   const char *reference) const;
    void ReadValueNode(const pugi::xml_node &element);

    NodeMapParser *m_parser;
};

template <>
void NodeWalker<GenNodeType::Register>::ReadStruct(const pugi::xml_node &element, NodeInfo &node)
{
    node.Name = element.attribute("Comment").value();
    node.Sign = ReadSign(element, Sign::Unsigned);
    for (const auto &entry : element.children("StructEntry"))
    {
        const std::string name = entry.attribute("Name").value();
        m_parser->m_structEntries.try_emplace(name, StructEntryRecord{name, ChildNumber(entry, "Bit"), node});
    }
}

template <>
bool NodeWalker<GenNodeType::Register>::for_each(pugi::xml_node &element)
{
    static constexpr std::array<std::string_view, 6> elements{"IntReg",       "FloatReg",  "StringReg",
                                                              "MaskedIntReg", "StructReg", "Register"};
    if (!IsOneOf(element.name(), elements) || !element.child("Address"))
    {
        return true;
    }
    NodeInfo node;
    node.Name = element.attribute("Name").value();
    node.Address = ChildNumber(element, "Address");
    node.Length = ChildNumber(element, "Length");
    node.AccessMode = ReadAccessMode(element);
    node.Type = element.name();
    node.Endianess = ReadEndianess(element);
    node.Sign = ReadSign(element, Sign::Signed);
    node.pPort = ChildText(element, "pPort");
    node.pIsAvailable = ChildText(element, "pIsAvailable");
    node.pIsImplemented = ChildText(element, "pIsImplemented");
    if (node.Type == "StructReg")
    {
        ReadStruct(element, node);
    }
    const auto name = node.Name;
    const auto address = node.Address;
    const auto added = m_parser->Append(std::move(node));
    if (!name.empty())
    {
        m_parser->m_registers.try_emplace(name, added);
    }
    m_parser->m_addresses.insert_or_assign(address, added);
    return true;
}

template <>
bool NodeWalker<GenNodeType::Converter>::for_each(pugi::xml_node &element)
{
    static constexpr std::array<std::string_view, 2> knives{"IntSwissKnife", "SwissKnife"};
    static constexpr std::array<std::string_view, 2> converters{"IntConverter", "Converter"};
    const bool isConverter = IsOneOf(element.name(), converters);
    if (!isConverter && !IsOneOf(element.name(), knives))
    {
        return true;
    }
    ConverterRecord record;
    for (const auto &variable : element.children("pVariable"))
    {
        record.Variables.try_emplace(variable.attribute("Name").value(), variable.text().get());
    }
    for (const auto &constant : element.children("Constant"))
    {
        record.Constants.try_emplace(constant.attribute("Name").value(), ToDouble(constant.text()));
    }
    record.Formula = ChildText(element, isConverter ? "FormulaFrom" : "Formula");
    if (isConverter)
    {
        record.pValue = ChildText(element, "pValue");
    }
    m_parser->m_converters.try_emplace(element.attribute("Name").value(), std::move(record));
    return true;
}

/// Finds the register behind a value node. When pValue is the name of a converter's variable, finds the node
/// of this variable. Gives an empty node when there is neither.
template <>
NodeInfo NodeWalker<GenNodeType::Interface>::StartOf(const std::string &pValue) const
{
    if (const auto found = m_parser->m_registers.find(pValue); found != m_parser->m_registers.end())
    {
        return *found->second;
    }
    for (const auto &[name, record] : m_parser->m_converters)
    {
        if (const auto variable = record.Variables.find(pValue); variable != record.Variables.end())
        {
            const auto *node = m_parser->Search(variable->second);
            return node != nullptr ? *node : NodeInfo{};
        }
    }
    return {};
}

template <>
std::optional<Bound> NodeWalker<GenNodeType::Interface>::ReadBound(const pugi::xml_node &element,
                                                                   const char *literal,
                                                                   const char *reference) const
{
    if (const auto child = element.child(literal))
    {
        // Only an `Integer` has integer literals; no other element has "Int" in its name.
        if (std::string_view(element.name()).find("Int") != std::string_view::npos)
        {
            return Bound{false, int64_t{child.text().as_llong()}};
        }
        return Bound{false, ToDouble(child.text())};
    }
    if (const auto child = element.child(reference))
    {
        const std::string name = child.text().get();
        if (const auto index = m_parser->IndexOf(name))
        {
            return Bound{true, VectorPtr(m_parser, *index)};
        }
        return Bound{true, name};
    }
    return std::nullopt;
}

template <>
void NodeWalker<GenNodeType::Interface>::ReadValueNode(const pugi::xml_node &element)
{
    const auto pValue = ChildText(element, "pValue");
    NodeInfo node = element.child("pValue") ? StartOf(pValue) : NodeInfo{};
    node.Name = element.attribute("Name").value();
    node.pValue = pValue;
    node.Type = element.name();
    node.Min = ReadBound(element, "Min", "pMin");
    node.Max = ReadBound(element, "Max", "pMax");
    node.Inc = ReadBound(element, "Inc", "pInc");
    node.Value = ReadBound(element, "Value", "pValue");
    node.EnumEntries = ReadEnumEntries(element);
    const auto append = [&element](std::vector<std::string> &list, const char *child)
    {
        const auto texts = TextsOf(element, child);
        list.insert(list.end(), texts.begin(), texts.end());
    };
    append(node.pSelected, "pSelected");
    append(node.pInvalidator, "pInvalidator");
    const auto replace = [&element](std::string &condition, const char *child)
    {
        if (auto text = ChildText(element, child); !text.empty())
        {
            condition = std::move(text);
        }
    };
    replace(node.pIsAvailable, "pIsAvailable");
    replace(node.pIsImplemented, "pIsImplemented");
    const auto name = node.Name;
    m_parser->m_interfaces.try_emplace(name, m_parser->Append(std::move(node)));
}

template <>
bool NodeWalker<GenNodeType::Interface>::for_each(pugi::xml_node &element)
{
    static constexpr std::array<std::string_view, 5> elements{"Integer", "Float", "Enumeration", "Boolean",
                                                              "Command"};
    if (IsOneOf(element.name(), elements))
    {
        ReadValueNode(element);
    }
    else if (std::string_view(element.name()) == "Category")
    {
        m_parser->m_categories.try_emplace(element.attribute("Name").value(), TextsOf(element, "pFeature"));
    }
    return true;
}

NodeMapParser::NodeMapParser(const std::string_view &xml) : m_valid(Parse(xml))
{
    if (!m_valid)
    {
        QVR_LOG_ERROR("Parsing of XML file failed!");
    }
}

bool NodeMapParser::Parse(const std::string_view &xml)
{
    pugi::xml_document document;
    const auto result = document.load_buffer(xml.data(), xml.size());
    if (!result)
    {
        constexpr size_t reach = 20;
        const auto offset = static_cast<size_t>(std::max<ptrdiff_t>(result.offset, 0));
        const auto begin = std::min(offset - std::min(offset, reach), xml.size());
        const auto end = std::min(offset + reach, xml.size());
        QVR_LOG_ERROR("Could not load xml at offset {}: {}!\n...{}...", offset, result.description(),
                      xml.substr(begin, end - begin));
        return false;
    }
    auto root = document.child("RegisterDescription");
    if (!root)
    {
        return false;
    }
    // Value nodes refer to registers and converters, so those are read first.
    NodeWalker<GenNodeType::Register> registers(this);
    NodeWalker<GenNodeType::Converter> converters(this);
    NodeWalker<GenNodeType::Interface> interfaces(this);
    root.traverse(registers);
    root.traverse(converters);
    root.traverse(interfaces);
    return true;
}

VectorPtr NodeMapParser::Append(NodeInfo node)
{
    m_indices.try_emplace(node.Name, m_nodes.size());
    m_nodes.push_back(std::move(node));
    return {this, m_nodes.size() - 1};
}

std::optional<size_t> NodeMapParser::IndexOf(const std::string &name) const
{
    const auto found = m_indices.find(name);
    return found != m_indices.end() ? std::optional(found->second) : std::nullopt;
}

const NodeInfo *NodeMapParser::Search(const std::string &name) const
{
    const auto index = IndexOf(name);
    return index ? &m_nodes[*index] : nullptr;
}

GenNodeType NodeMapParser::GetNodeType(const std::string &name) const
{
    if (HasNode(name))
    {
        // The node's name decides, not its element. Registers and value nodes are read alike, so a wrong
        // answer does no harm.
        return name.find("Reg") != std::string::npos ? GenNodeType::Register : GenNodeType::Interface;
    }
    if (m_converters.contains(name))
    {
        return GenNodeType::Converter;
    }
    return m_structEntries.contains(name) ? GenNodeType::StructEntry : GenNodeType::Unknown;
}

const NodeInfo &NodeMapParser::FindNode(const std::string &name) const
{
    const auto *node = Search(name);
    if (node == nullptr)
    {
        throw GenTLException(fmt::format("Did not find node {}!", name), GC_ERR_ERROR);
    }
    return *node;
}

std::optional<NodeInfo> NodeMapParser::TryFindNode(const std::string &name) const
{
    const auto *node = Search(name);
    return node != nullptr ? std::optional(*node) : std::nullopt;
}

bool NodeMapParser::HasNode(const std::string &name) const
{
    return Search(name) != nullptr;
}

namespace
{

/// Finds an entry of a table, or throws an error with its name.
template <typename Table>
const auto &Lookup(const Table &table, const std::string &name, const char *message)
{
    const auto entry = table.find(name);
    if (entry == table.end())
    {
        throw std::runtime_error(fmt::format(fmt::runtime(message), name));
    }
    return entry->second;
}

} // namespace

const NodeInfo &NodeMapParser::FindRegisterNode(const std::string &name) const
{
    return *Lookup(m_registers, name, "Register Node {} not found!");
}

const NodeInfo &NodeMapParser::FindInterfaceNode(const std::string &name) const
{
    return *Lookup(m_interfaces, name, "Interface Node {} not found!");
}

const NodeInfo &NodeMapParser::FindFeatureNode(const std::string &name) const
{
    const auto *node = TryFindFeatureNode(name);
    return node != nullptr ? *node : FindInterfaceNode(name);
}

const NodeInfo *NodeMapParser::TryFindFeatureNode(const std::string &name) const
{
    for (const auto *table : {&m_interfaces, &m_registers})
    {
        if (const auto node = table->find(name); node != table->end())
        {
            return &*node->second;
        }
    }
    return nullptr;
}

std::optional<NodeInfo> NodeMapParser::TryFindNodeByAddress(uint64_t address) const
{
    const auto entry = m_addresses.find(address);
    return entry != m_addresses.end() ? std::optional(*entry->second) : std::nullopt;
}

const ConverterRecord &NodeMapParser::FindConverter(const std::string &name) const
{
    return Lookup(m_converters, name, "Converter {} not found!");
}

std::optional<ConverterRecord> NodeMapParser::TryFindConverter(const std::string &name) const
{
    const auto entry = m_converters.find(name);
    return entry != m_converters.end() ? std::optional(entry->second) : std::nullopt;
}

const StructEntryRecord &NodeMapParser::FindStructEntry(const std::string &name) const
{
    return Lookup(m_structEntries, name, "StructEntry {} not found!");
}

std::vector<std::string> NodeMapParser::GetCategoryFeatures(const std::string &name) const
{
    return Lookup(m_categories, name, "Category {} not found!");
}

} // namespace GenTL::internal::nodemap
