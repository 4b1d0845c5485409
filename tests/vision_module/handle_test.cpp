#include "pixels.h"

#include <functional>
#include <set>
#include <thread>

namespace GenTL::internal
{

class VisionHandle : public VisionTest
{
protected:
    VisionHandle()
    {
        vision.Image_CreateFromImageInfo(&image, &info, sizeof info);
        vision.Metadata_Create(&metadata);
        vision.Region_Create(&region);
        vision.Image_CreateFromImageInfo(&ended, &info, sizeof info);
        vision.Image_Destroy(ended);
    }
    ~VisionHandle() override
    {
        EXPECT_EQ(vision.Image_Destroy(image), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Metadata_Destroy(metadata), TARN_CVL_SUCCESS);
        EXPECT_EQ(vision.Region_Destroy(region), TARN_CVL_SUCCESS);
    }

    /// A call with a handle parameter of this kind.
    struct Call
    {
        std::string kind;
        std::function<int32_t(void *)> call;
    };

    std::vector<Call> Calls()
    {
        const std::string anImage = "an image";
        const std::string someMetadata = "metadata";
        const std::string aRegion = "a region";
        constexpr uint32_t mono = static_cast<uint32_t>(PixelFormat::Mono8);
        return {
            {anImage, [&](void *h) { return vision.Image_GetInfo(h, &info, sizeof info); }},
            {anImage, [&](void *h) { return vision.Image_IncreaseUseCount(h); }},
            {anImage, [&](void *h) { return vision.Image_Destroy(h); }},
            {anImage, [&](void *h) { return vision.Image_ConvertPixelFormat(h, mono, image); }},
            {anImage, [&](void *h) { return vision.Image_ConvertPixelFormat(image, mono, h); }},
            {anImage, [&](void *h) { return vision.Image_ConvertPixelFormatWithFactor(h, mono, image, 1); }},
            {anImage, [&](void *h) { return vision.Image_ConvertPixelFormatWithFactor(image, mono, h, 1); }},
            {anImage, [&](void *h) { return vision.Image_SetMetadata(h, metadata); }},
            {anImage, [&](void *h) { return vision.Image_SetRegion(h, region); }},
            {anImage, [&](void *h) { return vision.Region_Draw(h, region, &colour); }},
            {anImage, [&](void *h) { return vision.Threshold_Process(h, &range, sizeof range, &region); }},
            {someMetadata, [&](void *h) { return vision.Image_SetMetadata(image, h); }},
            {someMetadata, [&](void *h) { return vision.Metadata_Destroy(h); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetBool(h, "k", 1); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetInt(h, "k", 1); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetUInt(h, "k", 1); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetDouble(h, "k", 1); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetString(h, "k", "v"); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetBoolArray(h, "k", nullptr, 0); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetIntArray(h, "k", nullptr, 0); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetUIntArray(h, "k", nullptr, 0); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetDoubleArray(h, "k", nullptr, 0); }},
            {someMetadata, [&](void *h) { return vision.Metadata_SetStringArray(h, "k", nullptr, 0); }},
            {aRegion, [&](void *h) { return vision.Image_SetRegion(image, h); }},
            {aRegion, [&](void *h) { return vision.Region_Destroy(h); }},
            {aRegion, [&](void *h) { return vision.Region_Draw(image, h, &colour); }},
            {aRegion, [&](void *h) { return vision.Threshold_Process(image, &range, sizeof range, &h); }},
        };
    }

