#include "file_access_fixture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::utils
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(FileAccessTest, NamesTheFilesOfTheDevice)
{
    EXPECT_THAT(Access().AvailableFiles(), ElementsAre("UserSet", "LensCalibrationData"));
}

TEST_F(FileAccessTest, HasNoNamesWithoutASelector)
{
    Describe(FakeFileDevice::Nodes("<Max>4</Max>", "FileSelector"));
    EXPECT_EQ(FailureOf([&] { Access().AvailableFiles(); }),
              (Failure{"Did not find node FileSelector!", GC_ERR_ERROR}));
}

TEST_F(FileAccessTest, TellsTheSizeOfTheFileThatItSelects)
{
    EXPECT_EQ(Access().FileSize("LensCalibrationData"), 10U);
    EXPECT_EQ(device.Register(FakeFileDevice::selector), 2U);
    EXPECT_EQ(Access().FileSize("UserSet"), 10U);
    EXPECT_EQ(device.Register(FakeFileDevice::selector), 1U);
    EXPECT_THAT(device.operations, IsEmpty());
}

TEST_F(FileAccessTest, TellsNoSizeOfAnUnknownFile)
{
    const LogCapture log;
    EXPECT_EQ(Access().FileSize("Nothing"), 0U);
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Enumeration entry not found"));
    EXPECT_THAT(log.Origins(), testing::Each("FileAccess::FileSize"));
}

TEST_F(FileAccessTest, ReadsInTransfersOfTheLargestLength)
{
    EXPECT_EQ(Read(), device.file);
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4", "read 4+4", "read 8+2", "close"));
}

TEST_F(FileAccessTest, ReadsByteByByteWhereTheDeviceGivesNoMore)
{
    Describe(FakeFileDevice::Nodes("<Max>1</Max>"));
    EXPECT_EQ(Read(), device.file);
    EXPECT_EQ(device.operations.size(), 12U);
}

TEST_F(FileAccessTest, ReadsAFileInOneTransfer)
{
    Describe(FakeFileDevice::Nodes("<Max>100000</Max>"));
    EXPECT_EQ(Read(), device.file);
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+10", "close"));
}

TEST_F(FileAccessTest, OpensAndClosesAnEmptyFile)
{
    const LogCapture log;
    device.file.clear();
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "close"));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(FileAccessTest, ClosesAfterATransferThatTheDeviceCallsFailed)
{
    const LogCapture log;
    device.statusOf = [](int transfer)
    { return transfer == 2 ? FakeFileDevice::failure : FakeFileDevice::success; };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4", "read 4+4", "close"));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(FileAccessTest, IsUsableAgainAfterAFailure)
{
    device.statusOf = [](int transfer)
    { return transfer == 1 ? FakeFileDevice::failure : FakeFileDevice::success; };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_EQ(Read(), device.file);
}

TEST_F(FileAccessTest, LeavesTheFileOpenWhenThePortFails)
{
    const LogCapture log;
    device.onTransfer = [](int transfer)
    {
        if (transfer == 2)
        {
            throw GenTLException("cable pulled", GC_ERR_IO);
        }
    };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4", "read 4+4"));
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: cable pulled"));
    EXPECT_THAT(log.Origins(), testing::Each("FileAccess::ReadFile"));
    device.onTransfer = [](int) {};
    EXPECT_EQ(Read(), device.file);
}

TEST_F(FileAccessTest, PassesOnWhatIsNoException)
{
    device.onTransfer = [](int) { throw 7; };
    EXPECT_THROW(Read(), int);
    device.toldSize = []() -> int64_t { throw 7; };
    EXPECT_THROW(Access().FileSize("UserSet"), int);
}

TEST_F(FileAccessTest, NeedsEveryNode)
{
    for (const auto *name :
         {"FileSelector", "FileSize", "FileOperationSelector", "FileOpenMode", "FileOperationExecute",
          "FileAccessLength", "FileAccessOffset", "FileAccessBuffer", "FileOperationStatus"})
    {
        const LogCapture log;
        Describe(FakeFileDevice::Nodes("<Max>4</Max>", name));
        EXPECT_THAT(Read(), IsEmpty());
        EXPECT_THAT(log.Lines(), ElementsAre(fmt::format("error: Exception: Did not find node {}!", name)));
    }
    EXPECT_THAT(device.operations, IsEmpty());
}

TEST_F(FileAccessTest, LooksForItsNodesInOrder)
{
    std::string nodes;
    for (const auto *name :
         {"FileSelector", "FileSize", "FileOperationSelector", "FileOpenMode", "FileOperationExecute",
          "FileAccessLength", "FileAccessOffset", "FileAccessBuffer", "FileOperationStatus"})
    {
        const LogCapture log;
        Describe(nodes);
        EXPECT_THAT(Read(), IsEmpty());
        EXPECT_THAT(log.Lines(), ElementsAre(fmt::format("error: Exception: Did not find node {}!", name)));
        nodes += fmt::format("<Integer Name=\"{}\"><Value>1</Value></Integer>", name);
    }
    EXPECT_THAT(port.accesses, IsEmpty());
}

TEST_F(FileAccessTest, LooksForTheNodesOfASizeInOrder)
{
    const LogCapture log;
    Describe("");
    EXPECT_EQ(Access().FileSize("UserSet"), 0U);
    Describe(FakeFileDevice::Nodes("<Max>4</Max>", "FileSize"));
    EXPECT_EQ(Access().FileSize("UserSet"), 0U);
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Did not find node FileSelector!",
                                         "error: Exception: Did not find node FileSize!"));
    EXPECT_THAT(port.accesses, IsEmpty());
}

