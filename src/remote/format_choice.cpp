#include "remote/format_choice.h"

#include "remote/entry_condition.h"
#include "utils/gentl_exception.h"
#include "utils/try.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace GenTL::internal
{

using genapi::Tag;
using tarn::common::PixelFormat;

namespace
{

constexpr std::string_view formatFeature = "PixelFormat";
constexpr std::string_view componentFeature = "ComponentSelector";

bool IsDepthEntry(const FormatEntry &entry)
{
    return entry.format != nullptr && ComponentOf(entry.format->format) == Component::Image3D;
}

const FormatEntry *EntryWithValue(const std::vector<FormatEntry> &entries, int64_t value)
{
    const auto entry = std::ranges::find(entries, value, &FormatEntry::value);
    return entry != entries.end() ? &*entry : nullptr;
}

/// The output mode alone decides what becomes of depth.
/// @throws GenTLException the entry is not what it makes
void CheckIsMade(const FormatEntry &wanted, PixelFormat made)
{
    if (wanted.format->format != made)
    {
        throw GenTLException("Scan3dOutputMode makes another format of the depth", GC_ERR_INVALID_VALUE);
    }
}

} // namespace

FormatChoice::FormatChoice(const EditedDescription &description, const genapi::NodeGraph &graph,
                           genapi::GraphFeatures &features, IDelivery &delivery)
    : m_description(description), m_graph(graph), m_features(features), m_delivery(delivery)
{
}

int64_t FormatChoice::Read()
{
    const auto current = ReadDevice();
    const auto *const delivered = Delivered(current);
    return delivered != nullptr ? delivered->value : current.value;
}

void FormatChoice::Write(int64_t value)
{
    CheckNotRunning(m_delivery, formatFeature);
    const auto *const wanted = EntryWithValue(m_description.formats, value);
    if (wanted == nullptr)
    {
        throw GenTLException(fmt::format("PixelFormat has no entry of the value {}", value),
                             GC_ERR_INVALID_VALUE);
    }
    try
    {
        // A format that cannot be read may still be written.
        const auto current = utils::Try([this] { return m_features.ReadInteger(formatFeature); });
        if (const auto made = DepthFormat(); made && IsDepthEntry(*wanted))
        {
            return CheckIsMade(*wanted, *made);
        }
        const auto &input = m_description.formats[ChooseInput(*wanted, current)];
        if (input.value != current)
        {
            m_features.WriteInteger(formatFeature, input.value);
        }
        if (input.format != nullptr)
        {
            m_delivery.SetConversion(SelectedComponent(&input), input.format->format, wanted->format->format);
        }
    }
    catch (const GenTLException &exception)
    {
        throw GenTLException(fmt::format("PixelFormat = {}: {}", wanted->name, exception.what()),
                             exception.Code());
    }
}

bool FormatChoice::IsImplemented(size_t entry)
{
    const auto &formats = m_description.formats;
    const auto *const format = formats[entry].format;
    if (m_description.isScan3d && format != nullptr && IsMadeByOutputMode(format->format))
    {
        return true;
    }
    const auto isOwn = [&](size_t position)
    {
        return formats[position].IsDevices() &&
               IsConditionMet(m_graph, m_features, formats[position].device, Tag::pIsImplemented);
    };
    return isOwn(entry) || std::ranges::any_of(formats[entry].inputs, isOwn);
}

bool FormatChoice::IsAvailable(size_t entry)
{
    const auto &format = m_description.formats[entry];
    if (const auto made = DepthFormat(); made && IsDepthEntry(format))
    {
        return format.format->format == *made;
    }
    return IsUsable(entry) || std::ranges::any_of(m_description.formats[entry].inputs,
                                                  [this](size_t input) { return IsUsable(input); });
}

void FormatChoice::SetTransport(int64_t value)
{
    CheckNotRunning(m_delivery, "PixelFormatTransport");
    const auto wanted = static_cast<FormatTransport>(value);
    if (wanted != FormatTransport::Requested && wanted != FormatTransport::Packed)
    {
        throw GenTLException(fmt::format("PixelFormatTransport has no entry of the value {}", value),
                             GC_ERR_INVALID_VALUE);
    }
    const auto before = m_transport;
    m_transport = wanted;
    try
    {
        const auto *const delivered = Delivered(ReadDevice());
        if (delivered != nullptr && !delivered->inputs.empty())
        {
            Write(delivered->value);
        }
    }
    catch (const GenTLException &)
    {
        m_transport = before;
        throw;
    }
}

int64_t FormatChoice::PixelSize()
{
    const auto current = ReadDevice();
    const auto *const delivered = Delivered(current);
    if (delivered == current.entry)
    {
        return m_features.ReadInteger("PixelSize");
    }
    const auto bits = delivered->format->bits;
    const auto &values = m_description.pixelSizes;
    const auto value = std::ranges::find(values, bits, &std::pair<uint32_t, int64_t>::first);
    return value != values.end() ? value->second : bits;
}

std::vector<DeviceImage> FormatChoice::Images()
{
    // Without PixelFormat, only the frames tell the format.
    const auto access = m_features.AccessOf(formatFeature);
    if (!access.available && !access.failed)
    {
        return {};
    }
    const auto current = ReadDevice();
    const auto isEnabled = utils::Try([this] { return m_features.ReadInteger("ComponentEnable") != 0; });
    auto &selected = m_seen[current.component];
    selected.reset();
    if (isEnabled.value_or(true))
    {
        selected = DeviceImage{current.component,
                               static_cast<PixelFormat>(current.value),
                               current.entry != nullptr ? current.entry->format : nullptr,
                               {}};
    }
    const bool areAllDisabled =
        std::ranges::none_of(m_seen, [](const auto &seen) { return seen.second.has_value(); });
    const auto size = areAllDisabled ? tarn::common::Size{} : ReadSize();
    std::vector<DeviceImage> images;
    for (const auto &[component, image] : m_seen)
    {
        if (image)
        {
            images.push_back({component, image->code, image->format, size});
        }
    }
    return images;
}

std::vector<DeviceImage> FormatChoice::UnseenImages()
{
    std::vector<DeviceImage> images;
    const auto selector = m_graph.Find(componentFeature);
    const auto size = utils::Try([this] { return ReadSize(); });
    if (selector == genapi::noNode || !size)
    {
        return images;
    }
    for (const auto &property : m_graph.PropertiesOf(selector))
    {
        if (property.tag != Tag::EnumEntry)
        {
            continue;
        }
        const auto component = ComponentOfEntry(m_graph[property.target].name).value_or(Component::Image2D);
        if (!m_seen.contains(component))
        {
            const auto *const format = component == Component::Image3D ? SmallestDepth() : nullptr;
            images.push_back({component, {}, format, *size});
        }
    }
    return images;
}

const tarn::common::FormatInfo *FormatChoice::SmallestDepth() const
{
    const tarn::common::FormatInfo *smallest = nullptr;
    for (const auto &entry : m_description.formats)
    {
        const bool isRaw = entry.IsDevices() && entry.format != nullptr && IsDepth(entry.format->format);
        if (isRaw && (smallest == nullptr || entry.format->bits < smallest->bits))
        {
            smallest = entry.format;
        }
    }
    return smallest;
}

tarn::common::Size FormatChoice::ReadSize()
{
    const auto readPixels = [this](std::string_view name)
    {
        const auto pixels = m_features.Has(name) ? m_features.ReadInteger(name) : 0;
        return static_cast<unsigned int>(std::clamp<int64_t>(pixels, 0, UINT32_MAX));
    };
    return {readPixels("Width"), readPixels("Height")};
}

std::optional<PixelFormat> FormatChoice::DepthFormat() const
{
    return m_description.isScan3d ? TraitsOf(m_delivery.OutputMode()).makes : std::nullopt;
}

FormatChoice::Current FormatChoice::ReadDevice()
{
    Current current;
    current.value = m_features.ReadInteger(formatFeature);
    const auto entry =
        std::ranges::find_if(m_description.formats, [&](const FormatEntry &candidate)
                             { return candidate.IsDevices() && candidate.value == current.value; });
    current.entry = entry != m_description.formats.end() ? &*entry : nullptr;
    current.component = SelectedComponent(current.entry);
    return current;
}

Component FormatChoice::SelectedComponent(const FormatEntry *entry)
{
    if (m_features.Has(componentFeature))
    {
        const auto selected = utils::Try([this] { return m_features.ReadText(componentFeature); });
        if (const auto component = selected ? ComponentOfEntry(*selected) : std::nullopt)
        {
            return *component;
        }
    }
    return entry != nullptr && entry->format != nullptr ? ComponentOf(entry->format->format)
                                                        : Component::Image2D;
}

const FormatEntry *FormatChoice::Delivered(const Current &current) const
{
    if (!current.IsKnown())
    {
        return current.entry;
    }
    const auto input = current.entry->format->format;
    const auto output = m_delivery.OutputOf(current.component, input);
    const auto entry =
        std::ranges::find_if(m_description.formats, [&](const FormatEntry &candidate)
                             { return candidate.format != nullptr && candidate.format->format == output; });
    return output == input || entry == m_description.formats.end() ? current.entry : &*entry;
}

size_t FormatChoice::ChooseInput(const FormatEntry &wanted, std::optional<int64_t> current)
{
    const auto &formats = m_description.formats;
    auto candidates = wanted.inputs;
    if (wanted.IsDevices())
    {
        const auto own = static_cast<size_t>(&wanted - formats.data());
        const auto place = m_transport == FormatTransport::Packed ? candidates.end() : candidates.begin();
        candidates.insert(place, own);
    }
    const auto access = m_features.AccessOf(formatFeature);
    const auto chosen = std::ranges::find_if(
        candidates, [&](size_t candidate)
        { return access.writable ? IsUsable(candidate) : formats[candidate].value == current; });
    if (chosen != candidates.end())
    {
        return *chosen;
    }
    if (!access.writable)
    {
        throw GenTLException(fmt::format("the device's format cannot be written: {}", access.cause),
                             GC_ERR_ACCESS_DENIED);
    }
    std::string names;
    for (const auto candidate : candidates)
    {
        names += (names.empty() ? "" : ", ") + formats[candidate].name;
    }
    throw GenTLException(fmt::format("the device does not offer {} now", names), GC_ERR_INVALID_VALUE);
}

bool FormatChoice::IsUsable(size_t entry)
{
    const auto &format = m_description.formats[entry];
    return format.IsDevices() && IsConditionMet(m_graph, m_features, format.device, Tag::pIsImplemented) &&
           IsConditionMet(m_graph, m_features, format.device, Tag::pIsAvailable);
}

} // namespace GenTL::internal
