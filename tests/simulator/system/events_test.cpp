// Events of the camera and of the modules, and cameras that are unplugged.

#include "support/environment_variable.h"
#include "support/simulator/simulator.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <optional>

namespace simulator_test
{
namespace
{

namespace fs = std::filesystem;

/// The camera with events, opened.
class SimulatorEvents : public CameraTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        OpenCamera("SIM-GIGE-0", "SIM-SIM0001");
    }

    static EVENT_HANDLE Register(EVENTSRC_HANDLE source, EVENT_TYPE type)
    {
        EVENT_HANDLE event = nullptr;
        EXPECT_OK(Tl().GCRegisterEvent(source, type, &event));
        return event;
    }

    /// The bytes of the next event.
    static std::vector<uint8_t> Next(EVENT_HANDLE event)
    {
        std::vector<uint8_t> bytes(Size(event, EVENT_SIZE_MAX));
        size_t size = bytes.size();
        EXPECT_OK(Tl().EventGetData(event, bytes.data(), &size, 10000));
        bytes.resize(size);
        return bytes;
    }

    static auto About(EVENT_HANDLE event, const std::vector<uint8_t> &bytes, EVENT_DATA_INFO_CMD command)
    {
        return [=, &bytes](auto *type, void *out, size_t *size)
        { return Tl().EventGetDataInfo(event, bytes.data(), bytes.size(), command, type, out, size); };
    }

    /// The numbers in the data of an event.
    static std::vector<uint64_t> Numbers(EVENT_HANDLE event, const std::vector<uint8_t> &bytes)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        std::vector<uint64_t> numbers(3);
        size_t size = numbers.size() * sizeof numbers[0];
        EXPECT_OK(About(event, bytes, EVENT_DATA_VALUE)(&type, numbers.data(), &size));
        EXPECT_EQ(INFO_DATATYPE{INFO_DATATYPE_BUFFER}, type);
        numbers.resize(size / sizeof numbers[0]);
        return numbers;
    }

    static size_t Waiting(EVENT_HANDLE event) { return Size(event, EVENT_NUM_IN_QUEUE); }

    static size_t Size(EVENT_HANDLE event, EVENT_INFO_CMD command)
    {
        return Ask<size_t>([&](auto *type, void *out, size_t *size)
                           { return Tl().EventGetInfo(event, command, type, out, size); });
    }
};

TEST_F(SimulatorEvents, TellTheEndOfEachExposure)
{
    auto *const event = Register(m_device, EVENT_REMOTE_DEVICE);
    ASSERT_OK(m_camera->SetEntry("EventSelector", "ExposureEnd"));
    ASSERT_OK(m_camera->SetEntry("EventNotification", "On"));
    SetRegion(64, 64);
    AnnounceBuffers(4);
    Start();
    Receive();
    for (const uint64_t frame : {1U, 2U})
    {
        const auto bytes = Next(event);
        EXPECT_EQ("9001", AskText(About(event, bytes, EVENT_DATA_ID)));
        EXPECT_EQ(0x9001U, Ask<uint64_t>(About(event, bytes, EVENT_DATA_NUMID)));
        const auto numbers = Numbers(event, bytes);
        ASSERT_EQ(3U, numbers.size());
        EXPECT_EQ(0x9001U, numbers[0]);
        EXPECT_EQ(frame, numbers[2]);
    }
    StopAndRevoke();
}

TEST_F(SimulatorEvents, AreSentOnlyWhenTheyAreSwitchedOn)
{
    auto *const event = Register(m_device, EVENT_REMOTE_DEVICE);
    ASSERT_OK(m_camera->Set("TestEventGenerate", 1));
    EXPECT_EQ(0U, Waiting(event));
    ASSERT_OK(m_camera->SetEntry("EventSelector", "Test"));
    ASSERT_OK(m_camera->SetEntry("EventNotification", "On"));
    ASSERT_OK(m_camera->Set("TestEventGenerate", 1));
    EXPECT_EQ("9002", AskText(About(event, Next(event), EVENT_DATA_ID)));
}

TEST_F(SimulatorEvents, ThatNobodyTakesDoNotPileUpForEver)
{
    auto *const event = Register(m_device, EVENT_REMOTE_DEVICE);
    ASSERT_OK(m_camera->SetEntry("EventSelector", "Test"));
    ASSERT_OK(m_camera->SetEntry("EventNotification", "On"));
    for (int i = 0; i < 1030; ++i)
    {
        ASSERT_OK(m_camera->Set("TestEventGenerate", 1));
    }
    EXPECT_EQ(1024U, Waiting(event));
}

