#include "simulator/streaming/buffer.h"

#include "simulator/clock.h"
#include "simulator/features/description.h"

#include <algorithm>
#include <map>

namespace GenTL::simulator
{

namespace
{

std::vector<Feature> BufferFeatures(size_t size, const void *userPointer)
{
    const char *const category = "BufferInformation";
    return {Integer(category, "BufferSize", "Bytes of the buffer.")
                .Length(8)
                .Default(static_cast<int64_t>(size))
                .ReadOnly()
                .Unit("B")
                .VendorSpecific(),
            Integer(category, "BufferUserData", "The private pointer that the buffer was announced with.")
                .Length(8)
                .Default(static_cast<int64_t>(reinterpret_cast<intptr_t>(userPointer)))
                .ReadOnly()};
}

// The description is the same for every buffer.
const std::string &BufferDescription()
{
    static const std::string description =
        BuildDescription({"SimulatorBuffer", "Buffer of a simulated camera", "BufferPort",
                          "B1E8A2C0-5D0B-4E0E-9C7A-3E5C3A7B9B01", "B1E8A2C0-5D0B-4E0E-9C7A-3E5C3A7B9B02"},
                         FeatureLayout(BufferFeatures(0, nullptr)));
    return description;
}

/// The answer to a command about an image, which each part of a buffer answers for itself. None for a command
/// about the whole buffer.
std::optional<Info> ImageInfo(const ImageSettings &image, BUFFER_INFO_CMD command)
{
    switch (command)
    {
    case BUFFER_INFO_WIDTH:
        return Info::Size(image.width);
    case BUFFER_INFO_HEIGHT:
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT:
        return Info::Size(image.height);
    case BUFFER_INFO_XOFFSET:
        return Info::Size(image.offsetX);
    case BUFFER_INFO_YOFFSET:
        return Info::Size(image.offsetY);
    case BUFFER_INFO_XPADDING:
    case BUFFER_INFO_YPADDING:
    case BUFFER_INFO_IMAGEOFFSET:
        return Info::Size(0);
    case BUFFER_INFO_PIXELFORMAT:
        return Info::UInt64(static_cast<uint64_t>(image.format->code));
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE:
        return Info::UInt64(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_INFO_PIXEL_ENDIANNESS:
        return Info::Int32(PIXELENDIANNESS_LITTLE);
    default:
        return std::nullopt;
    }
}

/// The questions about a part that a buffer with one image answers, too.
const std::map<BUFFER_PART_INFO_CMD, BUFFER_INFO_CMD> imageCommands = {
    {BUFFER_PART_INFO_DATA_FORMAT, BUFFER_INFO_PIXELFORMAT},
    {BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE, BUFFER_INFO_PIXELFORMAT_NAMESPACE},
    {BUFFER_PART_INFO_WIDTH, BUFFER_INFO_WIDTH},
    {BUFFER_PART_INFO_HEIGHT, BUFFER_INFO_HEIGHT},
    {BUFFER_PART_INFO_XOFFSET, BUFFER_INFO_XOFFSET},
    {BUFFER_PART_INFO_YOFFSET, BUFFER_INFO_YOFFSET},
    {BUFFER_PART_INFO_XPADDING, BUFFER_INFO_XPADDING},
    {BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT, BUFFER_INFO_DELIVERED_IMAGEHEIGHT}};

/// @throws Error GC_ERR_NOT_AVAILABLE: the camera's clock has other ticks.
Info NanosecondsOf(const FrameOrder &order)
{
    const auto ticksPerSecond = order.settings->ticksPerSecond;
    if (ticksPerSecond != nanosecondsPerSecond)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "The camera counts {} ticks in a second", ticksPerSecond);
    }
    return Info::UInt64(order.timestamp);
}

/// The answer to a command about the whole of a frame.
/// @throws Error GC_ERR_NOT_AVAILABLE: a frame does not have it.
Info FrameInfo(const Frame &frame, BUFFER_INFO_CMD command)
{
    const auto &settings = *frame.order.settings;
    switch (command)
    {
    case BUFFER_INFO_TIMESTAMP:
        return Info::UInt64(frame.order.timestamp);
    case BUFFER_INFO_TIMESTAMP_NS:
        return NanosecondsOf(frame.order);
    case BUFFER_INFO_FRAMEID:
        return Info::UInt64(frame.order.number);
    case BUFFER_INFO_IMAGEPRESENT:
        return Info::Bool(true);
    case BUFFER_INFO_PAYLOADTYPE:
        return Info::Size(settings.parts.size() > 1 ? PAYLOAD_TYPE_MULTI_PART : PAYLOAD_TYPE_IMAGE);
    case BUFFER_INFO_DATA_SIZE:
        return Info::Size(frame.filled);
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
        return Info::Size(frame.chunks.empty() ? 0 : settings.payloadSize);
    case BUFFER_INFO_CHUNKLAYOUTID:
        return Info::UInt64(settings.chunks.size());
    default:
        throw Error(GC_ERR_NOT_AVAILABLE, "An image has no such information");
    }
}

} // namespace

