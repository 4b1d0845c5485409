#include "gentlctl/formats.h"

#include "common/pixel_format.h"
#include "processing/processor.h"
#include "utils/gentl_exception.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace gentlctl
{

using GenTL::internal::Component;
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

OfferedFormat Explain(GenTL::internal::Processor &processor, const std::string &name, bool isCopied)
{
    const auto format = FormatOf(name);
    if (!format || isCopied)
    {
        return {name, name, "copy"};
    }
    try
    {
        const auto sent = PixelFormatName(processor.SetOutputPixelFormat(Component::Image2D, *format));
        return {name, sent, sent == name ? "copy" : "unpack"};
    }
    catch (const GenTL::internal::GenTLException &)
    {
        // What no task for images makes is made of depth.
        return {name, "raw depth", "calibrate"};
    }
}

} // namespace

// The producer's own choice of a task, on the list of formats that the device itself sends.
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
    GenTL::internal::Processor processor;
    processor.SetAvailableInputFormats(Component::Image2D, inputs.data(), inputs.size());
    std::vector<OfferedFormat> offered;
    offered.reserve(chosen.size());
    for (const auto &name : chosen)
    {
        offered.push_back(Explain(processor, name, inputs.empty()));
    }
    return offered;
}

} // namespace gentlctl
