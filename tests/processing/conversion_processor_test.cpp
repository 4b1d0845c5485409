#include "processing/conversion_processor.h"

#include "support/byte_values.h"
#include "support/failure.h"
#include "vision/exceptions.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <span>
#include <string>
#include <tuple>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;
using tarn::common::wideFormats;

uint64_t CodeOf(PixelFormat format)
{
    return static_cast<uint64_t>(format);
}

/// Uses the open vision module, which is found because it is already loaded. Frames of 4 x 3 pixels in
/// Mono12Packed become Mono12: lines of 6 bytes become lines of 8.
class ConversionProcessorTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_NE(dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW), nullptr) << dlerror();
    }

    ConversionProcessorTest()
    {
        std::iota(source.begin(), source.end(), uint8_t{0x10});
        processor.SetConversion(Component::Image2D, PixelFormat::Mono12Packed, PixelFormat::Mono12);
        input.data = source.data();
        input.size = source.size();
        input.sizeFilled = 18;
        input.payloadType = PAYLOAD_TYPE_IMAGE;
        input.attributes.width = 4;
        input.attributes.height = 3;
        input.attributes.pixelFormat = CodeOf(PixelFormat::Mono12Packed);
    }

    ProcessingResult Process() { return processor.Process(input, output); }
    Failure FailureOfProcess()
    {
        return FailureOf([&] { Process(); });
    }

    std::vector<uint16_t> SamplesAt(size_t begin, size_t count) const
    {
        std::vector<uint16_t> samples(count);
        std::memcpy(samples.data(), output.data() + begin, count * 2);
        return samples;
    }

    std::vector<uint8_t> BytesAt(size_t begin, size_t count) const
    {
        const auto first = output.begin() + static_cast<ptrdiff_t>(begin);
        return {first, first + static_cast<ptrdiff_t>(count)};
    }

    bool IsUntouchedFrom(size_t begin) const
    {
        return BytesAt(begin, output.size() - begin) == std::vector<uint8_t>(output.size() - begin, 0xCC);
    }

    using Chunks = std::vector<std::tuple<uint64_t, ptrdiff_t, size_t>>; ///< id, offset, length

    /// The chunks as a consumer finds them from the end of the bytes, the last one first.
    Chunks ChunksByTrailers(size_t end, bool isBigEndian) const
    {
        const auto wordAt = [&](size_t place)
        { return NumberOf(std::span(output).subspan(place, 4), isBigEndian); };
        Chunks chunks;
        while (end >= 8)
        {
            const size_t length = wordAt(end - 4);
            if (length > end - 8)
            {
                ADD_FAILURE() << "a trailer at " << end - 8 << " tells " << length << " bytes";
                break;
            }
            chunks.emplace_back(wordAt(end - 8), end - 8 - length, length);
            end -= 8 + length;
        }
        EXPECT_EQ(end, 0U);
        return chunks;
    }

    std::vector<uint8_t> source = std::vector<uint8_t>(64);
    std::vector<uint8_t> output = std::vector<uint8_t>(80, 0xCC);
    InputData input;
    ConversionProcessor processor;
};

TEST_F(ConversionProcessorTest, ConvertsAnImage)
{
    const auto result = Process();
    EXPECT_EQ(SamplesAt(0, 12), SamplesOfPairs(source, 12, 12));
    EXPECT_TRUE(IsUntouchedFrom(24));
    EXPECT_EQ(result.bytesWritten, 24U);
    EXPECT_EQ(result.dataSize, 24U);
    EXPECT_FALSE(result.isIncomplete);
    EXPECT_FALSE(result.isLargerThanBuffer);
    EXPECT_FALSE(result.chunks);
}

