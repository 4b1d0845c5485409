#pragma once

#include "consumers/frame_conclusion.h"
#include "consumers/session.h"

namespace consumers
{

/// An application in the field: its order of calls, its questions about frames, and what it makes of the
/// answers. The calls come from one thread, and a failure that the consumer does not survive is a Refusal.
///
///     Open -> (Start -> TakeFrame... -> Stop)... -> Close
class Consumer
{
public:
    explicit Consumer(const Producer &producer) : m_session(producer) {}
    Consumer(const Consumer &) = delete;
    Consumer &operator=(const Consumer &) = delete;
    virtual ~Consumer() = default;

    /// Opens the first device of the model, ready for a start.
    virtual void Open(const std::string &model) = 0;
    virtual void Start() = 0;
    /// Waits for the next frame, looks at it, and gives its buffer back.
    virtual FrameConclusion TakeFrame() = 0;
    virtual void Stop() = 0;
    virtual void Close() = 0;

    /// Takes one image while stopped. None for a consumer that has no other way than Start and Stop.
    virtual std::optional<FrameConclusion> TakeSnapshot() { return std::nullopt; }

    const internal::DescribedNodes &Remote() const { return *m_session.remote; }

protected:
    Session &Opened() { return m_session; }
    const Session &Opened() const { return m_session; }
    const Producer &Calls() const { return m_session.Calls(); }

    uint64_t RemoteNumber(const std::string &feature) const
    {
        return static_cast<uint64_t>(Remote().Get(feature));
    }

    void SetRemote(const std::string &feature, int64_t value) const
    {
        Calls().Must(feature.c_str(), Remote().Set(feature, value));
    }

    /// The chunks of a buffer that says that it has some.
    std::string ChunksOf(const BufferQuestions &questions) const
    {
        const bool hasChunks = questions.Ask<bool8_t>(BUFFER_INFO_CONTAINS_CHUNKDATA).value_or(0) != 0;
        return hasChunks ? questions.ReadChunks(m_session.DeviceType()) : "none";
    }

private:
    Session m_session;
};

} // namespace consumers
