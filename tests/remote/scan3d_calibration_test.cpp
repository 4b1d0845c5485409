#include "scan3d_test.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// The lens calibration, a file of the device, and a processing that takes no empty one.
class Scan3dCalibration : public Scan3dTest
{
protected:
    Scan3dCalibration()
    {
        files.file = {1, 2, 3, 4, 5, 6};
        scan3d->onCalibration = [this]
        {
            if (scan3d->calibration.empty())
            {
                throw std::runtime_error("The given binary data is invalid");
            }
        };
    }

    static constexpr auto invalid = "error: The given binary data is invalid";

    /// Opens the port and sees that it has all but the calibration.
    void OpenWithoutCalibration()
    {
        scan3d->metadata.reset();
        scan3d->metadataCallback = {};
        scan3d->calls->Clear();
        files.operations.clear();
        EXPECT_EQ(OpenFailure(), Failure{});
        EXPECT_TRUE(scan3d->calibration.empty());
        EXPECT_TRUE(scan3d->metadata.has_value());
        EXPECT_TRUE(scan3d->metadataCallback);
        EXPECT_THAT(scan3d->calls->All(), testing::Contains("inputs of Image2D")) << "the overrides are made";
    }

    LogCapture log;
};

TEST_F(Scan3dCalibration, IsAFileOfTheDevice)
{
    extra = FakeFileDevice::Nodes();
    int askedForTheSize = 0;
    files.toldSize = [&]
    {
        ++askedForTheSize;
        return 6;
    };
    Open();
    EXPECT_EQ(scan3d->calibration, files.file);
    EXPECT_THAT(files.operations, ElementsAre("open 2 for 2", "read 0+4", "read 4+2", "close"));
    EXPECT_EQ(askedForTheSize, 2) << "for the size alone, and for the file";
    EXPECT_THAT(log.Lines(), IsEmpty());
    const auto calls = scan3d->calls->All();
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 4),
                ElementsAre("SetScan3dInfo", "SetLensCalibrationData", "SetMetadata", "SetMetadataCallback"));
}

TEST_F(Scan3dCalibration, IsNotMissedOnADeviceWithoutFiles)
{
    OpenWithoutCalibration();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Did not find node FileSelector!"));
    EXPECT_THAT(log.Origins(), testing::Each("RemotePort::ReadScan3dInfo"));
    EXPECT_THAT(scan3d->calls->All(), testing::Not(testing::Contains("SetLensCalibrationData")));
}

TEST_F(Scan3dCalibration, IsNotMissedWhereItsFileIsEmpty)
{
    extra = FakeFileDevice::Nodes();
    files.file.clear();
    OpenWithoutCalibration();
    EXPECT_THAT(log.Lines(), ElementsAre(invalid));
    EXPECT_THAT(files.operations, ElementsAre("open 2 for 2", "close"));
}

TEST_F(Scan3dCalibration, IsNotMissedWhereItsFileCannotBeRead)
{
    extra = FakeFileDevice::Nodes();
    files.statusOf = [](int) { return FakeFileDevice::failure; };
    OpenWithoutCalibration();
    EXPECT_THAT(log.Lines(), ElementsAre(invalid));
    EXPECT_THAT(files.operations, ElementsAre("open 2 for 2", "read 0+4", "close"));
}

TEST_F(Scan3dCalibration, IsAskedForByItsNameTwice)
{
    extra = FakeFileDevice::Nodes("<Max>4</Max>", "", "AnotherFile");
    OpenWithoutCalibration();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Enumeration entry not found",
                                         "error: Exception: Enumeration entry not found", invalid))
        << "for its size and for its content";
    EXPECT_THAT(files.operations, IsEmpty());
}

TEST_F(Scan3dCalibration, IsMissingOnADeviceThatCannotTransferIt)
{
    for (const auto *maximum : {"<Max>0</Max>", "<Max>-1</Max>", ""})
    {
        const LogCapture lines;
        extra = FakeFileDevice::Nodes(maximum);
        OpenWithoutCalibration();
        EXPECT_THAT(lines.Lines(), ElementsAre(StartsWith("error: Exception: "), invalid));
        EXPECT_THAT(files.operations, ElementsAre("open 2 for 2"));
    }
}

