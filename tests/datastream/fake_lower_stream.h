#pragma once

#include "support/fake_gentl_proxy.h"
#include "support/handles.h"

#include <fmt/format.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// The lower side of one stream: a device with streams, and a stream with a description, registers and
/// buffers.
///
/// Serve makes it answer the stream functions of a lower producer; it must then outlive the lower producer's
/// use. Each call goes into `calls` with its arguments.
class FakeLowerStream
{
public:
    static constexpr uint64_t descriptionAddress = 0x10000;

    void Serve(FakeGenTLProxy &proxy)
    {
        ServeOpening(proxy);
        ServePort(proxy);
        ServeBuffers(proxy);
        ServeAcquisition(proxy);
    }

    template <typename T>
    static GC_ERROR Write(void *buffer, size_t *size, T value)
    {
        std::memcpy(buffer, &value, sizeof value);
        *size = sizeof value;
        return GC_ERR_SUCCESS;
    }

    std::vector<std::string> calls;
    uint32_t numStreams = 1;
    bool8_t definesPayloadSize = 1;
    size_t minimum = 3;
    std::string description = "<RegisterDescription/>";
    std::array<uint8_t, 0x40> registers{};
    const DS_HANDLE stream = LowerHandle(0x20);
    const EVENT_HANDLE event = LowerHandle(0x30);

private:
    static std::string Text(const void *handle)
    {
        return handle == nullptr ? "null" : fmt::format("{:#x}", reinterpret_cast<uintptr_t>(handle));
    }
    static std::string Text(const char *text) { return text; }
    static std::string Text(const std::string &text) { return text; }
    template <std::integral T>
    static std::string Text(T number)
    {
        return std::to_string(number);
    }

    template <typename... Arguments>
    GC_ERROR Log(std::string call, const Arguments &...arguments)
    {
        ((call += " " + Text(arguments)), ...);
        calls.push_back(std::move(call));
        return GC_ERR_SUCCESS;
    }

    /// An operation that succeeds.
    auto Logged(const char *name)
    {
        return [this, name](const auto &...arguments) { return Log(name, arguments...); };
    }

    void ServeOpening(FakeGenTLProxy &proxy)
    {
        proxy.onDevGetNumDataStreams = [this](DEV_HANDLE device, uint32_t *count)
        {
            *count = numStreams;
            return Log("DevGetNumDataStreams", device);
        };
        proxy.onDevGetDataStreamID = [this](DEV_HANDLE device, uint32_t index, char *id, size_t *size)
        {
            constexpr std::string_view text = "LowerStream";
            if (id != nullptr)
            {
                // Without a terminator: the buffer was zeroed.
                text.copy(id, *size);
            }
            *size = text.size() + 1;
            return Log("DevGetDataStreamID", device, index, id == nullptr ? "size" : "text");
        };
        proxy.onDevOpenDataStream = [this](DEV_HANDLE device, const char *id, DS_HANDLE *handle)
        {
            *handle = stream;
            return Log("DevOpenDataStream", device, id);
        };
        proxy.onGCRegisterEvent = [this](void *source, EVENT_TYPE type, EVENT_HANDLE *handle)
        {
            *handle = event;
            return Log("GCRegisterEvent", source, type);
        };
        proxy.onGCUnregisterEvent = Logged("GCUnregisterEvent");
        proxy.onDSClose = Logged("DSClose");
    }

    void ServePort(FakeGenTLProxy &proxy)
    {
        proxy.onGCGetPortURLInfo = [this](PORT_HANDLE port, uint32_t index, URL_INFO_CMD command,
                                          INFO_DATATYPE *, void *buffer, size_t *size)
        {
            Log("GCGetPortURLInfo", port, index, command);
            const bool asksAddress = command == URL_INFO_FILE_REGISTER_ADDRESS;
            return Write<uint64_t>(buffer, size, asksAddress ? descriptionAddress : description.size());
        };
        proxy.onGCReadPort = [this](PORT_HANDLE port, uint64_t address, void *buffer, size_t *size)
        {
            const bool readsDescription = address == descriptionAddress;
            std::memcpy(buffer,
                        readsDescription ? static_cast<const void *>(description.data())
                                         : &registers.at(address),
                        *size);
            return Log("GCReadPort", port, fmt::format("{:#x}", address), *size);
        };
    }

    void ServeBuffers(FakeGenTLProxy &proxy)
    {
        proxy.onDSGetInfo = [this](DS_HANDLE handle, STREAM_INFO_CMD command, INFO_DATATYPE *, void *buffer,
                                   size_t *size) -> GC_ERROR
        {
            Log("DSGetInfo", handle, command, *size);
            switch (command)
            {
            case STREAM_INFO_DEFINES_PAYLOADSIZE:
                return Write<bool8_t>(buffer, size, definesPayloadSize);
            case STREAM_INFO_PAYLOAD_SIZE:
                return Write<size_t>(buffer, size, 5000);
            case STREAM_INFO_BUF_ANNOUNCE_MIN:
                return Write<size_t>(buffer, size, minimum);
            default:
                LowerFailure(GC_ERR_NOT_IMPLEMENTED);
            }
        };
        proxy.onDSAllocAndAnnounceBuffer =
            [this](DS_HANDLE handle, size_t size, void *user, BUFFER_HANDLE *buffer)
        {
            *buffer = LowerHandle(m_nextBuffer++);
            return Log("DSAllocAndAnnounceBuffer", handle, size, user);
        };
        proxy.onDSQueueBuffer = Logged("DSQueueBuffer");
        proxy.onDSFlushQueue = Logged("DSFlushQueue");
        proxy.onDSRevokeBuffer = Logged("DSRevokeBuffer");
    }

    void ServeAcquisition(FakeGenTLProxy &proxy)
    {
        proxy.onDSStartAcquisition = [this](DS_HANDLE handle, ACQ_START_FLAGS flags, uint64_t count)
        { return Log("DSStartAcquisition", handle, flags, fmt::format("{:#x}", count)); };
        proxy.onDSStopAcquisition = Logged("DSStopAcquisition");
        proxy.onEventKill = Logged("EventKill");
        proxy.onEventGetData = [this](EVENT_HANDLE handle, void *buffer, size_t *size, uint64_t timeout)
        {
            Log("EventGetData", handle, *size, timeout);
            return Write(buffer, size, EVENT_NEW_BUFFER_DATA{LowerHandle(0x100), LowerHandle(0x999)});
        };
    }

    uintptr_t m_nextBuffer = 0x100;
};

} // namespace GenTL::internal
