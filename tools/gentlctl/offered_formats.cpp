#include "gentlctl/offered_formats.h"

#include "common/format_table.h"
#include "common/pixel_format.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace gentlctl
{

using tarn::common::PixelFormat;

namespace
{

std::optional<PixelFormat> FormatOf(std::string_view name)
{
    static constexpr std::array formats{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked)                                            \
    std::pair{std::string_view(#name), PixelFormat::name},
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
    };
    const auto *entry = std::ranges::find(formats, name, [](const auto &format) { return format.first; });
    return entry != formats.end() ? std::optional(entry->second) : std::nullopt;
}

OfferedFormat Explain(const std::string &name, const std::vector<PixelFormat> &inputs)
{
    const auto format = FormatOf(name);
    if (!format || inputs.empty() || std::ranges::find(inputs, *format) != inputs.end())
    {
        return {name, name, "copy"};
    }
    const auto packed = std::ranges::find_if(
        inputs, [&](PixelFormat input) { return IsPackedFormat(input) && UnpackedFormat(input) == *format; });
    if (packed != inputs.end())
    {
        return {name, PixelFormatName(*packed), "unpack"};
    }
    // A format that is neither sent nor unpacked can only be made from depth.
    return {name, "raw depth", "calibrate"};
}

} // namespace

std::vector<OfferedFormat> ExplainFormats(const std::vector<std::string> &chosen,
                                          const std::vector<std::string> &sent)
{
    std::vector<PixelFormat> inputs;
    for (const auto &name : sent)
    {
        if (const auto format = FormatOf(name))
        {
            inputs.push_back(*format);
        }
    }
    std::vector<OfferedFormat> offered;
    offered.reserve(chosen.size());
    for (const auto &name : chosen)
    {
        offered.push_back(Explain(name, inputs));
    }
    return offered;
}

OfferedFormat ExplainFormat(const std::string &chosen, const std::string &sent)
{
    using tarn::common::wideFormats;
    const auto *const output = wideFormats.Find(chosen);
    const auto *const input = wideFormats.Find(sent);
    if (chosen == sent || input == nullptr || output == nullptr || input == output)
    {
        return {chosen, sent, "copy"};
    }
    return {chosen, sent, input->unpacked == output->format ? "unpack" : "calibrate"};
}

} // namespace gentlctl
