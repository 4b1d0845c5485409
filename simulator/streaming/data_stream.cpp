#include "simulator/streaming/data_stream.h"

#include "simulator/features/description.h"

namespace GenTL::simulator
{

namespace
{

std::vector<Feature> StreamFeatures(const Transport &transport)
{
    const char *const information = "StreamInformation";
    const char *const control = "BufferHandlingControl";
    const auto counter = [&](const char *name, const char *toolTip)
    { return Integer(control, name, toolTip).Length(8).ReadOnly().Volatile(); };
    return {
        Text(information, "StreamID", "Identifier of the stream.", 32).Default(DataStream::id).ReadOnly(),
        Enumeration(information, "StreamType", "Transport layer type.", {{transport.featureName, 0}})
            .ReadOnly(),
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

std::string StreamDescription(const Transport &transport)
{
    return BuildDescription({"SimulatorStream", "Stream of a simulated camera", "StreamPort",
                             "0F9A64B3-6F0C-4E7A-A1D5-5A2B9B6C7D01", "0F9A64B3-6F0C-4E7A-A1D5-5A2B9B6C7D02"},
                            FeatureLayout(StreamFeatures(transport)));
}

PortIdentity IdentityOfStream(const CameraModel &camera)
{
    return {DataStream::id,  camera.model, "TLDataStream",       "StreamPort",
            producerVersion, "Stream.xml", camera.transport.type};
}

/// Answers that do not change while the stream is open.
Info ConstantInfo(const CameraModel &camera, STREAM_INFO_CMD command)
{
    switch (command)
    {
    case STREAM_INFO_ID:
        return Info::Text(DataStream::id);
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
        return Info::Bool(camera.recording && camera.recording->Device().streamDefinesPayload);
    case STREAM_INFO_TLTYPE:
        return Info::Text(camera.transport.type);
    case STREAM_INFO_NUM_CHUNKS_MAX:
        return Info::Size(camera.chunks.size());
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
        return Info::Size(DataStream::minimumBuffers);
    case STREAM_INFO_BUF_ALIGNMENT:
        return Info::Size(1);
    case STREAM_INFO_FLOW_TABLE:
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR:
        throw Error(GC_ERR_NOT_AVAILABLE, "The stream has no flows");
    default:
        UnknownCommand(command);
    }
}

} // namespace

DataStream::DataStream(HandleTable &handles, std::shared_ptr<StreamedCamera> camera)
    : Module(handles, IdentityOfStream(camera->Model()),
             FeatureLayout(StreamFeatures(camera->Model().transport)),
             StreamDescription(camera->Model().transport), {EVENT_NEW_BUFFER, EVENT_ERROR}),
      m_camera(std::move(camera)), m_mutex(std::make_shared<std::mutex>()), m_pool(m_mutex),
      m_thread(*m_camera, m_pool, m_mutex)
{
    ConnectFeatures();
    m_camera->SetListener(this, [this] { m_thread.CameraChanged(); });
}

DataStream::~DataStream()
{
    if (!m_closed)
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
                                     const std::lock_guard lock(*m_mutex);
                                     return static_cast<int64_t>(value());
                                 });
    };
    connect("StreamAnnouncedBufferCount", [this] { return m_pool.Sizes().announced; });
    connect("StreamAnnounceBufferMinimum", [] { return minimumBuffers; });
    connect("StreamDeliveredFrameCount", [this] { return m_pool.Counters().delivered; });
    connect("StreamDroppedFrameCount", [this] { return m_pool.Counters().dropped; });
    connect("StreamLostFrameCount", [this] { return m_pool.Counters().dropped; });
    connect("StreamInputBufferCount", [this] { return m_pool.Sizes().input; });
    connect("StreamOutputBufferCount", [this] { return m_pool.Sizes().output; });
    connect("StreamStartedFrameCount", [this] { return m_pool.Counters().started; });
    connect("StreamIsGrabbing", [this] { return m_thread.IsGrabbing() ? 1 : 0; });
}

