// What fails, and what the consumer is told: the code, and a text that names the device, the call or the
// node, and the cause.

#include "described_device.h"

#include "support/zip_archive.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace GenTL::internal::described
{
namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

class AnyFault : public AnyDevice
{
protected:
    LastError ErrorOfOpening(const char *id = "cam0")
    {
        const auto code = gentl.IFOpenDevice(interface, id, DEVICE_ACCESS_CONTROL, &device);
        auto error = Error();
        EXPECT_EQ(error.code, code);
        return error;
    }

    /// What opening fails with for a device that stores these bytes.
    LastError ErrorOfStored(const std::string &stored)
    {
        Connect(Fixture("payload_missing"), stored);
        return ErrorOfOpening();
    }

    /// What a feature's read fails with, as the text of the last error.
    LastError ErrorOfReading(std::string_view feature)
    {
        EXPECT_THROW(Features().ReadInteger(feature), GenTLException);
        return Error();
    }
};

LastError ErrorIs(GC_ERROR code, const std::string &text)
{
    return {GC_ERR_SUCCESS, code, text};
}

TEST_F(AnyFault, NamesAFileThatDoesNotLoad)
{
    const auto path = fs::temp_directory_path() / fmt::format("any-text-{}.cti", getpid());
    std::ofstream(path) << "no library";
    const EnvironmentVariable producer("ANYGENTL_CTI_PATH", path);
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_ERROR);
    EXPECT_THAT(Error().text, StartsWith(fmt::format("GCInitLib Error: Cannot load {}: ", path.string())));
    fs::remove(path);
}

TEST_F(AnyFault, RefusesItselfByALinkAndAsACopy)
{
    const fs::path self = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
    const auto other = fs::temp_directory_path() / fmt::format("any-self-{}.cti", getpid());
    const EnvironmentVariable path("ANYGENTL_CTI_PATH", other);
    for (const bool isLink : {true, false})
    {
        isLink ? fs::create_symlink(self, other) : fs::copy(self, other);
        EXPECT_EQ(gentl.GCInitLib(), GC_ERR_INVALID_PARAMETER);
        EXPECT_THAT(Error().text, HasSubstr(" is this producer. "));
        fs::remove(other);
    }
}

TEST_F(AnyFault, SaysThatADeviceIsUnknown)
{
    Connect(Fixture("payload_missing"));
    EXPECT_EQ(ErrorOfOpening("nobody"),
              ErrorIs(GC_ERR_INVALID_ID,
                      "IFOpenDevice Error: No device \"nobody\" on interface \"if0\" (2 known)."));
}

TEST_F(AnyFault, SaysThatAnotherProgramMayHaveTheDevice)
{
    Connect(Fixture("payload_missing"));
    lower->FailNext("IFOpenDevice", GC_ERR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOfOpening(), ErrorIs(GC_ERR_ACCESS_DENIED,
                                        "IFOpenDevice Error: Cannot open \"cam0\" for CONTROL: lower failed "
                                        "(-1005). Another program may have it."));
}

TEST_F(AnyFault, NamesTheServerThatHasTheDescription)
{
    Connect(Fixture("payload_missing"));
    lower->url = "http://cameras.example/Cam.xml";
    EXPECT_EQ(ErrorOfOpening(),
              ErrorIs(GC_ERR_NOT_IMPLEMENTED, "IFOpenDevice Error: lower device: the description is at "
                                              "http://cameras.example/Cam.xml, which cannot be fetched."));
    EXPECT_EQ(lower->OpenHandles(), 2U);
}

TEST_F(AnyFault, NamesTheLineOfADescriptionThatIsNotXml)
{
    EXPECT_EQ(ErrorOfStored("<RegisterDescription>\n</Integer>\n</RegisterDescription>"),
              ErrorIs(GC_ERR_ERROR,
                      "IFOpenDevice Error: lower device: the description (55 bytes) is not XML: "
                      "Start-end tags mismatch at line 2."));
    EXPECT_EQ(lower->OpenHandles(), 2U);
}

