#include "processing/conversion_processor.h"

#include "processing/frame_copy.h"
#include "processing/frame_tail.h"
#include "processing/whole_frame.h"
#include "utils/checks.h"

#include <fmt/format.h>
#include <gentl/gentl.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace GenTL::internal
{

namespace
{

/// JPEG, files and other payloads are copied.
bool HoldsImage(const InputData &input)
{
    return input.payloadType == PAYLOAD_TYPE_IMAGE || input.payloadType == PAYLOAD_TYPE_CHUNK_DATA ||
           input.payloadType == PAYLOAD_TYPE_UNKNOWN;
}

/// The frame's own description; where it lacks something, what the device said at the start.
BufferMetadata DescriptionOf(const InputData &input, const std::vector<DeviceImage> &images)
{
    auto attributes = input.attributes;
    if (HoldsImage(input) && images.size() == 1)
    {
        const auto &image = images.front();
        attributes.pixelFormat = attributes.pixelFormat.value_or(static_cast<uint64_t>(image.code));
        attributes.width = attributes.width.value_or(image.size.width);
        attributes.height = attributes.height.value_or(image.size.height);
    }
    return attributes;
}

/// None when the frame passes through.
std::optional<ImageConversion> ConversionOf(const ImageConversions &conversions, const BufferMetadata &frame)
{
    const auto *format = conversions.FormatOf(frame.pixelFormat, frame.pixelFormatNamespace);
    if (format == nullptr)
    {
        return std::nullopt;
    }
    auto image = conversions.Find(ComponentOf(format->format), format,
                                  ImageSizeOf(frame.width, frame.height, frame.deliveredImageHeight));
    if (image)
    {
        image->xPadding = frame.xPadding.value_or(0);
    }
    return image;
}

/// A converted image has no padding and is little-endian.
void DescribeConverted(BufferMetadata &attributes, const ImageConversion &image)
{
    attributes.pixelFormat = static_cast<uint64_t>(image.output->format);
    attributes.pixelFormatNamespace = PIXELFORMAT_NAMESPACE_PFNC_32BIT;
    attributes.pixelEndianness = PIXELENDIANNESS_LITTLE;
    attributes.imageOffset = 0;
    attributes.xPadding = 0;
    attributes.yPadding = 0;
}

void SetLargerThanBuffer(ProcessingResult &result)
{
    result.isIncomplete = true;
    result.isLargerThanBuffer = true;
}

void AppendTail(const InputData &input, const FrameTail &tail, std::span<uint8_t> output, uint64_t begin,
                ProcessingResult &result)
{
    result.chunks = MoveTail(input, tail, output, begin);
    result.bytesWritten = begin + tail.Size();
    if (auto &payload = result.attributes.chunkPayloadSize)
    {
        // The frame may shrink: the difference wraps, and the sum wraps back.
        *payload += result.bytesWritten - tail.end;
    }
}

void CheckNotFrozen(bool isFrozen, std::string_view what)
{
    if (isFrozen)
    {
        throw GenTLException(fmt::format("Cannot change {} while acquisition is running!", what),
                             GC_ERR_ACCESS_DENIED);
    }
}

/// Bytes that the conversion of an image adds.
uint64_t AddedBytes(const ImageConversion &image, uint64_t alignment)
{
    return Aligned(image.OutputBytes(), alignment) - image.InputBytes();
}

} // namespace

uint64_t KnownBytes(const DeviceState &state)
{
    uint64_t bytes = 0;
    for (const auto &image : state.images)
    {
        if (image.format == nullptr && !state.payloadSize)
        {
            throw GenTLException("Neither the payload size nor the size of a pixel is known!",
                                 GC_ERR_NOT_AVAILABLE);
        }
        bytes += image.format != nullptr ? GetSizeInBytes(*image.format, image.size) : 0;
    }
    return bytes;
}

ConversionProcessor::ConversionProcessor(const tarn::common::FormatTable &formats) : m_conversions(formats) {}

void ConversionProcessor::SetDevice(std::function<DeviceState()> device)
{
    m_device = std::move(device);
}

void ConversionProcessor::SetConversion(Component component, PixelFormat input, PixelFormat output)
{
    CheckNotFrozen(m_running, "PixelFormat");
    m_conversions.Set(component, input, output);
}

ConversionProcessor::PixelFormat ConversionProcessor::OutputOf(Component component, PixelFormat input) const
{
    return m_conversions.OutputOf(component, input);
}

DepthOutput &ConversionProcessor::ConfigureDepth()
{
    CheckNotFrozen(m_running, "the 3D output");
    return m_conversions.Depth();
}

uint64_t ConversionProcessor::PayloadSize()
{
    if (!m_device)
    {
        throw GenTLException("Callbacks not set!", GC_ERR_ERROR);
    }
    const auto state = m_device();
    const auto known = KnownBytes(state);
    auto images = state.images;
    if (state.payloadSize.value_or(known) > known)
    {
        images.insert(images.end(), state.unseen.begin(), state.unseen.end());
    }
    const bool hasParts = images.size() > 1;
    uint64_t added = 0;
    for (const auto &image : images)
    {
        if (const auto conversion = m_conversions.Find(image.component, image.format, image.size))
        {
            added += AddedBytes(*conversion, hasParts ? partAlignment : tailAlignment);
        }
    }
    // Parts begin at multiples of the alignment as soon as one of them is converted.
    const auto gaps = hasParts && added != 0 ? partAlignment * images.size() : 0;
    return state.payloadSize.value_or(known) + added + gaps;
}

void ConversionProcessor::AcquisitionStarted()
{
    auto state = m_device ? m_device() : DeviceState{};
    if (state.scan3d)
    {
        auto &depth = m_conversions.Depth();
        depth.SetInfo(*state.scan3d);
        if (state.lens)
        {
            depth.SetLensCalibrationData(*state.lens);
        }
        // The consumer may have changed the region of interest since the last acquisition.
        depth.SetGeometry(state.geometry);
    }
    m_conversions.SetImages(std::move(state.images));
    m_running = true;
}

void ConversionProcessor::AcquisitionStopped()
{
    m_running = false;
}

ProcessingResult ConversionProcessor::Process(const InputData &input, std::span<uint8_t> output)
{
    CheckHasMemory(input);
    if (input.payloadType == PAYLOAD_TYPE_MULTI_PART)
    {
        const auto plans = PlanParts(input, m_conversions);
        return plans.empty() ? CopyWholeFrame(input, output) : ProcessParts(input, plans, output);
    }
    auto attributes = DescriptionOf(input, m_conversions.Images());
    const auto image = HoldsImage(input) ? ConversionOf(m_conversions, attributes) : std::nullopt;
    if (!image)
    {
        auto result = CopyWholeFrame(input, output);
        result.attributes = std::move(attributes);
        return result;
    }
    ProcessingResult result{.attributes = std::move(attributes), .isIncomplete = input.isIncomplete};
    ProcessImage(input, *image, output, result);
    return result;
}

void ConversionProcessor::ProcessImage(const InputData &input, const ImageConversion &image,
                                       std::span<uint8_t> output, ProcessingResult &result)
{
    const auto delivered = DeliveredBytes(input);
    const auto begin = std::min<uint64_t>(result.attributes.imageOffset.value_or(0), delivered);
    const std::span arrived(input.data + begin, delivered - begin);
    CheckHasArrived(image, arrived.size(), input.isIncomplete);
    const auto tail = input.isIncomplete ? std::nullopt : FindTail(input, begin, begin + image.InputBytes());
    const auto tailBegin = tail ? Aligned(image.OutputBytes(), tailAlignment) : 0;
    result.dataSize = tail ? tailBegin + tail->Size() : image.OutputBytes();
    DescribeConverted(result.attributes, image);
    if (result.dataSize > output.size())
    {
        SetLargerThanBuffer(result);
        return;
    }
    result.bytesWritten = m_writer.Write(image, arrived, output);
    if (tail)
    {
        AppendTail(input, *tail, output, tailBegin, result);
    }
}

ProcessingResult ConversionProcessor::ProcessParts(const InputData &input, const std::vector<PartPlan> &plans,
                                                   std::span<uint8_t> output)
{
    ProcessingResult result{.attributes = input.attributes, .isIncomplete = input.isIncomplete};
    const auto end = plans.back().begin + plans.back().Bytes();
    const auto tail = TailBehindParts(input);
    const auto tailBegin = Aligned(end, tailAlignment);
    result.dataSize = tail ? tailBegin + tail->Size() : end;
    for (const auto &plan : plans)
    {
        if (!utils::RangeFits(plan.begin, plan.Bytes(), output.size()))
        {
            SetLargerThanBuffer(result);
            return result;
        }
        WritePart(plan, output, result);
    }
    if (result.dataSize > output.size())
    {
        SetLargerThanBuffer(result);
    }
    else if (tail)
    {
        AppendTail(input, *tail, output, tailBegin, result);
    }
    return result;
}

void ConversionProcessor::WritePart(const PartPlan &plan, std::span<uint8_t> output, ProcessingResult &result)
{
    const auto room = output.subspan(plan.begin, plan.Bytes());
    auto written = plan.delivered.size();
    if (plan.conversion)
    {
        written = m_writer.Write(*plan.conversion, plan.delivered, room);
    }
    else
    {
        CopyFrame(room.data(), plan.delivered.data(), plan.delivered.size());
    }
    result.parts.push_back(plan.Description(output));
    result.bytesWritten = written != 0 ? plan.begin + written : result.bytesWritten;
}

} // namespace GenTL::internal
