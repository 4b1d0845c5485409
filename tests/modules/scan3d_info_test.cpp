#include "modules/scan3d_test.h"

#include "processing/processor.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

using tarn::common::Metadata;
using tarn::common::Rectangle;
using testing::ElementsAre;
using testing::IsEmpty;

template <typename T>
T ValueOf(const Metadata &metadata, const std::string &name)
{
    const auto *value = metadata.Find(name);
    return value != nullptr ? value->Cast<T>() : throw std::runtime_error("no value named " + name);
}

class Scan3dInformation : public Scan3dTest
{
protected:
    LogCapture log;
};

TEST_F(Scan3dInformation, IsAbsentOnA2dDevice)
{
    Open();
    ASSERT_TRUE(scan3d->info.has_value());
    EXPECT_FALSE(scan3d->info->scan3dCoordinateScale);
    EXPECT_FALSE(scan3d->info->scan3dAxisMax);
    EXPECT_FALSE(scan3d->info->scan3dAxisMin);
    EXPECT_FALSE(scan3d->info->scan3dCoordinateOffset);
    EXPECT_FALSE(scan3d->info->scan3dInvalidDataValue);
    EXPECT_FALSE(scan3d->info->scan3dInvalidDataFlag);
    ASSERT_TRUE(scan3d->metadata.has_value());
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningHorizontal"), 1U);
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningVertical"), 1U);
    EXPECT_TRUE(writes.empty());
}

TEST_F(Scan3dInformation, IsWhatTheDeviceTells)
{
    extra = Float("Scan3dCoordinateScale", scaleAddress) + Float("Scan3dAxisMax", axisMaxAddress) +
            Float("Scan3dAxisMin", axisMinAddress) + Float("Scan3dCoordinateOffset", offsetAddress) +
            Float("Scan3dInvalidDataValue", invalidValueAddress) +
            Integer("Scan3dInvalidDataFlag", invalidFlagAddress, {});
    SetValue(scaleAddress, 0.5F);
    SetValue(axisMaxAddress, 900.F);
    SetValue(axisMinAddress, 100.F);
    SetValue(offsetAddress, 3.F);
    SetValue(invalidValueAddress, -1.F);
    SetValue(invalidFlagAddress, 1);
    // The axis nodes are no converters, so what is behind them is not overridden.
    Open();
    EXPECT_EQ(scan3d->info->scan3dCoordinateScale, 0.5);
    EXPECT_EQ(scan3d->info->scan3dAxisMax, 900.0);
    EXPECT_EQ(scan3d->info->scan3dAxisMin, 100.0);
    EXPECT_EQ(scan3d->info->scan3dCoordinateOffset, 3.0);
    EXPECT_EQ(scan3d->info->scan3dInvalidDataValue, -1.0);
    EXPECT_EQ(scan3d->info->scan3dInvalidDataFlag, true);
}

TEST_F(Scan3dInformation, ComesAheadOfTheOverrides)
{
    Open();
    const auto calls = scan3d->calls->All();
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 3),
                ElementsAre("SetScan3dInfo", "SetMetadata", "SetMetadataCallback"));
    EXPECT_THAT(calls, testing::Contains("inputs of Image2D"));
}

TEST_F(Scan3dInformation, KnowsAFlagThatIsNotSet)
{
    extra = Integer("Scan3dInvalidDataFlag", invalidFlagAddress, {});
    Open();
    EXPECT_EQ(scan3d->info->scan3dInvalidDataFlag, false);
}

TEST_F(Scan3dInformation, LeavesOutWhatCannotBeRead)
{
    for (const auto &layout : {Layout{.access = "WO"}, Layout{.conditions = Available("Nowhere")},
                               Layout{.conditions = Implemented("Nowhere")}})
    {
        extra = Float("Scan3dCoordinateScale", scaleAddress, layout) +
                Integer("Scan3dInvalidDataFlag", invalidFlagAddress, layout);
        SetValue(invalidFlagAddress, 1);
        Open();
        EXPECT_FALSE(scan3d->info->scan3dCoordinateScale);
        EXPECT_FALSE(scan3d->info->scan3dInvalidDataFlag);
    }
}

