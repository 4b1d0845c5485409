#include "data_stream.h"

#include "description.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace GenTL::simulator
{

namespace
{

using State = Buffer::State;

std::vector<Feature> StreamFeatures()
{
    const char *const information = "StreamInformation";
    const char *const control = "BufferHandlingControl";
    const auto counter = [&](const char *name, const char *toolTip)
    { return Integer(control, name, toolTip).Length(8).ReadOnly().Volatile(); };
    return {
        Text(information, "StreamID", "Identifier of the stream.", 32).DefaultText(DataStream::id).ReadOnly(),
        Enumeration(information, "StreamType", "Transport layer type.", {{"GigEVision", 0}}).ReadOnly(),
        counter("StreamAnnouncedBufferCount", "Buffers that are announced."),
        counter("StreamAnnounceBufferMinimum", "Buffers that a start needs."),
        counter("StreamDeliveredFrameCount", "Frames that the consumer took."),
        counter("StreamDroppedFrameCount", "Frames that found no buffer.").VendorSpecific(),
        counter("StreamLostFrameCount", "Frames that found no buffer."),
        counter("StreamInputBufferCount", "Buffers that wait for a frame."),
        counter("StreamOutputBufferCount", "Frames that wait for the consumer."),
        counter("StreamStartedFrameCount", "Frames that a buffer was begun for."),
        Boolean(control, "StreamIsGrabbing", "Whether the stream takes frames.").ReadOnly().Volatile(),
    };
}

const std::string &StreamDescription()
{
    static const std::string description =
        BuildDescription({"SimulatorStream", "Stream of a simulated camera", "StreamPort",
                          "0F9A64B3-6F0C-4E7A-A1D5-5A2B9B6C7D01", "0F9A64B3-6F0C-4E7A-A1D5-5A2B9B6C7D02"},
                         FeatureLayout(StreamFeatures()));
    return description;
}

/** Two threads may revoke a buffer at once, or one revoke what the other queues. */
void RequireAnnounced(const Buffer &buffer)
{
    if (buffer.state == State::Revoked)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The buffer was revoked");
    }
}

/**
 * Nothing when there is no memory to make the frame, or no picture to show any more: it is lost like one
 * without a buffer.
 */
std::optional<Frame> TryWrite(FrameWriter &writer, const FrameOrder &order, std::span<uint8_t> memory)
{
    try
    {
        return writer.Write(order, memory);
    }
    catch (const std::bad_alloc &)
    {
        return std::nullopt;
    }
    catch (const Error &)
    {
        return std::nullopt;
    }
}

} // namespace

Pacer::Clock::time_point Pacer::Due(double rate) const
{
    const auto period =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1.0 / rate));
    return m_last + period;
}

void Pacer::Sent(double rate)
{
    // Late by less than a period: the next frame keeps to the beat.
    const auto due = Due(rate);
    const auto now = Clock::now();
    m_last = now - due < due - m_last ? due : now;
}

DataStream::DataStream(HandleTable &handles, std::shared_ptr<Camera> camera)
    : Module(handles,
             {id, camera->Model().model, "TLDataStream", "StreamPort", producerVersion, "Stream.xml"},
             FeatureLayout(StreamFeatures()), StreamDescription(), {EVENT_NEW_BUFFER, EVENT_ERROR}),
      m_camera(std::move(camera)), m_mutex(std::make_shared<std::mutex>()),
      m_output(std::make_shared<Event>(EVENT_NEW_BUFFER, sizeof(EVENT_NEW_BUFFER_DATA), m_mutex)),
      m_counters(std::make_shared<Counters>())
{
    ConnectFeatures();
    m_camera->SetListener(this,
                          [this]
                          {
                              const std::unique_lock lock(*m_mutex);
                              ++m_cameraSignals;
                              m_wake.notify_all();
                          });
}

DataStream::~DataStream()
{
    if (!m_ended)
    {
        DataStream::OnClose(); // it never got a handle, so nobody closed it
    }
}

