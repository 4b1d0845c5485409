#pragma once

#include "common/size.h"
#include "processing/component.h"
#include "processing/frame.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace GenTL::internal
{

/// One way to turn a lower buffer into a consumer buffer.
///
/// Owned by the Processor, which calls the setters on the consumer's thread while no acquisition runs, and
/// Process on the acquisition thread.
class ITask
{
public:
    ITask() = default;
    ITask(const ITask &) = delete;
    ITask &operator=(const ITask &) = delete;
    virtual ~ITask() = default;

    virtual ProcessingResult Process(const InputData &input, std::span<uint8_t> output) = 0;
    virtual void SetOutputFormat(Component component, tarn::common::PixelFormat format) = 0;
    virtual tarn::common::PixelFormat OutputFormat(Component component) const = 0;
    /// The number of bytes that the task writes for the component at this image size.
    virtual uint64_t ImagePayloadSize(Component component, tarn::common::Size size) const = 0;
    /// The output formats for an input format; may be empty.
    virtual std::vector<tarn::common::PixelFormat>
    AvailableOutputFormats(Component component, tarn::common::PixelFormat input) const = 0;
    /// The available input format that gives this output; none when no input does.
    virtual std::optional<tarn::common::PixelFormat>
    MatchInputFormat(Component component, tarn::common::PixelFormat output,
                     const std::vector<tarn::common::PixelFormat> &inputs) const = 0;
};

} // namespace GenTL::internal
