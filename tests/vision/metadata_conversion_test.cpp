#include "vision_test.h"

#include "vision/metadata_conversion.h"

#include <gmock/gmock.h>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;
using scripted::Entry;
using tarn::common::Metadata;
using tarn::common::Rectangle;
using testing::ElementsAre;
using testing::IsEmpty;

class VisionMetadata : public VisionTest
{
protected:
    std::vector<Entry> Converted(const Metadata &metadata)
    {
        ConvertMetadata(metadata);
        return vision->convertedMetadata;
    }

    std::vector<Entry> ConvertedValue(tarn::common::Any value)
    {
        Metadata metadata;
        metadata.Set("key", std::move(value));
        return Converted(metadata);
    }
};

TEST_F(VisionMetadata, WithoutKeysHasNoEntries)
{
    EXPECT_THAT(Converted({}), IsEmpty());
    EXPECT_THAT(vision->calls, ElementsAre("Metadata_Create", "Metadata_Destroy"));
}

TEST_F(VisionMetadata, HasAFunctionForEachType)
{
    EXPECT_THAT(ConvertedValue(true), ElementsAre(Entry{"Bool", "key", "1"}));
    EXPECT_THAT(ConvertedValue(false), ElementsAre(Entry{"Bool", "key", "0"}));
    EXPECT_THAT(ConvertedValue(std::vector<bool>{true, false, true}),
                ElementsAre(Entry{"BoolArray", "key", "1,0,1"}));
    EXPECT_THAT(ConvertedValue(INT64_MIN), ElementsAre(Entry{"Int", "key", "-9223372036854775808"}));
    EXPECT_THAT(ConvertedValue(std::vector<int64_t>{-1, 2}), ElementsAre(Entry{"IntArray", "key", "-1,2"}));
    EXPECT_THAT(ConvertedValue(UINT64_MAX), ElementsAre(Entry{"UInt", "key", "18446744073709551615"}));
    EXPECT_THAT(ConvertedValue(std::vector<uint64_t>{3, UINT64_MAX}),
                ElementsAre(Entry{"UIntArray", "key", "3,18446744073709551615"}));
    EXPECT_THAT(ConvertedValue(0.5), ElementsAre(Entry{"Double", "key", "0.5"}));
    EXPECT_THAT(ConvertedValue(std::vector<double>{0.5, -2.25}),
                ElementsAre(Entry{"DoubleArray", "key", "0.5,-2.25"}));
    EXPECT_THAT(ConvertedValue(std::string("text")), ElementsAre(Entry{"String", "key", "text"}));
    EXPECT_THAT(ConvertedValue(std::vector<std::string>{"a", "", "bc"}),
                ElementsAre(Entry{"StringArray", "key", "a,,bc"}));
}

TEST_F(VisionMetadata, PassesOverOtherTypes)
{
    EXPECT_THAT(ConvertedValue(int32_t{1}), IsEmpty());
    EXPECT_THAT(ConvertedValue(uint32_t{1}), IsEmpty());
    EXPECT_THAT(ConvertedValue(1.5F), IsEmpty());
    EXPECT_THAT(ConvertedValue(static_cast<const char *>("text")), IsEmpty());
    EXPECT_THAT(ConvertedValue(std::vector<float>{1}), IsEmpty());
    EXPECT_THAT(ConvertedValue(Rectangle{1, 2, 3, 4}), IsEmpty());
    EXPECT_THAT(ConvertedValue({}), IsEmpty());
    EXPECT_EQ(vision->CountOf("GetLastErrorMessage"), 0U);
}

TEST_F(VisionMetadata, HasTheFieldsOfTheRoiInOrder)
{
    Metadata metadata;
    metadata.Set("Roi", Rectangle{1, 2, 3, UINT32_MAX});
    EXPECT_THAT(Converted(metadata),
                ElementsAre(Entry{"UInt", "ROIX", "1"}, Entry{"UInt", "ROIY", "2"},
                            Entry{"UInt", "ROIWidth", "3"}, Entry{"UInt", "ROIHeight", "4294967295"}));
}

TEST_F(VisionMetadata, HasTheRoiBehindAllElse)
{
    Metadata metadata;
    metadata.Set("Roi", Rectangle{1, 2, 3, 4});
    for (const auto *key : {"BinningHorizontal", "BinningVertical", "a", "b", "c"})
    {
        metadata.Set(key, uint64_t{2});
    }
    const auto entries = Converted(metadata);
    ASSERT_EQ(entries.size(), 9U);
    EXPECT_EQ(entries[5].key, "ROIX");
    EXPECT_EQ(entries[8].key, "ROIHeight");
}

TEST_F(VisionMetadata, HasNoRoiOfAnotherType)
{
    Metadata metadata;
    metadata.Set("Roi", uint64_t{7});
    EXPECT_THAT(Converted(metadata), ElementsAre(Entry{"UInt", "Roi", "7"}));
    metadata.Set("Roi", std::vector<float>{1, 2, 3, 4});
    EXPECT_THAT(Converted(metadata), IsEmpty());
}

TEST_F(VisionMetadata, LivesAsLongAsItsOwner)
{
    {
        const auto handle = ConvertMetadata({});
        EXPECT_EQ(vision->metadata.count(handle.Get()), 1U);
    }
    EXPECT_EQ(vision->metadata.size(), 0U);
}

TEST_F(VisionMetadata, LeavesNothingBehindAFailureOfAnyCall)
{
    Metadata metadata;
    metadata.Set("bool", true);
    metadata.Set("bools", std::vector<bool>{true});
    metadata.Set("int", int64_t{1});
    metadata.Set("ints", std::vector<int64_t>{1});
    metadata.Set("uint", uint64_t{1});
    metadata.Set("uints", std::vector<uint64_t>{1});
    metadata.Set("double", 1.0);
    metadata.Set("doubles", std::vector<double>{1});
    metadata.Set("text", std::string("1"));
    metadata.Set("texts", std::vector<std::string>{"1"});
    metadata.Set("Roi", Rectangle{1, 2, 3, 4});
    for (const auto *function :
         {"Create", "SetBool", "SetBoolArray", "SetInt", "SetIntArray", "SetUInt", "SetUIntArray",
          "SetDouble", "SetDoubleArray", "SetString", "SetStringArray"})
    {
        SCOPED_TRACE(function);
        vision->FailNext(std::string("Metadata_") + function, TARN_CVL_CORRUPTED);
        EXPECT_EQ(VisionFailureOf([&] { ConvertMetadata(metadata); }),
                  Failing<CorruptedException>("vision failed", 11));
        EXPECT_EQ(vision->LiveObjects(), 0U);
    }
}

} // namespace
} // namespace GenTL::internal