void DataStream::ConnectFeatures()
{
    const auto connect = [this](const char *name, auto value)
    {
        Features().ComputeOnRead(name,
                                 [this, value]
                                 {
                                     const std::unique_lock lock(*m_mutex);
                                     return static_cast<int64_t>(value());
                                 });
    };
    connect("StreamAnnouncedBufferCount", [this] { return m_buffers.size(); });
    connect("StreamAnnounceBufferMinimum", [] { return minimumBuffers; });
    connect("StreamDeliveredFrameCount", [this] { return m_counters->delivered; });
    connect("StreamDroppedFrameCount", [this] { return m_counters->dropped; });
    connect("StreamLostFrameCount", [this] { return m_counters->dropped; });
    connect("StreamInputBufferCount", [this] { return m_input.size(); });
    connect("StreamOutputBufferCount", [this] { return m_output->Pending(); });
    connect("StreamStartedFrameCount", [this] { return m_counters->started; });
    connect("StreamIsGrabbing", [this] { return m_grabbing ? 1 : 0; });
}

Info DataStream::GetInfo(STREAM_INFO_CMD command) const
{
    if (command == STREAM_INFO_PAYLOAD_SIZE)
    {
        // The camera has its own lock, which comes before this stream's.
        return Info::Size(m_camera->PayloadSize());
    }
    const std::unique_lock lock(*m_mutex);
    switch (command)
    {
    case STREAM_INFO_ID:
        return Info::Text(id);
    case STREAM_INFO_NUM_DELIVERED:
        return Info::UInt64(m_counters->delivered);
    case STREAM_INFO_NUM_UNDERRUN:
        return Info::UInt64(m_counters->dropped);
    case STREAM_INFO_NUM_ANNOUNCED:
        return Info::Size(m_buffers.size());
    case STREAM_INFO_NUM_QUEUED:
        return Info::Size(m_input.size());
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return Info::Size(m_output->Pending());
    case STREAM_INFO_NUM_STARTED:
        return Info::UInt64(m_counters->started);
    case STREAM_INFO_IS_GRABBING:
        return Info::Bool(m_grabbing);
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return Info::Bool(false);
    case STREAM_INFO_TLTYPE:
        return Info::Text(transportType);
    case STREAM_INFO_NUM_CHUNKS_MAX:
        return Info::Size(m_camera->Model().chunks.size());
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
        return Info::Size(minimumBuffers);
    case STREAM_INFO_BUF_ALIGNMENT:
        return Info::Size(1);
    case STREAM_INFO_FLOW_TABLE:
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR:
        throw Error(GC_ERR_NOT_AVAILABLE, "The stream has no flows");
    default:
        UnknownCommand(command);
    }
}

std::shared_ptr<Event> DataStream::MakeEvent(EVENT_TYPE type)
{
    if (type != EVENT_NEW_BUFFER)
    {
        return Module::MakeEvent(type);
    }
    // What is in the output queue already is delivered by the event that is registered now.
    auto event = std::make_shared<Event>(type, sizeof(EVENT_NEW_BUFFER_DATA), m_mutex);
    const std::unique_lock lock(*m_mutex);
    for (EventItem &item : m_output->TakeAll())
    {
        event->Push(std::move(item));
    }
    m_output = event;
    return event;
}

void *DataStream::Announce(void *memory, size_t size, void *userPointer)
{
    if (size == 0)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "iSize must not be 0");
    }
    constexpr size_t beyondAnyMachine = size_t{1} << 40;
    if (memory == nullptr && size > beyondAnyMachine)
    {
        throw Error(GC_ERR_OUT_OF_MEMORY, "No memory for a buffer of that size");
    }
    const auto buffer = std::make_shared<Buffer>(Handles(), this, memory, size, userPointer);
    const std::unique_lock control(m_control);
    {
        const std::unique_lock lock(*m_mutex);
        const auto same = [&](const auto &known) { return memory != nullptr && known->Base() == memory; };
        if (std::any_of(m_buffers.begin(), m_buffers.end(), same))
        {
            throw Error(GC_ERR_RESOURCE_IN_USE, "The memory is announced already");
        }
    }
    void *const handle = Adopt(buffer); // the lock of the module comes before the stream's
    const std::unique_lock lock(*m_mutex);
    m_buffers.push_back(buffer);
    return handle;
}

