#include "file_access_fixture.h"
#include "support/sanitizer.h"

#include <gmock/gmock.h>

#include <limits>
#include <utility>

namespace GenTL::internal::utils
{
namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class LyingFileDevice : public FileAccessTest
{
protected:
    /// Makes the access of this number fail, counted from 1 and from now on.
    template <typename Exception>
    void FailAtAccess(size_t failing, const Exception &exception)
    {
        port.accesses.clear();
        port.onAccess = [this, failing, exception]
        {
            if (port.accesses.size() == failing)
            {
                throw exception;
            }
        };
    }
};

TEST_F(LyingFileDevice, EndsNothingByTransferringNothing)
{
    for (const auto *maximum : {"0", "-1", "-9223372036854775808"})
    {
        const LogCapture log;
        device.operations.clear();
        Describe(FakeFileDevice::Nodes(fmt::format("<Max>{}</Max>", maximum)));
        EXPECT_THAT(Read(), IsEmpty());
        EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Device transfers no file data!")) << maximum;
        EXPECT_THAT(device.operations, ElementsAre("open 2 for 2")) << "left open, as after any failure";
    }
}

TEST_F(LyingFileDevice, MayTransferNothingOfAnEmptyFile)
{
    const LogCapture log;
    device.file.clear();
    Describe(FakeFileDevice::Nodes("<Max>0</Max>"));
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "close"));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(LyingFileDevice, NeverTransfersMoreThanTheFile)
{
    Describe(FakeFileDevice::Nodes("<Max>9223372036854775807</Max>"));
    EXPECT_EQ(Read(), device.file);
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+10", "close"));
}

TEST_F(LyingFileDevice, HasNoFileOfANegativeSize)
{
    for (const auto size : {int64_t{-1}, std::numeric_limits<int64_t>::min()})
    {
        const LogCapture log;
        device.toldSize = [size] { return size; };
        EXPECT_THAT(Read(), IsEmpty());
        EXPECT_EQ(log.Lines().size(), 1U);
        EXPECT_THAT(log.Lines(), Each(StartsWith("error: Exception: ")));
        EXPECT_THAT(device.operations, IsEmpty());
    }
}

TEST_F(LyingFileDevice, HasNoFileThatNoMemoryHolds)
{
    if (hasSanitizer)
    {
        GTEST_SKIP() << "a sanitizer ends the process where the memory runs out";
    }
    const LogCapture log;
    device.toldSize = [] { return std::numeric_limits<int64_t>::max(); };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_EQ(log.Lines().size(), 1U);
    EXPECT_THAT(log.Lines(), Each(StartsWith("error: Exception: ")));
    EXPECT_THAT(device.operations, IsEmpty());
    device.toldSize = [] { return 10; };
    EXPECT_EQ(Read(), device.file);
}

TEST_F(LyingFileDevice, TellsAnySize)
{
    const LogCapture log;
    device.toldSize = [] { return std::numeric_limits<int64_t>::max(); };
    EXPECT_EQ(Access().FileSize("UserSet"), uint64_t{std::numeric_limits<int64_t>::max()});
    device.toldSize = [] { return int64_t{-1}; };
    EXPECT_EQ(Access().FileSize("UserSet"), std::numeric_limits<uint64_t>::max());
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(LyingFileDevice, GivesZerosForTheBytesThatItKeeps)
{
    device.bytesPerAnswer = 3;
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 0, 5, 6, 7, 0, 9, 10));
    device.bytesPerAnswer = 0;
    EXPECT_EQ(Read(), std::vector<uint8_t>(10));
}

TEST_F(LyingFileDevice, IsKeptToTheSizeThatItTold)
{
    device.onTransfer = [&](int) { device.file.resize(3); };
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 0, 0, 0, 0, 0, 0, 0));
    device.file = {1, 2, 3};
    device.onTransfer = [&](int) { device.file.resize(100); };
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3));
}

