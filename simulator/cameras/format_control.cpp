#include "simulator/cameras/format_control.h"

#include "simulator/cameras/camera_unit.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace GenTL::simulator
{

namespace
{

constexpr const char *reverseX = "ReverseX";
constexpr const char *reverseY = "ReverseY";

bool IsPresent(const Feature &feature, const EnumEntry &entry)
{
    return !feature.absentEntries.contains(entry.name);
}

} // namespace

const Feature &PixelFormatOf(const CameraModel &model)
{
    return *std::ranges::find(model.features, "PixelFormat", &Feature::name);
}

std::set<std::string> WantedFormats(const CameraModel &model)
{
    const char *const text = std::getenv("QVR_SIM_PIXEL_FORMATS");
    std::istringstream list(text == nullptr ? "" : text);
    std::set<std::string> names;
    for (std::string name; std::getline(list, name, ',');)
    {
        names.insert(name);
    }
    const auto &feature = PixelFormatOf(model);
    const bool hasAny =
        std::ranges::any_of(feature.entries, [&](const EnumEntry &entry)
                            { return names.contains(entry.name) && IsPresent(feature, entry); });
    return hasAny ? names : std::set<std::string>();
}

FormatControl::FormatControl(const CameraContext &context)
    : m_features(context.features), m_wanted(WantedFormats(context.model))
{
    const auto &feature = PixelFormatOf(context.model);
    for (const auto &entry : feature.entries)
    {
        if (IsPresent(feature, entry))
        {
            m_formats.push_back(&FindPixelFormat(entry.value));
        }
    }
}

void FormatControl::Update()
{
    const auto *chosen = &SentNow(FindPixelFormat(m_features.Integer("PixelFormat")));
    const PixelFormat *first = nullptr;
    std::set<std::string> unavailable;
    for (const auto *const format : m_formats)
    {
        const bool isWanted = m_wanted.empty() || m_wanted.contains(format->name);
        if (!isWanted || &SentNow(*format) != format)
        {
            unavailable.insert(format->name);
        }
        else if (first == nullptr)
        {
            first = format;
        }
    }
    if (first != nullptr && unavailable.contains(chosen->name))
    {
        chosen = first;
    }
    m_features.SetUnavailable("PixelFormat", std::move(unavailable));
    m_features.SetInteger("PixelFormat", chosen->code);
}

void FormatControl::Contribute(FrameSettings &settings) const
{
    settings.parts.front().image.format = &FindPixelFormat(m_features.Integer("PixelFormat"));
}

MosaicFormatControl::MosaicFormatControl(const CameraContext &context) : FormatControl(context)
{
    for (const char *const flip : {reverseX, reverseY})
    {
        Features().SetInteger(flip, context.unit.Kept(flip));
        Features().AfterWrite(flip, [this, flip, &unit = context.unit]
                              { unit.Keep(flip, Features().Integer(flip)); });
    }
}

const PixelFormat &MosaicFormatControl::SentNow(const PixelFormat &format) const
{
    constexpr std::string_view mosaics[] = {"RG", "GR", "GB", "BG"};
    const size_t flips = (Features().IsTrue(reverseY) ? 2U : 0U) + (Features().IsTrue(reverseX) ? 1U : 0U);
    return format.Mosaic().empty() ? format : WithMosaic(format, mosaics[flips]);
}

void MosaicFormatControl::Contribute(FrameSettings &settings) const
{
    FormatControl::Contribute(settings);
    auto &image = settings.parts.front().image;
    image.reverseX = Features().IsTrue(reverseX);
    image.reverseY = Features().IsTrue(reverseY);
}

} // namespace GenTL::simulator