Info DataStream::GetInfo(STREAM_INFO_CMD command) const
{
    if (command == STREAM_INFO_PAYLOAD_SIZE)
    {
        // The camera has its own lock, which comes before this stream's.
        return Info::Size(m_camera->PayloadSize());
    }
    const std::lock_guard lock(*m_mutex);
    switch (command)
    {
    case STREAM_INFO_NUM_DELIVERED:
        return Info::UInt64(m_pool.Counters().delivered);
    case STREAM_INFO_NUM_UNDERRUN:
        return Info::UInt64(m_pool.Counters().dropped);
    case STREAM_INFO_NUM_STARTED:
        return Info::UInt64(m_pool.Counters().started);
    case STREAM_INFO_NUM_ANNOUNCED:
        return Info::Size(m_pool.Sizes().announced);
    case STREAM_INFO_NUM_QUEUED:
        return Info::Size(m_pool.Sizes().input);
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
        return Info::Size(m_pool.Sizes().output);
    case STREAM_INFO_IS_GRABBING:
        return Info::Bool(m_thread.IsGrabbing());
    default:
        return ConstantInfo(m_camera->Model(), command);
    }
}

std::shared_ptr<Event> DataStream::MakeEvent(EVENT_TYPE type)
{
    if (type != EVENT_NEW_BUFFER)
    {
        return Module::MakeEvent(type);
    }
    auto event = std::make_shared<Event>(type, sizeof(EVENT_NEW_BUFFER_DATA), m_mutex);
    const std::lock_guard lock(*m_mutex);
    m_pool.DeliverThrough(event);
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
    const auto buffer =
        std::make_shared<Buffer>(Handles(), this, m_camera->Model().transport, memory, size, userPointer);
    const std::lock_guard control(m_control);
    {
        const std::lock_guard lock(*m_mutex);
        if (memory != nullptr && m_pool.HasMemory(memory))
        {
            throw Error(GC_ERR_RESOURCE_IN_USE, "The memory is announced already");
        }
    }
    void *const handle = Adopt(buffer); // the lock of the module comes before the stream's
    const std::lock_guard lock(*m_mutex);
    m_pool.Add(buffer);
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
    const auto buffer = FindBuffer(handle);
    {
        const std::lock_guard lock(*m_mutex);
        m_pool.Revoke(buffer);
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
    const auto buffer = FindBuffer(handle);
    const std::lock_guard lock(*m_mutex);
    m_pool.Queue(buffer);
    m_thread.Wake();
}

void *DataStream::BufferAt(uint32_t index) const
{
    const std::lock_guard lock(*m_mutex);
    return m_pool.HandleAt(index);
}

void DataStream::Flush(ACQ_QUEUE_TYPE operation)
{
    const std::lock_guard lock(*m_mutex);
    m_pool.Flush(operation);
    m_thread.Wake();
}

void DataStream::Start(ACQ_START_FLAGS flags, uint64_t frames)
{
    if (flags != ACQ_START_FLAGS_DEFAULT)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "Start flags {} are unknown", flags);
    }
    if (frames == 0)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "iNumToAcquire must not be 0");
    }
    const std::lock_guard control(m_control);
    {
        const std::lock_guard lock(*m_mutex);
        m_thread.RequireStartable();
        if (m_pool.Sizes().announced < minimumBuffers)
        {
            throw Error(GC_ERR_INVALID_BUFFER, "At least {} buffers must be announced", minimumBuffers);
        }
    }
    m_thread.Start(frames);
}

void DataStream::Stop(ACQ_STOP_FLAGS flags)
{
    if (flags != ACQ_STOP_FLAGS_DEFAULT && flags != ACQ_STOP_FLAGS_KILL)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "Stop flags {} are unknown", flags);
    }
    const std::lock_guard control(m_control);
    m_thread.Stop(flags == ACQ_STOP_FLAGS_KILL);
}

void DataStream::OnClose()
{
    m_camera->RemoveListener(this);
    const std::lock_guard control(m_control);
    m_closed = true;
    m_thread.Close();
    // Empties the output queue, whose items hold the buffers. A call of the consumer may still hold the event
    // with this queue.
    const std::lock_guard lock(*m_mutex);
    m_pool.Flush(ACQ_QUEUE_ALL_DISCARD);
}

} // namespace GenTL::simulator