Buffer::Buffer(HandleTable &handles, const void *stream, const Transport &transport, void *memory,
               size_t size, void *userPointer)
    : Module(handles,
             {"Buffer", "Buffer", "TLBuffer", "BufferPort", producerVersion, "Buffer.xml", transport.type},
             FeatureLayout(BufferFeatures(size, userPointer)), BufferDescription(), {}),
      m_stream(stream), m_transport(transport),
      m_own(memory == nullptr ? std::make_unique<uint8_t[]>(size) : nullptr),
      m_base(memory == nullptr ? m_own.get() : memory), m_size(size), m_userPointer(userPointer)
{
}

const Frame &Buffer::RequireFrame() const
{
    if (!frame)
    {
        throw Error(GC_ERR_NOT_AVAILABLE, "The buffer holds no frame");
    }
    return *frame;
}

uint32_t Buffer::NumParts() const
{
    if (!frame)
    {
        return 0;
    }
    if (frame->answers)
    {
        return frame->answers->Parts();
    }
    // A part that begins behind the end of a small buffer did not arrive.
    return static_cast<uint32_t>(std::ranges::count_if(
        frame->order.settings->parts, [&](const FramePart &part) { return part.offset < frame->filled; }));
}

/// Whether a recorded frame answers: all that is about the frame, and not about the buffer that it is in.
bool Buffer::IsAnsweredByFrame(BUFFER_INFO_CMD command) const
{
    if (!frame || !frame->answers)
    {
        return false;
    }
    switch (command)
    {
    case BUFFER_INFO_BASE:
    case BUFFER_INFO_SIZE:
    case BUFFER_INFO_USER_PTR:
    case BUFFER_INFO_NEW_DATA:
    case BUFFER_INFO_IS_QUEUED:
    case BUFFER_INFO_IS_ACQUIRING:
    case BUFFER_INFO_SIZE_FILLED:
        return false;
    default:
        return !frame->cutOff;
    }
}

Info Buffer::GetInfo(BUFFER_INFO_CMD command) const
{
    if (IsAnsweredByFrame(command))
    {
        return frame->answers->Of(command);
    }
    switch (command)
    {
    case BUFFER_INFO_BASE:
        return Info::Pointer(m_base);
    case BUFFER_INFO_SIZE:
        return Info::Size(m_size);
    case BUFFER_INFO_USER_PTR:
        return Info::Pointer(m_userPointer);
    case BUFFER_INFO_NEW_DATA:
        return Info::Bool(frame.has_value());
    case BUFFER_INFO_IS_QUEUED:
        return Info::Bool(state == State::Queued || state == State::Output);
    case BUFFER_INFO_IS_ACQUIRING:
        return Info::Bool(state == State::Filling);
    case BUFFER_INFO_IS_INCOMPLETE:
        return Info::Bool(frame && frame->cutOff);
    case BUFFER_INFO_TLTYPE:
        return Info::Text(m_transport.type);
    case BUFFER_INFO_SIZE_FILLED:
        return Info::Size(frame ? frame->filled : 0);
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER:
        return Info::Bool(frame && frame->cutOff);
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
        return Info::Bool(frame && !frame->chunks.empty());
    case BUFFER_INFO_IS_COMPOSITE:
        return Info::Bool(false);
    default:
        return GetFrameInfo(command);
    }
}

