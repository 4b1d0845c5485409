#include "utils/file_access.h"

#include "support/failure.h"
#include "support/fake_file_device.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

namespace GenTL::internal::utils
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class FilePort final : public IPort
{
public:
    explicit FilePort(FakeFileDevice &device) : m_device(device) {}

    void ReadRegisters(uint64_t iAddress, void *pBuffer, size_t *piSize) override
    {
        m_device.Read(iAddress, pBuffer, piSize);
    }
    void WriteRegisters(uint64_t iAddress, const void *pBuffer, size_t *piSize) override
    {
        m_device.Write(iAddress, pBuffer, piSize);
    }

    void ReadPort(uint64_t, void *, size_t *) override { Unused(); }
    void WritePort(uint64_t, const void *, size_t *) override { Unused(); }
    void GetPortURL(char *, size_t *) override { Unused(); }
    void GetPortInfo(PORT_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unused(); }
    void GetNumPortURLs(uint32_t *) override { Unused(); }
    void GetPortURLInfo(uint32_t, URL_INFO_CMD, INFO_DATATYPE *, void *, size_t *) override { Unused(); }
    void ReadPortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unused(); }
    void WritePortStacked(PORT_REGISTER_STACK_ENTRY *, size_t *) override { Unused(); }
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

private:
    [[noreturn]] static void Unused() { throw std::logic_error("plain register access only"); }

    FakeFileDevice &m_device;
};

class FileAccessTest : public testing::Test
{
protected:
    FileAccessTest()
    {
        device.file.resize(10);
        std::iota(device.file.begin(), device.file.end(), uint8_t{1});
    }

    void Describe(const std::string &nodes)
    {
        parser.emplace("<RegisterDescription>" + nodes + "</RegisterDescription>");
    }

    FileAccess Access() { return {port, *parser}; }
    std::vector<uint8_t> Read(std::string_view name = "LensCalibrationData")
    {
        return Access().ReadFile(name);
    }

    FakeFileDevice device;
    FilePort port{device};
    std::optional<nodemap::NodeMapParser> parser{
        std::in_place, "<RegisterDescription>" + FakeFileDevice::Nodes() + "</RegisterDescription>"};
};

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
    device.onTransfer = [](int) {};
    EXPECT_EQ(Read(), device.file);
}

TEST_F(FileAccessTest, PassesOnWhatIsNoException)
{
    device.onTransfer = [](int) { throw 7; };
    EXPECT_THROW(Read(), int);
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

TEST_F(FileAccessTest, EndsWhereTheDeviceTransfersNothing)
{
    for (const auto *maximum : {"<Max>0</Max>", "<Max>-1</Max>"})
    {
        const LogCapture log;
        Describe(FakeFileDevice::Nodes(maximum));
        EXPECT_THAT(Read(), IsEmpty());
        EXPECT_EQ(log.Lines().size(), 1U);
    }
}

TEST_F(FileAccessTest, RefusesANegativeSize)
{
    const LogCapture log;
    device.toldSize = [] { return int64_t{-1}; };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_EQ(log.Lines().size(), 1U);
    EXPECT_THAT(device.operations, IsEmpty());
}

TEST_F(FileAccessTest, ReadsZerosForBytesThatTheDeviceDoesNotGive)
{
    device.bytesPerAnswer = 3;
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 0, 5, 6, 7, 0, 9, 10));
}

TEST_F(FileAccessTest, KeepsToTheSizeThatItWasTold)
{
    device.onTransfer = [&](int) { device.file.resize(3); };
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 0, 0, 0, 0, 0, 0, 0));
    device.file = {1, 2, 3};
    device.onTransfer = [&](int) { device.file.resize(100); };
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3));
}

TEST_F(FileAccessTest, AsksForTheSizeOnce)
{
    int asked = 0;
    device.toldSize = [&] { return ++asked == 1 ? int64_t{5} : int64_t{10}; };
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(asked, 1);
}

} // namespace
} // namespace GenTL::internal::utils
