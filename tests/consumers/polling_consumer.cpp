#include "consumers/polling_consumer.h"

namespace consumers
{

namespace
{

constexpr size_t pollingBuffers = 5;
constexpr uint64_t pollMs = 1;
constexpr int mostPolls = 20000;

} // namespace

PollingConsumer::PollingConsumer(const Producer &producer) : Consumer(producer)
{
    producer.Must("GCInitLib", producer.GCInitLib());
}

void PollingConsumer::TryRegister(EVENTSRC_HANDLE module, EVENT_TYPE type) const
{
    EVENT_HANDLE event = nullptr;
    Calls().Survives("GCRegisterEvent", Calls().GCRegisterEvent(module, type, &event),
                     {GC_ERR_NOT_IMPLEMENTED, GC_ERR_RESOURCE_IN_USE, GC_ERR_INVALID_PARAMETER});
}

void PollingConsumer::Open(const std::string &model)
{
    auto &session = Opened();
    session.OpenSystem();
    TryRegister(session.system, EVENT_MODULE);
    const auto found = session.Find(model, {.interfaces = 1000, .devices = 1000});
    TryRegister(session.interface, EVENT_MODULE);
    Calls().Must("IFOpenDevice", session.TryOpenDevice(found.deviceId, DEVICE_ACCESS_EXCLUSIVE));
    TryRegister(session.device, EVENT_MODULE);
    TryRegister(session.device, EVENT_REMOTE_DEVICE);
    session.ConnectRemote();
    session.OpenStream();
    TryRegister(session.stream, EVENT_MODULE);
    Calls().Must("GCRegisterEvent", Calls().GCRegisterEvent(session.stream, EVENT_NEW_BUFFER, &m_event));
}

void PollingConsumer::Start()
{
    auto *const stream = Opened().stream;
    const auto size = Opened().PayloadSize();
    m_memory.assign(pollingBuffers, std::vector<uint8_t>(size));
    for (auto &memory : m_memory)
    {
        BUFFER_HANDLE buffer = nullptr;
        Calls().Must("DSAnnounceBuffer",
                     Calls().DSAnnounceBuffer(stream, memory.data(), memory.size(), nullptr, &buffer));
        m_buffers.push_back(buffer);
        Calls().Must("DSQueueBuffer", Calls().DSQueueBuffer(stream, buffer));
    }
    SetRemote("TLParamsLocked", 1);
    Calls().Must("DSStartAcquisition",
                 Calls().DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    SetRemote("AcquisitionStart", 1);
}

FrameConclusion PollingConsumer::TakeFrame()
{
    for (int polls = 0; polls < mostPolls; ++polls)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        const auto code = Calls().EventGetData(m_event, &data, &size, pollMs);
        if (code == GC_ERR_SUCCESS)
        {
            const auto conclusion = Conclude(data.BufferHandle);
            Calls().Must("DSQueueBuffer", Calls().DSQueueBuffer(Opened().stream, data.BufferHandle));
            return conclusion;
        }
        Calls().Survives("EventGetData", code, {GC_ERR_TIMEOUT});
    }
    throw Refusal("EventGetData: no frame");
}

FrameConclusion PollingConsumer::Conclude(BUFFER_HANDLE buffer) const
{
    const BufferQuestions questions(Calls(), Opened().stream, buffer);
    const auto payload = questions.Ask<size_t>(BUFFER_INFO_PAYLOADTYPE);
    FrameConclusion seen;
    seen.hasImage = payload && questions.Ask<bool8_t>(BUFFER_INFO_IS_INCOMPLETE).value_or(1) == 0;
    seen.width = questions.Ask<size_t>(BUFFER_INFO_WIDTH).value_or(RemoteNumber("Width"));
    seen.height = questions.Ask<size_t>(BUFFER_INFO_HEIGHT).value_or(RemoteNumber("Height"));
    seen.pixelFormat = questions.Ask<uint64_t>(BUFFER_INFO_PIXELFORMAT).value_or(RemoteNumber("PixelFormat"));
    seen.bytes = questions.Ask<size_t>(BUFFER_INFO_SIZE_FILLED)
                     .value_or(questions.Ask<size_t>(BUFFER_INFO_SIZE).value_or(0));
    const bool hasParts = payload && *payload == PAYLOAD_TYPE_MULTI_PART;
    seen.parts = hasParts ? questions.NumParts().value_or(0) : 1;
    seen.time = questions.Ask<uint64_t>(BUFFER_INFO_TIMESTAMP_NS) ? "ns"
                : questions.Ask<uint64_t>(BUFFER_INFO_TIMESTAMP)  ? "ticks"
                                                                  : "none";
    seen.chunks = ChunksOf(questions);
    return seen;
}

void PollingConsumer::Stop()
{
    auto *const stream = Opened().stream;
    SetRemote("AcquisitionStop", 1);
    SetRemote("TLParamsLocked", 0);
    Calls().Must("DSStopAcquisition", Calls().DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL));
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
    Calls().Must("EventFlush", Calls().EventFlush(m_event));
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
    for (auto *const buffer : m_buffers)
    {
        Calls().Must("DSRevokeBuffer", Calls().DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }
    m_buffers.clear();
    Calls().Must("EventFlush", Calls().EventFlush(m_event));
}

void PollingConsumer::Close()
{
    auto &session = Opened();
    Calls().Must("GCUnregisterEvent", Calls().GCUnregisterEvent(session.stream, EVENT_NEW_BUFFER));
    session.CloseStream();
    session.CloseDevice();
    session.CloseInterface();
    session.CloseSystem();
    Calls().Must("GCCloseLib", Calls().GCCloseLib());
}

} // namespace consumers