TEST_F(ConversionProcessorTest, DescribesTheImageThatItMade)
{
    input.attributes.frameId = 7;
    input.attributes.timestampNs = 99;
    input.attributes.yPadding = 5;
    input.attributes.pixelFormatNamespace = PIXELFORMAT_NAMESPACE_GEV;
    const auto attributes = Process().attributes;
    EXPECT_EQ(attributes.pixelFormat, CodeOf(PixelFormat::Mono12));
    EXPECT_EQ(attributes.pixelFormatNamespace, uint64_t{PIXELFORMAT_NAMESPACE_PFNC_32BIT});
    EXPECT_EQ(attributes.pixelEndianness, int32_t{PIXELENDIANNESS_LITTLE});
    EXPECT_EQ(attributes.imageOffset, 0U);
    EXPECT_EQ(attributes.xPadding, 0U);
    EXPECT_EQ(attributes.yPadding, 0U);
    EXPECT_EQ(attributes.width, 4U);
    EXPECT_EQ(attributes.frameId, 7U);
    EXPECT_EQ(attributes.timestampNs, 99U);
}

TEST_F(ConversionProcessorTest, PassesAFormatWithoutConversionThrough)
{
    for (const auto code : {CodeOf(PixelFormat::Mono8), CodeOf(PixelFormat::Mono12p), uint64_t{0x81234567}})
    {
        input.attributes.pixelFormat = code;
        input.attributes.xPadding = 2;
        const auto result = Process();
        EXPECT_EQ(result.attributes.pixelFormat, code);
        EXPECT_EQ(result.attributes.xPadding, 2U);
        EXPECT_EQ(result.bytesWritten, 18U);
        EXPECT_EQ(BytesAt(0, 18), (std::vector<uint8_t>(source.begin(), source.begin() + 18)));
        EXPECT_TRUE(IsUntouchedFrom(18));
    }
}

TEST_F(ConversionProcessorTest, PassesPayloadsThroughThatAreNoImage)
{
    for (const auto type : {PAYLOAD_TYPE_JPEG, PAYLOAD_TYPE_H264, PAYLOAD_TYPE_RAW_DATA, PAYLOAD_TYPE_FILE,
                            PAYLOAD_TYPE_GENDC, PAYLOAD_TYPE_CHUNK_ONLY, PAYLOAD_TYPE_MULTI_PART})
    {
        input.payloadType = type;
        const auto result = Process();
        EXPECT_EQ(result.bytesWritten, 18U) << type;
        EXPECT_EQ(result.attributes.pixelFormat, CodeOf(PixelFormat::Mono12Packed)) << type;
    }
}

TEST_F(ConversionProcessorTest, PassesCodesOfOtherNumberingsThrough)
{
    for (const auto numbering : {PIXELFORMAT_NAMESPACE_IIDC, PIXELFORMAT_NAMESPACE_PFNC_16BIT,
                                 PIXELFORMAT_NAMESPACE_UNKNOWN, PIXELFORMAT_NAMESPACE_CUSTOM_ID})
    {
        input.attributes.pixelFormatNamespace = static_cast<uint64_t>(numbering);
        EXPECT_EQ(Process().bytesWritten, 18U) << numbering;
    }
}

TEST_F(ConversionProcessorTest, PassesAnImageOfUnknownSizeThrough)
{
    input.attributes.width.reset();
    EXPECT_EQ(Process().bytesWritten, 18U);
    input.attributes.width = 0x100000000;
    EXPECT_EQ(Process().bytesWritten, 18U);
}

TEST_F(ConversionProcessorTest, EndsAConversionWithTheFormatItself)
{
    EXPECT_EQ(processor.OutputOf(Component::Image2D, PixelFormat::Mono12Packed), PixelFormat::Mono12);
    EXPECT_EQ(processor.OutputOf(Component::Confidence, PixelFormat::Mono12Packed),
              PixelFormat::Mono12Packed);
    processor.SetConversion(Component::Image2D, PixelFormat::Mono12Packed, PixelFormat::Mono12Packed);
    EXPECT_EQ(processor.OutputOf(Component::Image2D, PixelFormat::Mono12Packed), PixelFormat::Mono12Packed);
    EXPECT_EQ(Process().bytesWritten, 18U);
}