    uint8_t pixel = 0;
    tarn_cvl_ImageInfo info{Code(PixelFormat::Mono8), 1, 1, 0, 1, &pixel};
    tarn_cvl_Colour colour{};
    tarn_cvl_Range range{};
    void *image = nullptr;
    void *metadata = nullptr;
    void *region = nullptr;
    void *ended = nullptr;
};

TEST_F(VisionHandle, OfNullIsRefusedByEachFunction)
{
    for (const auto &[kind, call] : Calls())
    {
        EXPECT_EQ(AnswerOf(call(nullptr)),
                  (Answered{TARN_CVL_NULL_POINTER, "The handle is null, expected one of " + kind}));
    }
}

TEST_F(VisionHandle, ThatHasEndedOrNeverWasIsRefusedByEachFunction)
{
    int notAnObject = 0;
    for (void *handle : {ended, static_cast<void *>(&notAnObject), reinterpret_cast<void *>(1)})
    {
        for (const auto &[kind, call] : Calls())
        {
            EXPECT_EQ(AnswerOf(call(handle)),
                      (Answered{TARN_CVL_MISMATCH, "The handle is not a live one, expected one of " + kind}));
        }
    }
}

TEST_F(VisionHandle, OfAnotherKindIsRefusedByEachFunction)
{
    const std::vector<std::pair<std::string, void *>> handles{
        {"an image", image}, {"metadata", metadata}, {"a region", region}};
    for (const auto &[kind, call] : Calls())
    {
        for (const auto &[otherKind, handle] : handles)
        {
            if (otherKind != kind)
            {
                EXPECT_EQ(AnswerOf(call(handle)),
                          (Answered{TARN_CVL_MISMATCH,
                                    "The handle is one of " + otherKind + ", expected one of " + kind}));
            }
        }
    }
}

TEST_F(VisionHandle, WorksInEachFunctionWhenItIsOfTheKind)
{
    for (const auto &[kind, call] : Calls())
    {
        void *own = nullptr;
        if (kind == "an image")
        {
            EXPECT_EQ(vision.Image_CreateFromImageInfo(&own, &info, sizeof info), TARN_CVL_SUCCESS);
        }
        else
        {
            EXPECT_EQ(kind == "metadata" ? vision.Metadata_Create(&own) : vision.Region_Create(&own),
                      TARN_CVL_SUCCESS);
        }
        EXPECT_EQ(AnswerOf(call(own)), Answered{});
        // Handles that the call released or shared do not matter here.
        while (vision.Image_Destroy(own) == TARN_CVL_SUCCESS)
        {
        }
        vision.Metadata_Destroy(own);
        vision.Region_Destroy(own);
    }
}

TEST_F(VisionHandle, HasNoPlaceToGoToWhenTheOutputIsNull)
{
    const Answered expected{TARN_CVL_NULL_POINTER, "The pointer to the new handle is null"};
    EXPECT_EQ(AnswerOf(vision.Image_CreateFromImageInfo(nullptr, &info, sizeof info)), expected);
    EXPECT_EQ(AnswerOf(vision.Image_CreateWithZeroInit(nullptr, info.pixelFormat, {1, 1}, 0)), expected);
    EXPECT_EQ(AnswerOf(vision.Metadata_Create(nullptr)), expected);
    EXPECT_EQ(AnswerOf(vision.Region_Create(nullptr)), expected);
}

TEST_F(VisionHandle, IsNeverGivenOutTwice)
{
    std::set<void *> seen{image, metadata, region, ended};
    for (int i = 0; i < 1000; ++i)
    {
        void *handle = nullptr;
        ASSERT_EQ(vision.Region_Create(&handle), TARN_CVL_SUCCESS);
        ASSERT_EQ(vision.Region_Destroy(handle), TARN_CVL_SUCCESS);
        ASSERT_TRUE(seen.insert(handle).second);
    }
}

TEST_F(VisionHandle, IsMadeAndEndedOnManyThreads)
{
    constexpr int threads = 4;
    constexpr int rounds = 2000;
    std::vector<int> failures(threads, 0);
    std::vector<std::thread> running;
    for (int &failed : failures)
    {
        running.emplace_back(
            [&]
            {
                for (int i = 0; i < rounds; ++i)
                {
                    void *own = nullptr;
                    failed += vision.Metadata_Create(&own) != TARN_CVL_SUCCESS;
                    failed += vision.Metadata_SetInt(own, "key", i) != TARN_CVL_SUCCESS;
                    failed += vision.Metadata_Destroy(own) != TARN_CVL_SUCCESS;
                    failed += vision.Metadata_Destroy(own) != TARN_CVL_MISMATCH;
                }
            });
    }
    for (auto &thread : running)
    {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(threads, 0));
}

} // namespace GenTL::internal
