#pragma once

#include "check/check.h"
#include "consumer/stop_orders.h"

#include <cstddef>
#include <memory>
#include <optional>

namespace gentlctl
{

/// An acquisition step by step, of a device that it opens anew. The destructor stops it and closes the
/// device.
class Acquisition
{
public:
    /// @param buffers to announce
    /// @throws NotReached the device or its stream does not open, or the camera's description is of no use
    Acquisition(Bench &bench, size_t buffers);
    Acquisition(const Acquisition &) = delete;
    Acquisition &operator=(const Acquisition &) = delete;
    ~Acquisition();

    /// Takes a step.
    /// @throws NotReached the camera's description is of no use
    GenTL::GC_ERROR Take(StreamStep step);

    /// Waits for a frame.
    std::optional<GenTL::EVENT_NEW_BUFFER_DATA> NextFrame();

    const SteppedStream &Running() const { return *m_stream; }

private:
    Bench &m_bench;
    std::shared_ptr<GenTL::internal::IGenTLProxy> m_calls;
    std::optional<SteppedStream> m_stream; ///< ends before its device
};

} // namespace gentlctl