TEST_F(FileAccessTest, TakesItsStepsInOrder)
{
    Describe(FakeFileDevice::Nodes("<pMax>FileOpenMode</pMax>"));
    device.file.resize(3);
    EXPECT_EQ(Read(), device.file);
    EXPECT_THAT(port.accesses,
                ElementsAre("write 1000 = 2", "read 1004+8", "write 100C = 10", "write 1010 = 2",
                            "write 1014 = 1", "write 100C = 12", "read 1010+4", "write 101C = 0",
                            "write 1018 = 2", "write 1014 = 1", "read 2000+2", "read 1020+4",
                            "write 101C = 2", "write 1018 = 1", "write 1014 = 1", "read 2000+1",
                            "read 1020+4", "write 100C = 11", "write 1014 = 1"));
}

TEST_F(FileAccessTest, NamesJustTheFilesThatAreThere)
{
    auto nodes = FakeFileDevice::Nodes();
    const std::string entry = "<EnumEntry Name=\"UserSet\">";
    nodes.insert(nodes.find(entry) + entry.size(), "<pIsAvailable>FileOpenMode</pIsAvailable>");
    Describe(nodes);
    EXPECT_THAT(Access().AvailableFiles(), ElementsAre("LensCalibrationData"));
    const LogCapture log;
    EXPECT_EQ(Access().FileSize("UserSet"), 0U);
    EXPECT_THAT(Read("UserSet"), IsEmpty());
    EXPECT_THAT(log.Lines(), testing::Each("error: Exception: Enumeration entry not available"));
    EXPECT_EQ(log.Lines().size(), 2U);
    port.onAccess = [] { throw GenTLException("cable pulled", GC_ERR_IO); };
    EXPECT_EQ(FailureOf([&] { Access().AvailableFiles(); }), (Failure{"cable pulled", GC_ERR_IO}))
        << "the caller's to handle";
}

TEST_F(FileAccessTest, ReadsNoUnknownFile)
{
    const LogCapture log;
    EXPECT_THAT(Read("Nothing"), IsEmpty());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Enumeration entry not found"));
    EXPECT_THAT(device.operations, IsEmpty());
}

TEST_F(FileAccessTest, NeedsTheLargestLength)
{
    const LogCapture log;
    Describe(FakeFileDevice::Nodes(""));
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Bound has no value!"));
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2"));
}

TEST_F(FileAccessTest, TakesTheLargestLengthFromANode)
{
    Describe(FakeFileDevice::Nodes("<pMax>FileOpenMode</pMax>"));
    EXPECT_EQ(Read(), device.file);
    EXPECT_EQ(device.operations.size(), 7U) << "five transfers of 2 bytes";
}

} // namespace
} // namespace GenTL::internal::utils