TEST_F(LyingFileDevice, IsAskedForTheSizeOnce)
{
    int asked = 0;
    device.toldSize = [&] { return ++asked == 1 ? int64_t{5} : int64_t{10}; };
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(asked, 1);
}

TEST_F(LyingFileDevice, ReadsTheNewSizeTheNextTime)
{
    EXPECT_EQ(Access().FileSize("LensCalibrationData"), 10U);
    device.file.resize(6);
    EXPECT_THAT(Read(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4", "read 4+2", "close"));
}

TEST_F(LyingFileDevice, IsClosedAtTheFirstFailureOfMany)
{
    const LogCapture log;
    device.statusOf = [](int) { return FakeFileDevice::failure; };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4", "close"));
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(LyingFileDevice, IsNotBelievedBytesOfAFailedTransfer)
{
    device.statusOf = [](int transfer)
    { return transfer == 3 ? FakeFileDevice::failure : FakeFileDevice::success; };
    EXPECT_THAT(Read(), IsEmpty()) << "though two transfers of three went well";
    EXPECT_EQ(device.operations.back(), "close");
}

TEST_F(LyingFileDevice, IsLeftOpenAfterAStatusThatItDoesNotList)
{
    const LogCapture log;
    device.statusOf = [](int) { return 99; };
    EXPECT_THAT(Read(), IsEmpty());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Enumeration entry not found!"));
    EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4"));
}

TEST_F(LyingFileDevice, SucceedsUnderOneNameOnly)
{
    for (const auto *name : {"success", "Successful", "Succes", "SUCCESS", ""})
    {
        device.operations.clear();
        auto nodes = FakeFileDevice::Nodes();
        nodes.replace(nodes.find("\"Success\""), std::string("\"Success\"").size(),
                      fmt::format("\"{}\"", name));
        Describe(nodes);
        EXPECT_THAT(Read(), IsEmpty()) << name;
        EXPECT_THAT(device.operations, ElementsAre("open 2 for 2", "read 0+4", "close")) << name;
    }
}

TEST_F(LyingFileDevice, IsNotAskedForTheResultsOfOpeningAndClosing)
{
    bool transferred = false;
    device.onTransfer = [&](int) { transferred = true; };
    device.statusOf = [&](int)
    { return std::exchange(transferred, false) ? FakeFileDevice::success : FakeFileDevice::failure; };
    EXPECT_EQ(Read(), device.file);
}

TEST_F(LyingFileDevice, CostsTheFileWhicheverAccessFails)
{
    EXPECT_EQ(Read(), device.file);
    const auto all = std::exchange(port.accesses, {});
    ASSERT_GT(all.size(), 20U);
    for (size_t failing = 1; failing <= all.size(); ++failing)
    {
        const LogCapture log;
        FailAtAccess(failing, GenTLException("cable pulled", GC_ERR_IO));
        EXPECT_THAT(Read(), IsEmpty()) << all[failing - 1];
        EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: cable pulled")) << all[failing - 1];
        EXPECT_EQ(port.accesses, std::vector(all.begin(), all.begin() + static_cast<ptrdiff_t>(failing)))
            << "nothing after the failure";
        port.onAccess = [] {};
        EXPECT_EQ(Read(), device.file) << "usable again";
    }
}

TEST_F(LyingFileDevice, CostsTheSizeWhicheverAccessFails)
{
    EXPECT_EQ(Access().FileSize("UserSet"), 10U);
    const auto all = std::exchange(port.accesses, {});
    EXPECT_THAT(all, ElementsAre("write 1000 = 1", "read 1004+8"));
    for (size_t failing = 1; failing <= all.size(); ++failing)
    {
        const LogCapture log;
        FailAtAccess(failing, std::runtime_error("cable pulled"));
        EXPECT_EQ(Access().FileSize("UserSet"), 0U);
        EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: cable pulled"));
        EXPECT_EQ(port.accesses.size(), failing);
    }
}

} // namespace
} // namespace GenTL::internal::utils
