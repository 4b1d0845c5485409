#include "consumers/snapshot_consumer.h"

#include <chrono>
#include <utility>

namespace consumers
{

namespace
{

constexpr size_t snapshotBuffers = 10;
constexpr auto longestWait = std::chrono::seconds(20);
constexpr int mostFailedWaits = 1000; ///< the consumer itself would go on without end

} // namespace

SnapshotConsumer::SnapshotConsumer(const Producer &producer) : Consumer(producer)
{
    producer.Must("GCInitLib", producer.GCInitLib());
}

SnapshotConsumer::~SnapshotConsumer()
{
    EndThread();
}

void SnapshotConsumer::Open(const std::string &model)
{
    auto &session = Opened();
    session.OpenSystem();
    const auto found = session.Find(model, {.interfaces = 100, .devices = 100});
    session.CloseInterface();
    session.CloseSystem();

    session.OpenSystem();
    session.OpenInterface(found.interfaceId);
    Calls().Must("IFOpenDevice", session.TryOpenDevice(found.deviceId, DEVICE_ACCESS_CONTROL));
    session.ConnectRemote();
    session.OpenStream();
}

void SnapshotConsumer::Announce(size_t count)
{
    const auto size = RemoteNumber("PayloadSize");
    m_memory.assign(count, std::vector<uint8_t>(size));
    for (auto &memory : m_memory)
    {
        BUFFER_HANDLE buffer = nullptr;
        Calls().Must("DSAnnounceBuffer", Calls().DSAnnounceBuffer(Opened().stream, memory.data(),
                                                                  memory.size(), nullptr, &buffer));
        m_buffers.push_back(buffer);
    }
}

void SnapshotConsumer::RevokeAll()
{
    for (auto *const buffer : m_buffers)
    {
        Calls().Must("DSRevokeBuffer", Calls().DSRevokeBuffer(Opened().stream, buffer, nullptr, nullptr));
    }
    m_buffers.clear();
}

void SnapshotConsumer::Start()
{
    if (m_buffers.empty())
    {
        Announce(snapshotBuffers);
    }
    m_ends = false;
    m_frames.clear();
    m_refusal.clear();
    m_thread = std::thread([this] { Run(); });
    Calls().Must("DSStartAcquisition",
                 Calls().DSStartAcquisition(Opened().stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    SetRemote("AcquisitionStart", 1);
}

void SnapshotConsumer::Run()
{
    try
    {
        EVENT_HANDLE event = nullptr;
        Calls().Must("GCRegisterEvent", Calls().GCRegisterEvent(Opened().stream, EVENT_NEW_BUFFER, &event));
        for (auto *const buffer : m_buffers)
        {
            Calls().Must("DSQueueBuffer", Calls().DSQueueBuffer(Opened().stream, buffer));
        }
        {
            const std::lock_guard lock(m_mutex);
            m_event = event;
            m_changed.notify_all();
        }
        TakeFrames(event);
    }
    catch (const Refusal &refusal)
    {
        const std::lock_guard lock(m_mutex);
        m_refusal = refusal.what();
        m_changed.notify_all();
    }
}

void SnapshotConsumer::TakeFrames(EVENT_HANDLE event)
{
    int failedWaits = 0;
    while (!m_ends)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        const auto code = Calls().EventGetData(event, &data, &size, GENTL_INFINITE);
        if (code != GC_ERR_SUCCESS)
        {
            if (!m_ends && ++failedWaits > mostFailedWaits)
            {
                Calls().Must("EventGetData", code);
            }
            continue;
        }
        const auto conclusion = Conclude(data.BufferHandle);
        Calls().Must("DSQueueBuffer", Calls().DSQueueBuffer(Opened().stream, data.BufferHandle));
        const std::lock_guard lock(m_mutex);
        m_frames.push_back(conclusion);
        m_changed.notify_all();
    }
}

FrameConclusion SnapshotConsumer::Conclude(BUFFER_HANDLE buffer) const
{
    const BufferQuestions questions(Calls(), Opened().stream, buffer);
    FrameConclusion seen;
    seen.width = questions.Ask<size_t>(BUFFER_INFO_WIDTH).value_or(0);
    seen.height = questions.Ask<size_t>(BUFFER_INFO_HEIGHT).value_or(0);
    seen.pixelFormat = questions.Ask<uint64_t>(BUFFER_INFO_PIXELFORMAT).value_or(0);
    seen.bytes = questions.Ask<size_t>(BUFFER_INFO_SIZE_FILLED).value_or(0);
    // A buffer whose parts cannot be counted is one image.
    seen.parts = questions.NumParts().value_or(1);
    seen.hasImage = seen.parts > 0 && questions.Ask<size_t>(BUFFER_INFO_PAYLOADTYPE).has_value();
    seen.time = questions.Ask<uint64_t>(BUFFER_INFO_TIMESTAMP_NS) ? "ns" : "host";
    if (questions.Ask<bool8_t>(BUFFER_INFO_CONTAINS_CHUNKDATA).value_or(0) != 0)
    {
        seen.chunks = "unread";
    }
    return seen;
}

FrameConclusion SnapshotConsumer::TakeFrame()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, longestWait, [this] { return !m_frames.empty() || !m_refusal.empty(); });
    if (m_frames.empty())
    {
        throw Refusal(m_refusal.empty() ? "no frame" : m_refusal);
    }
    const auto first = m_frames.front();
    m_frames.pop_front();
    return first;
}

void SnapshotConsumer::EndThread()
{
    if (!m_thread.joinable())
    {
        return;
    }
    EVENT_HANDLE event = nullptr;
    {
        // The thread may still be on its way to the first wait.
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_event != nullptr || !m_refusal.empty(); });
        event = std::exchange(m_event, nullptr);
    }
    m_ends = true;
    if (event != nullptr)
    {
        Calls().EventKill(event);
    }
    m_thread.join();
    if (event != nullptr)
    {
        Calls().GCUnregisterEvent(Opened().stream, EVENT_NEW_BUFFER);
    }
}

void SnapshotConsumer::Stop()
{
    auto *const stream = Opened().stream;
    SetRemote("AcquisitionStop", 1);
    Calls().Must("DSStopAcquisition", Calls().DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
    EndThread();
    if (!m_refusal.empty())
    {
        throw Refusal(m_refusal);
    }
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
}

std::optional<FrameConclusion> SnapshotConsumer::TakeSnapshot()
{
    RevokeAll();
    Announce(1);
    try
    {
        Start();
        const auto conclusion = TakeFrame();
        Stop();
        RevokeAll();
        return conclusion;
    }
    catch (const Refusal &)
    {
        EndThread();
        Calls().DSFlushQueue(Opened().stream, ACQ_QUEUE_ALL_DISCARD);
        RevokeAll();
        throw;
    }
}

void SnapshotConsumer::Close()
{
    auto &session = Opened();
    RevokeAll();
    session.CloseStream();
    session.CloseDevice();
    session.CloseInterface();
    session.CloseSystem();
}

} // namespace consumers
