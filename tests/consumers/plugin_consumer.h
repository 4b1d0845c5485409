#pragma once

#include "consumers/consumer.h"

namespace consumers
{

/// Opens the stream at each start, lets a flush queue its buffers, and closes the stream at each stop without
/// revoking a buffer or unregistering the event. A question about a frame that is not answered ends the
/// stream. Never closes the library.
class PluginConsumer : public Consumer
{
public:
    explicit PluginConsumer(const Producer &producer);

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