TEST_F(Scan3dInformation, TakesALiteralWithoutTheDevice)
{
    extra = "<Float Name=\"Scan3dCoordinateScale\"><Value>0.25</Value></Float>";
    Open();
    EXPECT_EQ(scan3d->info->scan3dCoordinateScale, 0.25);
    for (const auto &read : device.reads)
    {
        EXPECT_TRUE(read.address >= 0x10000 || read.address <= payloadSizeAddress) << read.address;
    }
}

TEST_F(Scan3dInformation, WidensAFloat)
{
    extra = Float("Scan3dCoordinateScale", scaleAddress, {.order = "BigEndian"}) +
            "<Float Name=\"Scan3dCoordinateOffset\"><Value>0.1</Value></Float>";
    SetRegisters(scaleAddress, Reversed(BytesOf(0.2F)));
    Open();
    EXPECT_EQ(scan3d->info->scan3dCoordinateScale, static_cast<double>(0.2F));
    EXPECT_EQ(scan3d->info->scan3dCoordinateOffset, static_cast<double>(0.1F));
}

TEST_F(Scan3dInformation, TakesAValueOfAFormula)
{
    UseConverter("Scan3dAxisMax", "TO / SCALE", axisMaxAddress, Constant("SCALE", "1000"));
    SetValue(axisMaxAddress, 2500);
    Open();
    EXPECT_EQ(scan3d->info->scan3dAxisMax, 2.5);
}

TEST_F(Scan3dInformation, IsReadInOrder)
{
    extra = Integer("Scan3dInvalidDataFlag", invalidFlagAddress, {}) +
            Float("Scan3dInvalidDataValue", invalidValueAddress) +
            Float("Scan3dCoordinateOffset", offsetAddress) + Float("Scan3dAxisMin", axisMinAddress) +
            Float("Scan3dAxisMax", axisMaxAddress) + Float("Scan3dCoordinateScale", scaleAddress);
    std::vector<uint64_t> asked;
    Open();
    for (const auto &read : device.reads)
    {
        if (read.address >= scaleAddress && read.address <= invalidFlagAddress)
        {
            asked.push_back(read.address);
        }
    }
    EXPECT_THAT(asked, ElementsAre(scaleAddress, axisMaxAddress, axisMinAddress, offsetAddress,
                                   invalidValueAddress, invalidFlagAddress));
}

TEST_F(Scan3dInformation, IsReadFromWhatIsReadOnly)
{
    extra = Float("Scan3dCoordinateScale", scaleAddress, {.access = "RO"}) +
            Integer("Scan3dInvalidDataFlag", invalidFlagAddress, {.access = "RO"});
    SetValue(scaleAddress, 0.5F);
    SetValue(invalidFlagAddress, 1);
    Open();
    EXPECT_EQ(scan3d->info->scan3dCoordinateScale, 0.5);
    EXPECT_EQ(scan3d->info->scan3dInvalidDataFlag, true);
}

TEST_F(Scan3dInformation, FollowsTheConditionsOfTheDevice)
{
    for (const bool isAvailable : {false, true})
    {
        for (const bool isImplemented : {false, true})
        {
            const Layout layout{.conditions = Available("A") + Implemented("I")};
            extra = Float("Scan3dAxisMin", axisMinAddress, layout) +
                    Integer("Scan3dInvalidDataFlag", invalidFlagAddress, layout) + Integer("A", 0x190, {}) +
                    Integer("I", 0x194, {});
            SetValue(0x190, isAvailable ? 1 : 0);
            SetValue(0x194, isImplemented ? 1 : 0);
            Open();
            EXPECT_EQ(scan3d->info->scan3dAxisMin.has_value(), isAvailable && isImplemented);
            EXPECT_EQ(scan3d->info->scan3dInvalidDataFlag.has_value(), isAvailable && isImplemented);
        }
    }
}

