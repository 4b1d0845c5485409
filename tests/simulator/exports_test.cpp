#include "support/simulator/simulator.h"

#include <elf.h>
#include <filesystem>
#include <fstream>
#include <set>

namespace simulator_test
{
namespace
{

/// Names of the functions and objects that a 64-bit ELF file exports.
std::set<std::string> ExportedNames(const std::string &path)
{
    std::string bytes(std::filesystem::file_size(path), '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto at = [&]<typename T>(T, uint64_t offset)
    {
        T value;
        std::memcpy(&value, bytes.data() + offset, sizeof value);
        return value;
    };
    const auto header = at(Elf64_Ehdr{}, 0);
    const auto section = [&](uint64_t index)
    { return at(Elf64_Shdr{}, header.e_shoff + index * header.e_shentsize); };
    std::set<std::string> names;
    for (uint64_t i = 0; i < header.e_shnum; ++i)
    {
        const Elf64_Shdr symbols = section(i);
        if (symbols.sh_type != SHT_DYNSYM)
        {
            continue;
        }
        const Elf64_Shdr texts = section(symbols.sh_link);
        for (uint64_t k = 0; k < symbols.sh_size / sizeof(Elf64_Sym); ++k)
        {
            const auto symbol = at(Elf64_Sym{}, symbols.sh_offset + k * sizeof(Elf64_Sym));
            if (symbol.st_shndx != SHN_UNDEF)
            {
                names.insert(bytes.data() + texts.sh_offset + symbol.st_name);
            }
        }
    }
    return names;
}

TEST(SimulatorExports, AreExactlyTheStandardFunctions)
{
    std::set<std::string> expected;
#define FN(group, name, parameters, arguments) expected.insert(#name);
#include <gentl/functions.inc>
#undef FN
    EXPECT_EQ(64U, expected.size());
    EXPECT_EQ(expected, ExportedNames(LibraryPath()));
}

TEST(SimulatorExports, NeedAnInitialisedLibrary)
{
    const std::set<std::string> always = {"GCGetInfo", "GCGetLastError", "GCInitLib"};
    size_t checked = 0;
    const auto check = [&]<typename... Parameters>(const char *name, GC_ERROR (*function)(Parameters...))
    {
        if (!always.contains(name))
        {
            EXPECT_EQ(GC_ERR_NOT_INITIALIZED, function(Parameters{}...)) << name;
            ++checked;
        }
    };
#define FN(group, name, parameters, arguments) check(#name, Tl().name);
#include <gentl/functions.inc>
#undef FN
    EXPECT_EQ(61U, checked);
}

TEST(SimulatorExports, RefuseInvalidHandles)
{
    ASSERT_OK(Tl().GCInitLib());
    const std::set<std::string> withoutHandle = {"GCGetInfo", "GCGetLastError", "GCInitLib", "GCCloseLib",
                                                 "TLOpen"};
    const auto check = [&]<typename... Parameters>(const char *name, GC_ERROR (*function)(Parameters...))
    {
        if (!withoutHandle.contains(name))
        {
            EXPECT_EQ(GC_ERR_INVALID_HANDLE, function(Parameters{}...)) << name;
        }
    };
#define FN(group, name, parameters, arguments) check(#name, Tl().name);
#include <gentl/functions.inc>
#undef FN
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().TLOpen(nullptr));
    TL_HANDLE system = nullptr;
    EXPECT_OK(Tl().TLOpen(&system)); // the failed call opened nothing
    EXPECT_OK(Tl().GCCloseLib());
}

using SimulatorArguments = CameraTest;

// These calls have a valid handle; all other arguments are null pointers or zero.

void ExpectRefused(const char *call, GC_ERROR result)
{
    EXPECT_EQ(GC_ERR_INVALID_PARAMETER, result) << call << ": " << LastErrorText();
}

#define REFUSED(call) ExpectRefused(#call, Tl().call)

TEST_F(SimulatorArguments, NullNeverCrashesAPortOrEvent)
{
    REFUSED(GCGetInfo(TL_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(GCGetLastError(nullptr, nullptr, nullptr));
    REFUSED(GCReadPort(m_port, 0x1000, nullptr, nullptr));
    REFUSED(GCWritePort(m_port, 0x1000, nullptr, nullptr));
    REFUSED(GCGetPortURL(m_port, nullptr, nullptr));
    REFUSED(GCGetNumPortURLs(m_port, nullptr));
    REFUSED(GCGetPortURLInfo(m_port, 0, URL_INFO_URL, nullptr, nullptr, nullptr));
    REFUSED(GCGetPortInfo(m_port, PORT_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(GCReadPortStacked(m_port, nullptr, nullptr));
    REFUSED(GCWritePortStacked(m_port, nullptr, nullptr));
    REFUSED(GCRegisterEvent(m_port, EVENT_ERROR, nullptr));
    REFUSED(EventGetData(m_event, nullptr, nullptr, 0));
    REFUSED(EventGetDataInfo(m_event, nullptr, 0, EVENT_DATA_ID, nullptr, nullptr, nullptr));
    REFUSED(EventGetInfo(m_event, EVENT_EVENT_TYPE, nullptr, nullptr, nullptr));
}

TEST_F(SimulatorArguments, NullNeverCrashesAModule)
{
    REFUSED(TLGetInfo(m_system, TL_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(TLGetNumInterfaces(m_system, nullptr));
    REFUSED(TLGetInterfaceID(m_system, 0, nullptr, nullptr));
    REFUSED(TLGetInterfaceInfo(m_system, nullptr, INTERFACE_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(TLGetInterfaceInfo(m_system, "SIM-GIGE-0", INTERFACE_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(TLOpenInterface(m_system, nullptr, nullptr));
    REFUSED(IFGetInfo(m_interface, INTERFACE_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(IFGetNumDevices(m_interface, nullptr));
    REFUSED(IFGetDeviceID(m_interface, 0, nullptr, nullptr));
    REFUSED(IFGetDeviceInfo(m_interface, nullptr, DEVICE_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(IFOpenDevice(m_interface, nullptr, DEVICE_ACCESS_CONTROL, nullptr));
    REFUSED(IFGetParentTL(m_interface, nullptr));
    REFUSED(DevGetInfo(m_device, DEVICE_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(DevGetPort(m_device, nullptr));
    REFUSED(DevGetNumDataStreams(m_device, nullptr));
    REFUSED(DevGetDataStreamID(m_device, 0, nullptr, nullptr));
    REFUSED(DevOpenDataStream(m_device, nullptr, nullptr));
    REFUSED(DevGetParentIF(m_device, nullptr));
    REFUSED(DSGetInfo(m_stream, STREAM_INFO_ID, nullptr, nullptr, nullptr));
    REFUSED(DSGetParentDev(m_stream, nullptr));
}

TEST_F(SimulatorArguments, NullNeverCrashesABuffer)
{
    AnnounceBuffers(1);
    REFUSED(DSAnnounceBuffer(m_stream, nullptr, 0, nullptr, nullptr));
    REFUSED(DSAllocAndAnnounceBuffer(m_stream, 0, nullptr, nullptr));
    REFUSED(DSGetBufferID(m_stream, 0, nullptr));
    const BUFFER_HANDLE buffer = m_buffers[0];
    REFUSED(DSGetBufferInfo(m_stream, buffer, BUFFER_INFO_BASE, nullptr, nullptr, nullptr));
    REFUSED(DSGetBufferInfoStacked(m_stream, buffer, nullptr, 0));
    REFUSED(DSGetNumBufferParts(m_stream, buffer, nullptr));
    REFUSED(DSGetBufferPartInfoStacked(m_stream, buffer, nullptr, 0));
    REFUSED(DSGetBufferChunkData(m_stream, buffer, nullptr, nullptr));
    REFUSED(DSGetNumBufferSegments(m_stream, buffer, nullptr));
    REFUSED(DSGetBufferSegmentInfo(m_stream, buffer, 0, SEGMENT_INFO_BASE, nullptr, nullptr, nullptr));
    REFUSED(DSGetNumFlows(m_stream, nullptr));
    EXPECT_CODE(GC_ERR_NOT_IMPLEMENTED,
                Tl().DSAnnounceCompositeBuffer(m_stream, 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_CODE(GC_ERR_INVALID_INDEX, Tl().DSGetFlowInfo(m_stream, 0, 0, nullptr, nullptr, nullptr));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DSQueueBuffer(m_stream, nullptr));
}

#undef REFUSED

TEST_F(SimulatorArguments, HandlesOfOtherModulesAreRefused)
{
    DEV_HANDLE device = nullptr;
    EXPECT_CODE(GC_ERR_INVALID_HANDLE,
                Tl().IFOpenDevice(m_system, "SIM-SIM0002", DEVICE_ACCESS_CONTROL, &device));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().EventKill(m_stream));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().DSQueueBuffer(m_stream, m_port));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().GCReadPort(m_event, 0, nullptr, nullptr));
}

TEST_F(SimulatorArguments, PortArgumentsAreChecked)
{
    uint8_t bytes[16] = {};
    size_t size = 4;
    EXPECT_CODE(GC_ERR_INVALID_ADDRESS, Tl().GCReadPort(m_port, 0, bytes, &size));
    EXPECT_CODE(GC_ERR_INVALID_ADDRESS, Tl().GCReadPort(m_port, UINT64_MAX - 1, bytes, &size));
    EXPECT_CODE(GC_ERR_INVALID_ADDRESS, Tl().GCWritePort(m_port, UINT64_MAX, bytes, &size));
    EXPECT_CODE(GC_ERR_ACCESS_DENIED, Tl().GCWritePort(m_port, m_camera->Address("WidthMax"), bytes, &size));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().GCReadPort(m_port, 0x1000, nullptr, &size));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().GCWritePort(m_port, 0x1000, nullptr, &size));
    size = 1;
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER, Tl().GCReadPortStacked(m_port, nullptr, &size));
}

TEST_F(SimulatorArguments, NoBytesNeedNoBuffer)
{
    size_t size = 0;
    EXPECT_OK(Tl().GCReadPort(m_port, 0x1000, nullptr, &size));
    EXPECT_OK(Tl().GCWritePort(m_port, 0x1000, nullptr, &size));
    EXPECT_EQ(0U, size);
    EXPECT_OK(Tl().GCReadPortStacked(m_port, nullptr, &size));
    EXPECT_OK(Tl().GCWritePortStacked(m_port, nullptr, &size));
    PORT_REGISTER_STACK_ENTRY nothing = {0x1000, nullptr, 0};
    size = 1;
    EXPECT_OK(Tl().GCReadPortStacked(m_port, &nothing, &size));
    EXPECT_OK(Tl().GCWritePortStacked(m_port, &nothing, &size));
    EXPECT_EQ(1U, size);
}

TEST_F(SimulatorArguments, StackedCallsCountTheirSuccesses)
{
    uint32_t first = 0;
    uint32_t second = 0;
    PORT_REGISTER_STACK_ENTRY entries[] = {
        {m_camera->Address("Width"), &first, 4}, {0, &second, 4}, {m_camera->Address("Height"), &second, 4}};
    size_t count = 3;
    EXPECT_CODE(GC_ERR_INVALID_ADDRESS, Tl().GCReadPortStacked(m_port, entries, &count));
    EXPECT_EQ(1U, count);
    EXPECT_EQ(1280U, first);
    entries[1] = entries[2];
    count = 2;
    EXPECT_OK(Tl().GCReadPortStacked(m_port, entries, &count));
    EXPECT_EQ(2U, count);
    EXPECT_EQ(1024U, second);
}

TEST_F(SimulatorArguments, LastErrorBelongsToTheThread)
{
    EXPECT_CODE(GC_ERR_INVALID_ID, Tl().DevOpenDataStream(m_device, "none", &m_stream));
    GC_ERROR code = 0;
    char text[256];
    size_t size = 3;
    EXPECT_EQ(GC_ERR_BUFFER_TOO_SMALL, Tl().GCGetLastError(&code, text, &size));
    size = sizeof text;
    EXPECT_EQ(GC_ERR_SUCCESS, Tl().GCGetLastError(&code, text, &size));
    EXPECT_EQ(GC_ERR_INVALID_ID, code);
    EXPECT_STREQ("DevOpenDataStream: There is no stream none", text);
    EXPECT_EQ(size, std::strlen(text) + 1);
}

TEST_F(SimulatorArguments, RegisterAnEventOnce)
{
    EVENT_HANDLE event = nullptr;
    EXPECT_CODE(GC_ERR_RESOURCE_IN_USE, Tl().GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &event));
    EXPECT_CODE(GC_ERR_NOT_IMPLEMENTED, Tl().GCRegisterEvent(m_port, EVENT_NEW_BUFFER, &event));
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE, Tl().GCUnregisterEvent(m_port, EVENT_ERROR));
    EXPECT_OK(Tl().GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER));
    EXPECT_CODE(GC_ERR_INVALID_HANDLE, Tl().EventFlush(m_event));
    EXPECT_OK(Tl().GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &event));
}

} // namespace
} // namespace simulator_test
