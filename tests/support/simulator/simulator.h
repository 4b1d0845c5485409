#pragma once

#include "support/described_nodes.h"

#include <gentl/gentl.h>

#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace simulator_test
{

using namespace GenTL;

/// The functions of the simulator as it is built, by their names.
struct Functions
{
#define FN(group, name, parameters, arguments) decltype(&::GenTL::name) name = nullptr;
#include <gentl/functions.inc>
#undef FN
};

/// Loads the simulator once.
const Functions &Tl();

std::string LibraryPath();

/// The text that GCGetLastError gives.
std::string LastErrorText();

#define EXPECT_CODE(code, call) EXPECT_EQ(GC_ERROR{code}, call) << ::simulator_test::LastErrorText()
#define ASSERT_OK(call) ASSERT_EQ(GC_ERROR{GC_ERR_SUCCESS}, call) << ::simulator_test::LastErrorText()
#define EXPECT_OK(call) EXPECT_EQ(GC_ERROR{GC_ERR_SUCCESS}, call) << ::simulator_test::LastErrorText()

/// The answer of an info function, called as query(type, buffer, size).
template <typename T, typename Query>
T Ask(Query &&query)
{
    T value{};
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = sizeof value;
    EXPECT_EQ(GC_ERROR{GC_ERR_SUCCESS}, query(&type, &value, &size)) << LastErrorText();
    EXPECT_EQ(sizeof value, size);
    return value;
}

template <typename Query>
std::string AskText(Query &&query)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_EQ(GC_ERROR{GC_ERR_SUCCESS}, query(&type, nullptr, &size)) << LastErrorText();
    EXPECT_EQ(INFO_DATATYPE{INFO_DATATYPE_STRING}, type);
    std::string text(size, '\0');
    EXPECT_EQ(GC_ERROR{GC_ERR_SUCCESS}, query(&type, text.data(), &size)) << LastErrorText();
    EXPECT_EQ(size, std::strlen(text.c_str()) + 1);
    return text.c_str();
}

/// The text of the first entry of a zip archive.
std::string Unzip(const std::string &bytes);

/// The description of the module behind the port, unpacked.
std::string ReadDescription(PORT_HANDLE port);

/// The registers of the module behind the port.
internal::RegisterPort RegistersOf(PORT_HANDLE port);

/// Features of a module by name, as its description says.
class Nodes : public internal::DescribedNodes
{
public:
    explicit Nodes(PORT_HANDLE port) : DescribedNodes(RegistersOf(port), ReadDescription(port)) {}

    uint64_t Address(const std::string &name) const { return RegisterBehind(name).address; }
};

/// Initialises the library, opens the system and updates its interface list.
class LibraryTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    IF_HANDLE OpenInterface(const std::string &id);

    TL_HANDLE m_system = nullptr;
};

/// A filled buffer as EventGetData gave it.
struct Received
{
    BUFFER_HANDLE handle = nullptr;
    void *userPointer = nullptr;
};

/// Opens the camera OVRA-M1 and its stream.
class CameraTest : public LibraryTest
{
protected:
    void SetUp() override;

    void OpenCamera(const std::string &interfaceId, const std::string &deviceId);
    /// Announces and queues `count` buffers of the payload size.
    void AnnounceBuffers(size_t count);
    void Start(uint64_t frames = GENTL_INFINITE);
    void Stop(ACQ_STOP_FLAGS flags = ACQ_STOP_FLAGS_DEFAULT);
    Received Receive(uint64_t timeout = 10000);

    template <typename T>
    T BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        return Ask<T>([&](auto *type, void *out, size_t *size)
                      { return Tl().DSGetBufferInfo(m_stream, buffer, command, type, out, size); });
    }

    template <typename T>
    T StreamInfo(STREAM_INFO_CMD command)
    {
        return Ask<T>([&](auto *type, void *out, size_t *size)
                      { return Tl().DSGetInfo(m_stream, command, type, out, size); });
    }

    /// The filled bytes of the buffer.
    std::vector<uint8_t> Content(BUFFER_HANDLE buffer);

    /// Announces buffers, grabs, revokes the buffers, and returns the content of the first frame.
    std::vector<uint8_t> GrabOne();
    void StopAndRevoke();

    void SetRegion(int64_t width, int64_t height, int64_t offsetX = 0, int64_t offsetY = 0);

    IF_HANDLE m_interface = nullptr;
    DEV_HANDLE m_device = nullptr;
    PORT_HANDLE m_port = nullptr;
    DS_HANDLE m_stream = nullptr;
    EVENT_HANDLE m_event = nullptr;
    std::unique_ptr<Nodes> m_camera;
    std::vector<BUFFER_HANDLE> m_buffers;
};

} // namespace simulator_test