TEST_F(SimulatorEvents, AreDroppedByANullBuffer)
{
    auto *const event = Register(m_device, EVENT_REMOTE_DEVICE);
    ASSERT_OK(m_camera->SetEntry("EventSelector", "Test"));
    ASSERT_OK(m_camera->SetEntry("EventNotification", "On"));
    size_t size = 0;
    EXPECT_CODE(GC_ERR_TIMEOUT, Tl().EventGetData(event, nullptr, &size, 0));
    ASSERT_OK(m_camera->Set("TestEventGenerate", 1));
    EXPECT_OK(Tl().EventGetData(event, nullptr, &size, 10000));
    EXPECT_EQ(0U, Waiting(event));
}

TEST_F(SimulatorEvents, NameTheFeatureThatChanged)
{
    auto *const event = Register(m_port, EVENT_FEATURE_INVALIDATE);
    ASSERT_OK(m_camera->Set("Width", 64));
    const auto bytes = Next(event);
    EXPECT_EQ("PayloadSize", AskText(About(event, bytes, EVENT_DATA_ID)));
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    EXPECT_CODE(GC_ERR_NOT_AVAILABLE, About(event, bytes, EVENT_DATA_VALUE)(&type, nullptr, &size));
    EXPECT_CODE(GC_ERR_INVALID_PARAMETER,
                Tl().EventGetDataInfo(event, bytes.data(), 7, EVENT_DATA_ID, &type, nullptr, &size));
}

TEST_F(SimulatorEvents, StandInTheDescription)
{
    const auto port = m_camera->Node("EventExposureEndPort");
    EXPECT_STREQ("9001", port.child_value("EventID"));
    EXPECT_STREQ("0x10", m_camera->Node("EventExposureEndFrameIDReg").child_value("Address"));
}

/// A file that names the unplugged cameras.
class UnplugFile
{
public:
    UnplugFile() : m_path(fs::temp_directory_path() / ("unplug-" + std::to_string(getpid()))) {}
    ~UnplugFile() { fs::remove(m_path); }
    UnplugFile(const UnplugFile &) = delete;
    UnplugFile &operator=(const UnplugFile &) = delete;
    const fs::path &Path() const { return m_path; }
    void Name(const std::string &camera) const { std::ofstream(m_path) << camera << '\n'; }

private:
    fs::path m_path;
};

class UnpluggedCamera : public SimulatorEvents
{
protected:
    uint32_t NumDevices() const
    {
        uint32_t count = 0;
        EXPECT_OK(Tl().IFGetNumDevices(m_interface, &count));
        return count;
    }

    bool UpdateList() const
    {
        bool8_t changed = 0;
        EXPECT_OK(Tl().IFUpdateDeviceList(m_interface, &changed, 0));
        return changed != 0;
    }

    GC_ERROR Open()
    {
        return Tl().IFOpenDevice(m_interface, "SIM-SIM0001", DEVICE_ACCESS_CONTROL, &m_device);
    }

    const UnplugFile m_file;
    const internal::EnvironmentVariable m_variable{"QVR_SIM_UNPLUG", m_file.Path().string()};
};

TEST_F(UnpluggedCamera, TellsItsLossAndDoesNotAnswer)
{
    auto *const error = Register(m_device, EVENT_ERROR);
    auto *const module = Register(m_device, EVENT_MODULE);
    const auto width = m_camera->Address("Width");
    AnnounceBuffers(4);
    Start();
    m_file.Name("OVRA-M5");
    const auto bytes = Next(error);
    EXPECT_EQ(int32_t{GC_ERR_IO}, Ask<int32_t>(About(error, bytes, EVENT_DATA_ID)));
    EXPECT_EQ("The camera was unplugged", AskText(About(error, bytes, EVENT_DATA_VALUE)));
    EXPECT_EQ("A001", AskText(About(module, Next(module), EVENT_DATA_ID)));
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_CODE(GC_ERR_IO, Tl().GCReadPort(m_port, width, &value, &size));
    EXPECT_CODE(GC_ERR_IO, Tl().GCWritePort(m_port, width, &value, &size));
    EXPECT_OK(Tl().DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_KILL));
    EXPECT_OK(Tl().DevClose(m_device));
}

TEST_F(UnpluggedCamera, LeavesTheListAndComesBack)
{
    const auto before = NumDevices();
    auto *const module = Register(m_interface, EVENT_MODULE);
    m_file.Name("SIM-SIM0001");
    EXPECT_EQ("A002", AskText(About(module, Next(module), EVENT_DATA_ID)));
    EXPECT_OK(Tl().DevClose(m_device));
    EXPECT_EQ(before, NumDevices());
    EXPECT_CODE(GC_ERR_IO, Open());
    EXPECT_TRUE(UpdateList());
    EXPECT_FALSE(UpdateList());
    EXPECT_EQ(before - 1, NumDevices());
    EXPECT_CODE(GC_ERR_INVALID_ID, Open());
    fs::remove(m_file.Path());
    Next(module);
    EXPECT_TRUE(UpdateList());
    EXPECT_EQ(before, NumDevices());
    EXPECT_OK(Open());
}

} // namespace
} // namespace simulator_test
