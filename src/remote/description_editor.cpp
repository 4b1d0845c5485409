#include "remote/description_editor.h"

#include "genapi/number.h"
#include "remote/element_order.h"
#include "remote/element_places.h"
#include "remote/register_window.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace GenTL::internal
{

using genapi::NodeGraph;
using genapi::NodeId;
using genapi::NodeKind;
using genapi::noNode;
using genapi::Tag;

namespace
{

/// The features that are evaluated on this side of the port: a literal of the consumer's that they depend on
/// must be known here.
constexpr std::array<std::string_view, 14> evaluatedFeatures{"PixelFormat",
                                                             "PixelSize",
                                                             "PayloadSize",
                                                             "Width",
                                                             "Height",
                                                             "OffsetX",
                                                             "OffsetY",
                                                             "ReverseX",
                                                             "ReverseY",
                                                             "ComponentSelector",
                                                             "BinningHorizontal",
                                                             "BinningVertical",
                                                             "DecimationHorizontal",
                                                             "DecimationVertical"};

constexpr std::string_view noGuid = "00000000-0000-0000-0000-000000000000";

bool IsIntegerKind(NodeKind kind)
{
    constexpr std::array kinds{NodeKind::Integer,      NodeKind::IntReg,        NodeKind::MaskedIntReg,
                               NodeKind::StructEntry,  NodeKind::IntSwissKnife, NodeKind::SwissKnife,
                               NodeKind::IntConverter, NodeKind::Converter};
    return std::ranges::find(kinds, kind) != kinds.end();
}

/// A node, if it can be replaced by a feature of ours: an Enumeration with entries, or if `mayBeInteger` a
/// node that can become an Integer. Else noNode.
NodeId Replaceable(const NodeGraph &graph, std::string_view name, bool mayBeEnumeration, bool mayBeInteger)
{
    const auto id = graph.Find(name);
    if (id == noNode || !graph[id].element.first_child())
    {
        return noNode;
    }
    const bool isEnumeration =
        graph[id].kind == NodeKind::Enumeration && graph.Find(id, Tag::EnumEntry) != nullptr;
    return (isEnumeration && mayBeEnumeration) || (IsIntegerKind(graph[id].kind) && mayBeInteger) ? id
                                                                                                  : noNode;
}

bool IsNumberLiteral(NodeKind kind)
{
    constexpr std::array kinds{NodeKind::Integer, NodeKind::Float, NodeKind::Boolean, NodeKind::Enumeration};
    return std::ranges::find(kinds, kind) != kinds.end();
}

std::string JoinedNames(const std::vector<FormatEntry> &entries, const std::vector<size_t> &positions)
{
    std::string joined;
    for (const auto position : positions)
    {
        joined += (joined.empty() ? "" : ", ") + entries[position].name;
    }
    return joined;
}

/// An entry of the device's with other conditions.
std::string EntryWithConditions(const pugi::xml_node &entry, std::string_view conditions,
                                const DocumentEdits &edits)
{
    const auto before = NodeChildrenUpTo("EventID");
    std::string head;
    std::string rest;
    for (const auto &child : entry.children())
    {
        const auto name = LocalName(child);
        if (name != "pIsImplemented" && name != "pIsAvailable")
        {
            const bool isBefore = std::ranges::find(before, name) != before.end();
            (isBefore ? head : rest) += edits.Copy(child);
        }
    }
    return fmt::format("{}{}{}{}</{}>\n", edits.StartTag(entry), head, conditions, rest, entry.name());
}

/// The bits in the name of an entry of PixelSize; none for any other name.
std::optional<uint32_t> BitsInName(std::string_view name)
{
    if (!name.starts_with("Bpp"))
    {
        return std::nullopt;
    }
    const auto bits = genapi::ParseInteger(name.substr(3));
    return bits && *bits > 0 && *bits < 1000 ? std::optional(static_cast<uint32_t>(*bits)) : std::nullopt;
}

} // namespace

DescriptionEditor::DescriptionEditor(const DeviceDocument &device, const ConversionTable &conversions)
    : m_device(device), m_conversions(conversions), m_edits(device.text, device.root), m_plan(device.graph)
{
}

EditedDescription DescriptionEditor::Edit()
{
    auto taken = genapi::StaticRanges(m_device.graph);
    taken.push_back(m_device.range);
    const auto base = RegisterWindow::FreeBase(taken);
    if (!base || !m_plan.HasPort())
    {
        m_result.document = m_device.text;
        return std::move(m_result);
    }
    PlanPixelFormat();
    PlanSizes();
    PlanLiterals();
    m_plan.ChooseNames();
    MoveFeatures();
    AddTransport();
    AddPayloadSize();
    AddCategory();
    Finish(*base);
    return std::move(m_result);
}

void DescriptionEditor::PlanPixelFormat()
{
    const auto id = Replaceable(m_device.graph, "PixelFormat", true, false);
    if (id == noNode)
    {
        return;
    }
    m_replaced.pixelFormat = id;
    m_result.formats = PlanFormats(m_device.graph, id, m_conversions);
    m_positions.pixelFormat = m_plan.Add(RegisterRole::PixelFormat, "PixelFormatValue", id);
    m_plan[*m_positions.pixelFormat].isWritable = true;
    bool hasChoice = false;
    for (size_t i = 0; i < m_result.formats.size(); ++i)
    {
        const auto &entry = m_result.formats[i];
        if (entry.inputs.empty())
        {
            continue;
        }
        hasChoice = hasChoice || entry.IsDevices();
        // The position tells two entries with one name apart.
        const bool isRepeated = std::ranges::find(m_result.formats, entry.name, &FormatEntry::name) !=
                                m_result.formats.begin() + static_cast<std::ptrdiff_t>(i);
        const auto name = isRepeated ? fmt::format("{}_{}", entry.name, i) : entry.name;
        const auto implemented = m_plan.Add(RegisterRole::EntryImplemented, name + "Implemented", id);
        const auto available = m_plan.Add(RegisterRole::EntryAvailable, name + "Available", id);
        m_plan[implemented].entry = i;
        m_plan[available].entry = i;
        m_positions.conditions[i] = {implemented, available};
    }
    if (hasChoice)
    {
        m_positions.transport =
            m_plan.Add(RegisterRole::PixelFormatTransport, "PixelFormatTransportValue", id);
        m_plan[*m_positions.transport].isWritable = true;
    }
}

void DescriptionEditor::PlanSizes()
{
    const auto &graph = m_device.graph;
    const auto payloadSize = Replaceable(graph, "PayloadSize", false, true);
    if (payloadSize != noNode || graph.Find("PayloadSize") == noNode)
    {
        m_replaced.payloadSize = payloadSize;
        m_positions.payloadSize = m_plan.Add(RegisterRole::PayloadSize, "PayloadSizeValue", payloadSize);
    }
    const auto pixelSize = Replaceable(graph, "PixelSize", true, true);
    if (pixelSize != noNode && !m_positions.conditions.empty())
    {
        m_replaced.pixelSize = pixelSize;
        m_positions.pixelSize = m_plan.Add(RegisterRole::PixelSize, "PixelSizeValue", pixelSize);
    }
}

void DescriptionEditor::PlanLiterals()
{
    const auto &graph = m_device.graph;
    std::vector<NodeId> features;
    for (const auto name : evaluatedFeatures)
    {
        if (const auto id = graph.Find(name); id != noNode)
        {
            features.push_back(id);
        }
    }
    for (const auto id : genapi::WritableLiteralsBehind(graph, features))
    {
        const std::array replaced{m_replaced.pixelFormat, m_replaced.pixelSize, m_replaced.payloadSize};
        if (!IsNumberLiteral(graph[id].kind) || std::ranges::find(replaced, id) != replaced.end())
        {
            continue;
        }
        const auto position =
            m_plan.Add(RegisterRole::Literal, fmt::format("{}Value", graph[id].name), noNode);
        m_plan[position].literal = graph[id].name;
        m_plan[position].isWritable = true;
        m_plan[position].isFloat = genapi::IsFloat(graph[id].kind);
    }
}

void DescriptionEditor::MoveFeatures()
{
    std::vector<FeatureMove> moves;
    const auto add = [&](NodeId id, std::string_view deviceName, bool isShown)
    {
        if (id != noNode)
        {
            moves.push_back({id, m_plan.Name(deviceName), isShown});
            if (isShown)
            {
                m_listed.push_back(moves.back().deviceName);
            }
        }
    };
    add(m_replaced.pixelFormat, names::devicePixelFormat, true);
    add(m_replaced.payloadSize, names::devicePayloadSize, true);
    add(m_replaced.pixelSize, names::devicePixelSize, false);
    // Before the copies, which show renamed references.
    RenameReferences(m_device.graph, moves, m_edits);
    for (const auto &move : moves)
    {
        MoveAside(m_device.graph, move, m_edits);
    }
    AddPublicFeatures(moves);
    if (m_positions.pixelFormat)
    {
        std::vector<std::string> writers{m_plan[*m_positions.pixelFormat].node};
        if (m_positions.transport)
        {
            writers.push_back(m_plan[*m_positions.transport].node);
        }
        AddInvalidators(m_device.graph, genapi::ValueChain(m_device.graph, m_replaced.pixelFormat), writers,
                        m_edits);
    }
    for (const auto &entry : m_plan.Registers())
    {
        if (entry.role == RegisterRole::Literal)
        {
            const auto *const value = m_device.graph.Find(m_device.graph.Find(entry.literal), Tag::Value);
            m_edits.Replace(value->element, m_edits.TextElement("pValue", entry.node));
        }
    }
}

void DescriptionEditor::AddPublicFeatures(const std::vector<FeatureMove> &moves)
{
    for (const auto &move : moves)
    {
        std::string value;
        if (move.feature == m_replaced.pixelFormat)
        {
            value = PixelFormatEntries() + Reference("pValue", *m_positions.pixelFormat);
        }
        else if (move.feature == m_replaced.pixelSize)
        {
            value = PixelSizeEntries() + Reference("pValue", *m_positions.pixelSize);
        }
        else
        {
            value = Reference("pValue", *m_positions.payloadSize);
        }
        m_group += PublicFeature(m_device.graph, move, value, m_edits);
    }
}

std::string DescriptionEditor::PixelFormatEntries() const
{
    std::string entries;
    for (size_t i = 0; i < m_result.formats.size(); ++i)
    {
        const auto &entry = m_result.formats[i];
        const auto found = m_positions.conditions.find(i);
        if (found == m_positions.conditions.end())
        {
            entries += m_edits.Copy(m_device.graph[entry.device].element);
            continue;
        }
        const auto conditions = Reference("pIsImplemented", found->second.first) +
                                Reference("pIsAvailable", found->second.second);
        if (entry.IsDevices())
        {
            entries += EntryWithConditions(m_device.graph[entry.device].element, conditions, m_edits);
            continue;
        }
        const auto tip = fmt::format("Unpacked from {}.", JoinedNames(m_result.formats, entry.inputs));
        entries += m_edits.Node("EnumEntry", entry.name,
                                m_edits.TextElement("ToolTip", tip) +
                                    m_edits.TextElement("DisplayName", entry.name) + conditions +
                                    m_edits.Element("Value", std::to_string(entry.value)));
    }
    return entries;
}

std::string DescriptionEditor::PixelSizeEntries()
{
    const auto &graph = m_device.graph;
    if (graph[m_replaced.pixelSize].kind != NodeKind::Enumeration)
    {
        return {};
    }
    const auto depths = MadeDepths(m_result.formats);
    std::vector<int64_t> values;
    std::string entries;
    for (const auto &property : graph.PropertiesOf(m_replaced.pixelSize))
    {
        if (property.tag != Tag::EnumEntry)
        {
            continue;
        }
        const auto *const literal = graph.Find(property.target, Tag::Value);
        values.push_back(literal != nullptr ? genapi::ParseInteger(literal->Text()).value_or(0) : 0);
        const auto bits = BitsInName(graph[property.target].name);
        const bool isMade = bits && std::ranges::find(depths, *bits) != depths.end();
        entries +=
            isMade ? EntryWithConditions(property.element, {}, m_edits) : m_edits.Copy(property.element);
        if (bits)
        {
            m_result.pixelSizes.emplace_back(*bits, values.back());
        }
    }
    for (const auto bits : depths)
    {
        if (std::ranges::find(m_result.pixelSizes, bits, &std::pair<uint32_t, int64_t>::first) ==
            m_result.pixelSizes.end())
        {
            values.push_back(FreeValue(bits, values));
            m_result.pixelSizes.emplace_back(bits, values.back());
            entries += m_edits.Node("EnumEntry", fmt::format("Bpp{}", bits),
                                    m_edits.Element("Value", std::to_string(values.back())));
        }
    }
    return entries;
}

void DescriptionEditor::AddTransport()
{
    if (!m_positions.transport)
    {
        return;
    }
    const auto entry = [&](std::string_view name, std::string_view tip, FormatTransport value)
    {
        return m_edits.Node("EnumEntry", name,
                            m_edits.TextElement("ToolTip", tip) +
                                m_edits.Element("Value", std::to_string(static_cast<int64_t>(value))));
    };
    const auto name = m_plan.Name(names::transport);
    m_group += m_edits.Node(
        "Enumeration", name,
        m_edits.TextElement("ToolTip", "Which format the device sends for a PixelFormat that it has itself "
                                       "and that can be unpacked from another one.") +
            m_edits.TextElement("DisplayName", "Pixel Format Transport") +
            m_edits.TextElement("Visibility", "Expert") + m_edits.TextElement("Streamable", "Yes") +
            entry("Requested", "The device sends the format of PixelFormat, if it has it.",
                  FormatTransport::Requested) +
            entry("Packed", "The device sends the packed form, which takes less of the link.",
                  FormatTransport::Packed) +
            Reference("pValue", *m_positions.transport));
    m_listed.insert(m_listed.begin(), name);
}

void DescriptionEditor::AddPayloadSize()
{
    if (!m_positions.payloadSize || m_replaced.payloadSize != noNode)
    {
        return;
    }
    m_group += m_edits.Node(
        "Integer", "PayloadSize",
        m_edits.TextElement("ToolTip", "The size of a buffer for one frame, in bytes.") +
            m_edits.TextElement("DisplayName", "Payload Size") + m_edits.TextElement("Visibility", "Expert") +
            Reference("pValue", *m_positions.payloadSize) + m_edits.TextElement("Unit", "B"),
        " NameSpace=\"Standard\"");
    const auto category = m_device.graph.Find("TransportLayerControl");
    if (category == noNode || m_device.graph[category].kind != NodeKind::Category)
    {
        m_listed.emplace_back("PayloadSize");
        return;
    }
    constexpr std::array<std::string_view, 1> features{"pFeature"};
    m_edits.InsertBehind(m_device.graph[category].element, features,
                         m_edits.TextElement("pFeature", "PayloadSize"));
}

void DescriptionEditor::AddCategory()
{
    const auto name = m_plan.Name(names::category);
    std::string content =
        m_edits.TextElement("ToolTip",
                            "What the device sends, and what becomes of it before it is delivered.") +
        m_edits.TextElement("DisplayName", "Proxy Control") + m_edits.TextElement("Visibility", "Beginner");
    for (const auto &feature : m_listed)
    {
        content += m_edits.TextElement("pFeature", feature);
    }
    m_group.insert(0, m_edits.Node("Category", name, content));
    const auto root = m_device.graph.Find("Root");
    if (root != noNode && m_device.graph[root].kind == NodeKind::Category)
    {
        m_edits.Append(m_device.graph[root].element, m_edits.TextElement("pFeature", name));
    }
}

std::string DescriptionEditor::RegisterElements(uint64_t first) const
{
    std::string elements;
    for (const auto &entry : m_plan.Registers())
    {
        const auto text = [&](std::string_view name, std::string_view value)
        { return m_edits.TextElement(name, value); };
        // The address has a fixed length, so that the document's size does not depend on it.
        elements +=
            m_edits.Node(entry.isFloat ? "FloatReg" : "IntReg", entry.node,
                         text("Visibility", "Invisible") + text("Address", fmt::format("0x{:016X}", first)) +
                             text("Length", std::to_string(RegisterWindow::numberLength)) +
                             text("AccessMode", entry.isWritable ? "RW" : "RO") + text("pPort", entry.port) +
                             text("Cachable", "NoCache") + (entry.isFloat ? "" : text("Sign", "Signed")) +
                             text("Endianess", entry.isSwapped ? "BigEndian" : "LittleEndian"));
        first += RegisterWindow::numberLength;
    }
    return elements;
}

void DescriptionEditor::Finish(uint64_t base)
{
    const auto group = [&](uint64_t first)
    {
        auto element = m_edits.Element("Group", "\n" + m_group + RegisterElements(first));
        return element.insert(element.find('>'), " Comment=\"ProxyControl\"") + "\n";
    };
    const auto guid = m_edits.SetAttribute(m_device.root, "VersionGuid", noGuid);
    const uint64_t size = m_edits.Size() + group(0).size();
    m_edits.Append(m_device.root, group(base + RegisterWindow::RegistersOffset(size)));
    m_result.base = base;
    m_result.document = m_edits.Apply();
    m_result.hash = HashOf(m_result.document);
    if (guid != std::string::npos)
    {
        // No edit stands in front of the root's attributes.
        m_result.document.replace(guid, noGuid.size(), GuidOf(m_result.hash));
    }
    m_result.registers = m_plan.Registers();
}

std::string DescriptionEditor::Reference(std::string_view element, size_t position) const
{
    return m_edits.TextElement(element, m_plan[position].node);
}

} // namespace GenTL::internal
