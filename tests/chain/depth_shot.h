#pragma once

#include "consumer.h"

#include <array>
#include <cstdint>
#include <vector>

namespace chain
{

inline constexpr const char *depthCamera = "OVRA-D1";

/// One part of a frame; the whole frame when it has no parts.
struct ShotPart
{
    size_t dataType = 0; // of parts only
    uint64_t pixelFormat = 0;
    size_t width = 0;
    size_t height = 0;
    size_t offset = 0; // in the buffer
    std::vector<uint8_t> bytes;
};

/// A frame as the consumer finds it.
struct Shot
{
    size_t payloadType = 0;
    size_t sizeFilled = 0;
    std::vector<ShotPart> parts;
};

template <typename T>
T PartInfo(Camera &camera, BUFFER_HANDLE buffer, uint32_t part, BUFFER_PART_INFO_CMD command)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    T value{};
    size_t size = sizeof value;
    camera.Calls().DSGetBufferPartInfo(camera.Stream(), buffer, part, command, &type, &value, &size);
    return value;
}

inline std::vector<ShotPart> PartsOf(Camera &camera, BUFFER_HANDLE buffer)
{
    const auto *const base = camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
    uint32_t count = 0;
    camera.Calls().DSGetNumBufferParts(camera.Stream(), buffer, &count);
    std::vector<ShotPart> parts;
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto *const data = PartInfo<const uint8_t *>(camera, buffer, i, BUFFER_PART_INFO_BASE);
        const auto size = PartInfo<size_t>(camera, buffer, i, BUFFER_PART_INFO_DATA_SIZE);
        parts.push_back({PartInfo<size_t>(camera, buffer, i, BUFFER_PART_INFO_DATA_TYPE),
                         PartInfo<uint64_t>(camera, buffer, i, BUFFER_PART_INFO_DATA_FORMAT),
                         PartInfo<size_t>(camera, buffer, i, BUFFER_PART_INFO_WIDTH),
                         PartInfo<size_t>(camera, buffer, i, BUFFER_PART_INFO_HEIGHT),
                         static_cast<size_t>(data - base), std::vector<uint8_t>(data, data + size)});
    }
    return parts;
}

inline Shot Describe(Camera &camera, BUFFER_HANDLE buffer)
{
    Shot shot;
    shot.payloadType = camera.BufferInfo<size_t>(buffer, BUFFER_INFO_PAYLOADTYPE);
    shot.sizeFilled = camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED);
    if (shot.payloadType == PAYLOAD_TYPE_MULTI_PART)
    {
        shot.parts = PartsOf(camera, buffer);
        return shot;
    }
    const auto *const base = camera.BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
    shot.parts.push_back({0, camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT),
                          camera.BufferInfo<size_t>(buffer, BUFFER_INFO_WIDTH),
                          camera.BufferInfo<size_t>(buffer, BUFFER_INFO_HEIGHT), 0,
                          std::vector<uint8_t>(base, base + shot.sizeFilled)});
    return shot;
}

/// The depth camera of a producer. Open only one at a time, since all of them use the same simulator.
struct DepthCamera
{
    explicit DepthCamera(const std::string &file) : producer(file), camera(producer, depthCamera) {}

    gentlctl::Producer producer;
    Camera camera;
};

/// Grabs one frame in an acquisition of its own.
inline Shot TakeShot(Camera &camera)
{
    camera.Remote().Set("AcquisitionMode", "SingleFrame");
    const auto size = static_cast<size_t>(camera.Remote().GetInteger("PayloadSize"));
    std::array<BUFFER_HANDLE, 4> buffers{}; // the least that the simulator accepts
    for (auto &buffer : buffers)
    {
        camera.Calls().DSAllocAndAnnounceBuffer(camera.Stream(), size, nullptr, &buffer);
        camera.Calls().DSQueueBuffer(camera.Stream(), buffer);
    }
    camera.RegisterEvent();
    camera.Start();
    auto shot = Describe(camera, camera.Take());
    camera.Stop(ACQ_STOP_FLAGS_KILL);
    camera.UnregisterEvent();
    camera.Calls().DSFlushQueue(camera.Stream(), ACQ_QUEUE_ALL_DISCARD);
    for (auto *const buffer : buffers)
    {
        camera.Calls().DSRevokeBuffer(camera.Stream(), buffer, nullptr, nullptr);
    }
    return shot;
}

} // namespace chain
