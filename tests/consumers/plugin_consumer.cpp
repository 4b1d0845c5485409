#include "consumers/plugin_consumer.h"

#include <fmt/format.h>

namespace consumers
{

namespace
{

constexpr size_t pluginBuffers = 4;
constexpr uint64_t pluginLimitMs = 1000;
constexpr uint64_t updateLimitMs = 1000;

/// The answer to a question that has to be answered.
template <typename T>
T Needed(const BufferQuestions &questions, BUFFER_INFO_CMD command)
{
    const auto answer = questions.Ask<T>(command);
    if (!answer)
    {
        throw Refusal(fmt::format("the stream ends at buffer info {}", command));
    }
    return *answer;
}

} // namespace

PluginConsumer::PluginConsumer(const Producer &producer) : Consumer(producer)
{
    producer.Must("GCInitLib", producer.GCInitLib());
}

void PluginConsumer::Open(const std::string &model)
{
    auto &session = Opened();
    session.OpenSystem();
    const auto found = session.Find(model, {.interfaces = updateLimitMs, .devices = updateLimitMs});
    Calls().Must("IFOpenDevice", session.TryOpenDevice(found.deviceId, DEVICE_ACCESS_CONTROL));
    session.ConnectRemote();
}

void PluginConsumer::Start()
{
    Opened().OpenStream();
    auto *const stream = Opened().stream;
    const auto payload = Opened().PayloadSize();
    for (size_t i = 0; i < pluginBuffers; ++i)
    {
        Opened().AddBuffer(payload);
    }
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT));
    Calls().Must("GCRegisterEvent", Calls().GCRegisterEvent(stream, EVENT_NEW_BUFFER, &m_event));
    Calls().Must("DSStartAcquisition",
                 Calls().DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    SetRemote("AcquisitionStart", 1);
}

FrameConclusion PluginConsumer::TakeFrame()
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    Calls().Must("EventGetData", Calls().EventGetData(m_event, &data, &size, pluginLimitMs));
    const auto conclusion = Conclude(data.BufferHandle);
    Calls().Must("DSQueueBuffer", Calls().DSQueueBuffer(Opened().stream, data.BufferHandle));
    return conclusion;
}

FrameConclusion PluginConsumer::Conclude(BUFFER_HANDLE buffer) const
{
    const BufferQuestions questions(Calls(), Opened().stream, buffer);
    FrameConclusion seen;
    Needed<size_t>(questions, BUFFER_INFO_PAYLOADTYPE);
    Needed<uint64_t>(questions, BUFFER_INFO_FRAMEID);
    Needed<uint64_t>(questions, BUFFER_INFO_TIMESTAMP_NS);
    seen.time = "ns";
    seen.hasImage = Needed<bool8_t>(questions, BUFFER_INFO_IS_INCOMPLETE) == 0;
    seen.width = RemoteNumber("Width");
    seen.height = RemoteNumber("Height");
    seen.pixelFormat = RemoteNumber("PixelFormat");
    seen.bytes = Needed<size_t>(questions, BUFFER_INFO_SIZE);
    seen.parts = 1;
    return seen;
}

void PluginConsumer::Stop()
{
    auto *const stream = Opened().stream;
    SetRemote("AcquisitionStop", 1);
    Calls().Must("DSStopAcquisition", Calls().DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT));
    Calls().Must("DSFlushQueue", Calls().DSFlushQueue(stream, ACQ_QUEUE_OUTPUT_DISCARD));
    Opened().CloseStream();
}

void PluginConsumer::Close()
{
    auto &session = Opened();
    session.CloseDevice();
    session.CloseInterface();
    session.CloseSystem();
}

} // namespace consumers
