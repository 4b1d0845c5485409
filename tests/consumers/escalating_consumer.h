#pragma once

#include "consumers/consumer.h"

namespace consumers
{

/// Looks at the device with read-only access, then opens it with control. It asks for more access only when
/// the producer has not implemented what it asked for. Allocates its buffers in the producer at each start,
/// waits up to 3 s for a frame, and revokes buffers from the front of the list until there are none.
class EscalatingConsumer : public Consumer
{
public:
    explicit EscalatingConsumer(const Producer &producer);

    void Open(const std::string &model) override;
    void Start() override;
    FrameConclusion TakeFrame() override;
    void Stop() override;
    void Close() override;

private:
    /// With this access, or the next higher ones that the producer has implemented.
    void OpenDevice(const std::string &id, DEVICE_ACCESS_FLAGS least);
    FrameConclusion Conclude(BUFFER_HANDLE buffer) const;

    EVENT_HANDLE m_event = nullptr;
};

} // namespace consumers
