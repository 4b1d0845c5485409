#include "vision_module.h"

#include <array>
#include <string>
#include <thread>

namespace GenTL::internal
{

namespace
{

constexpr const char *nullImage = "The handle is null, expected one of an image";

}

class VisionError : public VisionTest
{
};

TEST_F(VisionError, IsEmptyWhenNothingFailedYet)
{
    size_t size = 99;
    EXPECT_EQ(vision.GetLastErrorMessage_GetCount(&size), TARN_CVL_SUCCESS);
    EXPECT_EQ(size, 1U);
    char text = 'x';
    EXPECT_EQ(vision.GetLastErrorMessage(&text, &size), TARN_CVL_SUCCESS);
    EXPECT_EQ(text, 0);
}

TEST_F(VisionError, CountsItsTerminator)
{
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
    size_t size = 0;
    EXPECT_EQ(vision.GetLastErrorMessage_GetCount(&size), TARN_CVL_SUCCESS);
    EXPECT_EQ(size, std::string(nullImage).size() + 1);
    EXPECT_EQ(LastError(), nullImage);
}

TEST_F(VisionError, StaysOverASuccess)
{
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
    EXPECT_EQ(vision.Init(), TARN_CVL_SUCCESS);
    EXPECT_EQ(vision.Exit(), TARN_CVL_SUCCESS);
    EXPECT_EQ(LastError(), nullImage);
}

TEST_F(VisionError, TellsTheRoomItNeedsAndWritesNothingIntoLess)
{
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
    const auto needed = std::string(nullImage).size() + 1;
    std::string text(needed, 'x');
    for (size_t room : {size_t{0}, size_t{1}, needed - 1})
    {
        size_t size = room;
        EXPECT_EQ(vision.GetLastErrorMessage(text.data(), &size), TARN_CVL_OUT_OF_RANGE);
        EXPECT_EQ(size, needed);
        EXPECT_EQ(text, std::string(needed, 'x'));
    }
    EXPECT_EQ(LastError(), nullImage);
}

TEST_F(VisionError, TellsTheBytesWrittenIntoMore)
{
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
    std::array<char, 600> text{};
    text.fill('x');
    size_t size = text.size();
    EXPECT_EQ(vision.GetLastErrorMessage(text.data(), &size), TARN_CVL_SUCCESS);
    EXPECT_EQ(size, std::string(nullImage).size() + 1);
    EXPECT_STREQ(text.data(), nullImage);
    EXPECT_EQ(text[size], 'x');
}

TEST_F(VisionError, StaysWhenItsQueryIsGivenNull)
{
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
    char text = 0;
    size_t size = 1;
    EXPECT_EQ(vision.GetLastErrorMessage_GetCount(nullptr), TARN_CVL_NULL_POINTER);
    EXPECT_EQ(vision.GetLastErrorMessage(nullptr, &size), TARN_CVL_NULL_POINTER);
    EXPECT_EQ(vision.GetLastErrorMessage(&text, nullptr), TARN_CVL_NULL_POINTER);
    EXPECT_EQ(LastError(), nullImage);
}

TEST_F(VisionError, IsEachThreadsOwn)
{
    EXPECT_EQ(vision.Image_Destroy(nullptr), TARN_CVL_NULL_POINTER);
    std::string atFirst = "not asked";
    std::string afterwards;
    std::thread other(
        [&]
        {
            atFirst = LastError();
            vision.Region_Destroy(nullptr);
            afterwards = LastError();
        });
    other.join();
    EXPECT_EQ(atFirst, "");
    EXPECT_EQ(afterwards, "The handle is null, expected one of a region");
    EXPECT_EQ(LastError(), nullImage);
}

} // namespace GenTL::internal
