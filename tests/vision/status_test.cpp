#include "vision_test.h"

#include "vision/status.h"

#include <gmock/gmock.h>

#include <thread>

namespace GenTL::internal
{
namespace
{

using namespace tarn::cvl;
using testing::ElementsAre;

void CallInit()
{
    Call(dynamic::Init);
}

class VisionStatus : public VisionTest
{
protected:
    VisionFailure FailureOfStatus(int32_t status)
    {
        vision->FailNext("Init", status);
        return VisionFailureOf(CallInit);
    }
};

TEST_F(VisionStatus, OfSuccessThrowsNothingAndAsksForNoText)
{
    EXPECT_EQ(VisionFailureOf(CallInit), VisionFailure{});
    EXPECT_THAT(vision->calls, ElementsAre("Init"));
}

TEST_F(VisionStatus, SelectsTheClass)
{
    vision->lastErrorText = "why";
    EXPECT_EQ(FailureOfStatus(1), Failing<InvalidConfigurationException>("why", 1));
    EXPECT_EQ(FailureOfStatus(2), Failing<InvalidConfigurationException>("why", 2));
    EXPECT_EQ(FailureOfStatus(3), Failing<MismatchException>("why", 3));
    EXPECT_EQ(FailureOfStatus(4), Failing<NotSupportedException>("why", 4));
    EXPECT_EQ(FailureOfStatus(5), Failing<NotPossibleException>("why", 5));
    EXPECT_EQ(FailureOfStatus(6), Failing<NullPointerException>("why", 6));
    EXPECT_EQ(FailureOfStatus(7), Failing<InternalErrorException>("why", 7));
    EXPECT_EQ(FailureOfStatus(8), Failing<OutOfRangeException>("why", 8));
    EXPECT_EQ(FailureOfStatus(9), Failing<MathErrorException>("why", 9));
    EXPECT_EQ(FailureOfStatus(10), Failing<TargetNotFoundException>("why", 10));
    EXPECT_EQ(FailureOfStatus(11), Failing<CorruptedException>("why", 11));
    EXPECT_EQ(FailureOfStatus(12), Failing<IOException>("why", 12));
    EXPECT_EQ(FailureOfStatus(13), Failing<InternalErrorException>("why", 13));
    EXPECT_EQ(FailureOfStatus(14), Failing<InternalErrorException>("why", 14));
}

TEST_F(VisionStatus, ThatIsUnknownIsAGenericError)
{
    for (const int32_t status : {15, 16, 1000, INT32_MAX, -1, INT32_MIN})
    {
        EXPECT_EQ(FailureOfStatus(status), Failing<Exception>("Generic Error!", status));
    }
}

TEST_F(VisionStatus, AsksForTheTextDirectlyBehindTheCall)
{
    for (const int32_t status : {1, 12, 15})
    {
        vision->calls.clear();
        FailureOfStatus(status);
        EXPECT_THAT(vision->calls,
                    ElementsAre("Init", "GetLastErrorMessage_GetCount", "GetLastErrorMessage"));
    }
}

TEST_F(VisionStatus, ReadsTheTextIntoAZeroedBuffer)
{
    FailureOfStatus(1);
    EXPECT_TRUE(vision->wasTextZero);
}

TEST_F(VisionStatus, TakesTheTextUpToItsFirstZeroByte)
{
    vision->lastErrorText = std::string("before\0behind", 13);
    EXPECT_EQ(FailureOfStatus(3), Failing<MismatchException>("before", 3));
}

TEST_F(VisionStatus, TakesATextWithoutAZeroByteWhole)
{
    vision->isLastErrorTerminated = false;
    EXPECT_EQ(FailureOfStatus(3), Failing<MismatchException>("vision failed", 3));
    vision->lastErrorText.clear();
    EXPECT_EQ(FailureOfStatus(3), Failing<MismatchException>("", 3));
}

TEST_F(VisionStatus, IsHiddenByAFailureToTellTheLengthOfTheText)
{
    vision->FailNext("GetLastErrorMessage_GetCount", 12);
    EXPECT_EQ(FailureOfStatus(4), Failing<Exception>("Could not query the last error!", 13));
    EXPECT_EQ(vision->CountOf("GetLastErrorMessage"), 0U);
}

TEST_F(VisionStatus, IsHiddenByAFailureToTellTheText)
{
    for (const int32_t status : {4, 15})
    {
        vision->FailNext("GetLastErrorMessage", 6);
        EXPECT_EQ(FailureOfStatus(status), Failing<Exception>("Could not query the last error!", 13));
    }
}

TEST_F(VisionStatus, GoesWithTheTextOfItsOwnThread)
{
    vision->lastErrorText = "first";
    vision->FailNext("Init", 1);
    EXPECT_EQ(dynamic::Init(), 1);
    vision->lastErrorText = "second";
    VisionFailure other;
    std::thread([&] { other = FailureOfStatus(2); }).join();
    EXPECT_EQ(other, Failing<InvalidConfigurationException>("second", 2));
    EXPECT_EQ(VisionFailureOf([] { ThrowStatus(1); }), Failing<InvalidConfigurationException>("first", 1));
}

TEST_F(VisionStatus, IsPassedOnAsItIsByTheFunctionItself)
{
    for (const int32_t status : {1, 15, -7})
    {
        vision->FailNext("Exit", status);
        EXPECT_EQ(dynamic::Exit(), status);
    }
    EXPECT_THAT(vision->calls, ElementsAre("Exit", "Exit", "Exit"));
}

} // namespace
} // namespace GenTL::internal
