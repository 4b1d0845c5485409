#include "processing/passthrough_task.h"

#include "support/failure.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;
using testing::ElementsAre;

class PassthroughTaskTest : public testing::Test
{
protected:
    PassthroughTaskTest() : source(100), destination(100)
    {
        std::iota(source.begin(), source.end(), uint8_t{1});
        input.data = source.data();
        input.size = source.size();
    }

    std::vector<uint8_t> source;
    std::vector<uint8_t> destination;
    InputData input;
    PassthroughTask task;
};

TEST_F(PassthroughTaskTest, CopiesIntoAnOutputOfExactlyTheInputsSize)
{
    const auto result = task.Process(input, destination);
    EXPECT_EQ(destination, source);
    EXPECT_EQ(result.bytesWritten, 100U);
}

TEST_F(PassthroughTaskTest, CopiesNothingIntoAShortOutput)
{
    const LogCapture log;
    destination.assign(99, 0);
    EXPECT_EQ(FailureOf([&] { task.Process(input, destination); }),
              (Failure{"Output buffer is smaller than input buffer!", GC_ERR_ERROR}));
    EXPECT_EQ(destination, std::vector<uint8_t>(99, 0));
    EXPECT_THAT(log.Lines(), ElementsAre("critical: Output buffer is smaller than input buffer!"));
}

TEST_F(PassthroughTaskTest, RefusesAnInputWithoutMemory)
{
    input.data = nullptr;
    EXPECT_EQ(FailureOf([&] { task.Process(input, destination); }),
              (Failure{"Input buffer has no memory!", GC_ERR_ERROR}));
    input.size = 0;
    EXPECT_EQ(task.Process(input, destination).bytesWritten, 0U);
}

TEST_F(PassthroughTaskTest, MovesThePartsToTheOutput)
{
    input.parts = {{.base = source.data(), .size = 40, .type = 1},
                   {.base = source.data() + 40, .size = 60, .type = 5, .format = 17}};
    const auto result = task.Process(input, destination);
    ASSERT_EQ(result.parts.size(), 2U);
    EXPECT_EQ(result.parts[0].base, destination.data());
    EXPECT_EQ(result.parts[1].base, destination.data() + 40);
    EXPECT_EQ(result.parts[1].size, 60U);
    EXPECT_EQ(result.parts[1].format, 17U);
}

TEST_F(PassthroughTaskTest, LeavesAnEmptyListOfPartsEmpty)
{
    EXPECT_TRUE(task.Process(input, destination).parts.empty());
}

TEST_F(PassthroughTaskTest, PassesAttributesAndChunksOn)
{
    input.attributes = {.frameId = 3, .width = 10, .height = 10, .pixelFormat = 0x01080001};
    input.chunks = ChunkList{.payloadSize = 8, .layoutId = 2, .entries = {{7, 92, 8}}};
    const auto result = task.Process(input, destination);
    EXPECT_EQ(result.attributes.frameId, 3U);
    EXPECT_EQ(result.attributes.pixelFormat, 0x01080001U);
    ASSERT_TRUE(result.chunks);
    EXPECT_EQ(result.chunks->layoutId, 2U);
    ASSERT_EQ(result.chunks->entries.size(), 1U);
    const auto entry = result.chunks->entries.front();
    EXPECT_EQ(ptrdiff_t{entry.ChunkOffset}, 92);
}

TEST_F(PassthroughTaskTest, WritesAnImageOfItsOutputFormat)
{
    task.SetOutputFormat(Component::Image2D, PixelFormat::Mono10p);
    EXPECT_EQ(task.OutputFormat(Component::Image2D), PixelFormat::Mono10p);
    EXPECT_EQ(task.ImagePayloadSize(Component::Image2D, {100, 10}), 1250U);
    task.SetOutputFormat(Component::Image2D, PixelFormat::Mono8);
    EXPECT_EQ(task.ImagePayloadSize(Component::Image2D, {100, 10}), 1000U);
}

TEST_F(PassthroughTaskTest, KnowsNoFormatOfAComponentThatWasNotSet)
{
    const LogCapture log;
    EXPECT_EQ(FailureOf([&] { task.OutputFormat(Component::Image3D); }),
              PlainFailure("unordered_map::at: key not found"));
    EXPECT_EQ(FailureOf(
                  [&] {
                      task.ImagePayloadSize(Component::Image3D, {1, 1});
                  }),
              (Failure{"Unknown component Image3D!", GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: Unknown component: Image3D"));
}

TEST_F(PassthroughTaskTest, GivesWhatItGets)
{
    const std::vector inputs{PixelFormat::Mono8, PixelFormat::Mono12p};
    EXPECT_EQ(task.AvailableOutputFormats(Component::Image2D, PixelFormat::Mono12p),
              std::vector{PixelFormat::Mono12p});
    EXPECT_EQ(task.MatchInputFormat(Component::Image2D, PixelFormat::Mono12p, inputs), PixelFormat::Mono12p);
    EXPECT_EQ(task.MatchInputFormat(Component::Image2D, PixelFormat::Mono12, inputs), std::nullopt);
}

} // namespace
} // namespace GenTL::internal