TEST_F(Scan3dInformation, ReadsADoubleWrongly)
{
    extra = Float("Scan3dCoordinateScale", scaleAddress, {.length = 8});
    const double value = 0.1;
    SetValue(scaleAddress, value);
    float lowerHalf = 0;
    std::memcpy(&lowerHalf, &value, sizeof lowerHalf);
    Open();
    EXPECT_EQ(scan3d->info->scan3dCoordinateScale, static_cast<double>(lowerHalf));
    EXPECT_NE(scan3d->info->scan3dCoordinateScale, value);
}

TEST_F(Scan3dInformation, StopsTheOpeningWhenANodeCannotBeRead)
{
    extra = Float("Scan3dAxisMax", 0x800);
    EXPECT_EQ(OpenFailure(), (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_FALSE(scan3d->info.has_value());
}

TEST_F(Scan3dInformation, StopsTheOpeningAtAModeThatIsUnknown)
{
    for (const auto *access : {"RW", "RO"})
    {
        extra.clear();
        UseModes(Entry("UncalibratedC", 0) + Entry("ProjectedC", 1), {.access = access});
        EXPECT_EQ(OpenFailure(), PlainFailure("unordered_map::at: key not found")) << access;
        EXPECT_THAT(scan3d->calls->All(), ElementsAre("SetScan3dInfo"));
        scan3d->calls->Clear();
    }
}

TEST_F(Scan3dInformation, StopsTheOpeningWhenAConditionCannotBeRead)
{
    for (const auto *feature : {"Scan3dCoordinateScale", "Scan3dInvalidDataFlag", "Scan3dOutputMode"})
    {
        extra = Enumeration(feature, modeAddress, {.conditions = Available("Condition")},
                            Entry("UncalibratedC", 0)) +
                Integer("Condition", 0x800, {});
        EXPECT_EQ(OpenFailure(), (Failure{"no register there", GC_ERR_INVALID_ADDRESS})) << feature;
    }
}

TEST_F(Scan3dInformation, PassesOverModesThatCannotBeRead)
{
    UseModes(Entry("ProjectedC", 1), {.access = "WO"});
    EXPECT_EQ(OpenFailure(), Failure{});
}

using Scan3dMetadata = Scan3dInformation;

TEST_F(Scan3dMetadata, HoldsTheRegionOfInterest)
{
    extra = Integer("OffsetX", 0x140, {}) + Integer("OffsetY", 0x144, {});
    SetValue(0x140, 16);
    SetValue(0x144, 0xFFFFFFFF);
    SetValue(widthAddress, 640);
    SetValue(heightAddress, 480);
    Open();
    EXPECT_EQ(ValueOf<Rectangle>(*scan3d->metadata, "Roi"), (Rectangle{16, 0xFFFFFFFF, 640, 480}));
}

TEST_F(Scan3dMetadata, HasNoRegionWhenAnythingOfItIsMissing)
{
    for (const auto *only : {"OffsetX", "OffsetY"})
    {
        extra = Integer(only, 0x140, {});
        Open();
        EXPECT_EQ(scan3d->metadata->Find("Roi"), nullptr);
    }
}

TEST_F(Scan3dMetadata, StopsTheOpeningWhenTheRegionCannotBeRead)
{
    extra = Integer("OffsetX", 0x140, {}) + Integer("OffsetY", 0x800, {});
    EXPECT_EQ(OpenFailure(), (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_THAT(scan3d->calls->All(), ElementsAre("SetScan3dInfo"));
}

TEST_F(Scan3dMetadata, StopsTheOpeningWhenAFactorCannotBeRead)
{
    for (const auto &[horizontal, vertical] : {std::pair{0x800, 0x144}, std::pair{0x144, 0x800}})
    {
        extra = Enumeration("DecimationSelector", 0x140, {}, Entry("All", 7)) +
                Integer("DecimationHorizontal", static_cast<uint64_t>(horizontal), {}) +
                Integer("DecimationVertical", static_cast<uint64_t>(vertical), {});
        EXPECT_EQ(OpenFailure(), (Failure{"no register there", GC_ERR_INVALID_ADDRESS}));
        EXPECT_EQ(DeviceBytes(0x140, 4), BytesOf(7)) << "selected before";
    }
}

TEST_F(Scan3dMetadata, SelectsJustWhatIsAvailable)
{
    extra = Enumeration("BinningSelector", 0x140, {},
                        Entry("Sensor", 3) + Entry("Region0", 5, Available("Nowhere")) +
                            Entry("Region1", 6, Implemented("Nowhere")) + Entry("Region2", 7)) +
            Integer("BinningHorizontal", 0x144, {}) + Integer("BinningVertical", 0x148, {});
    SetValue(0x144, 3);
    SetValue(0x148, 2);
    Open();
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningHorizontal"), 9U);
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningVertical"), 4U);
    EXPECT_THAT(writes, ElementsAre(Write{0x140, BytesOf(3)}, Write{0x140, BytesOf(7)}));
}

TEST_F(Scan3dMetadata, FailsToItsCallerWhenItIsReadAnew)
{
    extra = Integer("OffsetX", 0x140, {}) + Integer("OffsetY", 0x144, {});
    Open();
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_IO, "cable pulled"); };
    EXPECT_EQ(FailureOf([&] { scan3d->metadataCallback(); }), (Failure{"cable pulled", GC_ERR_IO}));
}

TEST_F(Scan3dMetadata, MultipliesTheFactorsOfAllSelections)
{
    extra = Enumeration("BinningSelector", 0x140, {}, Entry("Sensor", 3) + Entry("Region0", 5)) +
            Integer("BinningHorizontal", 0x144, {}) + Integer("BinningVertical", 0x148, {}) +
            Enumeration("DecimationSelector", 0x14C, {}, Entry("All", 7)) +
            Integer("DecimationHorizontal", 0x150, {}) + Integer("DecimationVertical", 0x154, {});
    SetValue(0x144, 2);
    SetValue(0x148, 3);
    SetValue(0x150, 5);
    SetValue(0x154, 7);
    Open();
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningHorizontal"), 2U * 2 * 5);
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningVertical"), 3U * 3 * 7);
    EXPECT_EQ(DeviceBytes(0x140, 4), BytesOf(5));
    EXPECT_THAT(writes,
                ElementsAre(Write{0x140, BytesOf(3)}, Write{0x140, BytesOf(5)}, Write{0x14C, BytesOf(7)}));
}

TEST_F(Scan3dMetadata, TakesFactorsByTheSelection)
{
    extra = Enumeration("BinningSelector", 0x140, {}, Entry("Sensor", 3) + Entry("Region0", 5)) +
            Integer("BinningHorizontal", 0x144, {}) + Integer("BinningVertical", 0x148, {});
    proxy->onGCReadPort = [this, read = proxy->onGCReadPort](PORT_HANDLE handle, uint64_t address,
                                                             void *buffer, size_t *size) -> GC_ERROR
    {
        if (address == 0x144)
        {
            SetValue(0x144, DeviceBytes(0x140, 1)[0] * 100);
        }
        return read(handle, address, buffer, size);
    };
    Open();
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningHorizontal"), 300U * 500);
}

TEST_F(Scan3dMetadata, MultipliesIn32Bits)
{
    extra = Enumeration("BinningSelector", 0x140, {}, Entry("A", 1)) +
            Integer("BinningHorizontal", 0x144, {}) + Integer("BinningVertical", 0x148, {}) +
            Enumeration("DecimationSelector", 0x14C, {}, Entry("A", 1)) +
            Integer("DecimationHorizontal", 0x150, {}) + Integer("DecimationVertical", 0x154, {});
    SetValue(0x144, 0x10000);
    SetValue(0x150, 0x10001);
    Open();
    EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningHorizontal"), 0x10000U);
}

TEST_F(Scan3dMetadata, TakesAFeatureWithAMissingNodeForOne)
{
    for (const auto *missing : {"BinningSelector", "BinningHorizontal", "BinningVertical"})
    {
        extra.clear();
        for (const auto &[name, node] :
             {std::pair{"BinningSelector", Enumeration("BinningSelector", 0x140, {}, Entry("Sensor", 3))},
              std::pair{"BinningHorizontal", Integer("BinningHorizontal", 0x144, {})},
              std::pair{"BinningVertical", Integer("BinningVertical", 0x148, {})}})
        {
            extra += std::string(name) == missing ? "" : node;
        }
        SetValue(0x144, 2);
        SetValue(0x148, 2);
        Open();
        EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningHorizontal"), 1U) << missing;
        EXPECT_EQ(ValueOf<uint64_t>(*scan3d->metadata, "BinningVertical"), 1U) << missing;
        EXPECT_TRUE(writes.empty());
    }
}

TEST_F(Scan3dMetadata, StopsTheOpeningWhenASelectorCannotBeWritten)
{
    extra = Enumeration("BinningSelector", 0x140, {.access = "RO"}, Entry("Sensor", 3)) +
            Integer("BinningHorizontal", 0x144, {}) + Integer("BinningVertical", 0x148, {});
    EXPECT_EQ(OpenFailure(), PlainFailure("Enumeration is not writeable"));
}

TEST_F(Scan3dMetadata, IsReadAnewForEachAcquisition)
{
    extra = Enumeration("BinningSelector", 0x140, {}, Entry("Sensor", 3)) +
            Integer("BinningHorizontal", 0x144, {}) + Integer("BinningVertical", 0x148, {});
    SetValue(0x144, 2);
    Open();
    ASSERT_TRUE(scan3d->metadataCallback);
    SetValue(0x144, 8);
    writes.clear();
    EXPECT_EQ(ValueOf<uint64_t>(scan3d->metadataCallback(), "BinningHorizontal"), 8U);
    EXPECT_THAT(writes, ElementsAre(Write{0x140, BytesOf(3)}));
}

using Scan3dCalibration = Scan3dInformation;

TEST_F(Scan3dCalibration, IsAFileOfTheDevice)
{
    extra = FakeFileDevice::Nodes();
    files.file = {1, 2, 3, 4, 5, 6};
    Open();
    EXPECT_EQ(scan3d->calibration, files.file);
    EXPECT_THAT(files.operations, ElementsAre("open 2 for 2", "read 0+4", "read 4+2", "close"));
    EXPECT_THAT(log.Lines(), IsEmpty());
    const auto calls = scan3d->calls->All();
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 4),
                ElementsAre("SetScan3dInfo", "SetLensCalibrationData", "SetMetadata", "SetMetadataCallback"));
}

