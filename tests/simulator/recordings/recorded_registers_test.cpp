#include "simulator/recordings/recorded_registers.h"

#include "simulator/error.h"
#include "simulator/recordings/replay_options.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace GenTL;
using namespace GenTL::simulator;
using GenTL::internal::EnvironmentVariable;

namespace
{

std::string TextAt(const RecordedRegisters &registers, uint64_t address, size_t size)
{
    std::string text(size, '?');
    registers.Read(address, {reinterpret_cast<uint8_t *>(text.data()), size});
    return text;
}

void Put(RecordedRegisters &registers, uint64_t address, const std::string &text)
{
    registers.Write(address, {reinterpret_cast<const uint8_t *>(text.data()), text.size()});
}

GC_ERROR CodeOf(const auto &call)
{
    try
    {
        call();
    }
    catch (const Error &error)
    {
        return error.Code();
    }
    return GC_ERR_SUCCESS;
}

/// A camera with two registers that a selector decides, one of which selects a third.
recording::DeviceRecord WithSelectors()
{
    recording::DeviceRecord device;
    auto &registers = device.registers;
    registers.memory = {{10, "A"}, {20, "1"}, {30, "x"}, {31, "-"}};
    registers.selections = {{{{10, "A"}}, {{20, "1"}}},
                            {{{10, "B"}}, {{20, "2"}}},
                            {{{20, "1"}}, {{30, "x"}}},
                            {{{20, "2"}}, {{30, "y"}}}};
    return device;
}

/// A camera with a file, whose numbers have one byte each.
recording::DeviceRecord WithFile()
{
    recording::DeviceRecord device;
    auto &registers = device.registers;
    registers.memory = {{0, std::string(32, '\0')}};
    registers.commands = {{{"FileOperationExecute", 8, 1, false}, 1}};
    registers.fileAccess = {.places = {{"FileSelector", 0, 1, false},
                                       {"FileOperationSelector", 1, 1, false},
                                       {"FileAccessOffset", 3, 2, true},
                                       {"FileAccessLength", 5, 1, false},
                                       {"FileOperationStatus", 6, 1, false},
                                       {"FileOperationResult", 7, 1, false},
                                       {"FileAccessBuffer", 16, 4, false}},
                            .operations = {{"Open", 0}, {"Close", 1}, {"Read", 2}},
                            .statuses = {{"Success", 7}, {"Failure", 8}},
                            .files = {{"Lens", 5, "content"}}};
    return device;
}

constexpr auto succeeded = "\7";
constexpr auto didNotSucceed = "\x8";

class RecordedFile : public testing::Test
{
protected:
    RecordedFile() { Put(m_registers, 0, "\5"); }

    /// Executes an operation and returns its status.
    std::string Execute(char operation)
    {
        Put(m_registers, 1, {operation});
        Put(m_registers, 8, "\1");
        return TextAt(m_registers, 6, 1);
    }

