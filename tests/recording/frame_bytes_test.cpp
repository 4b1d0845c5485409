#include "recorded_device.h"

#include "recording/error.h"
#include "recording/frame_bytes.h"

#include <gtest/gtest.h>

#include <string>

using namespace recording;
using recording_test::MakeFrame;

TEST(FrameBytes, KeepARecord)
{
    const auto record = MakeFrame(0);
    EXPECT_EQ(FrameFromBytes(ToBytes(record)), record);
    EXPECT_EQ(FrameFromBytes(ToBytes({})), FrameRecord());
}

TEST(FrameBytes, OfEveryShorterLengthAreRefused)
{
    const auto bytes = ToBytes(MakeFrame(0));
    for (size_t size = 0; size < bytes.size(); ++size)
    {
        EXPECT_THROW(FrameFromBytes(bytes.substr(0, size)), Error) << size;
    }
}

TEST(FrameBytes, OfAGreaterLengthAreRefused)
{
    EXPECT_THROW(FrameFromBytes(ToBytes(MakeFrame(0)) + '\0'), Error);
}

TEST(FrameBytes, WithAnEndlessListAreRefused)
{
    EXPECT_THROW(FrameFromBytes("\xFF\xFF\xFF\xFF"), Error);
}

TEST(FrameBytes, HaveTheChecksumOfZlib)
{
    EXPECT_EQ(Checksum(std::string_view("123456789")), 0xCBF43926U);
}
