#pragma once

#include "simulator/cameras/camera_model.h"
#include "simulator/frames/frame.h"
#include "simulator/module/module.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace GenTL::simulator
{

/// A remote device with frames to send: a simulated camera, or a recorded one. It decides which frames are
/// sent, and the stream sends them. Any thread may call.
class StreamedCamera : public Module
{
public:
    StreamedCamera(HandleTable &handles, const CameraModel &model, const FeatureLayout &layout,
                   const std::string &description);

    virtual const CameraModel &Model() const = 0;

    /// Whether the camera has a frame to send: AcquisitionStart has begun an acquisition that has not ended,
    /// and there is a trigger where one is needed.
    virtual bool HasFrame() const = 0;
    /// Frames in a second; 0 for no limit.
    virtual double FrameRate() const = 0;
    /// The next frame to send, or none while the camera has none.
    virtual std::optional<FrameOrder> NextFrame() = 0;
    /// @throws Error when the camera has no images to send
    virtual std::unique_ptr<FrameMaker> MakeFrames() const = 0;
    virtual size_t PayloadSize() const = 0;

    /// `listener` is called when the acquisition starts, stops or changes its rate.
    virtual void SetListener(const void *owner, std::function<void()> listener) = 0;
    /// Removes the listener, unless another owner has set one meanwhile.
    virtual void RemoveListener(const void *owner) = 0;

    /// The camera is gone: ends the acquisition, and from now on the registers cannot be reached.
    void Unplug()
    {
        m_isGone = true;
        EndAcquisition();
    }

protected:
    void RequireReachable() const override
    {
        if (m_isGone)
        {
            throw Error(GC_ERR_IO, "The camera does not answer");
        }
    }

private:
    virtual void EndAcquisition() = 0;

    std::atomic<bool> m_isGone = false;
};

} // namespace GenTL::simulator
