#include "remote/description_editor.h"

#include "genapi/graph_walks.h"
#include "remote/feature_move.h"
#include "remote/public_entries.h"
#include "remote/register_window.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace GenTL::internal
{

using genapi::NodeKind;
using genapi::noNode;
using genapi::Tag;

namespace
{

constexpr std::string_view noGuid = "00000000-0000-0000-0000-000000000000";

} // namespace

DescriptionEditor::DescriptionEditor(const DeviceDocument &device, const ConversionTable &conversions)
    : m_device(device), m_conversions(conversions),
      m_edits(device.text, device.root), m_plan{.registers = RegisterPlan(device.graph)}
{
}

EditedDescription DescriptionEditor::Edit()
{
    auto taken = genapi::StaticRanges(m_device.graph);
    taken.push_back(m_device.range);
    const auto base = RegisterWindow::FreeBase(taken);
    m_result.base = base.value_or(0);
    if (!base || !m_plan.registers.HasPort())
    {
        m_result.document = m_device.text;
        m_result.hash = HashOf(m_result.document);
        return std::move(m_result);
    }
    m_plan = PlanEdit(m_device.graph, m_conversions);
    MoveFeatures();
    BindLiterals();
    AddTransport();
    AddPayloadSize();
    AddCategory();
    Finish();
    return std::move(m_result);
}

void DescriptionEditor::MoveFeatures()
{
    std::vector<FeatureMove> moves;
    for (const auto &replaced : m_plan.replaced)
    {
        const bool isFloat = m_plan.registers[replaced.position].isFloat;
        moves.push_back({replaced.feature, m_plan.registers.Name(replaced.deviceName), replaced.isShown,
                         isFloat ? "Float" : "Integer"});
        if (replaced.isShown)
        {
            m_listed.push_back(moves.back().deviceName);
        }
    }
    // Before the features are copied, so that the copies have the new names.
    RenameReferences(m_device.graph, moves, m_edits);
    const PublicEntries entries(m_device.graph, m_plan, m_edits);
    m_result.pixelSizes = entries.Depths();
    for (size_t i = 0; i < moves.size(); ++i)
    {
        const auto &replaced = m_plan.replaced[i];
        MoveAside(m_device.graph, moves[i], m_edits);
        for (const auto &[twin, name] : replaced.twins)
        {
            m_edits.SetAttribute(m_device.graph[twin].element, "Name", m_plan.registers.Name(name));
        }
        m_group += PublicFeature(m_device.graph, moves[i],
                                 entries.Of(replaced) + Reference("pValue", replaced.position), m_edits);
        AddInvalidatorsFor(replaced);
    }
}

void DescriptionEditor::AddInvalidatorsFor(const ReplacedFeature &replaced)
{
    const auto &entry = m_plan.registers[replaced.position];
    if (!entry.isWritable)
    {
        return;
    }
    std::vector<std::string> writers{entry.node};
    if (entry.role == RegisterRole::PixelFormat && m_plan.transport)
    {
        writers.push_back(m_plan.registers[*m_plan.transport].node);
    }
    AddInvalidators(m_device.graph, genapi::ValueChain(m_device.graph, replaced.feature), writers, m_edits);
}

void DescriptionEditor::BindLiterals()
{
    for (const auto &entry : m_plan.registers.Registers())
    {
        if (entry.role == RegisterRole::Literal)
        {
            const auto *const value = m_device.graph.Find(m_device.graph.Find(entry.subject), Tag::Value);
            m_edits.Replace(value->element, m_edits.TextElement("pValue", entry.node));
        }
    }
}

void DescriptionEditor::AddTransport()
{
    if (!m_plan.transport)
    {
        return;
    }
    const auto entry = [&](std::string_view name, std::string_view tip, FormatTransport value)
    {
        return m_edits.Node("EnumEntry", name,
                            m_edits.TextElement("ToolTip", tip) +
                                m_edits.Element("Value", std::to_string(static_cast<int64_t>(value))));
    };
    const auto name = m_plan.registers.Name(names::transport);
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
            Reference("pValue", *m_plan.transport));
    m_listed.insert(m_listed.begin(), name);
}

void DescriptionEditor::AddPayloadSize()
{
    if (!m_plan.addedPayloadSize)
    {
        return;
    }
    m_group += m_edits.Node(
        "Integer", "PayloadSize",
        m_edits.TextElement("ToolTip", "The size of a buffer for one frame, in bytes.") +
            m_edits.TextElement("DisplayName", "Payload Size") + m_edits.TextElement("Visibility", "Expert") +
            Reference("pValue", *m_plan.addedPayloadSize) + m_edits.TextElement("Unit", "B"),
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
    const auto name = m_plan.registers.Name(names::category);
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
    for (const auto &entry : m_plan.registers.Registers())
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

void DescriptionEditor::Finish()
{
    const auto group = [&](uint64_t first)
    {
        auto element = m_edits.Element("Group", "\n" + m_group + RegisterElements(first));
        return element.insert(element.find('>'), " Comment=\"ProxyControl\"") + "\n";
    };
    const auto guid = m_edits.SetAttribute(m_device.root, "VersionGuid", noGuid);
    const uint64_t size = m_edits.Size() + group(0).size();
    m_edits.Append(m_device.root, group(m_result.base + RegisterWindow::RegistersOffset(size)));
    m_result.document = m_edits.Apply();
    m_result.hash = HashOf(m_result.document);
    if (guid != std::string::npos)
    {
        // No edit stands in front of the root's attributes.
        m_result.document.replace(guid, noGuid.size(), GuidOf(m_result.hash));
    }
    m_result.formats = std::move(m_plan.formats);
    m_result.isScan3d = m_plan.isScan3d;
    m_result.registers = m_plan.registers.Registers();
}

std::string DescriptionEditor::Reference(std::string_view element, size_t position) const
{
    return m_edits.TextElement(element, m_plan.registers[position].node);
}

} // namespace GenTL::internal
