#include "remote/format_choice.h"

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
    CheckNotRunning(formatFeature);
    const auto *const wanted = EntryOf(value);
    if (wanted == nullptr)
    {
        throw GenTLException(fmt::format("PixelFormat has no entry of the value {}", value),
                             GC_ERR_INVALID_VALUE);
    }
    try
    {
        // A format that cannot be read may still be written.
        const auto current = utils::Try([this] { return m_features.ReadInteger(formatFeature); });
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
    const auto isOwn = [&](size_t position)
    { return formats[position].IsDevices() && Holds(formats[position], Tag::pIsImplemented); };
    return isOwn(entry) || std::ranges::any_of(formats[entry].inputs, isOwn);
}

bool FormatChoice::IsAvailable(size_t entry)
{
    return IsUsable(entry) || std::ranges::any_of(m_description.formats[entry].inputs,
                                                  [this](size_t input) { return IsUsable(input); });
}

void FormatChoice::SetTransport(int64_t value)
{
    CheckNotRunning("PixelFormatTransport");
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
    const auto readPixels = [this](std::string_view name)
    { return static_cast<unsigned int>(std::clamp<int64_t>(m_features.ReadInteger(name), 0, UINT32_MAX)); };
    const auto current = ReadDevice();
    const auto isEnabled = utils::Try([this] { return m_features.ReadInteger("ComponentEnable") != 0; });
    if (isEnabled.value_or(true))
    {
        m_images[current.component] = {current.component,
                                       static_cast<PixelFormat>(current.value),
                                       current.entry != nullptr ? current.entry->format : nullptr,
                                       {readPixels("Width"), readPixels("Height")}};
    }
    else
    {
        m_images.erase(current.component);
    }
    std::vector<DeviceImage> images;
    for (const auto &[component, image] : m_images)
    {
        images.push_back(image);
    }
    return images;
}

void FormatChoice::CheckNotRunning(std::string_view feature) const
{
    if (m_delivery.IsRunning())
    {
        throw GenTLException(fmt::format("{} cannot be written while acquisition runs", feature),
                             GC_ERR_ACCESS_DENIED);
    }
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

const FormatEntry *FormatChoice::EntryOf(int64_t value) const
{
    const auto entry = std::ranges::find(m_description.formats, value, &FormatEntry::value);
    return entry != m_description.formats.end() ? &*entry : nullptr;
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

bool FormatChoice::Holds(const FormatEntry &entry, Tag condition)
{
    const auto *const reference = m_graph.Find(entry.device, condition);
    // A condition that cannot be evaluated is not met.
    return reference == nullptr ||
           utils::Try([&] { return genapi::IsTrue(m_features, reference->Text()); }).value_or(false);
}

bool FormatChoice::IsUsable(size_t entry)
{
    const auto &format = m_description.formats[entry];
    return format.IsDevices() && Holds(format, Tag::pIsImplemented) && Holds(format, Tag::pIsAvailable);
}

} // namespace GenTL::internal
