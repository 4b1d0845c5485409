#pragma once

#include "consumers/consumer.h"

namespace consumers
{

/// Opens exclusively, asks for events of every module, announces memory of its own at each start, polls for
/// frames with a limit of 1 ms, and revokes everything at each stop. It closes what it opened.
class PollingConsumer : public Consumer
{
public:
    explicit PollingConsumer(const Producer &producer);

    void Open(const std::string &model) override;
    void Start() override;
    FrameConclusion TakeFrame() override;
    void Stop() override;
    void Close() override;

private:
    /// Registers the event when the module has it.
    void TryRegister(EVENTSRC_HANDLE module, EVENT_TYPE type) const;
    FrameConclusion Conclude(BUFFER_HANDLE buffer) const;

    EVENT_HANDLE m_event = nullptr;
    std::vector<std::vector<uint8_t>> m_memory;
    std::vector<BUFFER_HANDLE> m_buffers;
};

} // namespace consumers
