#pragma once

#include "simulator/features/feature_set.h"

namespace GenTL::simulator
{

/// Decides when a camera sends frames, and numbers them: from AcquisitionStart to AcquisitionStop or the last
/// frame that AcquisitionMode allows.
///
/// Owned by the camera of the features. Any thread may call; the lock of the features serialises the calls,
/// and the listener is called with that lock held.
class AcquisitionControl
{
public:
    explicit AcquisitionControl(FeatureSet &features);

    /// Whether the camera has a frame to send: AcquisitionStart has begun an acquisition that has not ended,
    /// and there is a trigger where one is needed.
    bool HasFrame() const;

    /// Frames in a second; 0 for no limit.
    double FrameRate() const;

    /// The number of the next frame, from 1; none while the camera has none to send.
    std::optional<uint64_t> NextFrame();

    void Stop();

    /// Whether each frame needs a trigger.
    void WaitForTriggers(bool wait);

    /// Triggers a frame. Ignored while the camera does not acquire, or needs no trigger. A trigger that comes
    /// before the last frame was sent counts for the next.
    void Trigger();

    /// `listener` is called when the acquisition starts, stops or changes its rate, and at each trigger.
    void SetListener(const void *owner, std::function<void()> listener);
    /// Removes the listener, unless another owner has set one meanwhile.
    void RemoveListener(const void *owner);
    void TellListener();

private:
    void Start();

    FeatureSet &m_features;

    // Guarded by the lock of the features.
    const void *m_listenerOwner = nullptr;
    std::function<void()> m_listener;
    bool m_running = false;
    uint64_t m_sent = 0;      ///< frames since AcquisitionStart
    uint64_t m_remaining = 0; ///< frames until the acquisition ends by itself
    bool m_needsTrigger = false;
    uint64_t m_triggers = 0; ///< whose frames are still to be sent
};

} // namespace GenTL::simulator
