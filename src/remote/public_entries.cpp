#include "remote/public_entries.h"

#include "genapi/number.h"
#include "processing/scan3d.h"
#include "remote/element_order.h"
#include "remote/element_places.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace GenTL::internal
{

using genapi::NodeGraph;
using genapi::NodeId;
using genapi::NodeKind;
using genapi::Tag;

namespace
{

std::string InputNames(const std::vector<FormatEntry> &entries, const FormatEntry &made)
{
    std::string joined;
    for (const auto input : made.inputs)
    {
        joined += (joined.empty() ? "" : ", ") + entries[input].name;
    }
    return joined;
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

PublicEntries::PublicEntries(const NodeGraph &graph, const EditPlan &plan, const DocumentEdits &edits)
    : m_graph(graph), m_plan(plan), m_edits(edits)
{
}

std::string PublicEntries::Of(const ReplacedFeature &replaced) const
{
    if (m_graph[replaced.feature].kind != NodeKind::Enumeration)
    {
        return {};
    }
    switch (m_plan.registers[replaced.position].role)
    {
    case RegisterRole::PixelFormat:
        return PixelFormats();
    case RegisterRole::PixelSize:
        return PixelSizeEntries(replaced.feature);
    case RegisterRole::Scan3dOutputMode:
        return OutputModes(replaced.feature);
    case RegisterRole::Scan3dCoordinate:
        return Coordinates(replaced.feature);
    default:
        return {};
    }
}

std::string PublicEntries::PixelFormats() const
{
    std::string entries;
    for (size_t i = 0; i < m_plan.formats.size(); ++i)
    {
        const auto &entry = m_plan.formats[i];
        const auto found = m_plan.formatConditions.find(i);
        if (found == m_plan.formatConditions.end())
        {
            entries += m_edits.Copy(m_graph[entry.device].element);
            continue;
        }
        const auto conditions = Conditions(found->second.first, found->second.second);
        if (entry.IsDevices())
        {
            entries += WithConditions(m_graph[entry.device].element, conditions);
            continue;
        }
        const auto tip = entry.inputs.empty()
                             ? "Made of the device's depth in an output mode."
                             : fmt::format("Unpacked from {}.", InputNames(m_plan.formats, entry));
        entries += m_edits.Node("EnumEntry", entry.name,
                                m_edits.TextElement("ToolTip", tip) +
                                    m_edits.TextElement("DisplayName", entry.name) + conditions +
                                    m_edits.Element("Value", std::to_string(entry.value)));
    }
    return entries;
}

std::string PublicEntries::PixelSizeEntries(NodeId pixelSize) const
{
    const auto made = MadeDepths(m_plan.formats, m_plan.isScan3d);
    std::string entries;
    size_t known = 0;
    for (const auto id : EntriesOf(pixelSize))
    {
        const auto bits = BitsInName(m_graph[id].name);
        const bool isMade = bits && std::ranges::find(made, *bits) != made.end();
        entries += isMade ? WithConditions(m_graph[id].element, {}) : m_edits.Copy(m_graph[id].element);
        known += bits ? 1U : 0U;
    }
    const auto depths = Depths();
    for (size_t i = known; i < depths.size(); ++i)
    {
        entries += m_edits.Node("EnumEntry", fmt::format("Bpp{}", depths[i].first),
                                m_edits.Element("Value", std::to_string(depths[i].second)));
    }
    return entries;
}

PixelSizes PublicEntries::Depths() const
{
    const auto pixelSize = m_graph.Find("PixelSize");
    if (pixelSize == genapi::noNode || m_graph[pixelSize].kind != NodeKind::Enumeration)
    {
        return {};
    }
    PixelSizes depths;
    std::vector<int64_t> values;
    for (const auto id : EntriesOf(pixelSize))
    {
        values.push_back(ValueOf(id));
        if (const auto bits = BitsInName(m_graph[id].name))
        {
            depths.emplace_back(*bits, values.back());
        }
    }
    for (const auto bits : MadeDepths(m_plan.formats, m_plan.isScan3d))
    {
        if (std::ranges::find(depths, bits, &PixelSizes::value_type::first) == depths.end())
        {
            values.push_back(FreeValue(bits, values));
            depths.emplace_back(bits, values.back());
        }
    }
    return depths;
}

std::string PublicEntries::OutputModes(NodeId outputMode) const
{
    const auto calibrated = Conditions(*m_plan.depthOffered, *m_plan.depthOffered);
    std::string entries;
    for (const auto id : EntriesOf(outputMode))
    {
        const auto *const made = MadeOutputMode(m_graph[id].name);
        const auto &element = m_graph[id].element;
        entries += made == nullptr ? m_edits.Copy(element)
                                   : WithConditions(element, made->isRaw ? std::string() : calibrated);
    }
    return entries;
}

std::string PublicEntries::Coordinates(NodeId selector) const
{
    std::string entries;
    for (const auto id : EntriesOf(selector))
    {
        const auto condition = m_plan.coordinateConditions.find(id);
        entries += condition != m_plan.coordinateConditions.end()
                       ? WithConditions(m_graph[id].element, Conditions(condition->second, condition->second))
                       : m_edits.Copy(m_graph[id].element);
    }
    return entries;
}

std::string PublicEntries::WithConditions(const pugi::xml_node &entry, std::string_view conditions) const
{
    const auto before = NodeChildrenUpTo("EventID");
    std::string head;
    std::string rest;
    for (const auto &child : entry.children())
    {
        const auto name = LocalName(child);
        if (child.type() == pugi::node_element && name != "pIsImplemented" && name != "pIsAvailable")
        {
            const bool isBefore = std::ranges::find(before, name) != before.end();
            (isBefore ? head : rest) += m_edits.Copy(child);
        }
    }
    return fmt::format("{}{}{}{}</{}>\n", m_edits.StartTag(entry), head, conditions, rest, entry.name());
}

std::string PublicEntries::Conditions(size_t implemented, size_t available) const
{
    return m_edits.TextElement("pIsImplemented", m_plan.registers[implemented].node) +
           m_edits.TextElement("pIsAvailable", m_plan.registers[available].node);
}

std::vector<NodeId> PublicEntries::EntriesOf(NodeId enumeration) const
{
    std::vector<NodeId> entries;
    for (const auto &property : m_graph.PropertiesOf(enumeration))
    {
        if (property.tag == Tag::EnumEntry)
        {
            entries.push_back(property.target);
        }
    }
    return entries;
}

int64_t PublicEntries::ValueOf(NodeId entry) const
{
    const auto *const literal = m_graph.Find(entry, Tag::Value);
    return literal != nullptr ? genapi::ParseInteger(literal->Text()).value_or(0) : 0;
}

} // namespace GenTL::internal
