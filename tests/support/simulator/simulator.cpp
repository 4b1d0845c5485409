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

Nodes::Nodes(PORT_HANDLE port) : m_port(port), m_document(std::make_shared<pugi::xml_document>())
{
    if (!m_document->load_string(ReadDescription(port).c_str()))
    {
        throw std::runtime_error("Description is not XML");
    }
    for (const pugi::xml_node node : m_document->child("RegisterDescription"))
    {
        m_nodes[node.attribute("Name").value()] = node;
    }
}

pugi::xml_node Nodes::Node(const std::string &name) const
{
    return m_nodes.at(name);
}

pugi::xml_node Nodes::RegisterOf(const std::string &name) const
{
    const pugi::xml_node node = Node(name);
    return node.child("pValue") ? Node(node.child("pValue").text().get()) : node;
}

uint64_t Nodes::Address(const std::string &name) const
{
    return std::stoull(RegisterOf(name).child("Address").text().get(), nullptr, 16);
}

size_t Nodes::Length(const std::string &name) const
{
    return std::stoul(RegisterOf(name).child("Length").text().get());
}

int64_t Nodes::Get(const std::string &name) const
{
    int64_t value = 0;
    size_t size = Length(name);
    EXPECT_OK(Tl().GCReadPort(m_port, Address(name), &value, &size)) << name;
    return value;
}

float Nodes::GetFloat(const std::string &name) const
{
    float value = 0;
    size_t size = sizeof value;
    EXPECT_OK(Tl().GCReadPort(m_port, Address(name), &value, &size)) << name;
    return value;
}

std::string Nodes::GetText(const std::string &name) const
{
    std::string text(Length(name), '\0');
    size_t size = text.size();
    EXPECT_OK(Tl().GCReadPort(m_port, Address(name), text.data(), &size)) << name;
    return text.c_str();
}

GC_ERROR Nodes::Set(const std::string &name, int64_t value) const
{
    size_t size = Length(name);
    return Tl().GCWritePort(m_port, Address(name), &value, &size);
}

GC_ERROR Nodes::SetEntry(const std::string &name, const std::string &entry) const
{
    const pugi::xml_node found = Node(name).find_child_by_attribute("EnumEntry", "Name", entry.c_str());
    return Set(name, found.child("Value").text().as_llong());
}

GC_ERROR Nodes::SetFloat(const std::string &name, float value) const
{
    size_t size = sizeof value;
    return Tl().GCWritePort(m_port, Address(name), &value, &size);
}

GC_ERROR Nodes::SetText(const std::string &name, const std::string &value) const
{
    std::string text = value;
    text.resize(Length(name));
    size_t size = text.size();
    return Tl().GCWritePort(m_port, Address(name), text.data(), &size);
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
