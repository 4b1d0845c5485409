#include "processing/processor.h"

#include "support/failure.h"
#include "support/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;
using tarn::common::Size;
using testing::ElementsAre;

class ProcessorTest : public testing::Test
{
protected:
    void Offer(Component component, const std::vector<PixelFormat> &formats)
    {
        processor.SetAvailableInputFormats(component, formats.data(), formats.size());
    }

    void SetCallbacks(uint64_t payloadSize, Size size)
    {
        processor.SetPayloadSizeCallback([payloadSize] { return payloadSize; });
        processor.SetImageSizeCallback([size] { return size; });
    }

    Processor processor;
};

TEST_F(ProcessorTest, NeedsItsCallbacksForAPayloadSize)
{
    const Failure expected{"Callbacks not set!", GC_ERR_ERROR};
    EXPECT_EQ(FailureOf([&] { processor.PayloadSize(); }), expected);
    processor.SetPayloadSizeCallback([] { return uint64_t{1}; });
    EXPECT_EQ(FailureOf([&] { processor.PayloadSize(); }), expected);
    processor.SetImageSizeCallback([] { return Size{1, 1}; });
    EXPECT_EQ(processor.PayloadSize(), 1U);
}

TEST_F(ProcessorTest, GivesTheDevicesPayloadSizeBeforeAnyFormatIsSet)
{
    SetCallbacks(12345, {100, 100});
    EXPECT_EQ(processor.PayloadSize(), 12345U);
}

TEST_F(ProcessorTest, AlwaysReadsPayloadSizeThenImageSize)
{
    std::string asked;
    processor.SetPayloadSizeCallback(
        [&]
        {
            asked += "payload ";
            return uint64_t{7};
        });
    processor.SetImageSizeCallback(
        [&]
        {
            asked += "image";
            return Size{1, 1};
        });
    EXPECT_EQ(processor.PayloadSize(), 7U);
    EXPECT_EQ(asked, "payload image");
}

TEST_F(ProcessorTest, KeepsWhatElseIsInThePayloadCounted)
{
    SetCallbacks(10000 + 64, {100, 100});
    Offer(Component::Image2D, {PixelFormat::Mono8});
    processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono8);
    EXPECT_EQ(processor.PayloadSize(), 10064U);
}

TEST_F(ProcessorTest, KeepsTheFirstListOfInputFormats)
{
    Offer(Component::Image2D, {PixelFormat::Mono8});
    Offer(Component::Image2D, {PixelFormat::Mono12, PixelFormat::Mono16});
    EXPECT_EQ(processor.AvailableOutputPixelFormats(Component::Image2D), std::vector{PixelFormat::Mono8});
}

TEST_F(ProcessorTest, HasTheDeviceSendWhatTheConsumerAsksFor)
{
    Offer(Component::Image2D, {PixelFormat::Mono8, PixelFormat::Mono12p});
    EXPECT_EQ(processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono12p), PixelFormat::Mono12p);
    EXPECT_EQ(processor.OutputPixelFormat(Component::Image2D), PixelFormat::Mono12p);
}

TEST_F(ProcessorTest, KeepsAnOutputFormatPerComponent)
{
    Offer(Component::Image2D, {PixelFormat::Mono8});
    Offer(Component::Confidence, {PixelFormat::Confidence8});
    processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono8);
    processor.SetOutputPixelFormat(Component::Confidence, PixelFormat::Confidence8);
    EXPECT_EQ(processor.OutputPixelFormat(Component::Image2D), PixelFormat::Mono8);
    EXPECT_EQ(processor.OutputPixelFormat(Component::Confidence), PixelFormat::Confidence8);
}

TEST_F(ProcessorTest, UsesTheLastFormatsTaskForAllComponents)
{
    SetCallbacks(100, {10, 10});
    Offer(Component::Image2D, {PixelFormat::Mono10p});
    Offer(Component::Confidence, {PixelFormat::Confidence8});
    processor.SetOutputPixelFormat(Component::Confidence, PixelFormat::Confidence8);
    processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono10);
    EXPECT_EQ(processor.OutputPixelFormat(Component::Confidence), PixelFormat::Mono10);
    EXPECT_EQ(FailureOf([&] { processor.PayloadSize(); }),
              (Failure{"Querying components other than Image2D currently not supported!", GC_ERR_ERROR}));
}

