#include "remote/lens_reader.h"

#include "genapi/i_register_port.h"
#include "support/failure.h"
#include "support/fake_file_device.h"
#include "support/vision_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Device = FakeFileDevice;

constexpr uint64_t userSetLoad = 0x3000;
constexpr uint64_t gain = 0x3004;
constexpr uint64_t baseOfCommands = 0x3008;

/// The registers of a device with files and user sets, which counts what is written.
struct FileRegisters final : genapi::IRegisterPort
{
    void Read(uint64_t address, void *data, size_t size) override
    {
        if (address == baseOfCommands)
        {
            const uint32_t base = userSetLoad - 0x10;
            std::memcpy(data, &base, size);
            return;
        }
        device.Read(address, data, &size);
    }

    void Write(uint64_t address, const void *data, size_t size) override
    {
        ++writes;
        device.Write(address, data, &size);
    }

    Device device;
    int writes = 0;
};

std::string LensNodes(const std::string &without = "")
{
    auto nodes = Device::Nodes("<Max>4</Max>", without);
    const std::string command = "<Command Name=\"FileOperationExecute\">";
    if (const auto place = nodes.find(command); place != std::string::npos)
    {
        nodes.insert(place + command.size(), "<CommandValue>1</CommandValue>");
    }
    // The address of this command is computed.
    return nodes +
           "<Command Name=\"UserSetLoad\"><pValue>LoadReg</pValue><CommandValue>1</CommandValue></Command>"
           "<IntReg Name=\"LoadReg\"><Address>0x10</Address><pAddress>BaseReg</pAddress><Length>4</Length>"
           "<AccessMode>WO</AccessMode></IntReg>"
           "<IntReg Name=\"BaseReg\"><Address>0x3008</Address><Length>4</Length></IntReg><Port "
           "Name=\"Device\"/>";
}

struct Lens : testing::Test
{
    void Describe(const std::string &nodes, DeviceAccess access = DeviceAccess::ReadWrite)
    {
        document.load_string(("<RegisterDescription>" + nodes + "</RegisterDescription>").c_str());
        graph = std::make_unique<genapi::NodeGraph>(document);
        reader = std::make_unique<LensReader>(*graph, registers, access);
    }

    void SetUp() override
    {
        registers.device.file = {1, 2, 3, 4, 5, 6};
        Describe(LensNodes());
    }

    /// What the consumer writes.
    void Write(uint64_t address, uint32_t value)
    {
        reader->PassWrite(address, sizeof value, [&] { registers.Write(address, &value, sizeof value); });
    }

    void Operate(uint32_t operation)
    {
        Write(Device::operation, operation);
        Write(Device::execute, 1);
    }

    std::vector<std::string> &Operations() { return registers.device.operations; }

    VisionLibrary vision;
    FileRegisters registers;
    pugi::xml_document document;
    std::unique_ptr<genapi::NodeGraph> graph;
    std::unique_ptr<LensReader> reader;
};

TEST_F(Lens, TouchesNoRegisterBeforeItIsNeeded)
{
    EXPECT_EQ(registers.writes, 0);
    EXPECT_THAT(Operations(), IsEmpty());
}

TEST_F(Lens, IsReadInBlocksOnce)
{
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(Operations(), ElementsAre("open 2 for 2", "read 0+4", "read 4+2", "close"));
    EXPECT_TRUE(reader->IsThere());
    EXPECT_EQ(reader->Get(), reader->Get());
    EXPECT_EQ(Operations().size(), 4U);
}

TEST_F(Lens, LeavesTheSelectorsAsTheyWere)
{
    Write(Device::selector, 1);
    Write(Device::operation, Device::readOperation);
    Write(Device::openMode, 1);
    Write(Device::length, 3);
    Write(Device::offset, 8);
    reader->Get();
    EXPECT_EQ(registers.device.Register(Device::selector), 1U);
    EXPECT_EQ(registers.device.Register(Device::operation), Device::readOperation);
    EXPECT_EQ(registers.device.Register(Device::openMode), 1U);
    EXPECT_EQ(registers.device.Register(Device::length), 3U);
    EXPECT_EQ(registers.device.Register(Device::offset), 8U);
}

