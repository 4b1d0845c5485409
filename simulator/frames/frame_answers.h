#pragma once

#include "simulator/info.h"

#include <cstdint>
#include <gentl/gentl.h>

namespace GenTL::simulator
{

/// Answers the questions about a frame that no simulated camera made. Constant, so any thread may call.
class FrameAnswers
{
public:
    FrameAnswers() = default;
    FrameAnswers(const FrameAnswers &) = delete;
    FrameAnswers &operator=(const FrameAnswers &) = delete;
    virtual ~FrameAnswers() = default;

    /// @throws Error there is no answer
    virtual Info Of(BUFFER_INFO_CMD command) const = 0;
    virtual uint32_t Parts() const = 0;
    /// @param part below Parts()
    /// @param base of the buffer with the frame
    /// @throws Error there is no answer
    virtual Info OfPart(uint32_t part, BUFFER_PART_INFO_CMD command, void *base) const = 0;
};

} // namespace GenTL::simulator
