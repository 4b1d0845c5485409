#include "remote/edit_plan.h"

#include "genapi/graph_walks.h"
#include "processing/component.h"
#include "processing/scan3d.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace GenTL::internal
{

using genapi::NodeGraph;
using genapi::NodeId;
using genapi::NodeKind;
using genapi::noNode;
using genapi::Tag;

namespace
{

/// The features that the producer evaluates itself. If one depends on a literal that a consumer may write,
/// the producer must see that write.
constexpr std::array<std::string_view, 23> evaluatedFeatures{"PixelFormat",
                                                             "PixelSize",
                                                             "PayloadSize",
                                                             "Width",
                                                             "Height",
                                                             "OffsetX",
                                                             "OffsetY",
                                                             "ReverseX",
                                                             "ReverseY",
                                                             "ComponentSelector",
                                                             "ComponentEnable",
                                                             "BinningHorizontal",
                                                             "BinningVertical",
                                                             "DecimationHorizontal",
                                                             "DecimationVertical",
                                                             "Scan3dOutputMode",
                                                             "Scan3dCoordinateScale",
                                                             "Scan3dCoordinateSelector",
                                                             "Scan3dAxisMin",
                                                             "Scan3dCoordinateOffset",
                                                             "Scan3dAxisMax",
                                                             "Scan3dInvalidDataValue",
                                                             "Scan3dInvalidDataFlag"};

constexpr std::array integerKinds{NodeKind::Integer,      NodeKind::IntReg,        NodeKind::MaskedIntReg,
                                  NodeKind::StructEntry,  NodeKind::IntSwissKnife, NodeKind::SwissKnife,
                                  NodeKind::IntConverter, NodeKind::Converter};
constexpr std::array scan3dValueKinds{NodeKind::Integer,   NodeKind::IntReg,       NodeKind::MaskedIntReg,
                                      NodeKind::Float,     NodeKind::FloatReg,     NodeKind::StructEntry,
                                      NodeKind::Converter, NodeKind::IntConverter, NodeKind::SwissKnife,
                                      NodeKind::Boolean,   NodeKind::IntSwissKnife};
constexpr std::array scan3dValues{"Scan3dCoordinateScale", "Scan3dCoordinateOffset", "Scan3dAxisMin",
                                  "Scan3dAxisMax",         "Scan3dInvalidDataValue", "Scan3dInvalidDataFlag"};

/// A node of one of these kinds with children; noNode if the description has no such node.
NodeId FindOfKind(const NodeGraph &graph, std::string_view name, std::span<const NodeKind> kinds)
{
    const auto id = graph.Find(name);
    const bool isFitting = id != noNode && graph[id].element.first_child() &&
                           std::ranges::find(kinds, graph[id].kind) != kinds.end();
    return isFitting ? id : noNode;
}

/// An Enumeration with entries; noNode if the description has no such node.
NodeId FindEnumeration(const NodeGraph &graph, std::string_view name)
{
    const auto id = FindOfKind(graph, name, std::array{NodeKind::Enumeration});
    return id != noNode && graph.Find(id, Tag::EnumEntry) != nullptr ? id : noNode;
}

/// Whether the processing can make calibrated depth for the device.
bool IsCalibratedScan3d(const NodeGraph &graph)
{
    const auto files = FindEnumeration(graph, "FileSelector");
    if (files == noNode || graph.Find("Scan3dCoordinateScale") == noNode)
    {
        return false;
    }
    return std::ranges::any_of(
        graph.PropertiesOf(files), [&](const auto &property)
        { return property.tag == Tag::EnumEntry && graph[property.target].name == "LensCalibrationData"; });
}

/// Plans new names for further nodes with the name of a replaced feature.
void RenameTwins(EditPlan &plan, const NodeGraph &graph, ReplacedFeature &replaced)
{
    const auto name = graph[replaced.feature].name;
    for (NodeId id = 0; id < graph.Size(); ++id)
    {
        const bool isNamed = graph[id].parent == noNode || graph[id].kind == NodeKind::StructEntry;
        if (id != replaced.feature && isNamed && graph[id].name == name)
        {
            replaced.twins.emplace_back(id, fmt::format("QvrAny{}Twin{}", name, replaced.twins.size() + 1));
            plan.registers.Reserve(replaced.twins.back().second);
        }
    }
}

/// Plans a register for the value of a feature, which gets another name.
EditedRegister &Replace(EditPlan &plan, RegisterRole role, const NodeGraph &graph, NodeId feature,
                        bool isShown)
{
    const auto name = graph[feature].name;
    const auto position = plan.registers.Add(role, fmt::format("{}Value", name), feature);
    plan.replaced.push_back({feature, fmt::format("Device{}", name), isShown, position, {}});
    plan.registers.Reserve(plan.replaced.back().deviceName);
    RenameTwins(plan, graph, plan.replaced.back());
    plan.registers[position].subject = name;
    return plan.registers[position];
}

bool NeedsConditions(const EditPlan &plan, const FormatEntry &entry)
{
    const bool followsMode =
        plan.isScan3d && entry.format != nullptr && ComponentOf(entry.format->format) == Component::Image3D;
    return !entry.inputs.empty() || followsMode;
}

void PlanFormatConditions(EditPlan &plan, NodeId pixelFormat)
{
    for (size_t i = 0; i < plan.formats.size(); ++i)
    {
        const auto &entry = plan.formats[i];
        if (!NeedsConditions(plan, entry))
        {
            continue;
        }
        // The position tells two entries with one name apart.
        const auto first = std::ranges::find(plan.formats, entry.name, &FormatEntry::name);
        const auto name = &*first == &entry ? entry.name : fmt::format("{}_{}", entry.name, i);
        const auto implemented =
            plan.registers.Add(RegisterRole::EntryImplemented, name + "Implemented", pixelFormat);
        const auto available =
            plan.registers.Add(RegisterRole::EntryAvailable, name + "Available", pixelFormat);
        plan.registers[implemented].entry = i;
        plan.registers[available].entry = i;
        plan.formatConditions[i] = {implemented, available};
    }
}

void PlanPixelFormat(EditPlan &plan, const NodeGraph &graph, const ConversionTable &conversions)
{
    const auto id = FindEnumeration(graph, "PixelFormat");
    if (id == noNode)
    {
        return;
    }
    plan.formats = PlanFormats(graph, id, conversions);
    if (plan.isScan3d)
    {
        AddDepthFormats(plan.formats);
    }
    Replace(plan, RegisterRole::PixelFormat, graph, id, true).isWritable = true;
    PlanFormatConditions(plan, id);
    if (std::ranges::any_of(plan.formats, [](const FormatEntry &entry)
                            { return entry.IsDevices() && !entry.inputs.empty(); }))
    {
        plan.transport =
            plan.registers.Add(RegisterRole::PixelFormatTransport, "PixelFormatTransportValue", id);
        plan.registers[*plan.transport].isWritable = true;
    }
}

void PlanSizes(EditPlan &plan, const NodeGraph &graph)
{
    if (graph.Find("PayloadSize") == noNode)
    {
        plan.addedPayloadSize = plan.registers.Add(RegisterRole::PayloadSize, "PayloadSizeValue", noNode);
    }
    else if (const auto id = FindOfKind(graph, "PayloadSize", integerKinds); id != noNode)
    {
        Replace(plan, RegisterRole::PayloadSize, graph, id, true);
    }
    if (plan.formatConditions.empty())
    {
        return;
    }
    const auto enumeration = FindEnumeration(graph, "PixelSize");
    const auto id = enumeration != noNode ? enumeration : FindOfKind(graph, "PixelSize", integerKinds);
    if (id != noNode)
    {
        Replace(plan, RegisterRole::PixelSize, graph, id, false);
    }
}

void PlanScan3d(EditPlan &plan, const NodeGraph &graph)
{
    if (!plan.isScan3d)
    {
        return;
    }
    if (const auto id = FindEnumeration(graph, "Scan3dOutputMode"); id != noNode)
    {
        Replace(plan, RegisterRole::Scan3dOutputMode, graph, id, false).isWritable = true;
        plan.depthOffered = plan.registers.Add(RegisterRole::Scan3dDepthOffered, "Scan3dDepthOffered", id);
    }
    if (const auto id = FindEnumeration(graph, "Scan3dCoordinateSelector"); id != noNode)
    {
        Replace(plan, RegisterRole::Scan3dCoordinate, graph, id, false).isWritable = true;
        for (const auto &property : graph.PropertiesOf(id))
        {
            const auto coordinate = property.tag == Tag::EnumEntry
                                        ? Scan3dCoordinateOf(graph[property.target].name)
                                        : std::nullopt;
            if (coordinate && *coordinate != Scan3dCoordinate::CoordinateC)
            {
                const auto position = plan.registers.Add(RegisterRole::Scan3dCoordinateOffered,
                                                         fmt::format("{}Offered", ToString(*coordinate)), id);
                plan.registers[position].coordinate = property.target;
                plan.coordinateConditions[property.target] = position;
            }
        }
    }
    for (const auto *name : scan3dValues)
    {
        if (const auto id = FindOfKind(graph, name, scan3dValueKinds); id != noNode)
        {
            Replace(plan, RegisterRole::Scan3dValue, graph, id, false).isFloat = IsFloat(graph[id].kind);
        }
    }
}

void PlanLiterals(EditPlan &plan, const NodeGraph &graph)
{
    constexpr std::array kinds{NodeKind::Integer, NodeKind::Float, NodeKind::Boolean, NodeKind::Enumeration};
    std::vector<NodeId> features;
    for (const auto name : evaluatedFeatures)
    {
        const auto id = graph.Find(name);
        if (id != noNode && (plan.isScan3d || !name.starts_with("Scan3d")))
        {
            features.push_back(id);
        }
    }
    for (const auto id : genapi::WritableLiteralsBehind(graph, features))
    {
        const bool isReplaced =
            std::ranges::find(plan.replaced, id, &ReplacedFeature::feature) != plan.replaced.end();
        if (isReplaced || std::ranges::find(kinds, graph[id].kind) == kinds.end())
        {
            continue;
        }
        auto &entry = plan.registers[plan.registers.Add(RegisterRole::Literal,
                                                        fmt::format("{}Value", graph[id].name), noNode)];
        entry.subject = graph[id].name;
        entry.isWritable = true;
        entry.isFloat = genapi::IsFloat(graph[id].kind);
    }
}

} // namespace

EditPlan PlanEdit(const NodeGraph &graph, const ConversionTable &conversions)
{
    EditPlan plan{.registers = RegisterPlan(graph)};
    plan.isScan3d = IsCalibratedScan3d(graph);
    PlanPixelFormat(plan, graph, conversions);
    PlanSizes(plan, graph);
    PlanScan3d(plan, graph);
    PlanLiterals(plan, graph);
    plan.registers.ChooseNames();
    return plan;
}

} // namespace GenTL::internal
