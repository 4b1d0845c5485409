#include "scan3d_test.h"

#include "processing/processor.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Mode = Scan3dOutputMode;

class Scan3dModeTest : public Scan3dTest
{
protected:
    void OpenAndForget()
    {
        Open();
        Forget();
        scan3d->calls->Clear();
    }

    void UseCoordinates(const Layout &layout = {}, const std::string &entries = Entry("CoordinateA", 30) +
                                                                                Entry("CoordinateB", 31) +
                                                                                Entry("CoordinateC", -2))
    {
        extra += Enumeration("Scan3dCoordinateSelector", coordinateAddress, layout, entries);
    }

    uint32_t Coordinate() { return ReadNumber(coordinateAddress); }
    uint32_t ReadNumber(uint64_t address)
    {
        const auto bytes = Read(address, 4);
        uint32_t value = 0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    void WriteNumber(uint64_t address, uint32_t value) { WriteBytes(address, BytesOf(value)); }

    static constexpr auto coordinateC = static_cast<uint32_t>(-2);
    LogCapture log;
};

TEST_F(Scan3dModeTest, ReadsAsTheOneOfTheProcessing)
{
    UseModes();
    SetValue(modeAddress, 10);
    OpenAndForget();
    for (const auto &[mode, value] : {std::pair{Mode::CalibratedABC_Grid, 11U},
                                      std::pair{Mode::UncalibratedC, 10U}, std::pair{Mode::CalibratedC, 15U}})
    {
        scan3d->mode = mode;
        EXPECT_EQ(ReadNumber(modeAddress), value);
    }
    EXPECT_THAT(device.reads, IsEmpty());
}

TEST_F(Scan3dModeTest, IsInTheByteOrderOfThePayloadSize)
{
    payloadSize.order = "BigEndian";
    UseModes();
    OpenAndForget();
    EXPECT_EQ(Read(modeAddress, 4), (Bytes{0, 0, 0, 11}));
    WriteBytes(modeAddress, {0, 0, 0, 15});
    EXPECT_EQ(scan3d->mode, Mode::CalibratedC);
}

TEST_F(Scan3dModeTest, CannotBeReadWhenTheDeviceHasNoSuchEntry)
{
    UseModes(Entry("UncalibratedC", 10));
    OpenAndForget();
    EXPECT_EQ(FailureOf([&] { Read(modeAddress, 4); }),
              (Failure{"Unexpected Scan3dOutputMode CalibratedABC_Grid!", GC_ERR_ERROR}));
}

TEST_F(Scan3dModeTest, IsTheProcessingsToSet)
{
    UseModes();
    OpenAndForget();
    scan3d->output = PixelFormat::RGB8;
    WriteNumber(modeAddress, 15);
    EXPECT_EQ(scan3d->mode, Mode::CalibratedC);
    EXPECT_THAT(scan3d->calls->All(),
                ElementsAre("SetScan3dOutputMode CalibratedC", "output of Image3D?", "inputs of Image3D",
                            "output of Image3D is 1080001", "output of Image3D is 2180014"));
    EXPECT_THAT(writes, IsEmpty()) << "the device keeps its own mode";
}

TEST_F(Scan3dModeTest, RefusesAValueWithoutAnEntry)
{
    UseModes();
    UseCoordinates();
    OpenAndForget();
    WriteNumber(coordinateAddress, 30);
    EXPECT_EQ(FailureOf([&] { WriteNumber(modeAddress, 77); }),
              (Failure{"Unexpected Scan3dOutputMode value 77!", GC_ERR_ERROR}));
    EXPECT_THAT(scan3d->calls->All(), IsEmpty());
    EXPECT_THAT(writes, IsEmpty());
    EXPECT_EQ(Coordinate(), 30U);
}

TEST_F(Scan3dModeTest, KeepsEverythingWhenTheProcessingRefusesIt)
{
    UseModes();
    UseCoordinates();
    OpenAndForget();
    WriteNumber(coordinateAddress, 31);
    scan3d->onSetMode = [](Mode) { throw GenTLException("running", GC_ERR_ACCESS_DENIED); };
    EXPECT_EQ(FailureOf([&] { WriteNumber(modeAddress, 15); }), (Failure{"running", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(Coordinate(), 31U);
    EXPECT_THAT(scan3d->calls->All(), ElementsAre("SetScan3dOutputMode CalibratedC"));
}

TEST_F(Scan3dModeTest, SelectsTheDepthOutsideOfTheGrid)
{
    UseModes();
    UseCoordinates();
    OpenAndForget();
    for (const uint32_t coordinate : {30U, 31U})
    {
        for (const uint32_t mode : {15U, 10U})
        {
            WriteNumber(coordinateAddress, coordinate);
            WriteNumber(modeAddress, 11);
            EXPECT_EQ(Coordinate(), coordinate);
            WriteNumber(modeAddress, mode);
            EXPECT_EQ(Coordinate(), coordinateC);
        }
    }
}

TEST_F(Scan3dModeTest, IsKnownByTheNamesOfAllModes)
{
    const std::vector<std::string> names{
        "UncalibratedC",         "CalibratedABC_Grid", "CalibratedABC_PointCloud", "CalibratedAC",
        "CalibratedAC_Linescan", "CalibratedC",        "CalibratedC_Linescan",     "RectifiedC",
        "RectifiedC_Linescan",   "DisparityC",         "DisparityC_Linescan"};
    std::string entries;
    for (size_t i = names.size(); i > 0; --i)
    {
        entries += Entry(names[i - 1], static_cast<int64_t>(1000 + i - 1));
    }
    UseModes(entries);
    OpenAndForget();
    for (uint32_t i = 0; i < names.size(); ++i)
    {
        scan3d->mode = static_cast<Mode>(i);
        EXPECT_EQ(ReadNumber(modeAddress), 1000 + i) << names[i];
        scan3d->mode = Mode::CalibratedABC_Grid;
        WriteNumber(modeAddress, 1000 + i);
        EXPECT_EQ(scan3d->mode, static_cast<Mode>(i)) << names[i];
    }
}

TEST_F(Scan3dModeTest, HasValuesOf32Bits)
{
    UseModes(Entry("UncalibratedC", -2) + Entry("CalibratedC", 0x100000007) + Entry("CalibratedABC_Grid", 1));
    OpenAndForget();
    for (const auto &[mode, value] :
         {std::pair{Mode::UncalibratedC, 0xFFFFFFFEU}, std::pair{Mode::CalibratedC, 7U}})
    {
        WriteNumber(modeAddress, value);
        EXPECT_EQ(scan3d->mode, mode);
        EXPECT_EQ(ReadNumber(modeAddress), value);
    }
    EXPECT_EQ(FailureOf([&] { WriteNumber(modeAddress, 0xFFFFFFFF); }),
              (Failure{"Unexpected Scan3dOutputMode value 4294967295!", GC_ERR_ERROR}));
}

TEST_F(Scan3dModeTest, TakesTheFirst4BytesOfALongerRegister)
{
    UseModes(Entry("UncalibratedC", 10) + Entry("CalibratedC", 15) + Entry("CalibratedABC_Grid", 11),
             {.length = 8});
    OpenAndForget();
    EXPECT_EQ(Read(modeAddress, 8), BytesOf(uint64_t{11}));
    WriteBytes(modeAddress, BytesOf(uint64_t{0x1'0000000F}));
    EXPECT_EQ(scan3d->mode, Mode::CalibratedC);
    EXPECT_THAT(writes, ElementsAre(OverrideTest::Write{modeAddress + 4, BytesOf(1)})) << "the other 4 bytes";
}

TEST_F(Scan3dModeTest, IsLeftToTheDeviceWhenItCannotBeUsed)
{
    for (const auto &layout : {Layout{.access = "RO"}, Layout{.conditions = Available("Nowhere")},
                               Layout{.conditions = Implemented("Nowhere")}})
    {
        extra.clear();
        UseModes(Entry("UncalibratedC", 10), layout);
        SetValue(modeAddress, 99);
        OpenAndForget();
        EXPECT_EQ(ReadNumber(modeAddress), 99U);
    }
}

TEST_F(Scan3dModeTest, WithoutARegisterChangesNothing)
{
    for (const auto &node : {"<Enumeration Name=\"Scan3dOutputMode\">" + Entry("CalibratedABC_Grid", 0) +
                                 "<Value>0</Value></Enumeration>",
                             "<Enumeration Name=\"Scan3dCoordinateSelector\">" + Entry("CoordinateA", 2) +
                                 "<Value>2</Value></Enumeration>",
                             std::string("<Command Name=\"UserSetLoad\"><Value>1</Value></Command>")})
    {
        extra = node;
        SetValue(0, 0x01020304);
        OpenAndForget();
        EXPECT_EQ(ReadNumber(0), 0x01020304U);
        WriteNumber(0, 0x05060708);
        EXPECT_THAT(writes, ElementsAre(OverrideTest::Write{0, BytesOf(0x05060708)}));
        EXPECT_THAT(scan3d->calls->All(), IsEmpty());
    }
}

TEST_F(Scan3dModeTest, OffersItsEntriesWithoutARegisterToo)
{
    extra = "<Enumeration Name=\"Scan3dOutputMode\">" + Entry("UncalibratedC", 0, Available("ModeBit")) +
            "<Value>0</Value></Enumeration><Enumeration Name=\"Scan3dCoordinateSelector\">" +
            Entry("CoordinateA", 2, Available("CoordinateBit")) + "<Value>2</Value></Enumeration>" +
            BitOf("ModeBit", "ModeBits", 1) + BitOf("CoordinateBit", "CoordinateBits", 2) +
            Register("ModeBits", 0x190, {}) + Register("CoordinateBits", 0x194, {});
    OpenAndForget();
    EXPECT_EQ(ReadNumber(0x190), 2U);
    EXPECT_EQ(ReadNumber(0x194), 4U);
}

/// Conditions of the entries in registers of 4 and of 8 bytes.
class Scan3dEntries : public Scan3dModeTest
{
protected:
    void UseBits(const std::string &order = "LittleEndian")
    {
        extra += Register("FourReg", 0x190, {.order = order}) +
                 Register("EightReg", 0x198, {.length = 8, .order = order});
        for (const int bit : {0, 1, 2, 3, 4, 5})
        {
            extra += BitOf(fmt::format("Four{}", bit), "FourReg", bit);
            extra += BitOf(fmt::format("Eight{}", bit), "EightReg", bit + 32);
        }
    }

    static std::string Conditions(int bit)
    {
        return Available(fmt::format("Four{}", bit)) + Implemented(fmt::format("Eight{}", bit));
    }
};

TEST_F(Scan3dEntries, OfTheModesThatAreMadeAreAlwaysOffered)
{
    UseBits();
    UseModes(Entry("UncalibratedC", 0, Conditions(0)) + Entry("RectifiedC", 1, Conditions(1)) +
             Entry("CalibratedC", 2, Conditions(2)) + Entry("CalibratedABC_Grid", 3, Conditions(3)) +
             Entry("DisparityC", 4, Conditions(4)));
    OpenAndForget();
    for (const auto mode : {Mode::UncalibratedC, Mode::CalibratedABC_Grid})
    {
        scan3d->mode = mode;
        SetValue(0x190, 0xF0);
        SetValue(0x198, uint64_t{0x10'12345678});
        EXPECT_EQ(Read(0x190, 4), BytesOf(0xFD));
        EXPECT_EQ(Read(0x198, 8), BytesOf(uint64_t{0x1D'12345678}));
    }
    EXPECT_EQ(DeviceBytes(0x190, 4), BytesOf(0xF0));
}

TEST_F(Scan3dEntries, AreForcedInTheRegistersByteOrder)
{
    UseBits("BigEndian");
    UseModes(Entry("UncalibratedC", 0, Conditions(1)));
    OpenAndForget();
    EXPECT_EQ(Read(0x190, 4), (Bytes{0, 0, 0, 2}));
    EXPECT_EQ(Read(0x198, 8), (Bytes{0, 0, 0, 2, 0, 0, 0, 0}));
}

TEST_F(Scan3dEntries, OfAAndBAreOfferedInTheGrid)
{
    UseBits();
    UseCoordinates({}, Entry("CoordinateA", 0, Conditions(0)) + Entry("CoordinateB", 1, Conditions(1)) +
                           Entry("CoordinateC", 2, Conditions(2)));
    SetValue(0x190, 0x80);
    OpenAndForget();
    scan3d->mode = Mode::CalibratedABC_Grid;
    EXPECT_EQ(Read(0x190, 4), BytesOf(0x83));
    EXPECT_EQ(Read(0x198, 8), BytesOf(uint64_t{0x3'00000000}));
    for (const auto mode : {Mode::UncalibratedC, Mode::CalibratedC})
    {
        scan3d->mode = mode;
        EXPECT_EQ(Read(0x190, 4), BytesOf(0x80));
        EXPECT_EQ(Read(0x198, 8), BytesOf(uint64_t{0}));
    }
}

TEST_F(Scan3dEntries, StayInTheirRegisterWhateverSizeTheDeviceClaims)
{
    UseBits("BigEndian");
    UseModes(Entry("UncalibratedC", 0, Conditions(1)));
    OpenAndForget();
    for (const size_t claimed : {size_t{0}, size_t{1}, size_t{8}, size_t{1000}})
    {
        proxy->onGCReadPort = [this, claimed](PORT_HANDLE, uint64_t address, void *buffer, size_t *size)
        {
            std::memcpy(buffer, device.registers.data() + address, *size);
            *size = claimed;
            return GC_ERR_SUCCESS;
        };
        SetValue(0x190, 0x40);
        SetValue(0x194, 0x55);
        EXPECT_EQ(Read(0x190, 4), (Bytes{0x40, 0, 0, 2})) << claimed;
        EXPECT_EQ(Read(0x190, 8), (Bytes{0x40, 0, 0, 2, 0x55, 0, 0, 0})) << claimed;
    }
}

TEST_F(Scan3dEntries, OfOneRegisterAreForcedTogether)
{
    extra += Register("OneReg", 0x190, {});
    for (const int bit : {0, 1, 2, 3})
    {
        extra += BitOf(fmt::format("One{}", bit), "OneReg", bit);
    }
    UseModes(Entry("UncalibratedC", 0, Available("One0") + Implemented("One1")) +
             Entry("CalibratedC", 1, Available("One2")) + Entry("DisparityC", 2, Available("One3")));
    OpenAndForget();
    EXPECT_EQ(Read(0x190, 4), BytesOf(7));
}

TEST_F(Scan3dEntries, CannotBeReadWhenTheDeviceFails)
{
    UseBits();
    UseModes(Entry("UncalibratedC", 0, Conditions(0)));
    OpenAndForget();
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_IO, "cable pulled"); };
    EXPECT_EQ(FailureOf([&] { Read(0x190, 4); }), (Failure{"cable pulled", GC_ERR_IO}));
}

using Scan3dCoordinateSelection = Scan3dModeTest;

TEST_F(Scan3dCoordinateSelection, BeginsWithA)
{
    UseCoordinates();
    OpenAndForget();
    EXPECT_EQ(Coordinate(), 30U);
}

TEST_F(Scan3dCoordinateSelection, ExtendsTheSignOfAShortRegister)
{
    UseCoordinates({.length = 2, .order = "BigEndian"});
    UseModes();
    extra += "<Boolean Name=\"Scan3dInvalidDataFlag\"><pValue>FlagReg</pValue></Boolean>" +
             Register("FlagReg", invalidFlagAddress, {});
    OpenAndForget();
    EXPECT_EQ(ReadNumber(invalidFlagAddress), 0U);
    WriteBytes(coordinateAddress, {0xFF, 0xFE});
    EXPECT_EQ(ReadNumber(invalidFlagAddress), 1U) << "coordinate C";
    EXPECT_EQ(FailureOf([&] { Read(coordinateAddress, 2); }),
              (Failure{"Value will not fit in the buffer and would be truncated!", GC_ERR_ERROR}));
}

TEST_F(Scan3dCoordinateSelection, StaysOffTheDevice)
{
    UseCoordinates();
    SetValue(coordinateAddress, 31);
    OpenAndForget();
    for (const uint32_t value : {30U, 31U, coordinateC})
    {
        WriteNumber(coordinateAddress, value);
        EXPECT_EQ(Coordinate(), value);
    }
    EXPECT_THAT(writes, IsEmpty());
    EXPECT_THAT(device.reads, IsEmpty());
    EXPECT_EQ(DeviceBytes(coordinateAddress, 4), BytesOf(31));
}

TEST_F(Scan3dCoordinateSelection, PassesOverAValueThatItDoesNotKnow)
{
    UseCoordinates({}, Entry("CoordinateA", 30) + Entry("CoordinateD", 33) + Entry("CoordinateC", 32));
    OpenAndForget();
    WriteNumber(coordinateAddress, 30);
    for (const uint32_t value : {31U, 33U})
    {
        WriteNumber(coordinateAddress, value);
        EXPECT_EQ(Coordinate(), 30U);
    }
    EXPECT_THAT(writes, IsEmpty());
}

TEST_F(Scan3dCoordinateSelection, StoresNothingForAnUnknownOne)
{
    UseModes();
    UseCoordinates({}, Entry("CoordinateA", 30));
    OpenAndForget();
    WriteNumber(modeAddress, 15);
    EXPECT_EQ(Coordinate(), 0xEEEEEEEEU) << "the consumer's buffer as it was";
    EXPECT_THAT(device.reads, testing::Each(testing::Field(&FakeRemoteDevice::Access::address,
                                                           testing::Ne(coordinateAddress))));
}

TEST_F(Scan3dCoordinateSelection, IsInTheByteOrderOfItsRegister)
{
    UseCoordinates({.order = "BigEndian"});
    OpenAndForget();
    WriteBytes(coordinateAddress, {0, 0, 0, 31});
    EXPECT_EQ(Read(coordinateAddress, 4), (Bytes{0, 0, 0, 31}));
    WriteBytes(coordinateAddress, {0xFF, 0xFF, 0xFF, 0xFE});
    EXPECT_EQ(Read(coordinateAddress, 4), (Bytes{0xFF, 0xFF, 0xFF, 0xFE}));
}

class Scan3dUserSet : public Scan3dModeTest
{
protected:
    Scan3dUserSet()
    {
        extra = "<Command Name=\"UserSetLoad\"><pValue>UserSetLoadReg</pValue></Command>" +
                Register("UserSetLoadReg", userSetLoadAddress, {}) +
                Float("Scan3dCoordinateOffset", offsetAddress);
    }
};

TEST_F(Scan3dUserSet, IsLoadedByTheDeviceAndReadAgain)
{
    UseModes();
    OpenAndForget();
    SetValue(offsetAddress, 9.F);
    WriteNumber(userSetLoadAddress, 1);
    EXPECT_THAT(writes, ElementsAre(OverrideTest::Write{userSetLoadAddress, BytesOf(1)}));
    EXPECT_THAT(scan3d->calls->All(), ElementsAre("SetScan3dInfo", "SetMetadata", "SetMetadataCallback"));
    EXPECT_EQ(scan3d->info->scan3dCoordinateOffset, 9.0);
    EXPECT_EQ(ReadNumber(modeAddress), 11U);
}

TEST_F(Scan3dUserSet, KeepsTheModesWhileTheyCannotBeUsed)
{
    UseModes(Entry("UncalibratedC", 10) + Entry("CalibratedC", 15) + Entry("CalibratedABC_Grid", 11),
             {.conditions = Available("Usable")});
    extra += Integer("Usable", 0x190, {});
    SetValue(0x190, 1);
    OpenAndForget();
    SetValue(0x190, 0);
    WriteNumber(userSetLoadAddress, 1);
    EXPECT_EQ(ReadNumber(modeAddress), 11U);
    WriteNumber(modeAddress, 15);
    EXPECT_EQ(scan3d->mode, Mode::CalibratedC);
}

TEST_F(Scan3dUserSet, ChangesTheRangeOfTheAxes)
{
    extra += "<Float Name=\"Scan3dAxisMax\"><pValue>Conv</pValue></Float><Converter Name=\"Conv\">"
             "<Constant Name=\"S\">10</Constant><FormulaFrom>TO / S</FormulaFrom><pValue>RawReg</pValue>"
             "</Converter>" +
             Register("RawReg", axisMaxAddress, {});
    SetValue(axisMaxAddress, 40);
    OpenAndForget();
    EXPECT_EQ(scan3d->info->scan3dAxisMax, 4.0);
    EXPECT_EQ(ReadNumber(axisMaxAddress), 21U);
    SetValue(axisMaxAddress, 70);
    scan3d->range.second = 3.0;
    WriteNumber(userSetLoadAddress, 1);
    EXPECT_EQ(scan3d->info->scan3dAxisMax, 7.0) << "the device's own, whatever the consumer reads";
    EXPECT_EQ(ReadNumber(axisMaxAddress), 30U);
}

TEST_F(Scan3dUserSet, IsLoadedWithoutAUsableCalibration)
{
    OpenAndForget();
    scan3d->info.reset();
    WriteNumber(userSetLoadAddress, 1);
    EXPECT_TRUE(scan3d->info.has_value());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Did not find node FileSelector!",
                                         "error: Did not find node FileSelector!"))
        << "of the opening and of the load";
}

TEST_F(Scan3dUserSet, TellsAFailureThoughItIsLoaded)
{
    OpenAndForget();
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_IO, "rebooting"); };
    EXPECT_EQ(FailureOf([&] { WriteNumber(userSetLoadAddress, 1); }), (Failure{"rebooting", GC_ERR_IO}));
    EXPECT_EQ(writes.size(), 1U);
}

TEST_F(Scan3dUserSet, IsNotReadAgainWhenTheDeviceRefusesIt)
{
    OpenAndForget();
    proxy->onGCWritePort = [](PORT_HANDLE, uint64_t, const void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_ACCESS_DENIED, "locked"); };
    EXPECT_EQ(FailureOf([&] { WriteNumber(userSetLoadAddress, 1); }),
              (Failure{"locked", GC_ERR_ACCESS_DENIED}));
    EXPECT_THAT(scan3d->calls->All(), IsEmpty());
}

} // namespace
} // namespace GenTL::internal::overrides