TEST_F(Lens, IsReadAgainAfterAUserSetWasLoaded)
{
    reader->Get();
    registers.device.file = {7};
    Write(gain, 5);
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
    Write(userSetLoad, 1);
    EXPECT_THAT(*reader->Get(), ElementsAre(7));
}

TEST_F(Lens, StaysWhileTheConsumerHasAFileOpen)
{
    reader->Get();
    registers.device.file = {7};
    Operate(Device::openOperation);
    const auto operations = Operations().size();
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(Operations().size(), operations);
    Operate(Device::closeOperation);
    EXPECT_THAT(*reader->Get(), ElementsAre(7));
}

TEST_F(Lens, WaitsForTheFileThatTheConsumerHasOpen)
{
    Operate(Device::openOperation);
    EXPECT_EQ(FailureOf([this] { reader->Get(); }).code, GC_ERR_BUSY);
    EXPECT_TRUE(reader->IsThere()) << "nobody knows yet";
    Operate(Device::closeOperation);
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Lens, IsReadAlthoughTheConsumersOpeningFailed)
{
    registers.device.statusOf = [](int) { return Device::failure; };
    Operate(Device::openOperation);
    registers.device.statusOf = [](int) { return Device::success; };
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Lens, IsNotReadFromADeviceOpenForReadingOnly)
{
    Describe(LensNodes(), DeviceAccess::ReadOnly);
    EXPECT_FALSE(reader->IsThere());
    const auto failure = FailureOf([this] { reader->Get(); });
    EXPECT_EQ(failure.code, GC_ERR_ACCESS_DENIED);
    EXPECT_THAT(failure.text, HasSubstr("open for reading only"));
    EXPECT_EQ(registers.writes, 0);
}

TEST_F(Lens, IsTriedAgainWhenItIsDemanded)
{
    registers.device.statusOf = [](int) { return Device::failure; };
    EXPECT_FALSE(reader->IsThere());
    registers.device.statusOf = [](int) { return Device::success; };
    const auto writes = registers.writes;
    EXPECT_FALSE(reader->IsThere());
    EXPECT_EQ(registers.writes, writes) << "a question is not a demand";
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_TRUE(reader->IsThere());
}

TEST_F(Lens, ClosesTheFileWhoseReadingFails)
{
    registers.device.statusOf = [](int reads) { return reads > 1 ? Device::failure : Device::success; };
    const auto failure = FailureOf([this] { reader->Get(); });
    EXPECT_EQ(failure.text, "The device's lens calibration cannot be used: the file operation Read ended "
                            "with Failure");
    EXPECT_EQ(failure.code, GC_ERR_IO);
    EXPECT_THAT(Operations(), ElementsAre("open 2 for 2", "read 0+4", "read 4+2", "close"));
}

TEST_F(Lens, IsRefusedWhenItMakesNoSense)
{
    vision->acceptsCalibration = false;
    EXPECT_THAT(FailureOf([this] { reader->Get(); }).text, HasSubstr("The given binary data is invalid"));
    EXPECT_FALSE(reader->IsThere());
}

TEST_F(Lens, IsRefusedWhenItsSizeMakesNoSense)
{
    for (const int64_t size : {int64_t{-1}, int64_t{0}, int64_t{1} << 40})
    {
        registers.device.toldSize = [size] { return size; };
        EXPECT_THAT(FailureOf([this] { reader->Get(); }).text,
                    HasSubstr("a file of " + std::to_string(size) + " bytes"));
    }
}

struct LensWithout : Lens, testing::WithParamInterface<const char *>
{
};

TEST_P(LensWithout, IsMissedByName)
{
    Describe(LensNodes(GetParam()));
    EXPECT_THAT(FailureOf([this] { reader->Get(); }).text, HasSubstr(GetParam()));
    EXPECT_FALSE(reader->IsThere());
}

INSTANTIATE_TEST_SUITE_P(Each, LensWithout,
                         testing::Values("FileSelector", "FileSize", "FileOperationSelector", "FileOpenMode",
                                         "FileOperationExecute", "FileAccessLength", "FileAccessOffset",
                                         "FileAccessBuffer"));

} // namespace
} // namespace GenTL::internal