TEST_F(Scan3dCalibration, IsMissingWhereTheSizeIsNegative)
{
    extra = FakeFileDevice::Nodes();
    files.toldSize = [] { return int64_t{-1}; };
    OpenWithoutCalibration();
    EXPECT_THAT(log.Lines(), ElementsAre(StartsWith("error: Exception: "), invalid));
    EXPECT_THAT(files.operations, IsEmpty());
}

TEST_F(Scan3dCalibration, IsMissingWhereTheStatusIsUnknown)
{
    extra = FakeFileDevice::Nodes();
    files.statusOf = [](int) { return 99; };
    OpenWithoutCalibration();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: Enumeration entry not found!", invalid));
}

TEST_F(Scan3dCalibration, IsMissingWhereANodeIs)
{
    for (const auto *node :
         {"FileOperationSelector", "FileOpenMode", "FileOperationExecute", "FileAccessLength",
          "FileAccessOffset", "FileAccessBuffer", "FileOperationStatus"})
    {
        const LogCapture lines;
        extra = FakeFileDevice::Nodes("<Max>4</Max>", node);
        OpenWithoutCalibration();
        EXPECT_THAT(lines.Lines(),
                    ElementsAre(fmt::format("error: Exception: Did not find node {}!", node), invalid));
    }
}

TEST_F(Scan3dCalibration, IsMissingWhicheverAccessToTheFileFails)
{
    extra = FakeFileDevice::Nodes();
    // The first accesses ask for the file's size; a failure there costs the size alone.
    constexpr int ofTheSize = 2;
    int accesses = 0;
    int failing = 0;
    const auto count = [&](uint64_t address)
    {
        if (FakeFileDevice::Has(address) && ++accesses == failing)
        {
            LowerFailure(GC_ERR_IO, "cable pulled");
        }
    };
    proxy->onGCReadPort = [&, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address, void *buffer,
                                                          size_t *size) -> GC_ERROR
    {
        count(address);
        return read(handle, address, buffer, size);
    };
    proxy->onGCWritePort = [&, write = proxy->onGCWritePort](PORT_HANDLE handle, uint64_t address,
                                                             const void *buffer, size_t *size) -> GC_ERROR
    {
        count(address);
        return write(handle, address, buffer, size);
    };
    Open();
    const int all = accesses;
    EXPECT_GT(all, ofTheSize + 15);
    for (failing = 1; failing <= all; ++failing)
    {
        const LogCapture lines;
        accesses = 0;
        if (failing <= ofTheSize)
        {
            Open();
            EXPECT_EQ(scan3d->calibration, files.file);
            EXPECT_THAT(lines.Lines(), ElementsAre("error: Exception: cable pulled"));
        }
        else
        {
            OpenWithoutCalibration();
            EXPECT_THAT(lines.Lines(), ElementsAre("error: Exception: cable pulled", invalid)) << failing;
        }
    }
}

TEST_F(Scan3dCalibration, MayBeRefused)
{
    extra = FakeFileDevice::Nodes();
    scan3d->onCalibration = [] { throw GenTLException("too old", GC_ERR_INVALID_VALUE); };
    EXPECT_EQ(OpenFailure(), Failure{});
    EXPECT_THAT(log.Lines(), ElementsAre("error: too old"));
    EXPECT_TRUE(scan3d->metadata.has_value());
}

TEST_F(Scan3dCalibration, IsNotGuardedAgainstWhatIsNoException)
{
    extra = FakeFileDevice::Nodes();
    scan3d->onCalibration = [] { throw 7; };
    EXPECT_THROW(Open(), int);
}

TEST_F(Scan3dCalibration, IsReadAnewWithAUserSet)
{
    extra = FakeFileDevice::Nodes() +
            "<Command Name=\"UserSetLoad\"><pValue>UserSetLoadReg</pValue></Command>" +
            Register("UserSetLoadReg", userSetLoadAddress, {});
    Open();
    files.file = {9, 8, 7};
    WriteBytes(userSetLoadAddress, BytesOf(1));
    EXPECT_EQ(scan3d->calibration, files.file);
    files.statusOf = [](int) { return FakeFileDevice::failure; };
    EXPECT_EQ(FailureOf([&] { WriteBytes(userSetLoadAddress, BytesOf(1)); }), Failure{});
    EXPECT_THAT(log.Lines(), ElementsAre(invalid));
}

} // namespace
} // namespace GenTL::internal::overrides