    recording::DeviceRecord m_device = WithFile();
    RecordedRegisters m_registers{m_device, [](const std::string &) {}};
};

constexpr char openFile = 0;
constexpr char closeFile = 1;
constexpr char readFile = 2;

TEST(RecordedRegisters, AreReadAcrossTheirBorders)
{
    recording::DeviceRecord device;
    device.registers.memory = {{4, "cd"}, {0, "abxx"}, {2, "CD"}, {8, "far"}};
    const RecordedRegisters registers(device, {});
    EXPECT_EQ(TextAt(registers, 0, 6), "abCDcd");
    EXPECT_EQ(TextAt(registers, 9, 2), "ar");
    EXPECT_EQ(CodeOf([&] { TextAt(registers, 5, 2); }), GC_ERR_INVALID_ADDRESS);
    EXPECT_EQ(CodeOf([&] { TextAt(registers, UINT64_MAX, 2); }), GC_ERR_INVALID_ADDRESS);
}

TEST(RecordedRegisters, HoldTheDescription)
{
    recording::DeviceRecord device;
    device.description = "<xml>";
    device.descriptionAddress = 100;
    EXPECT_EQ(TextAt(RecordedRegisters(device, {}), 100, 5), "<xml>");
}

TEST(RecordedRegisters, ReachNoFurtherThanTheLastAddress)
{
    recording::DeviceRecord device;
    device.registers.memory = {{UINT64_MAX, "ab"}};
    EXPECT_EQ(CodeOf([&] { const RecordedRegisters registers(device, {}); }), GC_ERR_IO);
}

TEST(RecordedRegisters, KeepWhatIsWritten)
{
    recording::DeviceRecord device;
    device.registers.memory = {{0, "abc"}};
    RecordedRegisters registers(device, {});
    Put(registers, 1, "B");
    EXPECT_EQ(TextAt(registers, 0, 3), "aBc");
    EXPECT_EQ(CodeOf([&] { Put(registers, 2, "too long"); }), GC_ERR_INVALID_ADDRESS);
    EXPECT_EQ(TextAt(registers, 0, 3), "aBc");
}

TEST(RecordedRegisters, FollowTheirSelectors)
{
    const auto device = WithSelectors();
    RecordedRegisters registers(device, {});
    EXPECT_EQ(TextAt(registers, 30, 2), "x-");
    Put(registers, 10, "B");
    EXPECT_EQ(TextAt(registers, 20, 1), "2");
    EXPECT_EQ(TextAt(registers, 30, 2), "y-");
}

TEST(RecordedRegisters, KeepWhatIsWrittenForASelection)
{
    const auto device = WithSelectors();
    RecordedRegisters registers(device, {});
    Put(registers, 30, "X");
    Put(registers, 10, "B");
    Put(registers, 30, "Y");
    Put(registers, 10, "A");
    EXPECT_EQ(TextAt(registers, 30, 1), "X");
    Put(registers, 10, "B");
    EXPECT_EQ(TextAt(registers, 30, 1), "Y");
}

TEST(RecordedRegisters, StayAsTheyAreForAnUnknownSelection)
{
    const auto device = WithSelectors();
    RecordedRegisters registers(device, {});
    Put(registers, 10, "C");
    EXPECT_EQ(TextAt(registers, 20, 1), "1");
}

TEST(RecordedRegisters, EndTheChaseOfSelectorsThatSelectEachOther)
{
    recording::DeviceRecord device;
    device.registers.memory = {{0, "A"}, {1, "a"}};
    device.registers.selections = {{{{0, "A"}}, {{1, "b"}}},
                                   {{{0, "B"}}, {{1, "a"}}},
                                   {{{1, "a"}}, {{0, "A"}}},
                                   {{{1, "b"}}, {{0, "B"}}}};
    RecordedRegisters registers(device, {});
    Put(registers, 0, "B");
    EXPECT_EQ(TextAt(registers, 0, 1).size(), 1U);
}

TEST(RecordedRegisters, ExecuteCommandsByPlaceAndValue)
{
    recording::DeviceRecord device;
    device.registers.memory = {{0, std::string(4, '\0')}};
    device.registers.commands = {{{"Start", 0, 4, true}, 1}, {{"Stop", 0, 4, true}, 2}};
    std::vector<std::string> executed;
    RecordedRegisters registers(device, [&](const std::string &command) { executed.push_back(command); });
    Put(registers, 0, std::string("\0\0\0\1", 4));
    Put(registers, 0, std::string("\0\0\0\2", 4));
    EXPECT_EQ(executed, (std::vector<std::string>{"Start", "Stop"}));
    EXPECT_EQ(TextAt(registers, 0, 4), std::string(4, '\0')) << "a command is done at once";
    Put(registers, 0, std::string("\1\0\0\0", 4));
    EXPECT_EQ(executed.size(), 2U);
}

TEST(RecordedRegisters, HoldTheLayoutOfFrames)
{
    recording::DeviceRecord device;
    device.registers.memory = {{0, "before"}, {6, "Width"}};
    device.registers.layout = {{"Width", 6, 5, false}};
    RecordedRegisters registers(device, {});
    Put(registers, 0, "BeforeWidth");
    EXPECT_EQ(TextAt(registers, 0, 6), "Before");
    EXPECT_EQ(CodeOf([&] { Put(registers, 5, "eW-"); }), GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(TextAt(registers, 0, 11), "BeforeWidth");
}

TEST_F(RecordedFile, IsReadInPieces)
{
    EXPECT_EQ(Execute(openFile), succeeded);
    Put(m_registers, 5, "\4");
    EXPECT_EQ(Execute(readFile), succeeded);
    EXPECT_EQ(TextAt(m_registers, 16, 4), "cont");
    EXPECT_EQ(TextAt(m_registers, 7, 1), "\4");
    Put(m_registers, 3, std::string("\0\4", 2));
    EXPECT_EQ(Execute(readFile), succeeded);
    EXPECT_EQ(TextAt(m_registers, 16, 3), "ent");
    EXPECT_EQ(TextAt(m_registers, 7, 1), "\3");
    EXPECT_EQ(Execute(closeFile), succeeded);
}

TEST_F(RecordedFile, FailsBehindItsEnd)
{
    Execute(openFile);
    Put(m_registers, 5, "\4");
    Put(m_registers, 3, std::string("\0\7", 2));
    EXPECT_EQ(Execute(readFile), didNotSucceed);
}

TEST_F(RecordedFile, FailsUnlessItIsOpen)
{
    EXPECT_EQ(Execute(readFile), didNotSucceed);
    EXPECT_EQ(Execute(closeFile), didNotSucceed);
    Execute(openFile);
    EXPECT_EQ(Execute(openFile), didNotSucceed);
}

TEST_F(RecordedFile, FailsUnlessItWasRecorded)
{
    Put(m_registers, 0, "\4");
    EXPECT_EQ(Execute(openFile), didNotSucceed);
}

TEST_F(RecordedFile, FailsForAnUnknownOperation)
{
    EXPECT_EQ(Execute('\x9'), didNotSucceed);
}

TEST(ReplayOptions, AreThoseOfTheEnvironment)
{
    EXPECT_TRUE(RecordingFolders().empty());
    EXPECT_FALSE(ReadReplayOptions().rate);
    EXPECT_FALSE(ReadReplayOptions().once);
    const EnvironmentVariable folders("QVR_SIM_RECORDING", "/a::/b/c:");
    const EnvironmentVariable rate("QVR_SIM_RECORDING_RATE", "2.5");
    const EnvironmentVariable once("QVR_SIM_RECORDING_ONCE", "1");
    EXPECT_EQ(RecordingFolders(), (std::vector<std::filesystem::path>{"/a", "/b/c"}));
    EXPECT_EQ(ReadReplayOptions().rate, 2.5);
    EXPECT_TRUE(ReadReplayOptions().once);
}

TEST(ReplayOptions, NameARateThatIsNone)
{
    for (const auto *text : {"fast", "-1", "1x", "nan", "1e300"})
    {
        const EnvironmentVariable rate("QVR_SIM_RECORDING_RATE", text);
        EXPECT_EQ(CodeOf([] { ReadReplayOptions(); }), GC_ERR_INVALID_PARAMETER) << text;
    }
}

} // namespace