TEST_F(ConversionProcessorTest, RefusesAConversionOfUnknownFormats)
{
    EXPECT_EQ(
        FailureOf([&] { processor.SetConversion(Component::Image2D, PixelFormat{5}, PixelFormat::Mono8); }),
        (Failure{"Cannot convert pixel format 0x5 to 0x1080001!", GC_ERR_INVALID_VALUE}));
}

TEST_F(ConversionProcessorTest, IsFrozenWhileAnAcquisitionRuns)
{
    processor.AcquisitionStarted();
    EXPECT_EQ(
        FailureOf(
            [&] { processor.SetConversion(Component::Image2D, PixelFormat::Mono12p, PixelFormat::Mono12); }),
        (Failure{"Cannot change PixelFormat while acquisition is running!", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(FailureOf([&] { processor.ConfigureDepth(); }).code, GC_ERR_ACCESS_DENIED);
    processor.AcquisitionStopped();
    processor.SetConversion(Component::Image2D, PixelFormat::Mono12p, PixelFormat::Mono12);
    processor.ConfigureDepth();
}

TEST_F(ConversionProcessorTest, ConvertsWhatBeginsLaterInTheBuffer)
{
    input.attributes.imageOffset = 5;
    input.sizeFilled = 23;
    EXPECT_EQ(Process().bytesWritten, 24U);
    EXPECT_EQ(SamplesAt(0, 12), SamplesOfPairs(std::span(source).subspan(5), 12, 12));
}

TEST_F(ConversionProcessorTest, LeavesThePaddingOfLinesOut)
{
    input.attributes.xPadding = 2;
    input.sizeFilled = 24;
    std::vector<uint8_t> dense;
    for (const ptrdiff_t line : {0, 8, 16})
    {
        dense.insert(dense.end(), source.begin() + line, source.begin() + line + 6);
    }
    EXPECT_EQ(Process().bytesWritten, 24U);
    EXPECT_EQ(SamplesAt(0, 12), SamplesOfPairs(dense, 12, 12));
    input.sizeFilled = 22;
    EXPECT_EQ(Process().bytesWritten, 24U) << "without the padding of the last line";
}

TEST_F(ConversionProcessorTest, RefusesPaddedLinesThatDoNotEndOnAByte)
{
    input.attributes.xPadding = 2;
    input.attributes.width = 3;
    input.attributes.height = 2;
    EXPECT_EQ(FailureOfProcess(),
              (Failure{"Padded lines of 3 pixels in Mono12Packed do not end on a byte!", GC_ERR_ERROR}));
}

TEST_F(ConversionProcessorTest, LetsDenseLinesEndInMidByte)
{
    input.attributes.width = 3;
    input.sizeFilled = 14;
    EXPECT_EQ(Process().bytesWritten, 18U);
    EXPECT_EQ(SamplesAt(0, 9), SamplesOfPairs(source, 12, 9));
}

TEST_F(ConversionProcessorTest, RefusesACompleteFrameThatIsTooShort)
{
    input.sizeFilled = 17;
    EXPECT_EQ(FailureOfProcess(),
              (Failure{"4 x 3 pixels in Mono12Packed need more than the 17 bytes delivered!", GC_ERR_ERROR}));
    input.sizeFilled = 18;
    input.attributes.imageOffset = 19;
    EXPECT_EQ(FailureOfProcess().code, GC_ERR_ERROR);
    input.attributes.imageOffset.reset();
    input.attributes.width = 0xFFFFFFFF;
    input.attributes.height = 0xFFFFFFFF;
    EXPECT_EQ(FailureOfProcess().code, GC_ERR_ERROR);
    input.attributes.xPadding = SIZE_MAX;
    EXPECT_EQ(FailureOfProcess().code, GC_ERR_ERROR);
    EXPECT_TRUE(IsUntouchedFrom(0));
}

TEST_F(ConversionProcessorTest, ConvertsTheWholeLinesOfAnIncompleteFrame)
{
    input.isIncomplete = true;
    input.sizeFilled = 17;
    const auto result = Process();
    EXPECT_EQ(SamplesAt(0, 8), SamplesOfPairs(source, 12, 8));
    EXPECT_TRUE(IsUntouchedFrom(16));
    EXPECT_EQ(result.bytesWritten, 16U);
    EXPECT_EQ(result.dataSize, 24U);
    EXPECT_TRUE(result.isIncomplete);
    EXPECT_FALSE(result.isLargerThanBuffer);
}

TEST_F(ConversionProcessorTest, ConvertsTheWholeLinesOfAnIncompleteFrameWithPadding)
{
    input.isIncomplete = true;
    input.attributes.xPadding = 2;
    for (const auto &[filled, written] :
         {std::pair{0U, 0U}, {5U, 0U}, {6U, 8U}, {13U, 8U}, {14U, 16U}, {64U, 24U}})
    {
        input.sizeFilled = filled;
        EXPECT_EQ(Process().bytesWritten, written) << filled;
    }
}

TEST_F(ConversionProcessorTest, ConvertsNothingOfAnEmptyFrame)
{
    input.isIncomplete = true;
    input.sizeFilled = 0;
    EXPECT_EQ(Process().bytesWritten, 0U);
    EXPECT_TRUE(IsUntouchedFrom(0));
}

TEST_F(ConversionProcessorTest, TakesTheLinesThatWereSent)
{
    input.attributes.deliveredImageHeight = 2;
    input.sizeFilled = 12;
    EXPECT_EQ(Process().bytesWritten, 16U);
    EXPECT_EQ(SamplesAt(0, 8), SamplesOfPairs(source, 12, 8));
}

TEST_F(ConversionProcessorTest, TakesNoLinesSentForAnUnknownNumber)
{
    input.attributes.deliveredImageHeight = 0;
    EXPECT_EQ(Process().bytesWritten, 24U);
}

TEST_F(ConversionProcessorTest, WritesNothingOfAnImageThatDoesNotFit)
{
    output.resize(23);
    const auto result = Process();
    EXPECT_EQ(result.bytesWritten, 0U);
    EXPECT_EQ(result.dataSize, 24U);
    EXPECT_TRUE(result.isIncomplete);
    EXPECT_TRUE(result.isLargerThanBuffer);
    EXPECT_EQ(result.attributes.pixelFormat, CodeOf(PixelFormat::Mono12));
    EXPECT_TRUE(IsUntouchedFrom(0));
}

TEST_F(ConversionProcessorTest, MovesTheChunksBehindTheLargerImage)
{
    input.attributes.width = 3; // 14 bytes become 18, and the chunks begin at 20.
    input.attributes.chunkPayloadSize = 24;
    input.sizeFilled = 24;
    input.chunks = ChunkList{.payloadSize = 24, .entries = {{0xA, 0, 14}, {0xB, 14, 10}}};
    const auto result = Process();
    EXPECT_EQ(SamplesAt(0, 9), SamplesOfPairs(source, 12, 9));
    EXPECT_EQ(BytesAt(20, 10), (std::vector<uint8_t>(source.begin() + 14, source.begin() + 24)));
    EXPECT_TRUE(IsUntouchedFrom(30));
    EXPECT_EQ(result.bytesWritten, 30U);
    EXPECT_EQ(result.dataSize, 30U);
    EXPECT_EQ(result.attributes.chunkPayloadSize, 30U);
    ASSERT_EQ(result.chunks.value().entries.size(), 2U);
    EXPECT_EQ(result.chunks->payloadSize, 30U);
    EXPECT_EQ(result.chunks->entries.at(0).ChunkLength, 20U);
    EXPECT_EQ(result.chunks->entries.at(1).ChunkOffset, 20);
}

TEST_F(ConversionProcessorTest, GivesChunksThatListAndTrailersAgreeOn)
{
    for (const auto trailers : {ChunkTrailers::BigEndian, ChunkTrailers::LittleEndian})
    {
        const bool isBig = trailers == ChunkTrailers::BigEndian;
        const auto putWord = [&](size_t place, uint32_t word)
        {
            for (size_t i = 0; i < 4; ++i)
            {
                source.at(place + i) = static_cast<uint8_t>(word >> 8 * (isBig ? 3 - i : i));
            }
        };
        // 3 x 3 pixels and two bytes of padding, then a chunk of 8 bytes.
        input.attributes.width = 3;
        input.trailers = trailers;
        putWord(16, 0xA);
        putWord(20, 16);
        putWord(32, 0xB);
        putWord(36, 8);
        input.sizeFilled = 40;
        input.chunks = ChunkList{.payloadSize = 40, .entries = {{0xA, 0, 16}, {0xB, 24, 8}}};
        const auto result = Process();
        EXPECT_EQ(result.bytesWritten, 44U);
        const auto fromTrailers = ChunksByTrailers(result.bytesWritten, isBig);
        EXPECT_EQ(fromTrailers, (Chunks{{0xB, 28, 8}, {0xA, 0, 20}}));
        Chunks fromList;
        for (const ChunkEntry entry : result.chunks.value().entries)
        {
            fromList.insert(fromList.begin(), {entry.ChunkID, entry.ChunkOffset, entry.ChunkLength});
        }
        EXPECT_EQ(fromList, fromTrailers);
        EXPECT_EQ(BytesAt(28, 8), (std::vector<uint8_t>(source.begin() + 24, source.begin() + 32)));
    }
}

TEST_F(ConversionProcessorTest, WritesNothingWhereImageAndChunksDoNotFit)
{
    output.resize(27);
    input.sizeFilled = 22;
    input.chunks = ChunkList{.entries = {{0xB, 18, 4}}};
    const auto result = Process();
    EXPECT_EQ(result.dataSize, 28U);
    EXPECT_TRUE(result.isLargerThanBuffer);
    EXPECT_FALSE(result.chunks);
    EXPECT_TRUE(IsUntouchedFrom(0));
}

TEST_F(ConversionProcessorTest, LeavesChunksOfAnIncompleteImageOut)
{
    input.isIncomplete = true;
    input.chunks = ChunkList{.entries = {{0xB, 18, 4}}};
    const auto result = Process();
    EXPECT_EQ(result.bytesWritten, 24U);
    EXPECT_FALSE(result.chunks);
}

TEST_F(ConversionProcessorTest, FailsAFrameThatTheVisionLibraryRefuses)
{
    processor.SetConversion(Component::Image2D, PixelFormat::Mono12Packed, PixelFormat::RGB12);
    EXPECT_THROW(Process(), tarn::cvl::NotSupportedException);
}

// The device's state.

TEST_F(ConversionProcessorTest, TakesWhatAFrameDoesNotTellFromTheDevice)
{
    processor.SetDevice(
        []
        {
            return DeviceState{.images = {{.code = PixelFormat::Mono12Packed,
                                           .format = wideFormats.Find(PixelFormat::Mono12Packed),
                                           .size = {4, 3}}}};
        });
    processor.AcquisitionStarted();
    input.attributes.pixelFormat.reset();
    input.attributes.width.reset();
    input.attributes.height.reset();
    const auto result = Process();
    EXPECT_EQ(result.bytesWritten, 24U);
    EXPECT_EQ(result.attributes.pixelFormat, CodeOf(PixelFormat::Mono12));
    EXPECT_EQ(result.attributes.width, 4U);
    EXPECT_EQ(result.attributes.height, 3U);
}

TEST_F(ConversionProcessorTest, TakesACodeAsTheDeviceMeansIt)
{
    DeviceState state{
        .images = {
            {.code = PixelFormat{3}, .format = wideFormats.Find(PixelFormat::Mono12Packed), .size = {4, 3}}}};
    processor.SetDevice([&] { return state; });
    processor.AcquisitionStarted();
    input.attributes.pixelFormat = 3;
    EXPECT_EQ(Process().attributes.pixelFormat, CodeOf(PixelFormat::Mono12));

    state.images.front() = {.code = PixelFormat::Mono12Packed, .format = nullptr, .size = {4, 3}};
    processor.AcquisitionStarted();
    input.attributes.pixelFormat = CodeOf(PixelFormat::Mono12Packed);
    EXPECT_EQ(Process().bytesWritten, 18U) << "name and code of the entry disagree";
}

TEST_F(ConversionProcessorTest, IsNotFrozenWhenTheDeviceDoesNotAnswer)
{
    processor.SetDevice([]() -> DeviceState { throw GenTLException("gone", GC_ERR_IO); });
    EXPECT_EQ(FailureOf([&] { processor.AcquisitionStarted(); }), (Failure{"gone", GC_ERR_IO}));
    processor.SetConversion(Component::Image2D, PixelFormat::Mono12p, PixelFormat::Mono12);
}

TEST_F(ConversionProcessorTest, AddsTheLargerImageToThePayloadSize)
{
    DeviceState state{.payloadSize = 1000,
                      .images = {{.code = PixelFormat::Mono12Packed,
                                  .format = wideFormats.Find(PixelFormat::Mono12Packed),
                                  .size = {100, 10}}}};
    processor.SetDevice([&] { return state; });
    EXPECT_EQ(processor.PayloadSize(), 1500U);
    state.payloadSize.reset();
    EXPECT_EQ(processor.PayloadSize(), 2000U);
    processor.SetConversion(Component::Image2D, PixelFormat::Mono12Packed, PixelFormat::Mono12Packed);
    EXPECT_EQ(processor.PayloadSize(), 1500U);
    state.payloadSize = 1000;
    EXPECT_EQ(processor.PayloadSize(), 1000U);
    state.images.front().format = nullptr;
    EXPECT_EQ(processor.PayloadSize(), 1000U);
    state.payloadSize.reset();
    EXPECT_EQ(FailureOf([&] { processor.PayloadSize(); }).code, GC_ERR_NOT_AVAILABLE);
}

TEST_F(ConversionProcessorTest, KeepsRoomForComponentsThatNobodyHasSeen)
{
    const auto *const packed = wideFormats.Find(PixelFormat::Mono12Packed);
    DeviceState state{.payloadSize = 2500,
                      .images = {{.component = Component::Confidence,
                                  .code = PixelFormat::Confidence8,
                                  .format = wideFormats.Find(PixelFormat::Confidence8),
                                  .size = {100, 10}}},
                      .unseen = {{.format = packed, .size = {100, 10}}}};
    processor.SetDevice([&] { return state; });
    EXPECT_EQ(processor.PayloadSize(), 2500U + 500U + 16U) << "and for gaps in front of two parts";
    state.payloadSize = 1000;
    EXPECT_EQ(processor.PayloadSize(), 1000U) << "the device sends nothing else";
}

TEST_F(ConversionProcessorTest, GivesAPayloadSizeThatItsFramesFitIn)
{
    // 3 x 3 pixels: 14 bytes become 18, and the chunks begin at 20.
    DeviceState state{.payloadSize = 24,
                      .images = {{.code = PixelFormat::Mono12Packed,
                                  .format = wideFormats.Find(PixelFormat::Mono12Packed),
                                  .size = {3, 3}}}};
    processor.SetDevice([&] { return state; });
    input.attributes.width = 3;
    input.sizeFilled = 24;
    input.chunks = ChunkList{.entries = {{0xB, 14, 10}}};
    output.resize(processor.PayloadSize());
    EXPECT_FALSE(Process().isLargerThanBuffer);
}

TEST_F(ConversionProcessorTest, NeedsADeviceForAPayloadSize)
{
    EXPECT_EQ(FailureOf([&] { processor.PayloadSize(); }), (Failure{"Callbacks not set!", GC_ERR_ERROR}));
}

/// Two parts: 18 bytes of Mono12Packed at 0, 5 bytes of another kind at 20.
class ConversionOfParts : public ConversionProcessorTest
{
protected:
    ConversionOfParts()
    {
        input.payloadType = PAYLOAD_TYPE_MULTI_PART;
        input.attributes = {};
        input.sizeFilled = 25;
        input.parts = {{.base = source.data(),
                        .size = 18,
                        .type = PART_DATATYPE_2D_IMAGE,
                        .format = CodeOf(PixelFormat::Mono12Packed),
                        .width = 4,
                        .height = 3,
                        .sourceId = 2,
                        .purposeId = 6},
                       {.base = source.data() + 20,
                        .size = 5,
                        .type = PART_DATATYPE_CONFIDENCE_MAP,
                        .format = CodeOf(PixelFormat::Confidence8),
                        .width = 5,
                        .height = 1}};
    }
};

TEST_F(ConversionOfParts, PutsThemOneBehindTheOther)
{
    const auto result = Process();
    EXPECT_EQ(SamplesAt(0, 12), SamplesOfPairs(source, 12, 12));
    EXPECT_EQ(BytesAt(24, 5), (std::vector<uint8_t>(source.begin() + 20, source.begin() + 25)));
    EXPECT_EQ(result.bytesWritten, 29U);
    EXPECT_EQ(result.dataSize, 29U);
    ASSERT_EQ(result.parts.size(), 2U);
    EXPECT_EQ(result.parts.at(0).base, output.data());
    EXPECT_EQ(result.parts.at(0).size, 24U);
    EXPECT_EQ(result.parts.at(0).format, CodeOf(PixelFormat::Mono12));
    EXPECT_EQ(result.parts.at(0).sourceId, 2U);
    EXPECT_EQ(result.parts.at(0).purposeId, 6U);
    EXPECT_EQ(result.parts.at(1).base, output.data() + 24);
    EXPECT_EQ(result.parts.at(1).size, 5U);
    EXPECT_EQ(result.parts.at(1).format, CodeOf(PixelFormat::Confidence8));
}

TEST_F(ConversionOfParts, AlignsTheNextPart)
{
    input.parts.at(0).height = 1;
    input.parts.at(0).width = 3; // 6 bytes
    EXPECT_EQ(Process().parts.at(1).base, output.data() + 8);
}

TEST_F(ConversionOfParts, LeavesAllOfThemInTheirPlacesWhenNoneIsConverted)
{
    input.parts.at(0).type = PART_DATATYPE_CONFIDENCE_MAP;
    const auto result = Process();
    EXPECT_EQ(result.parts.at(1).base, output.data() + 20);
    EXPECT_EQ(result.bytesWritten, 25U);
}

TEST_F(ConversionOfParts, CopiesKindsThatItDoesNotKnow)
{
    input.parts.at(1).type = PART_DATATYPE_JPEG;
    EXPECT_EQ(Process().bytesWritten, 29U);
    input.parts.at(1).type = 1005;
    EXPECT_EQ(Process().bytesWritten, 29U);
}

TEST_F(ConversionOfParts, TakesWidthAndHeightFromTheFrame)
{
    input.parts.at(0).width.reset();
    input.parts.at(0).height.reset();
    EXPECT_EQ(Process().bytesWritten, 25U);
    input.attributes.width = 4;
    input.attributes.height = 3;
    EXPECT_EQ(Process().bytesWritten, 29U);
}

TEST_F(ConversionOfParts, LeavesThePaddingOfLinesOut)
{
    input.parts.at(0).height = 2;
    input.parts.at(0).xPadding = 3;
    const auto result = Process();
    EXPECT_EQ(result.parts.at(0).size, 16U);
    EXPECT_EQ(result.parts.at(0).xPadding, 0U);
    EXPECT_EQ(SamplesAt(8, 4), SamplesOfPairs(std::span(source).subspan(9), 12, 4));
}

TEST_F(ConversionOfParts, MovesTheChunksBehindTheLastPart)
{
    input.sizeFilled = 33;
    input.chunks = ChunkList{.entries = {{0xA, 0, 18}, {0xB, 27, 4}}};
    const auto result = Process();
    EXPECT_EQ(BytesAt(32, 8), (std::vector<uint8_t>(source.begin() + 25, source.begin() + 33)));
    EXPECT_EQ(result.bytesWritten, 40U);
    ASSERT_EQ(result.chunks.value().entries.size(), 1U);
    EXPECT_EQ(result.chunks->entries.at(0).ChunkOffset, 34);
}

TEST_F(ConversionOfParts, MovesTheTrailersBehindTheLastPart)
{
    // The image of 25 bytes that all parts make, and a chunk of 4.
    const std::vector<uint8_t> tail{0, 0, 0, 1, 0, 0, 0, 25, 7, 7, 7, 7, 0, 0, 0, 2, 0, 0, 0, 4};
    std::ranges::copy(tail, source.begin() + 25);
    input.sizeFilled = 45;
    input.trailers = ChunkTrailers::BigEndian;
    input.chunks = ChunkList{.entries = {{1, 0, 25}, {2, 33, 4}}};
    const auto result = Process();
    auto moved = tail;
    moved[7] = 32;
    EXPECT_EQ(BytesAt(32, tail.size()), moved);
    ASSERT_EQ(result.chunks.value().entries.size(), 2U);
    EXPECT_EQ(result.chunks->entries[0].ChunkLength, 32U);
    EXPECT_EQ(result.chunks->entries[1].ChunkOffset, 40);
}

TEST_F(ConversionOfParts, WritesWhatHasArrived)
{
    input.isIncomplete = true;
    input.sizeFilled = 13;
    auto result = Process();
    EXPECT_EQ(result.bytesWritten, 16U);
    EXPECT_EQ(result.dataSize, 29U);
    EXPECT_TRUE(result.isIncomplete);
    EXPECT_TRUE(IsUntouchedFrom(16));
    input.sizeFilled = 22;
    result = Process();
    EXPECT_EQ(result.bytesWritten, 26U);
    EXPECT_TRUE(IsUntouchedFrom(26));
}

TEST_F(ConversionOfParts, WritesTheOnesThatFit)
{
    output.resize(28);
    auto result = Process();
    EXPECT_EQ(result.bytesWritten, 24U);
    EXPECT_EQ(result.dataSize, 29U);
    EXPECT_EQ(result.parts.size(), 1U);
    EXPECT_TRUE(result.isLargerThanBuffer);
    EXPECT_TRUE(result.isIncomplete);
    output.assign(23, 0xCC);
    result = Process();
    EXPECT_EQ(result.bytesWritten, 0U);
    EXPECT_TRUE(IsUntouchedFrom(0));
}

TEST_F(ConversionOfParts, RefusesPartsOutsideOfTheBuffer)
{
    input.parts.at(1).size = 45;
    EXPECT_EQ(FailureOfProcess(),
              (Failure{"Part of 45 bytes does not lie in the buffer of 64 bytes!", GC_ERR_ERROR}));
    input.parts.at(1).size = 5;
    input.parts.at(0).size = 17;
    EXPECT_EQ(FailureOfProcess().code, GC_ERR_ERROR);
    EXPECT_TRUE(IsUntouchedFrom(0));
}

TEST_F(ConversionOfParts, GivesAPayloadSizeThatAlignedPartsFitIn)
{
    processor.SetDevice(
        []
        {
            return DeviceState{.payloadSize = 25,
                               .images = {{.component = Component::Image2D,
                                           .code = PixelFormat::Mono12Packed,
                                           .format = wideFormats.Find(PixelFormat::Mono12Packed),
                                           .size = {4, 3}},
                                          {.component = Component::Confidence,
                                           .code = PixelFormat::Confidence8,
                                           .format = wideFormats.Find(PixelFormat::Confidence8),
                                           .size = {5, 1}}}};
        });
    output.resize(processor.PayloadSize());
    EXPECT_FALSE(Process().isLargerThanBuffer);
}

} // namespace
} // namespace GenTL::internal
