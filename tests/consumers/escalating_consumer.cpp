#include "consumers/escalating_consumer.h"

#include <algorithm>

namespace consumers
{

namespace
{

constexpr size_t fewestBuffers = 4;
constexpr uint64_t escalatingLimitMs = 3000;

} // namespace

EscalatingConsumer::EscalatingConsumer(const Producer &producer) : Consumer(producer)
{
    producer.Must("GCInitLib", producer.GCInitLib());
}

void EscalatingConsumer::Open(const std::string &model)
{
    auto &session = Opened();
    session.OpenSystem();
    const auto found = session.Find(model, {.interfaces = 10, .devices = 1000});
    OpenDevice(found.deviceId, DEVICE_ACCESS_READONLY);
    session.ConnectRemote();
    session.CloseDevice();
    OpenDevice(found.deviceId, DEVICE_ACCESS_CONTROL);
    session.ConnectRemote();
    session.OpenStream();
}

void EscalatingConsumer::OpenDevice(const std::string &id, DEVICE_ACCESS_FLAGS least)
{
    GC_ERROR code = GC_ERR_NOT_IMPLEMENTED;
    for (auto access = least; access <= DEVICE_ACCESS_EXCLUSIVE && code == GC_ERR_NOT_IMPLEMENTED; ++access)
    {
        code = Opened().TryOpenDevice(id, access);
    }
    Calls().Must("IFOpenDevice", code);
}

void EscalatingConsumer::Start()
{
    auto *const stream = Opened().stream;
    SetRemote("TLParamsLocked", 1);
    const auto least =
        Answer<size_t>([&](auto *type, void *out, size_t *size)
                       { return Calls().DSGetInfo(stream, STREAM_INFO_BUF_ANNOUNCE_MIN, type, out, size); });
    const auto payload = Opened().PayloadSize();
    for (size_t i = 0; i < std::max(fewestBuffers, least.value_or(0)); ++i)
    {
        Opened().AddBuffer(payload);
    }
    Calls().Must("GCRegisterEvent", Calls().GCRegisterEvent(stream, EVENT_NEW_BUFFER, &m_event));
    Calls().Must("DSStartAcquisition",
                 Calls().DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    SetRemote("AcquisitionStart", 1);
}

FrameConclusion EscalatingConsumer::TakeFrame()
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    Calls().Must("EventGetData", Calls().EventGetData(m_event, &data, &size, escalatingLimitMs));
    const auto conclusion = Conclude(data.BufferHandle);
    Calls().Must("DSQueueBuffer", Calls().DSQueueBuffer(Opened().stream, data.BufferHandle));
    return conclusion;
}

FrameConclusion EscalatingConsumer::Conclude(BUFFER_HANDLE buffer) const
{
    const BufferQuestions questions(Calls(), Opened().stream, buffer);
    FrameConclusion seen;
    const bool isIncomplete = questions.Ask<bool8_t>(BUFFER_INFO_IS_INCOMPLETE).value_or(0) != 0;
    const bool isPresent = questions.Ask<bool8_t>(BUFFER_INFO_IMAGEPRESENT).value_or(0) != 0;
    seen.hasImage = isPresent && !isIncomplete;
    seen.width = questions.Ask<size_t>(BUFFER_INFO_WIDTH).value_or(0);
    seen.height = questions.Ask<size_t>(BUFFER_INFO_HEIGHT).value_or(0);
    seen.pixelFormat = questions.Ask<uint64_t>(BUFFER_INFO_PIXELFORMAT).value_or(0);
    seen.bytes = questions.Ask<size_t>(BUFFER_INFO_SIZE).value_or(0) -
                 questions.Ask<size_t>(BUFFER_INFO_IMAGEOFFSET).value_or(0);
    const bool hasParts =
        questions.Ask<size_t>(BUFFER_INFO_PAYLOADTYPE).value_or(0) == PAYLOAD_TYPE_MULTI_PART;
    seen.parts = hasParts ? questions.NumParts().value_or(0) : 1;
    seen.time = questions.Ask<uint64_t>(BUFFER_INFO_TIMESTAMP_NS) ? "ns" : "none";
    seen.chunks = ChunksOf(questions);
    return seen;
}

void EscalatingConsumer::Stop()
{
    auto *const stream = Opened().stream;
    SetRemote("AcquisitionStop", 1);
    Calls().Must("DSStopAcquisition", Calls().DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
    Calls().Must("GCUnregisterEvent", Calls().GCUnregisterEvent(stream, EVENT_NEW_BUFFER));
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
    BUFFER_HANDLE buffer = nullptr;
    while (Calls().DSGetBufferID(stream, 0, &buffer) == GC_ERR_SUCCESS)
    {
        Calls().Must("DSRevokeBuffer", Calls().DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }
    SetRemote("TLParamsLocked", 0);
}

void EscalatingConsumer::Close()
{
    auto &session = Opened();
    session.CloseDevice();
    // The stream went with its device, and its handle is no longer known.
    Calls().Survives("DSClose", Calls().DSClose(session.stream), {GC_ERR_INVALID_HANDLE});
    session.CloseInterface();
    session.CloseSystem();
    Calls().Must("GCCloseLib", Calls().GCCloseLib());
}

} // namespace consumers
