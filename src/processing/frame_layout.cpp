#include "processing/frame_layout.h"

#include "processing/whole_frame.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>
#include <gentl/gentl.h>

#include <algorithm>
#include <limits>

namespace GenTL::internal
{

namespace
{

std::optional<size_t> FirstOf(std::optional<size_t> own, std::optional<size_t> ofFrame)
{
    return own ? own : ofFrame;
}

PartPlan PlanOf(const InputData &input, const BufferPartInfo &part, const ImageConversions &conversions)
{
    PartPlan plan{.part = &part, .delivered = DeliveredPart(input, part)};
    const auto component = ComponentOfPart(part.type);
    if (!component)
    {
        return plan;
    }
    const auto &frame = input.attributes;
    plan.conversion =
        conversions.Find(*component, conversions.FormatOf(part.format, part.formatNamespace),
                         ImageSizeOf(FirstOf(part.width, frame.width), FirstOf(part.height, frame.height),
                                     part.deliveredImageHeight));
    if (plan.conversion)
    {
        plan.conversion->xPadding = part.xPadding.value_or(0);
        CheckHasArrived(*plan.conversion, plan.delivered.size(), input.isIncomplete);
    }
    return plan;
}

} // namespace

BufferPartInfo PartPlan::Description(std::span<uint8_t> output) const
{
    auto description = *part;
    description.base = output.data() + begin;
    description.size = Bytes();
    if (conversion)
    {
        description.format = static_cast<uint64_t>(conversion->output->format);
        description.formatNamespace = PIXELFORMAT_NAMESPACE_PFNC_32BIT;
        description.xPadding = 0;
    }
    return description;
}

std::vector<PartPlan> PlanParts(const InputData &input, const ImageConversions &conversions)
{
    std::vector<PartPlan> plans;
    uint64_t end = 0;
    for (const auto &part : input.parts)
    {
        auto &plan = plans.emplace_back(PlanOf(input, part, conversions));
        plan.begin = Aligned(end, partAlignment);
        end = plan.begin + plan.Bytes();
    }
    const bool isConverted =
        std::ranges::any_of(plans, [](const PartPlan &plan) { return plan.conversion.has_value(); });
    return isConverted ? plans : std::vector<PartPlan>{};
}

std::optional<FrameTail> TailBehindParts(const InputData &input)
{
    if (!input.chunks || input.isIncomplete)
    {
        return std::nullopt;
    }
    uint64_t end = 0;
    for (const auto &part : input.parts)
    {
        end = std::max(end, static_cast<uint64_t>(part.base - input.data) + part.size);
    }
    return FrameTail{.imageBegin = end, .begin = end, .end = std::max(end, DeliveredBytes(input))};
}

std::optional<tarn::common::Size> ImageSizeOf(std::optional<size_t> width, std::optional<size_t> height,
                                              std::optional<size_t> deliveredHeight)
{
    constexpr auto largest = std::numeric_limits<unsigned int>::max();
    if (!width || !height || *width > largest || *height > largest)
    {
        return std::nullopt;
    }
    const auto sent = deliveredHeight.value_or(0);
    const auto lines = sent != 0 ? std::min(*height, sent) : *height;
    return tarn::common::Size{static_cast<unsigned int>(*width), static_cast<unsigned int>(lines)};
}

void CheckHasArrived(const ImageConversion &image, uint64_t bytes, bool isIncomplete)
{
    if (!isIncomplete && image.LinesIn(bytes) < image.size.height)
    {
        throw GenTLException(fmt::format("{} x {} pixels in {} need more than the {} bytes delivered!",
                                         image.size.width, image.size.height, image.input->name, bytes),
                             GC_ERR_ERROR);
    }
}

} // namespace GenTL::internal
