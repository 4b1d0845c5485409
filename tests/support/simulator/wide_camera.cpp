#include "support/simulator/wide_camera.h"

#include <stdexcept>

namespace simulator_test
{

std::string UnzipLoosely(const std::string &bytes)
{
    // The directory's last record begins with this text and has 22 bytes.
    const auto last = bytes.rfind("PK\x05\x06");
    if (last == std::string::npos)
    {
        throw std::runtime_error("No end of an archive");
    }
    return Unzip(bytes.substr(0, last + 22));
}

void WideCameraTest::Open(const std::string &interfaceId, const std::string &deviceId)
{
    m_interface = OpenInterface(interfaceId);
    ASSERT_OK(Tl().IFOpenDevice(m_interface, deviceId.c_str(), DEVICE_ACCESS_CONTROL, &m_device));
    ASSERT_OK(Tl().DevGetPort(m_device, &m_port));
    ASSERT_OK(Tl().DevOpenDataStream(m_device, "Stream0", &m_stream));
    ASSERT_OK(Tl().GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event));
    const auto file = DescriptionFile();
    m_nodes = std::make_unique<DescribedNodes>(RegistersOf(m_port),
                                               file.starts_with("PK") ? UnzipLoosely(file) : file);
}

std::string WideCameraTest::DescriptionFile() const
{
    const auto url = AskText([&](auto *type, void *out, size_t *size)
                             { return Tl().GCGetPortURLInfo(m_port, 0, URL_INFO_URL, type, out, size); });
    const auto address = url.find(';');
    const auto length = url.find(';', address + 1);
    std::string bytes(std::stoull(url.substr(length + 1), nullptr, 16), '\0');
    size_t size = bytes.size();
    EXPECT_OK(
        Tl().GCReadPort(m_port, std::stoull(url.substr(address + 1), nullptr, 16), bytes.data(), &size));
    return bytes;
}

void WideCameraTest::SetSize(int64_t width, int64_t height)
{
    ASSERT_OK(m_nodes->Set("Width", width));
    ASSERT_OK(m_nodes->Set("Height", height));
}

void WideCameraTest::StartStream()
{
    const auto size = StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE);
    for (int i = 0; i < 4; ++i)
    {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(Tl().DSAllocAndAnnounceBuffer(m_stream, size, nullptr, &buffer));
        ASSERT_OK(Tl().DSQueueBuffer(m_stream, buffer));
        m_buffers.push_back(buffer);
    }
    ASSERT_OK(Tl().DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE));
    ASSERT_OK(m_nodes->Set("TLParamsLocked", 1));
    ASSERT_OK(m_nodes->Set("AcquisitionStart", 1));
}

void WideCameraTest::StopStream()
{
    ASSERT_OK(m_nodes->Set("AcquisitionStop", 1));
    ASSERT_OK(Tl().DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_DEFAULT));
    ASSERT_OK(m_nodes->Set("TLParamsLocked", 0));
    ASSERT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD));
    for (const BUFFER_HANDLE buffer : m_buffers)
    {
        ASSERT_OK(Tl().DSRevokeBuffer(m_stream, buffer, nullptr, nullptr));
    }
    m_buffers.clear();
}

std::vector<uint8_t> WideCameraTest::Grab(size_t count)
{
    std::vector<uint8_t> content;
    StartStream();
    for (size_t i = 0; i < count; ++i)
    {
        const auto received = Receive();
        content = Content(received.handle);
        EXPECT_OK(Tl().DSQueueBuffer(m_stream, received.handle));
    }
    StopStream();
    return content;
}

} // namespace simulator_test
