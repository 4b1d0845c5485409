#include "datastream/datastream_features.h"

#include "datastream/datastream.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace GenTL::internal
{

namespace
{

using nodemap::RegisterCallback;
using nodemap::RegisterDefinition;
using nodemap::RegisterKind;

static_assert(std::endian::native == std::endian::little, "the description declares little-endian registers");

constexpr int32_t readOnly = static_cast<int32_t>(nodemap::RegisterAccess::ReadOnly);
constexpr int32_t readWrite = static_cast<int32_t>(nodemap::RegisterAccess::ReadWrite);

Datastream &Owner(void *context)
{
    return *static_cast<Datastream *>(context);
}

void Store(std::span<uint8_t> data, uint64_t value)
{
    std::ranges::fill(data, uint8_t{0});
    std::memcpy(data.data(), &value, std::min(data.size(), sizeof value));
}

template <STREAM_INFO_CMD command>
void ReadInfo(std::span<uint8_t> data, void *context)
{
    uint64_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    Owner(context).DSGetInfo(command, &type, &value, &size);
    Store(data, value);
}

void ReadIncompleteFrameCount(std::span<uint8_t> data, void *context)
{
    Store(data, Owner(context).GetIncompleteFrameCount());
}

void ReadDroppedFrameCount(std::span<uint8_t> data, void *context)
{
    Store(data, Owner(context).GetDroppedFrameCount());
}

// OldestFirst is the only mode. A write is accepted and ignored.
void ReadBufferHandlingMode(std::span<uint8_t> data, void *)
{
    constexpr uint64_t oldestFirst = 1;
    Store(data, oldestFirst);
}

void IgnoreWrite(std::span<uint8_t>, void *) {}

RegisterDefinition Number(std::string_view name, uint64_t address, uint64_t size,
                          RegisterCallback onRead = {})
{
    return {.Name = name,
            .Size = size,
            .Address = address,
            .Access = readOnly,
            .InitialValue = int32_t{0},
            .OnRead = std::move(onRead)};
}

const std::array<RegisterDefinition, 14> table{
    RegisterDefinition{.Name = "StreamID",
                       .Size = 64,
                       .Address = datastream_registers::streamId,
                       .Kind = RegisterKind::String,
                       .Access = readOnly,
                       .InitialValue = std::string()},
    Number("StreamType", 0x40, 8),
    Number("StreamAnnouncedBufferCount", 0x48, 8, ReadInfo<STREAM_INFO_NUM_ANNOUNCED>),
    Number("StreamDeliveredFrameCount", 0x50, 8, ReadInfo<STREAM_INFO_NUM_DELIVERED>),
    Number("StreamIncompleteFrameCount", 0x58, 8, ReadIncompleteFrameCount),
    Number("StreamDroppedFrameCount", 0x60, 8, ReadDroppedFrameCount),
    Number("StreamDroppedFrameCountImplemented", datastream_registers::streamDroppedFrameCountImplemented, 4),
    Number("StreamLostFrameCount", 0x6C, 8, ReadInfo<STREAM_INFO_NUM_UNDERRUN>),
    Number("StreamInputBufferCount", 0x74, 8, ReadInfo<STREAM_INFO_NUM_QUEUED>),
    Number("StreamOutputBufferCount", 0x7C, 8, ReadInfo<STREAM_INFO_NUM_AWAIT_DELIVERY>),
    Number("StreamStartedFrameCount", 0x84, 8, ReadInfo<STREAM_INFO_NUM_STARTED>),
    Number("PayloadSize", 0x8C, 8, ReadInfo<STREAM_INFO_PAYLOAD_SIZE>),
    Number("StreamIsGrabbing", 0x94, 4, ReadInfo<STREAM_INFO_IS_GRABBING>),
    RegisterDefinition{.Name = "StreamBufferHandlingMode",
                       .Size = 8,
                       .Address = 0x98,
                       .Access = readWrite,
                       .InitialValue = int32_t{0},
                       .OnRead = ReadBufferHandlingMode,
                       .OnWrite = IgnoreWrite}};

} // namespace

std::span<const RegisterDefinition> DatastreamFeatures()
{
    return table;
}

} // namespace GenTL::internal
