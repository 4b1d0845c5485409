#pragma once

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/info_answers.h"
#include "consumer/producer.h"

#include "gentl_proxy.h"
#include "utils/log.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace chain
{

using namespace GenTL;

inline const std::string proxyProducer = QVR_LIB_DIR "/qvr_proxygentl.cti";
inline const std::string lowerProducer = QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";

/// A camera with its stream open, as a consumer holds it: every call is a call of the C interface.
class Camera
{
public:
    Camera(gentlctl::Producer &producer, const std::string &model)
        : m_device(producer, model), m_remote(m_device.PortOf("remote")), m_calls(producer.Calls()),
          m_stream(m_device.Stream())
    {
    }

    internal::IGenTLProxy &Calls() const { return m_calls; }
    gentlctl::OpenDevice &Device() { return m_device; }
    const gentlctl::Features &Remote() const { return m_remote; }
    void *Stream() const { return m_stream; }
    EVENT_HANDLE Event() const { return m_event; }
    const std::vector<BUFFER_HANDLE> &Buffers() const { return m_buffers; }

    /// Selects a small region, so that a test is fast.
    void UseSmallImages(int side = 64)
    {
        m_remote.Set("Width", std::to_string(side));
        m_remote.Set("Height", std::to_string(side));
        m_remote.Set("AcquisitionFrameRate", "0");
    }

    void AnnounceAndQueue(size_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            BUFFER_HANDLE buffer = nullptr;
            m_calls.DSAllocAndAnnounceBuffer(m_stream, PayloadSize(), nullptr, &buffer);
            m_buffers.push_back(buffer);
            m_calls.DSQueueBuffer(m_stream, buffer);
        }
    }

    void ForgetBuffers() { m_buffers.clear(); }

    size_t PayloadSize()
    {
        return gentlctl::TryNumber(
                   [this](INFO_DATATYPE *type, void *value, size_t *size)
                   { m_calls.DSGetInfo(m_stream, STREAM_INFO_PAYLOAD_SIZE, type, value, size); })
            .value();
    }

    void RegisterEvent() { m_calls.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event); }
    void UnregisterEvent() { m_calls.GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER); }

    void Start(uint64_t frames = GENTL_INFINITE)
    {
        m_calls.DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, frames);
        m_remote.Execute("AcquisitionStart");
    }

    void Stop(ACQ_STOP_FLAGS flags)
    {
        m_remote.Execute("AcquisitionStop");
        m_calls.DSStopAcquisition(m_stream, flags);
    }

    BUFFER_HANDLE Take(uint64_t timeoutMs = 5000)
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        m_calls.EventGetData(m_event, &data, &size, timeoutMs);
        return data.BufferHandle;
    }

    void Give(BUFFER_HANDLE buffer) { m_calls.DSQueueBuffer(m_stream, buffer); }

    void Pass(int frames)
    {
        for (int i = 0; i < frames; ++i)
        {
            Give(Take());
        }
    }

    uint64_t StreamInfo(STREAM_INFO_CMD command)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        uint64_t value = 0;
        size_t size = sizeof value;
        m_calls.DSGetInfo(m_stream, command, &type, &value, &size);
        return value;
    }

    template <typename T>
    T BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        T value{};
        size_t size = sizeof value;
        m_calls.DSGetBufferInfo(m_stream, buffer, command, &type, &value, &size);
        return value;
    }

private:
    gentlctl::OpenDevice m_device;
    gentlctl::Features m_remote;
    internal::IGenTLProxy &m_calls;
    void *m_stream;
    EVENT_HANDLE m_event = nullptr;
    std::vector<BUFFER_HANDLE> m_buffers;
};

/// Ends an acquisition, and takes all buffers back.
inline void StopAndRevoke(Camera &camera)
{
    camera.Stop(ACQ_STOP_FLAGS_KILL);
    camera.UnregisterEvent();
    camera.Calls().DSFlushQueue(camera.Stream(), ACQ_QUEUE_ALL_DISCARD);
    for (auto *const buffer : camera.Buffers())
    {
        camera.Calls().DSRevokeBuffer(camera.Stream(), buffer, nullptr, nullptr);
    }
    camera.ForgetBuffers();
}

/// Opens a camera, passes frames on, and closes it, with a producer of its own.
inline void OpenGrabClose(int frames)
{
    gentlctl::Producer producer(proxyProducer);
    Camera camera(producer, "OVRA-M1");
    camera.UseSmallImages();
    camera.AnnounceAndQueue(4);
    camera.RegisterEvent();
    camera.Start();
    camera.Pass(frames);
    camera.Stop(ACQ_STOP_FLAGS_KILL);
    camera.Calls().DSFlushQueue(camera.Stream(), ACQ_QUEUE_ALL_DISCARD);
}

} // namespace chain
