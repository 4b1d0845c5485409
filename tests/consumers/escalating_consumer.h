#pragma once

#include "consumers/consumer.h"

namespace consumers
{

/// Asks for the least access first, and for more only when the producer has not implemented that. Allocates
/// its buffers in the producer at each start, waits up to 3 s for a frame, and revokes buffers from the front
/// of the list until there are none.
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
    FrameConclusion Conclude(BUFFER_HANDLE buffer) const;

    EVENT_HANDLE m_event = nullptr;
};

} // namespace consumers
