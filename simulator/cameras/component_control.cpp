#include "simulator/cameras/component_control.h"

#include "simulator/cameras/format_control.h"
#include "simulator/error.h"

#include <algorithm>
#include <iterator>

namespace GenTL::simulator
{

ComponentControl::ComponentControl(const CameraContext &context, std::vector<ImageComponent> components)
    : m_features(context.features), m_pixelFormat(PixelFormatOf(context.model)),
      m_components(std::move(components)), m_wanted(WantedFormats(context.model))
{
    for (const auto &component : m_components)
    {
        const auto key = component.entry.value;
        m_features.SetInteger({"ComponentEnable", key}, &component == &m_components.front() ? 1 : 0);
        m_features.SetInteger({"PixelFormat", key}, FindPixelFormat(component.formats.front()).code);
    }
    m_features.CheckOnWrite("ComponentEnable", [this](int64_t value) { CheckEnable(value); });
}

bool ComponentControl::IsEnabled(const ImageComponent &component) const
{
    return m_features.IsTrue({"ComponentEnable", component.entry.value});
}

void ComponentControl::CheckEnable(int64_t value) const
{
    const auto selected = m_features.Integer("ComponentSelector");
    const auto isOther = [&](const ImageComponent &component)
    { return component.entry.value != selected && IsEnabled(component); };
    if (value == 0 && std::ranges::none_of(m_components, isOther))
    {
        throw Error(GC_ERR_INVALID_VALUE, "The last enabled component cannot be disabled");
    }
}

std::vector<std::string> ComponentControl::AvailableFormats(const ImageComponent &component) const
{
    std::vector<std::string> formats;
    std::ranges::copy_if(component.formats, std::back_inserter(formats),
                         [&](const std::string &name) { return m_wanted.contains(name); });
    return formats.empty() ? component.formats : formats;
}

void ComponentControl::Update()
{
    std::set<std::string> unavailable;
    for (const auto &entry : m_pixelFormat.entries)
    {
        unavailable.insert(entry.name);
    }
    for (const auto &component : m_components)
    {
        const auto formats = AvailableFormats(component);
        const FeatureKey format("PixelFormat", component.entry.value);
        if (std::ranges::find(formats, FindPixelFormat(m_features.Integer(format)).name) == formats.end())
        {
            m_features.SetInteger(format, FindPixelFormat(formats.front()).code);
        }
        if (component.entry.value == m_features.Integer("ComponentSelector"))
        {
            for (const auto &name : formats)
            {
                unavailable.erase(name);
            }
        }
    }
    m_features.SetUnavailable("PixelFormat", std::move(unavailable));
}

void ComponentControl::Contribute(FrameSettings &settings) const
{
    const FramePart common = settings.parts.front();
    settings.parts.clear();
    size_t offset = 0;
    for (const auto &component : m_components)
    {
        if (IsEnabled(component))
        {
            auto &part = settings.parts.emplace_back(common);
            part.offset = offset;
            part.image.format = &FindPixelFormat(m_features.Integer({"PixelFormat", component.entry.value}));
            part.image.depth.quantity = component.quantity;
            offset += part.image.Bytes();
        }
    }
}

} // namespace GenTL::simulator