std::shared_ptr<Buffer> DataStream::FindBuffer(const void *handle)
{
    auto buffer = Handles().Find<Buffer>(handle);
    if (buffer->Stream() != this)
    {
        throw Error(GC_ERR_INVALID_HANDLE, "The buffer belongs to another stream");
    }
    return buffer;
}

void DataStream::Revoke(const void *handle, void **memory, void **userPointer)
{
    const std::shared_ptr<Buffer> buffer = FindBuffer(handle);
    {
        const std::unique_lock lock(*m_mutex);
        RequireAnnounced(*buffer);
        if (buffer->state != State::Idle)
        {
            throw Error(GC_ERR_BUSY, "The buffer is in use");
        }
        buffer->state = State::Revoked;
        std::erase(m_buffers, buffer);
    }
    buffer->Close();
    if (memory != nullptr)
    {
        *memory = buffer->OwnsMemory() ? nullptr : buffer->Base();
    }
    if (userPointer != nullptr)
    {
        *userPointer = buffer->UserPointer();
    }
}

void DataStream::Queue(const void *handle)
{
    const std::shared_ptr<Buffer> buffer = FindBuffer(handle);
    const std::unique_lock lock(*m_mutex);
    RequireAnnounced(*buffer);
    if (buffer->state != State::Idle)
    {
        throw Error(GC_ERR_RESOURCE_IN_USE, "The buffer is queued already");
    }
    ToInput(buffer);
}

void *DataStream::BufferAt(uint32_t index) const
{
    const std::unique_lock lock(*m_mutex);
    if (index >= m_buffers.size())
    {
        throw Error(GC_ERR_INVALID_INDEX, "There is no buffer " + std::to_string(index));
    }
    return m_buffers[index]->Handle();
}

void DataStream::ToOutput(const std::shared_ptr<Buffer> &buffer)
{
    buffer->state = State::Output;
    const EVENT_NEW_BUFFER_DATA data{buffer->Handle(), buffer->UserPointer()};
    EventItem item{std::vector<uint8_t>(sizeof data), [buffer, counters = m_counters](bool taken)
                   {
                       buffer->state = State::Idle;
                       counters->delivered += taken ? 1 : 0;
                   }};
    std::memcpy(item.data.data(), &data, sizeof data);
    m_output->Push(std::move(item));
}

void DataStream::ToInput(const std::shared_ptr<Buffer> &buffer)
{
    buffer->frame.reset();
    buffer->state = State::Queued;
    m_input.push_back(buffer);
    m_wake.notify_all();
}

void DataStream::EmptyInput()
{
    for (const auto &buffer : std::exchange(m_input, {}))
    {
        buffer->state = State::Idle;
    }
}

void DataStream::EmptyOutput()
{
    for (const EventItem &item : m_output->TakeAll())
    {
        item.leaves(false);
    }
}

void DataStream::IdleToInput()
{
    for (const auto &buffer : m_buffers)
    {
        if (buffer->state == State::Idle)
        {
            ToInput(buffer);
        }
    }
}

void DataStream::Flush(ACQ_QUEUE_TYPE operation)
{
    const std::unique_lock lock(*m_mutex);
    switch (operation)
    {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
        for (const auto &buffer : std::exchange(m_input, {}))
        {
            ToOutput(buffer);
        }
        return;
    case ACQ_QUEUE_OUTPUT_DISCARD:
        EmptyOutput();
        return;
    case ACQ_QUEUE_ALL_TO_INPUT:
        EmptyOutput();
        IdleToInput();
        return;
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
        IdleToInput();
        return;
    case ACQ_QUEUE_ALL_DISCARD:
        EmptyInput();
        EmptyOutput();
        return;
    default:
        throw Error(GC_ERR_INVALID_PARAMETER, "Queue operation " + std::to_string(operation) + " is unknown");
    }
}

