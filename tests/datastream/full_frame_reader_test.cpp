#include "datastream/full_frame_reader.h"

#include "datastream/proxy_buffer.h"
#include "told_frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace GenTL::internal
{
namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using AtOnce = ToldFrame::AtOnce;

class FullFrame : public testing::Test
{
protected:
    FullFrame()
    {
        told.Serve(*proxy);
        reader.Begin();
    }

    LowerFrame Read()
    {
        const ProxyBuffer buffer(proxy, nullptr, LowerHandle(0x100), memory.data(), memory.size());
        return reader.Read(buffer);
    }

    InputData ReadInput()
    {
        auto frame = Read();
        EXPECT_THAT(frame.failure, IsEmpty());
        return std::move(frame.input);
    }

    /// A part of eight bytes.
    ToldFrame::Answers PartAt(size_t offset)
    {
        return {{BUFFER_PART_INFO_BASE, TypedAnswer::Pointer(reinterpret_cast<uint8_t *>(
                                            reinterpret_cast<uintptr_t>(memory.data()) + offset))},
                {BUFFER_PART_INFO_DATA_SIZE, TypedAnswer::Size(8)}};
    }

    std::array<uint8_t, 64> memory{};
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    ToldFrame told;
    std::shared_ptr<DeviceClock> clock = std::make_shared<DeviceClock>(proxy, nullptr);
    FullFrameReader reader{{.clock = clock, .tlType = "GEV"}};
};

/// A value of the frame, which the lower producer tells or not.
struct Value
{
    std::string name;
    int32_t command;
    TypedAnswer told;
    std::optional<uint64_t> asTold;
    std::optional<uint64_t> without;
    std::function<std::optional<uint64_t>(const InputData &)> get;
    std::optional<uint64_t> withoutAgain = without; ///< in the next frame

    friend std::ostream &operator<<(std::ostream &stream, const Value &value) { return stream << value.name; }
};

template <typename T>
std::optional<uint64_t> Number(const std::optional<T> &value)
{
    return value ? std::optional(static_cast<uint64_t>(*value)) : std::nullopt;
}

#define ATTRIBUTE(member) [](const InputData &input) { return Number(input.attributes.member); }

const std::vector<Value> frameValues{
    {"Size", BUFFER_INFO_SIZE, TypedAnswer::Size(48), 48, 64,
     [](const InputData &input) { return input.size; }},
    {"SizeFilled", BUFFER_INFO_SIZE_FILLED, TypedAnswer::Size(40), 40, 64,
     [](const InputData &input) { return Number(input.sizeFilled); }},
    {"DataSize", BUFFER_INFO_DATA_SIZE, TypedAnswer::Size(80), 80, 64,
     [](const InputData &input) { return Number(input.dataSize); }},
    {"PayloadType", BUFFER_INFO_PAYLOADTYPE, TypedAnswer::Size(PAYLOAD_TYPE_JPEG), PAYLOAD_TYPE_JPEG,
     PAYLOAD_TYPE_IMAGE, ATTRIBUTE(payloadType)},
    {"PixelFormat", BUFFER_INFO_PIXELFORMAT, TypedAnswer::Uint64(0x01080001), 0x01080001, std::nullopt,
     ATTRIBUTE(pixelFormat)},
    {"Namespace", BUFFER_INFO_PIXELFORMAT_NAMESPACE, TypedAnswer::Uint64(PIXELFORMAT_NAMESPACE_IIDC),
     PIXELFORMAT_NAMESPACE_IIDC, std::nullopt, ATTRIBUTE(pixelFormatNamespace)},
    {"Width", BUFFER_INFO_WIDTH, TypedAnswer::Size(8), 8, std::nullopt, ATTRIBUTE(width)},
    {"Height", BUFFER_INFO_HEIGHT, TypedAnswer::Size(4), 4, std::nullopt, ATTRIBUTE(height)},
    {"DeliveredHeight", BUFFER_INFO_DELIVERED_IMAGEHEIGHT, TypedAnswer::Size(3), 3, std::nullopt,
     ATTRIBUTE(deliveredImageHeight)},
    {"ImageOffset", BUFFER_INFO_IMAGEOFFSET, TypedAnswer::Size(16), 16, std::nullopt, ATTRIBUTE(imageOffset)},
    {"XPadding", BUFFER_INFO_XPADDING, TypedAnswer::Size(2), 2, std::nullopt, ATTRIBUTE(xPadding)},
    {"YPadding", BUFFER_INFO_YPADDING, TypedAnswer::Size(1), 1, std::nullopt, ATTRIBUTE(yPadding)},
    {"XOffset", BUFFER_INFO_XOFFSET, TypedAnswer::Size(5), 5, std::nullopt, ATTRIBUTE(xOffset)},
    {"YOffset", BUFFER_INFO_YOFFSET, TypedAnswer::Size(6), 6, std::nullopt, ATTRIBUTE(yOffset)},
    {"IsIncomplete", BUFFER_INFO_IS_INCOMPLETE, TypedAnswer::Bool(true), 1, 0,
     [](const InputData &input) { return input.isIncomplete ? 1 : 0; }},
    {"FrameId", BUFFER_INFO_FRAMEID, TypedAnswer::Uint64(4711), 4711, 1,
     [](const InputData &input) { return input.attributes.frameId; }, 2},
    {"Timestamp", BUFFER_INFO_TIMESTAMP, TypedAnswer::Uint64(99), 99, std::nullopt, ATTRIBUTE(timestamp)},
    {"TimestampNs", BUFFER_INFO_TIMESTAMP_NS, TypedAnswer::Uint64(98), 98, std::nullopt,
     ATTRIBUTE(timestampNs)},
    {"ImagePresent", BUFFER_INFO_IMAGEPRESENT, TypedAnswer::Bool(false), 0, 1, ATTRIBUTE(isImagePresent)},
    {"HasChunks", BUFFER_INFO_CONTAINS_CHUNKDATA, TypedAnswer::Bool(true), 1, 0, ATTRIBUTE(hasChunks)},
    {"ChunkPayload", BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, TypedAnswer::Size(12), 12, std::nullopt,
     ATTRIBUTE(chunkPayloadSize)},
    {"ChunkLayout", BUFFER_INFO_CHUNKLAYOUTID, TypedAnswer::Uint64(3), 3, std::nullopt,
     ATTRIBUTE(chunkLayoutId)},
    {"Endianness", BUFFER_INFO_PIXEL_ENDIANNESS, TypedAnswer::Int32(PIXELENDIANNESS_BIG), PIXELENDIANNESS_BIG,
     std::nullopt, ATTRIBUTE(pixelEndianness)},
};

class FullFrameValue : public FullFrame, public testing::WithParamInterface<std::tuple<Value, AtOnce>>
{
};

TEST_P(FullFrameValue, IsWhatTheLowerProducerTells)
{
    const auto &[value, atOnce] = GetParam();
    told.atOnce = atOnce;
    told.infos[value.command] = value.told;
    EXPECT_EQ(value.get(ReadInput()), value.asTold);
}

TEST_P(FullFrameValue, HasASubstituteWhenItIsNotTold)
{
    const auto &[value, atOnce] = GetParam();
    told.atOnce = atOnce;
    for (const GC_ERROR code : {GC_ERR_NOT_AVAILABLE, GC_ERR_IO, GC_ERR_NOT_IMPLEMENTED})
    {
        reader.Begin();
        told.infos[value.command] = code;
        EXPECT_EQ(value.get(ReadInput()), value.without) << code;
    }
}

TEST_P(FullFrameValue, IsAskedAgainUnlessItIsNotImplemented)
{
    const auto &[value, atOnce] = GetParam();
    told.atOnce = atOnce;
    for (const GC_ERROR code : {GC_ERR_NOT_IMPLEMENTED, GC_ERR_NOT_AVAILABLE})
    {
        reader.Begin();
        told.infos[value.command] = code;
        Read();
        told.infos[value.command] = value.told;
        EXPECT_EQ(value.get(ReadInput()), code == GC_ERR_NOT_AVAILABLE ? value.asTold : value.withoutAgain)
            << code;
    }
    // The next acquisition asks again.
    reader.Begin();
    EXPECT_EQ(value.get(ReadInput()), value.asTold);
}

std::string NameOfValue(const testing::TestParamInfo<std::tuple<Value, AtOnce>> &info)
{
    constexpr std::array ways{"OneByOne", "AtOnce", "AtOnceInPart"};
    return std::get<0>(info.param).name + "_" + ways[static_cast<size_t>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(Values, FullFrameValue,
                         testing::Combine(testing::ValuesIn(frameValues),
                                          testing::Values(AtOnce::NotImplemented, AtOnce::Answers,
                                                          AtOnce::EndsWithFailure)),
                         NameOfValue);

TEST_F(FullFrame, IsReadInOneCallWhereThatIsPossible)
{
    told.atOnce = AtOnce::Answers;
    for (const auto &value : frameValues)
    {
        told.infos[value.command] = value.told;
    }
    told.infos[BUFFER_INFO_BASE] = TypedAnswer::Pointer(memory.data());
    told.infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Bool(false);
    Read();
    Read();
    EXPECT_THAT(told.asked, testing::ElementsAre("at once 24", "parts", "at once 24"));
}

TEST_F(FullFrame, IsNotAskedForWhatIsNotImplemented)
{
    told.infos[BUFFER_INFO_WIDTH] = TypedAnswer::Size(8);
    told.infos[BUFFER_INFO_HEIGHT] = GC_ERR_NOT_AVAILABLE;
    Read();
    told.asked.clear();
    Read();
    EXPECT_THAT(told.asked, testing::ElementsAre("info 10", "info 11"));
}

TEST_F(FullFrame, TakesShorterAnswersThanPublished)
{
    told.infos[BUFFER_INFO_WIDTH] = TypedAnswer::Of<uint32_t>(INFO_DATATYPE_UINT32, 7);
    told.infos[BUFFER_INFO_IS_INCOMPLETE] = TypedAnswer::Int32(1);
    const auto input = ReadInput();
    EXPECT_EQ(input.attributes.width, 7U);
    EXPECT_TRUE(input.isIncomplete);
}

TEST_F(FullFrame, NumbersFramesFromOneInEachAcquisition)
{
    EXPECT_EQ(ReadInput().attributes.frameId, 1U);
    EXPECT_EQ(ReadInput().attributes.frameId, 2U);
    reader.Begin();
    EXPECT_EQ(ReadInput().attributes.frameId, 1U);
}

TEST_F(FullFrame, LiesWhereItWasAnnouncedUnlessToldOtherwise)
{
    EXPECT_EQ(ReadInput().data, memory.data());
    std::array<uint8_t, 64> elsewhere{};
    told.infos[BUFFER_INFO_BASE] = TypedAnswer::Pointer(elsewhere.data());
    reader.Begin();
    EXPECT_EQ(ReadInput().data, elsewhere.data());
}

TEST_F(FullFrame, FailsWithoutMemory)
{
    told.infos[BUFFER_INFO_BASE] = TypedAnswer::Pointer(nullptr);
    told.infos[BUFFER_INFO_FRAMEID] = TypedAnswer::Uint64(5);
    const auto frame = Read();
    EXPECT_EQ(frame.failure, "The lower producer delivered a buffer without memory");
    EXPECT_EQ(frame.input.attributes.frameId, 5U);
}

TEST_F(FullFrame, FillsAsManyBytesAsItsDataSizeOrItsImage)
{
    told.infos[BUFFER_INFO_DATA_SIZE] = TypedAnswer::Size(50);
    EXPECT_EQ(ReadInput().sizeFilled, 50U);
    told.infos.clear();
    told.infos[BUFFER_INFO_PIXELFORMAT] = TypedAnswer::Uint64(0x010C0006);
    told.infos[BUFFER_INFO_WIDTH] = TypedAnswer::Size(3);
    told.infos[BUFFER_INFO_HEIGHT] = TypedAnswer::Size(5);
    reader.Begin();
    const auto input = ReadInput();
    EXPECT_EQ(input.sizeFilled, 22U);
    EXPECT_EQ(input.dataSize, 22U);
}

TEST_F(FullFrame, CountsNoPixelsOfAForeignNumbering)
{
    told.infos[BUFFER_INFO_PIXELFORMAT] = TypedAnswer::Uint64(0x01080001);
    told.infos[BUFFER_INFO_PIXELFORMAT_NAMESPACE] = TypedAnswer::Uint64(PIXELFORMAT_NAMESPACE_IIDC);
    told.infos[BUFFER_INFO_WIDTH] = TypedAnswer::Size(2);
    told.infos[BUFFER_INFO_HEIGHT] = TypedAnswer::Size(2);
    EXPECT_EQ(ReadInput().sizeFilled, 64U);
}

TEST_F(FullFrame, HasNoImageWithoutBytesOrInAFile)
{
    told.infos[BUFFER_INFO_SIZE_FILLED] = TypedAnswer::Size(0);
    EXPECT_EQ(ReadInput().attributes.isImagePresent, false);
    told.infos[BUFFER_INFO_SIZE_FILLED] = TypedAnswer::Size(10);
    told.infos[BUFFER_INFO_PAYLOADTYPE] = TypedAnswer::Size(PAYLOAD_TYPE_FILE);
    told.infos[BUFFER_INFO_FILENAME] = TypedAnswer::Text("a.zip");
    reader.Begin();
    const auto input = ReadInput();
    EXPECT_EQ(input.attributes.isImagePresent, false);
    EXPECT_EQ(input.attributes.fileName, "a.zip");
}

TEST_F(FullFrame, FailsWhenItClaimsBytesOutsideOfTheBuffer)
{
    told.infos[BUFFER_INFO_SIZE_FILLED] = TypedAnswer::Size(65);
    EXPECT_THAT(Read().failure, HasSubstr("65 bytes lies outside of the buffer of 64 bytes"));
    told.infos.clear();
    told.infos[BUFFER_INFO_IMAGEOFFSET] = TypedAnswer::Size(65);
    reader.Begin();
    EXPECT_THAT(Read().failure, HasSubstr("at offset 65"));
}

TEST_F(FullFrame, KnowsTheTrailersOfItsTransport)
{
    EXPECT_EQ(ReadInput().trailers, ChunkTrailers::BigEndian);
    const auto trailersOf = [&](const std::string &tlType)
    {
        FullFrameReader other({.clock = clock, .tlType = tlType});
        const ProxyBuffer buffer(proxy, nullptr, LowerHandle(0x100), memory.data(), memory.size());
        return other.Read(buffer).input.trailers;
    };
    EXPECT_EQ(trailersOf("U3V"), ChunkTrailers::LittleEndian);
    EXPECT_EQ(trailersOf("CXP"), ChunkTrailers::None);
}

TEST_F(FullFrame, IsReadWhateverTheProducerWritesIntoTheQuestions)
{
    told.infos[BUFFER_INFO_FRAMEID] = TypedAnswer::Uint64(5);
    told.atOnce = AtOnce::Answers;
    const auto answer = proxy->onDSGetBufferInfoStacked;
    proxy->onDSGetBufferInfoStacked =
        [&](DS_HANDLE stream, BUFFER_HANDLE buffer, DS_BUFFER_INFO_STACKED *entries, size_t count)
    {
        const auto code = answer(stream, buffer, entries, count);
        for (size_t i = 0; i < count; ++i)
        {
            entries[i].iInfoCmd = BUFFER_INFO_CUSTOM_ID + 1'000'000;
            entries[i].pBuffer = nullptr;
        }
        return code;
    };
    // The second frame is asked for only what the first had.
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(ReadInput().attributes.frameId, 5U);
    }
}

using PartsOfAFullFrame = FullFrame;

TEST_F(PartsOfAFullFrame, AreDescribedInFull)
{
    auto part = PartAt(16);
    part[BUFFER_PART_INFO_DATA_TYPE] = TypedAnswer::Size(PART_DATATYPE_CONFIDENCE_MAP);
    part[BUFFER_PART_INFO_DATA_FORMAT] = TypedAnswer::Uint64(0x01080001);
    part[BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE] = TypedAnswer::Uint64(PIXELFORMAT_NAMESPACE_GEV);
    part[BUFFER_PART_INFO_WIDTH] = TypedAnswer::Size(4);
    part[BUFFER_PART_INFO_HEIGHT] = TypedAnswer::Size(2);
    part[BUFFER_PART_INFO_XOFFSET] = TypedAnswer::Size(1);
    part[BUFFER_PART_INFO_YOFFSET] = TypedAnswer::Size(2);
    part[BUFFER_PART_INFO_XPADDING] = TypedAnswer::Size(3);
    part[BUFFER_PART_INFO_SOURCE_ID] = TypedAnswer::Uint64(4);
    part[BUFFER_PART_INFO_REGION_ID] = TypedAnswer::Uint64(5);
    part[BUFFER_PART_INFO_DATA_PURPOSE_ID] = TypedAnswer::Uint64(6);
    told.parts = {part, PartAt(32)};
    const auto input = ReadInput();
    EXPECT_EQ(input.payloadType, PAYLOAD_TYPE_MULTI_PART);
    ASSERT_EQ(input.parts.size(), 2U);
    const auto &read = input.parts[0];
    EXPECT_EQ(read.base, memory.data() + 16);
    EXPECT_EQ(read.size, 8U);
    EXPECT_EQ(read.type, PART_DATATYPE_CONFIDENCE_MAP);
    EXPECT_EQ(read.format, 0x01080001U);
    EXPECT_EQ(read.formatNamespace, uint64_t{PIXELFORMAT_NAMESPACE_GEV});
    EXPECT_EQ(read.width, 4U);
    EXPECT_EQ(read.height, 2U);
    EXPECT_EQ(read.deliveredImageHeight, 2U);
    EXPECT_EQ(read.xOffset, 1U);
    EXPECT_EQ(read.yOffset, 2U);
    EXPECT_EQ(read.xPadding, 3U);
    EXPECT_EQ(read.sourceId, 4U);
    EXPECT_EQ(read.regionId, 5U);
    EXPECT_EQ(read.purposeId, 6U);
}

TEST_F(PartsOfAFullFrame, AreAskedForWhereTheyAreToldOrNobodyKnows)
{
    told.infos[BUFFER_INFO_PAYLOADTYPE] = TypedAnswer::Size(PAYLOAD_TYPE_IMAGE);
    Read();
    Read();
    EXPECT_EQ(told.CountOf("parts"), 1U);
    told.infos[BUFFER_INFO_PAYLOADTYPE] = TypedAnswer::Size(PAYLOAD_TYPE_MULTI_PART);
    Read();
    Read();
    EXPECT_EQ(told.CountOf("parts"), 3U);
}

TEST_F(PartsOfAFullFrame, AreNoneWhenTheyCannotBeCounted)
{
    told.parts = {PartAt(0)};
    told.partCount = GC_ERR_NO_DATA;
    const auto input = ReadInput();
    EXPECT_TRUE(input.parts.empty());
    EXPECT_EQ(input.payloadType, PAYLOAD_TYPE_IMAGE);
}

TEST_F(PartsOfAFullFrame, FailTheFrameOutsideOfTheBuffer)
{
    for (const size_t offset : {size_t{57}, size_t{64}, size_t{0} - 8})
    {
        told.parts = {PartAt(offset)};
        reader.Begin();
        EXPECT_THAT(Read().failure, HasSubstr("Part 0 at offset")) << offset;
    }
    told.parts = {PartAt(56)};
    EXPECT_THAT(Read().failure, IsEmpty());
}

TEST_F(PartsOfAFullFrame, FailTheFrameWithoutAPlace)
{
    told.parts = {PartAt(0)};
    told.parts[0].erase(BUFFER_PART_INFO_BASE);
    EXPECT_THAT(Read().failure, HasSubstr("Part 0 tells neither"));
}

TEST_F(PartsOfAFullFrame, HaveTheSizeOfTheirImageWhenTheyTellNone)
{
    told.parts = {PartAt(0)};
    told.parts[0].erase(BUFFER_PART_INFO_DATA_SIZE);
    told.parts[0][BUFFER_PART_INFO_DATA_FORMAT] = TypedAnswer::Uint64(0x01100005);
    told.parts[0][BUFFER_PART_INFO_WIDTH] = TypedAnswer::Size(3);
    told.parts[0][BUFFER_PART_INFO_HEIGHT] = TypedAnswer::Size(2);
    EXPECT_EQ(ReadInput().parts.at(0).size, 12U);
}

using ChunksOfAFullFrame = FullFrame;

TEST_F(ChunksOfAFullFrame, ComeWithTheirList)
{
    told.chunks = std::vector<SINGLE_CHUNK_DATA>{{1, 0, 32}, {2, 40, 8}};
    told.infos[BUFFER_INFO_CHUNKLAYOUTID] = TypedAnswer::Uint64(9);
    told.infos[BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE] = TypedAnswer::Size(56);
    const auto input = ReadInput();
    ASSERT_TRUE(input.chunks);
    EXPECT_EQ(input.chunks->entries.size(), 2U);
    EXPECT_EQ(uint64_t{input.chunks->entries[1].ChunkID}, 2U);
    EXPECT_EQ(input.chunks->layoutId, 9U);
    EXPECT_EQ(input.chunks->payloadSize, 56U);
    EXPECT_EQ(input.attributes.hasChunks, true);
}

TEST_F(ChunksOfAFullFrame, AreNoneWhenTheLowerProducerSaysSo)
{
    told.chunks = std::vector<SINGLE_CHUNK_DATA>{{1, 0, 32}};
    told.infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Bool(false);
    EXPECT_FALSE(ReadInput().chunks);
    EXPECT_EQ(told.CountOf("chunks"), 0U);
}

TEST_F(ChunksOfAFullFrame, AreThereWithoutAListWhenTheLowerProducerSaysSo)
{
    told.infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Bool(true);
    const auto input = ReadInput();
    ASSERT_TRUE(input.chunks);
    EXPECT_TRUE(input.chunks->entries.empty());
    EXPECT_EQ(input.attributes.hasChunks, true);
    Read();
    EXPECT_EQ(told.CountOf("chunks"), 1U);
}

TEST_F(ChunksOfAFullFrame, FailTheFrameOutsideOfTheBuffer)
{
    for (const SINGLE_CHUNK_DATA &chunk :
         {SINGLE_CHUNK_DATA{1, 60, 5}, SINGLE_CHUNK_DATA{1, -8, 8}, SINGLE_CHUNK_DATA{1, 8, SIZE_MAX}})
    {
        told.chunks = std::vector{chunk};
        EXPECT_THAT(Read().failure, HasSubstr("Chunk 1 at offset"));
    }
}

} // namespace
} // namespace GenTL::internal
