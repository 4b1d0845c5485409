#include "pixels.h"

#include "support/loaded.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace GenTL::internal
{

namespace
{

bool IsLoaded()
{
    return IsLibraryLoaded(VisionModule::path);
}

void ConvertLarge(const VisionModule &vision)
{
    Pixels source(PixelFormat::BayerRG8, 2048, 1024);
    Pixels target(PixelFormat::RGB8, 2048, 1024);
    const ImageHandle from(vision, source);
    const ImageHandle to(vision, target);
    EXPECT_EQ(vision.Image_ConvertPixelFormat(from, Code(PixelFormat::RGB8), to), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
}

} // namespace

TEST(VisionUnload, EndsAndBeginsAnew)
{
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_FALSE(IsLoaded());
        const VisionModule vision;
        EXPECT_TRUE(IsLoaded());
        ConvertLarge(vision);
    }
    EXPECT_FALSE(IsLoaded());
}

TEST(VisionUnload, LeavesThreadsThatUsedItAlive)
{
    std::mutex mutex;
    std::condition_variable changed;
    bool isUsed = false;
    bool isUnloaded = false;
    auto vision = std::make_unique<VisionModule>();
    std::thread user(
        [&]
        {
            ConvertLarge(*vision);
            std::unique_lock lock(mutex);
            isUsed = true;
            changed.notify_all();
            changed.wait(lock, [&] { return isUnloaded; });
        });
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return isUsed; });
        vision.reset();
        isUnloaded = true;
        changed.notify_all();
    }
    user.join();
    EXPECT_FALSE(IsLoaded());
}

} // namespace GenTL::internal