TEST_F(AnyFault, SaysThatAnArchiveIsDamaged)
{
    const auto zip = MakeZip({{"Cam.xml", Fixture("payload_missing")}});
    const auto error =
        ErrorOfStored({zip.begin(), zip.begin() + static_cast<std::ptrdiff_t>(zip.size() / 2)});
    EXPECT_EQ(error.code, GC_ERR_ERROR);
    EXPECT_THAT(error.text,
                StartsWith(fmt::format("IFOpenDevice Error: lower device: the description ({} bytes) is not "
                                       "XML: ",
                                       zip.size() / 2)));
    EXPECT_EQ(lower->OpenHandles(), 2U);
}

TEST_F(AnyFault, NamesASizeThatNoDescriptionHas)
{
    Connect(Fixture("payload_missing"));
    lower->url = "local:///Cam.xml;10000;4000001";
    EXPECT_EQ(ErrorOfOpening(),
              ErrorIs(GC_ERR_ERROR, "IFOpenDevice Error: lower device: the description has 67108865 "
                                    "bytes; 1 to 67108864 can be read."));
}

TEST_F(AnyFault, KeepsTheFirstFailureOfAnOpening)
{
    Connect(Fixture("payload_missing"));
    lower->url = "http://cameras.example/Cam.xml";
    lower->FailNext("DevClose", GC_ERR_IO);
    EXPECT_EQ(ErrorOfOpening().code, GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(AnyFault, GivesTheWayToAFormatThatCannotBeRead)
{
    Connect(Replaced(Fixture("gige_vision_1_formats"), "<pValue>PixelFormatReg</pValue>",
                     "<pValue>Nowhere</pValue>"),
            std::nullopt, {});
    Open(DEVICE_ACCESS_CONTROL);
    const auto error = ErrorOfReading("PixelFormat");
    EXPECT_EQ(error.code, GC_ERR_ERROR);
    EXPECT_EQ(error.text,
              "GCReadPort Error: PixelFormat: no node Nowhere, which PixelFormat names as pValue");
    EXPECT_EQ(ErrorOfReading("PayloadSize").text,
              "GCReadPort Error: PixelFormat: no node Nowhere, which PixelFormat names as pValue");
}

TEST_F(AnyFault, GivesTheWayToAFormatThatCannotBeSet)
{
    Connect(Fixture("gige_vision_1_formats"));
    camera->Set(0x108, 0x01080001);
    Open(DEVICE_ACCESS_CONTROL);
    lower->FailNext("GCWritePort", GC_ERR_TIMEOUT);
    EXPECT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_TIMEOUT);
    EXPECT_EQ(Error(),
              ErrorIs(GC_ERR_TIMEOUT,
                      "GCWritePort Error: PixelFormat = Mono12: PixelFormat: PixelFormat -> "
                      "PixelFormatReg: port write of 4 bytes at 0x108 failed: lower failed (-1011)"));
}

TEST_F(AnyFault, PassesOnWhyTheLowerStreamDoesNotStart)
{
    Connect(Fixture("gige_vision_1_formats"));
    camera->Set(0x108, 0x01080001);
    camera->Set(0x10C, 64);
    Open(DEVICE_ACCESS_CONTROL);
    lower->FailNext("DSStartAcquisition", GC_ERR_BUSY);
    EXPECT_THROW(Stream(), GenTLException);
    const auto error = Error();
    EXPECT_EQ(error.code, GC_ERR_BUSY);
    EXPECT_EQ(error.text, "DSStartAcquisition Error: DSStartAcquisition: lower failed (-1022)");
}

TEST_F(AnyFault, DeliversAFrameThatCannotBeConvertedEmpty)
{
    Connect(Fixture("gige_vision_1_formats"));
    camera->Set(0x108, 0x01080001);
    camera->Set(0x10C, 96);
    Open(DEVICE_ACCESS_CONTROL);
    ASSERT_EQ(CodeOfWriting("PixelFormat", "Mono12"), GC_ERR_SUCCESS) << Error();
    lower->hasMemory = false;
    const auto frame = Stream();
    EXPECT_TRUE(frame.isIncomplete);
    EXPECT_EQ(frame.size, 0U);
}

TEST_F(AnyFault, RefusesHandlesOfWhatIsClosed)
{
    Connect(Fixture("payload_missing"));
    Open(DEVICE_ACCESS_CONTROL);
    Close();
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_EQ(gentl.GCReadPort(remote, 0x108, &value, &size), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gentl.DevClose(device), GC_ERR_INVALID_HANDLE);
    EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.DevClose(device), GC_ERR_NOT_INITIALIZED);
}

} // namespace
} // namespace GenTL::internal::described
