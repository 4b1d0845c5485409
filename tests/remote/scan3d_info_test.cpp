#include "scan3d_test.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

using testing::ElementsAre;

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
        extra = FakeFileDevice::Nodes();
        UseModes(Entry("UncalibratedC", 0) + Entry("ProjectedC", 1), {.access = access});
        EXPECT_EQ(OpenFailure(), PlainFailure("unordered_map::at: key not found")) << access;
        EXPECT_THAT(files.operations, testing::IsEmpty());
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

} // namespace
} // namespace GenTL::internal::overrides