void DataStream::Start(ACQ_START_FLAGS flags, uint64_t frames)
{
    if (flags != ACQ_START_FLAGS_DEFAULT)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "Start flags " + std::to_string(flags) + " are unknown");
    }
    if (frames == 0)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "iNumToAcquire must not be 0");
    }
    const std::unique_lock control(m_control);
    {
        const std::unique_lock lock(*m_mutex);
        if (m_ended)
        {
            throw Error(GC_ERR_INVALID_HANDLE, "The stream was closed");
        }
        if (m_grabbing)
        {
            throw Error(GC_ERR_RESOURCE_IN_USE, "The stream is grabbing already");
        }
        if (m_buffers.size() < minimumBuffers)
        {
            throw Error(GC_ERR_INVALID_BUFFER,
                        "At least " + std::to_string(minimumBuffers) + " buffers must be announced");
        }
    }
    Join();
    auto writer = std::make_unique<FrameWriter>(m_camera->Sources());
    const std::unique_lock lock(*m_mutex);
    *m_counters = {};
    m_remaining = frames;
    m_discard = false;
    m_started = true;
    m_grabbing = true;
    m_thread = std::thread([this, writer = std::move(writer)] { Run(*writer); });
}

void DataStream::Stop(ACQ_STOP_FLAGS flags)
{
    if (flags != ACQ_STOP_FLAGS_DEFAULT && flags != ACQ_STOP_FLAGS_KILL)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "Stop flags " + std::to_string(flags) + " are unknown");
    }
    const std::unique_lock control(m_control);
    {
        const std::unique_lock lock(*m_mutex);
        if (!m_started)
        {
            throw Error(GC_ERR_RESOURCE_IN_USE, "The stream was not started");
        }
        m_started = false;
        m_grabbing = false;
        m_discard = flags == ACQ_STOP_FLAGS_KILL;
        m_wake.notify_all();
    }
    Join();
}

void DataStream::Join()
{
    if (m_thread.joinable())
    {
        m_thread.join();
    }
}

void DataStream::OnClose()
{
    m_camera->RemoveListener(this);
    const std::unique_lock control(m_control);
    {
        const std::unique_lock lock(*m_mutex);
        m_ended = true;
        m_started = false;
        m_grabbing = false;
        m_discard = true;
        m_wake.notify_all();
    }
    Join();
    // The items hold the buffers, and a consumer's event holds the items.
    const std::unique_lock lock(*m_mutex);
    EmptyInput();
    EmptyOutput();
}

void DataStream::Run(FrameWriter &writer)
{
    Pacer pacer;
    std::unique_lock lock(*m_mutex);
    while (m_grabbing && m_remaining > 0)
    {
        if (WaitForTurn(lock, pacer))
        {
            SendFrame(lock, writer);
        }
    }
    m_grabbing = false;
}

bool DataStream::WaitForTurn(std::unique_lock<std::mutex> &lock, Pacer &pacer)
{
    const uint64_t signals = m_cameraSignals;
    lock.unlock();
    const bool acquiring = m_camera->IsAcquiring();
    const double rate = m_camera->FrameRate();
    lock.lock();
    const auto changed = [&] { return !m_grabbing || m_cameraSignals != signals; };
    if (!acquiring)
    {
        m_wake.wait(lock, changed);
        return false;
    }
    if (rate > 0.0)
    {
        if (m_wake.wait_until(lock, pacer.Due(rate), changed))
        {
            return false;
        }
        pacer.Sent(rate);
        return true;
    }
    m_wake.wait(lock, [&] { return changed() || !m_input.empty(); });
    return !changed();
}

void DataStream::SendFrame(std::unique_lock<std::mutex> &lock, FrameWriter &writer)
{
    std::shared_ptr<Buffer> buffer;
    if (!m_input.empty())
    {
        buffer = m_input.front();
        m_input.pop_front();
        buffer->state = State::Filling;
    }
    lock.unlock();
    const std::optional<FrameOrder> order = m_camera->NextFrame();
    std::optional<Frame> frame;
    if (order && buffer)
    {
        frame = TryWrite(writer, *order, buffer->Memory());
    }
    lock.lock();
    m_counters->started += frame ? 1 : 0;
    m_counters->dropped += order && !frame ? 1 : 0;
    if (frame && !m_discard)
    {
        Deliver(buffer, std::move(*frame));
    }
    else if (buffer)
    {
        buffer->state = State::Queued;
        m_input.push_front(buffer);
    }
}

void DataStream::Deliver(const std::shared_ptr<Buffer> &buffer, Frame frame)
{
    buffer->frame = std::move(frame);
    ToOutput(buffer);
    if (m_remaining != GENTL_INFINITE)
    {
        --m_remaining;
    }
}

} // namespace GenTL::simulator
