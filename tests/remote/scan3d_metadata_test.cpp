#include "scan3d_test.h"

#include "support/log_capture.h"

#include <gmock/gmock.h>

namespace GenTL::internal::overrides
{
namespace
{

using tarn::common::Rectangle;
using testing::ElementsAre;

class Scan3dMetadata : public Scan3dTest
{
protected:
    LogCapture log;
};

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

} // namespace
} // namespace GenTL::internal::overrides
