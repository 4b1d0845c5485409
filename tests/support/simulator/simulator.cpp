#include "support/simulator/simulator.h"

#include <dlfcn.h>
#include <stdexcept>
#include <zip.h>

namespace simulator_test
{

std::string LibraryPath()
{
    return QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";
}

const Functions &Tl()
{
    static const Functions functions = []
    {
        void *const library = dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
        {
            throw std::runtime_error(dlerror());
        }
        Functions loaded;
#define FN(group, name, parameters, arguments)                                                               \
    loaded.name = reinterpret_cast<decltype(loaded.name)>(dlsym(library, #name));
#include <gentl/functions.inc>
#undef FN
        return loaded;
    }();
    return functions;
}

std::string LastErrorText()
{
    GC_ERROR code = GC_ERR_SUCCESS;
    char text[512] = "";
    size_t size = sizeof text;
    Tl().GCGetLastError(&code, text, &size);
    return text;
}

std::string Unzip(const std::string &bytes)
{
    zip_error_t error;
    zip_source_t *const source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    zip_t *const archive = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (archive == nullptr)
    {
        throw std::runtime_error("Not an archive");
    }
    zip_stat_t stat;
    zip_stat_index(archive, 0, 0, &stat);
    std::string text(stat.size, '\0');
    zip_file_t *const file = zip_fopen_index(archive, 0, 0);
    const zip_int64_t read = zip_fread(file, text.data(), text.size());
    zip_fclose(file);
    zip_discard(archive);
    if (read != static_cast<zip_int64_t>(stat.size))
    {
        throw std::runtime_error("Archive is damaged");
    }
    return text;
}

std::string ReadDescription(PORT_HANDLE port)
{
    const auto url = [&](URL_INFO_CMD command)
    {
        return Ask<uint64_t>([&](auto *type, void *out, size_t *size)
                             { return Tl().GCGetPortURLInfo(port, 0, command, type, out, size); });
    };
    std::string bytes(url(URL_INFO_FILE_SIZE), '\0');
    size_t size = bytes.size();
    EXPECT_OK(Tl().GCReadPort(port, url(URL_INFO_FILE_REGISTER_ADDRESS), bytes.data(), &size));
    const std::string name =
        AskText([&](auto *type, void *out, size_t *length)
                { return Tl().GCGetPortURLInfo(port, 0, URL_INFO_FILENAME, type, out, length); });
    return name.ends_with(".zip") ? Unzip(bytes) : bytes;
}

internal::RegisterPort RegistersOf(PORT_HANDLE port)
{
    return {[port](uint64_t address, size_t length)
            {
                std::vector<uint8_t> bytes(length);
                EXPECT_OK(Tl().GCReadPort(port, address, bytes.data(), &length)) << address;
                return bytes;
            },
            [port](uint64_t address, const std::vector<uint8_t> &bytes)
            {
                size_t size = bytes.size();
                return Tl().GCWritePort(port, address, bytes.data(), &size);
            }};
}

void LibraryTest::SetUp()
{
    ASSERT_OK(Tl().GCInitLib());
    ASSERT_OK(Tl().TLOpen(&m_system));
    ASSERT_OK(Tl().TLUpdateInterfaceList(m_system, nullptr, 0));
}

void LibraryTest::TearDown()
{
    EXPECT_OK(Tl().GCCloseLib());
}

IF_HANDLE LibraryTest::OpenInterface(const std::string &id)
{
    IF_HANDLE opened = nullptr;
    EXPECT_OK(Tl().TLOpenInterface(m_system, id.c_str(), &opened));
    EXPECT_OK(Tl().IFUpdateDeviceList(opened, nullptr, 0));
    return opened;
}

void CameraTest::SetUp()
{
    LibraryTest::SetUp();
    OpenCamera("SIM-GIGE-1", "SIM-SIM0002");
}

void CameraTest::OpenCamera(const std::string &interfaceId, const std::string &deviceId)
{
    m_interface = OpenInterface(interfaceId);
    ASSERT_OK(Tl().IFOpenDevice(m_interface, deviceId.c_str(), DEVICE_ACCESS_CONTROL, &m_device));
    ASSERT_OK(Tl().DevGetPort(m_device, &m_port));
    m_camera = std::make_unique<Nodes>(m_port);
    ASSERT_OK(Tl().DevOpenDataStream(m_device, "Stream0", &m_stream));
    ASSERT_OK(Tl().GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event));
    m_buffers.clear();
}

void CameraTest::AnnounceBuffers(size_t count)
{
    const auto size = static_cast<size_t>(m_camera->Get("PayloadSize"));
    for (size_t i = 0; i < count; ++i)
    {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(Tl().DSAllocAndAnnounceBuffer(m_stream, size, &m_buffers, &buffer));
        ASSERT_OK(Tl().DSQueueBuffer(m_stream, buffer));
        m_buffers.push_back(buffer);
    }
}

void CameraTest::Start(uint64_t frames)
{
    ASSERT_OK(Tl().DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, frames));
    ASSERT_OK(m_camera->Set("TLParamsLocked", 1));
    ASSERT_OK(m_camera->Set("AcquisitionStart", 1));
}

void CameraTest::Stop(ACQ_STOP_FLAGS flags)
{
    ASSERT_OK(m_camera->Set("AcquisitionStop", 1));
    ASSERT_OK(Tl().DSStopAcquisition(m_stream, flags));
    ASSERT_OK(m_camera->Set("TLParamsLocked", 0));
}

Received CameraTest::Receive(uint64_t timeout)
{
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    EXPECT_OK(Tl().EventGetData(m_event, &data, &size, timeout));
    EXPECT_EQ(sizeof data, size);
    return {data.BufferHandle, data.pUserPointer};
}

std::vector<uint8_t> CameraTest::Content(BUFFER_HANDLE buffer)
{
    const auto *const base = BufferInfo<const uint8_t *>(buffer, BUFFER_INFO_BASE);
    return {base, base + BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED)};
}

std::vector<uint8_t> CameraTest::GrabOne()
{
    AnnounceBuffers(4);
    Start();
    const Received received = Receive();
    const std::vector<uint8_t> content = Content(received.handle);
    StopAndRevoke();
    return content;
}

void CameraTest::StopAndRevoke()
{
    Stop();
    EXPECT_OK(Tl().DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD));
    for (const BUFFER_HANDLE buffer : m_buffers)
    {
        EXPECT_OK(Tl().DSRevokeBuffer(m_stream, buffer, nullptr, nullptr));
    }
    m_buffers.clear();
}

void CameraTest::SetRegion(int64_t width, int64_t height, int64_t offsetX, int64_t offsetY)
{
    ASSERT_OK(m_camera->Set("OffsetX", 0));
    ASSERT_OK(m_camera->Set("OffsetY", 0));
    ASSERT_OK(m_camera->Set("Width", width));
    ASSERT_OK(m_camera->Set("Height", height));
    ASSERT_OK(m_camera->Set("OffsetX", offsetX));
    ASSERT_OK(m_camera->Set("OffsetY", offsetY));
}

} // namespace simulator_test