TEST_F(ProcessorTest, IsLeftAsItWasByAFormatThatItsTaskRefuses)
{
    SetCallbacks(100, {10, 10});
    Offer(Component::Image2D, {PixelFormat::Mono8});
    Offer(Component::Confidence, {PixelFormat::Mono10p});
    processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono8);
    EXPECT_EQ(FailureOf([&] { processor.SetOutputPixelFormat(Component::Confidence, PixelFormat::Mono10); }),
              (Failure{"Setting components other than Image2D currently not supported!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { processor.OutputPixelFormat(Component::Confidence); }),
              (Failure{"Output pixel format not set for component Confidence!", GC_ERR_ERROR}));
    EXPECT_EQ(processor.PayloadSize(), 100U) << "copied through as before";
}

TEST_F(ProcessorTest, RefusesAFormatWithoutANameByItsNumber)
{
    Offer(Component::Image2D, {PixelFormat::Mono8, PixelFormat::Mono10p});
    const auto set = [&](int64_t code)
    { processor.SetOutputPixelFormat(Component::Image2D, static_cast<PixelFormat>(code)); };
    EXPECT_EQ(FailureOf([&] { set(4711); }),
              (Failure{"Output format 4711 is not available!", GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(FailureOf([&] { set(0xFFFFFFFF); }),
              (Failure{"Output format 4294967295 is not available!", GC_ERR_INVALID_VALUE}));
}

TEST_F(ProcessorTest, RefusesAFormatThatNoTaskMakes)
{
    const LogCapture log;
    Offer(Component::Image2D, {PixelFormat::Mono8});
    EXPECT_EQ(FailureOf([&] { processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::RGB8); }),
              (Failure{"Output format RGB8 is not available!", GC_ERR_INVALID_VALUE}));
    EXPECT_EQ(FailureOf([&] { processor.OutputPixelFormat(Component::Image2D); }),
              (Failure{"Output pixel format not set for component Image2D!", GC_ERR_ERROR}));
    EXPECT_THAT(log.Lines(), ElementsAre("error: Output pixel format not set for component Image2D!"));
}

TEST_F(ProcessorTest, RefusesAComponentThatWasNotOffered)
{
    const LogCapture log;
    const Failure expected{"Unknown component Confidence!", GC_ERR_ERROR};
    EXPECT_EQ(FailureOf([&] { processor.SetOutputPixelFormat(Component::Confidence, PixelFormat::Mono8); }),
              expected);
    EXPECT_EQ(FailureOf([&] { processor.AvailableOutputPixelFormats(Component::Confidence); }), expected);
    EXPECT_THAT(log.Lines(),
                ElementsAre("error: Unknown component: Confidence", "error: Unknown component: Confidence"));
}

TEST_F(ProcessorTest, RefusesAComponentWithoutFormats)
{
    Offer(Component::Image3D, {});
    EXPECT_EQ(FailureOf([&] { processor.AvailableOutputPixelFormats(Component::Image3D); }),
              (Failure{"No pixel format available for component Image3D!", GC_ERR_INVALID_VALUE}));
}

TEST_F(ProcessorTest, FreezesTheFormatWhileAcquisitionRuns)
{
    Offer(Component::Image2D, {PixelFormat::Mono8});
    const auto set = [&] { processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono8); };
    processor.AcquisitionStarted();
    const Failure frozen{"Cannot change PixelFormat while acquisition is running!", GC_ERR_ACCESS_DENIED};
    EXPECT_EQ(FailureOf(set), frozen);
    EXPECT_EQ(FailureOf([&] { processor.SetOutputPixelFormat(Component::Image3D, PixelFormat::Mono8); }),
              frozen)
        << "ahead of the question whether the component is known";
    processor.AcquisitionStopped();
    EXPECT_EQ(FailureOf(set), Failure{});
}

TEST_F(ProcessorTest, OffersTheUnpackedFormsBehindTheDevicesOwn)
{
    Offer(Component::Image2D, {PixelFormat::Mono10g40QVR, PixelFormat::Mono8});
    EXPECT_EQ(processor.AvailableOutputPixelFormats(Component::Image2D),
              (std::vector{PixelFormat::Mono10g40QVR, PixelFormat::Mono8, PixelFormat::Mono10}));
}

TEST_F(ProcessorTest, HasThePackedFormSentForAnUnpackedOne)
{
    SetCallbacks(1250, {100, 10});
    Offer(Component::Image2D, {PixelFormat::Mono10g40QVR});
    EXPECT_EQ(processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono10),
              PixelFormat::Mono10g40QVR);
    EXPECT_EQ(processor.OutputPixelFormat(Component::Image2D), PixelFormat::Mono10);
    EXPECT_EQ(processor.PayloadSize(), 100U * (10 + 40) * 2);
}

TEST_F(ProcessorTest, PrefersADeviceThatSendsTheFormatItself)
{
    Offer(Component::Image2D, {PixelFormat::Mono10p, PixelFormat::Mono10});
    EXPECT_EQ(processor.SetOutputPixelFormat(Component::Image2D, PixelFormat::Mono10), PixelFormat::Mono10);
}

TEST_F(ProcessorTest, CopiesFramesThroughUntilAFormatIsSet)
{
    std::vector<uint8_t> source{1, 2, 3};
    std::vector<uint8_t> destination(3);
    const auto result =
        processor.Process({.data = source.data(), .size = source.size()}, std::span(destination));
    EXPECT_EQ(result.bytesWritten, 3U);
    EXPECT_EQ(destination, source);
}

} // namespace
} // namespace GenTL::internal
