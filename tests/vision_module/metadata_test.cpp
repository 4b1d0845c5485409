#include "vision_module/metadata.h"

#include "vision_module.h"

#include <array>
#include <cstdint>

namespace GenTL::internal
{

/// The interface cannot read values back, so the tests look at the objects below it.
class VisionMetadata : public testing::Test
{
protected:
    ~VisionMetadata() override { tarn::vision::handles::Release(tarn::vision::Kind::Metadata, handle); }

    std::shared_ptr<tarn::vision::Metadata> store = std::make_shared<tarn::vision::Metadata>();
    void *handle = tarn::vision::AddHandle(store);
};

TEST_F(VisionMetadata, KeepsEachTypeOfValue)
{
    using namespace tarn::vision;
    const std::array<uint8_t, 3> flags{0, 1, 2};
    const std::array<int64_t, 2> numbers{INT64_MIN, 5};
    const std::array<const char *, 2> texts{"one", ""};
    SetValue(handle, "flag", true);
    SetValue(handle, "unsigned", UINT64_MAX);
    SetValue(handle, "text", TextOf("value"));
    SetValue(handle, "flags", ArrayOf<bool>(flags.data(), flags.size()));
    SetValue(handle, "numbers", ArrayOf<int64_t>(numbers.data(), numbers.size()));
    SetValue(handle, "texts", ArrayOf<std::string>(texts.data(), texts.size()));
    EXPECT_EQ(store->values.at("flag"), Value(true));
    EXPECT_EQ(store->values.at("unsigned"), Value(UINT64_MAX));
    EXPECT_EQ(store->values.at("text"), Value(std::string("value")));
    EXPECT_EQ(store->values.at("flags"), Value(std::vector<bool>{false, true, true}));
    EXPECT_EQ(store->values.at("numbers"), Value(std::vector<int64_t>{INT64_MIN, 5}));
    EXPECT_EQ(store->values.at("texts"), Value(std::vector<std::string>{"one", ""}));
}

TEST_F(VisionMetadata, ReplacesAValueOfTheSameNameAndAnyType)
{
    tarn::vision::SetValue(handle, "key", int64_t{1});
    tarn::vision::SetValue(handle, "key", 2.5);
    EXPECT_EQ(store->values.size(), 1U);
    EXPECT_EQ(store->values.at("key"), tarn::vision::Value(2.5));
}

class VisionMetadataExports : public VisionTest
{
protected:
    VisionMetadataExports() { vision.Metadata_Create(&metadata); }
    ~VisionMetadataExports() override { EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS); }

    void *metadata = nullptr;
    uint8_t flag = 1;
    int64_t number = 1;
    uint64_t unsignedNumber = 1;
    double real = 1;
    const char *text = "text";
};

TEST_F(VisionMetadataExports, TakeEachTypeOfValue)
{
    EXPECT_EQ(AnswerOf(vision.Metadata_SetBool(metadata, "a", flag)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetInt(metadata, "b", number)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetUInt(metadata, "c", unsignedNumber)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetDouble(metadata, "d", real)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetString(metadata, "e", text)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetBoolArray(metadata, "f", &flag, 1)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetIntArray(metadata, "g", &number, 1)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetUIntArray(metadata, "h", &unsignedNumber, 1)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetDoubleArray(metadata, "i", &real, 1)), Answered{});
    EXPECT_EQ(AnswerOf(vision.Metadata_SetStringArray(metadata, "j", &text, 1)), Answered{});
}

TEST_F(VisionMetadataExports, RefuseANullKey)
{
    const Answered expected{TARN_CVL_NULL_POINTER, "The pointer to the key is null"};
    EXPECT_EQ(AnswerOf(vision.Metadata_SetBool(metadata, nullptr, flag)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetInt(metadata, nullptr, number)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetUInt(metadata, nullptr, unsignedNumber)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetDouble(metadata, nullptr, real)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetString(metadata, nullptr, text)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetBoolArray(metadata, nullptr, &flag, 1)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetIntArray(metadata, nullptr, &number, 1)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetUIntArray(metadata, nullptr, &unsignedNumber, 1)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetDoubleArray(metadata, nullptr, &real, 1)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetStringArray(metadata, nullptr, &text, 1)), expected);
}

TEST_F(VisionMetadataExports, RefuseNullValues)
{
    const Answered noText{TARN_CVL_NULL_POINTER, "The pointer to a text is null"};
    const Answered noElement{TARN_CVL_NULL_POINTER, "The pointer to the first element is null"};
    const char *nothing = nullptr;
    EXPECT_EQ(AnswerOf(vision.Metadata_SetString(metadata, "k", nullptr)), noText);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetStringArray(metadata, "k", &nothing, 1)), noText);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetBoolArray(metadata, "k", nullptr, 1)), noElement);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetIntArray(metadata, "k", nullptr, 1)), noElement);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetUIntArray(metadata, "k", nullptr, 1)), noElement);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetDoubleArray(metadata, "k", nullptr, 1)), noElement);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetStringArray(metadata, "k", nullptr, 1)), noElement);
}

TEST_F(VisionMetadataExports, RefuseACountThatNoArrayHas)
{
    const Answered expected{TARN_CVL_OUT_OF_RANGE,
                            "The count is larger than any array; expected the number of elements"};
    EXPECT_EQ(AnswerOf(vision.Metadata_SetBoolArray(metadata, "k", &flag, SIZE_MAX)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetIntArray(metadata, "k", &number, SIZE_MAX)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetUIntArray(metadata, "k", &unsignedNumber, SIZE_MAX)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetDoubleArray(metadata, "k", &real, SIZE_MAX)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_SetStringArray(metadata, "k", &text, SIZE_MAX)), expected);
}

} // namespace GenTL::internal