TEST_F(Scan3dCalibration, IsNotMissedOnADeviceWithoutFiles)
{
    Open();
    EXPECT_THAT(log.Lines(), ElementsAre("error: Did not find node FileSelector!"));
    EXPECT_TRUE(scan3d->calibration.empty());
    EXPECT_TRUE(scan3d->metadata.has_value());
}

TEST_F(Scan3dCalibration, IsHandedOnEmptyWhenTheFileIsNotThere)
{
    extra = FakeFileDevice::Nodes("<Max>4</Max>", "", "AnotherFile");
    scan3d->onCalibration = [] { throw std::runtime_error("The given binary data is invalid"); };
    Open();
    EXPECT_EQ(log.Lines().back(), "error: The given binary data is invalid");
    EXPECT_TRUE(scan3d->calibration.empty());
    EXPECT_TRUE(scan3d->metadata.has_value());
    EXPECT_TRUE(files.operations.empty());
}

TEST_F(Scan3dCalibration, LetsTheDeviceOpenWhateverItsFilesDo)
{
    extra = FakeFileDevice::Nodes();
    files.file = {1, 2, 3, 4, 5, 6};
    files.onTransfer = [](int) { throw GenTLException("cable pulled", GC_ERR_IO); };
    Open();
    EXPECT_TRUE(scan3d->calibration.empty());
    EXPECT_TRUE(scan3d->metadata.has_value());
    EXPECT_THAT(log.Lines(), ElementsAre("error: Exception: cable pulled"));
}

} // namespace
} // namespace GenTL::internal::overrides