Info Buffer::GetFrameInfo(BUFFER_INFO_CMD command) const
{
    if (command < BUFFER_INFO_BASE || command > BUFFER_INFO_IS_COMPOSITE)
    {
        UnknownCommand(command);
    }
    const auto &filled = RequireFrame();
    if (filled.answers)
    {
        return filled.answers->Of(command);
    }
    const auto &parts = filled.order.settings->parts;
    if (const auto info = ImageInfo(parts.front().image, command))
    {
        if (parts.size() > 1)
        {
            throw Error(GC_ERR_NOT_AVAILABLE, "Ask the parts of the buffer: each has its own");
        }
        return *info;
    }
    return FrameInfo(filled, command);
}

Info Buffer::GetPartInfo(uint32_t index, BUFFER_PART_INFO_CMD command) const
{
    if (index >= NumParts())
    {
        throw Error(GC_ERR_INVALID_INDEX, "The buffer has no part {}", index);
    }
    if (frame->answers)
    {
        return frame->answers->OfPart(index, command, m_base);
    }
    const auto &part = frame->order.settings->parts[index];
    if (const auto asked = imageCommands.find(command); asked != imageCommands.end())
    {
        return ImageInfo(part.image, asked->second).value();
    }
    switch (command)
    {
    case BUFFER_PART_INFO_BASE:
        return Info::Pointer(static_cast<uint8_t *>(m_base) + part.offset);
    case BUFFER_PART_INFO_DATA_SIZE:
        return Info::Size(std::min(part.image.Bytes(), frame->filled - part.offset));
    case BUFFER_PART_INFO_DATA_TYPE:
        return Info::Size(part.Type());
    case BUFFER_PART_INFO_SOURCE_ID:
    case BUFFER_PART_INFO_REGION_ID:
    case BUFFER_PART_INFO_DATA_PURPOSE_ID:
        return Info::UInt64(0);
    default:
        UnknownCommand(command);
    }
}

Info Buffer::GetSegmentInfo(uint32_t index, SEGMENT_INFO_CMD command) const
{
    if (index != 0)
    {
        throw Error(GC_ERR_INVALID_INDEX, "The buffer has no segment {}", index);
    }
    switch (command)
    {
    case SEGMENT_INFO_BASE:
        return Info::Pointer(m_base);
    case SEGMENT_INFO_SIZE:
        return Info::Size(m_size);
    case SEGMENT_INFO_IS_INCOMPLETE:
        return Info::Bool(frame && frame->cutOff);
    case SEGMENT_INFO_SIZE_FILLED:
    case SEGMENT_INFO_DATA_SIZE:
        return Info::Size(frame ? frame->filled : 0);
    default:
        UnknownCommand(command);
    }
}

void Buffer::GetChunks(SINGLE_CHUNK_DATA *chunks, size_t *count) const
{
    RequireNotNull(count, "piNumChunks");
    if (!frame || frame->chunks.empty())
    {
        throw Error(GC_ERR_NO_DATA, "The buffer holds no chunks");
    }
    if (chunks != nullptr)
    {
        if (*count < frame->chunks.size())
        {
            throw Error(GC_ERR_BUFFER_TOO_SMALL, "There are more chunks than entries");
        }
        std::ranges::copy(frame->chunks, chunks);
    }
    *count = frame->chunks.size();
}

} // namespace GenTL::simulator
