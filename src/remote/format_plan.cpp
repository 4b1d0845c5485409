#include "remote/format_plan.h"

#include "genapi/number.h"
#include "processing/scan3d.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace GenTL::internal
{

using genapi::NodeGraph;
using genapi::NodeId;
using genapi::Tag;
using tarn::common::FormatInfo;
using tarn::common::PixelFormat;
using tarn::common::wideFormats;

namespace
{

std::vector<FormatEntry> DeviceEntries(const NodeGraph &graph, NodeId pixelFormat)
{
    std::vector<FormatEntry> entries;
    for (const auto &property : graph.PropertiesOf(pixelFormat))
    {
        if (property.tag != Tag::EnumEntry)
        {
            continue;
        }
        const auto *const literal = graph.Find(property.target, Tag::Value);
        const auto value = literal != nullptr ? genapi::ParseInteger(literal->Text()) : std::nullopt;
        const auto name = graph[property.target].name;
        const auto *const format =
            value ? wideFormats.Resolve(name, static_cast<PixelFormat>(*value)) : nullptr;
        entries.push_back({std::string(name), value.value_or(0), format, property.target, {}});
    }
    return entries;
}

/// Sets the inputs of an entry with a format, those with the fewest bits first.
void AddInputs(const std::vector<FormatEntry> &entries, FormatEntry &made, const ConversionTable &conversions)
{
    for (const auto *input : conversions.InputsFor(made.format->format))
    {
        for (size_t i = 0; i < entries.size(); ++i)
        {
            if (entries[i].IsDevices() && entries[i].format == input)
            {
                made.inputs.push_back(i);
            }
        }
    }
}

/// The formats that conversions make of the device's and that no entry has.
std::vector<const FormatInfo *> MissingFormats(const std::vector<FormatEntry> &entries,
                                               const ConversionTable &conversions)
{
    std::vector<const FormatInfo *> missing;
    for (const auto &entry : entries)
    {
        if (entry.format == nullptr)
        {
            continue;
        }
        for (const auto *output : conversions.OutputsOf(entry.format->format))
        {
            if (std::ranges::find(entries, output, &FormatEntry::format) == entries.end() &&
                std::ranges::find(entries, output->name, &FormatEntry::name) == entries.end() &&
                std::ranges::find(missing, output) == missing.end())
            {
                missing.push_back(output);
            }
        }
    }
    return missing;
}

} // namespace

std::vector<FormatEntry> PlanFormats(const NodeGraph &graph, NodeId pixelFormat,
                                     const ConversionTable &conversions)
{
    auto entries = DeviceEntries(graph, pixelFormat);
    std::vector<int64_t> values;
    std::ranges::transform(entries, std::back_inserter(values), &FormatEntry::value);
    for (const auto *format : MissingFormats(entries, conversions))
    {
        values.push_back(FreeValue(static_cast<int64_t>(format->format), values));
        entries.push_back({std::string(format->name), values.back(), format, genapi::noNode, {}});
    }
    for (auto &entry : entries)
    {
        if (entry.format != nullptr)
        {
            AddInputs(entries, entry, conversions);
        }
    }
    return entries;
}

void AddDepthFormats(std::vector<FormatEntry> &entries)
{
    std::vector<int64_t> values;
    std::ranges::transform(entries, std::back_inserter(values), &FormatEntry::value);
    for (const auto &traits : outputModes)
    {
        const auto *const format = traits.makes ? wideFormats.Find(*traits.makes) : nullptr;
        if (format != nullptr && std::ranges::find(entries, format, &FormatEntry::format) == entries.end() &&
            std::ranges::find(entries, format->name, &FormatEntry::name) == entries.end())
        {
            values.push_back(FreeValue(static_cast<int64_t>(format->format), values));
            entries.push_back({std::string(format->name), values.back(), format, genapi::noNode, {}});
        }
    }
}

int64_t FreeValue(int64_t wanted, std::span<const int64_t> taken)
{
    const auto isTaken = [taken](int64_t value) { return std::ranges::find(taken, value) != taken.end(); };
    int64_t value = wanted;
    for (int64_t next = (int64_t{1} << 32) + 1; isTaken(value); ++next)
    {
        value = next;
    }
    return value;
}

std::vector<uint32_t> MadeDepths(std::span<const FormatEntry> entries, bool isScan3d)
{
    std::vector<uint32_t> depths;
    for (const auto &entry : entries)
    {
        if (entry.format != nullptr &&
            (!entry.inputs.empty() || (isScan3d && IsMadeByOutputMode(entry.format->format))))
        {
            depths.push_back(entry.format->bits);
        }
    }
    std::ranges::sort(depths);
    depths.erase(std::unique(depths.begin(), depths.end()), depths.end());
    return depths;
}

} // namespace GenTL::internal
