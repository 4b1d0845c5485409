#include "remote/lens_reader.h"

#include "support/failure.h"
#include "support/lens_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

struct Lens : testing::Test, LensDevice
{
    void Operate(uint32_t operation)
    {
        Write(Device::operation, operation);
        Write(Device::execute, 1);
    }

    std::vector<std::string> &Operations() { return registers.device.operations; }
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
    LoadUserSet();
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
    Break();
    Operate(Device::openOperation);
    Repair();
    EXPECT_THAT(*reader->Get(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Lens, IsNotReadFromADeviceOpenForReadingOnly)
{
    Describe(Nodes(), DeviceAccess::ReadOnly);
    EXPECT_FALSE(reader->IsThere());
    const auto failure = FailureOf([this] { reader->Get(); });
    EXPECT_EQ(failure.code, GC_ERR_ACCESS_DENIED);
    EXPECT_THAT(failure.text, HasSubstr("open for reading only"));
    EXPECT_EQ(registers.writes, 0);
}

TEST_F(Lens, IsTriedAgainWhenItIsDemanded)
{
    Break();
    EXPECT_FALSE(reader->IsThere());
    Repair();
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
    Describe(Nodes(GetParam()));
    EXPECT_THAT(FailureOf([this] { reader->Get(); }).text, HasSubstr(GetParam()));
    EXPECT_FALSE(reader->IsThere());
}

INSTANTIATE_TEST_SUITE_P(Each, LensWithout,
                         testing::Values("FileSelector", "FileSize", "FileOperationSelector", "FileOpenMode",
                                         "FileOperationExecute", "FileAccessLength", "FileAccessOffset",
                                         "FileAccessBuffer"));

} // namespace
} // namespace GenTL::internal
