#include "datastream/buffer.h"
#include "support/failure.h"
#include "support/fake_library.h"
#include "support/typed_answer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

void *const bufferBase = reinterpret_cast<void *>(0x10000);
void *const userPointer = reinterpret_cast<void *>(0x20000);
constexpr size_t memorySize = 4096;

Failure NotAvailable(int32_t command)
{
    return {fmt::format("The information {} is currently not available.", command), GC_ERR_NOT_AVAILABLE};
}

Failure NotImplemented(int32_t command)
{
    return {fmt::format("Info command {} not implemented.", command), GC_ERR_NOT_IMPLEMENTED};
}

class BufferFixture : public testing::Test
{
protected:
    AskForInfo Ask(int32_t command)
    {
        return [this, command](INFO_DATATYPE *type, void *target, size_t *size)
        { buffer.DSGetBufferInfo(command, type, target, size); };
    }

    Failure FailureFor(int32_t command)
    {
        return FailureOf([&] { buffer.DSGetBufferInfo(command, nullptr, nullptr, nullptr); });
    }

    /// Fills the buffer with a fully described frame.
    void Fill()
    {
        buffer.SetState(BufferState::Input);
        buffer.SetState(BufferState::Filling);
        buffer.SetMetadata({.frameId = 7,
                            .timestamp = 123456789012345,
                            .width = 640,
                            .height = 480,
                            .xOffset = 16,
                            .yOffset = 24,
                            .pixelFormat = 0x01080001});
        buffer.SetChunks({{.ChunkID = 1, .ChunkOffset = 2, .ChunkLength = 3}}, 99, 0x1234567890);
        buffer.SetResult(true, 1000, true);
        buffer.SetState(BufferState::Output);
    }

    FakeLibrary library;
    Buffer buffer{library, bufferBase, memorySize, userPointer};
};

class FilledBufferInfo : public BufferFixture, public testing::WithParamInterface<InfoParameter>
{
};

// Answers of a filled buffer in the output queue.
const std::vector<InfoCase> filledCases{
    {"Base", BUFFER_INFO_BASE, TypedAnswer::Pointer(bufferBase)},
    {"Size", BUFFER_INFO_SIZE, TypedAnswer::Size(memorySize)},
    {"UserPtr", BUFFER_INFO_USER_PTR, TypedAnswer::Pointer(userPointer)},
    {"Timestamp", BUFFER_INFO_TIMESTAMP, TypedAnswer::Uint64(123456789012345)},
    {"NewData", BUFFER_INFO_NEW_DATA, TypedAnswer::Bool(true)},
    {"IsQueued", BUFFER_INFO_IS_QUEUED, TypedAnswer::Bool(true)},
    {"IsAcquiring", BUFFER_INFO_IS_ACQUIRING, TypedAnswer::Bool(false)},
    {"IsIncomplete", BUFFER_INFO_IS_INCOMPLETE, TypedAnswer::Bool(false)},
    {"TlType", BUFFER_INFO_TLTYPE, TypedAnswer::Text("GEV")},
    {"SizeFilled", BUFFER_INFO_SIZE_FILLED, TypedAnswer::Size(1000)},
    {"Width", BUFFER_INFO_WIDTH, TypedAnswer::Size(640)},
    {"Height", BUFFER_INFO_HEIGHT, TypedAnswer::Size(480)},
    {"XOffset", BUFFER_INFO_XOFFSET, TypedAnswer::Size(16)},
    {"YOffset", BUFFER_INFO_YOFFSET, TypedAnswer::Size(24)},
    {"XPadding", BUFFER_INFO_XPADDING, TypedAnswer::Size(0)},
    {"YPadding", BUFFER_INFO_YPADDING, TypedAnswer::Size(0)},
    {"FrameId", BUFFER_INFO_FRAMEID, TypedAnswer::Uint64(7)},
    {"ImagePresent", BUFFER_INFO_IMAGEPRESENT, TypedAnswer::Bool(true)},
    {"ImageOffset", BUFFER_INFO_IMAGEOFFSET, TypedAnswer::Size(0)},
    {"PayloadType", BUFFER_INFO_PAYLOADTYPE, TypedAnswer::Size(1)},
    {"PixelFormat", BUFFER_INFO_PIXELFORMAT, TypedAnswer::Uint64(0x01080001)},
    {"PixelFormatNamespace", BUFFER_INFO_PIXELFORMAT_NAMESPACE, TypedAnswer::Uint64(4)},
    {"DeliveredImageHeight", BUFFER_INFO_DELIVERED_IMAGEHEIGHT, TypedAnswer::Size(480)},
    {"DeliveredChunkPayloadSize", BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, TypedAnswer::Size(99)},
    {"ChunkLayoutId", BUFFER_INFO_CHUNKLAYOUTID, TypedAnswer::Uint64(0x1234567890)},
    {"Filename", BUFFER_INFO_FILENAME, TypedAnswer::Text("TODO!")},
    {"PixelEndianness", BUFFER_INFO_PIXEL_ENDIANNESS, TypedAnswer::Int32(1)},
    {"DataSize", BUFFER_INFO_DATA_SIZE, TypedAnswer::Size(memorySize)},
    {"TimestampNs", BUFFER_INFO_TIMESTAMP_NS, TypedAnswer::Uint64(123456789012345)},
    {"DataLargerThanBuffer", BUFFER_INFO_DATA_LARGER_THAN_BUFFER, TypedAnswer::Bool(false)},
    {"ContainsChunkData", BUFFER_INFO_CONTAINS_CHUNKDATA, TypedAnswer::Bool(true)},
    {"IsComposite", BUFFER_INFO_IS_COMPOSITE, TypedAnswer::Bool(false)},
};

TEST_P(FilledBufferInfo, Answers)
{
    Fill();
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected, Ask(info.command));
}

INSTANTIATE_TEST_SUITE_P(Commands, FilledBufferInfo, EveryWayToAsk(filledCases), NameOfInfo);

class NewBufferInfo : public BufferFixture, public testing::WithParamInterface<InfoParameter>
{
};

// Answers of a buffer that was never filled. All other commands are not available.
const std::vector<InfoCase> newCases{
    {"Base", BUFFER_INFO_BASE, TypedAnswer::Pointer(bufferBase)},
    {"Size", BUFFER_INFO_SIZE, TypedAnswer::Size(memorySize)},
    {"UserPtr", BUFFER_INFO_USER_PTR, TypedAnswer::Pointer(userPointer)},
    {"NewData", BUFFER_INFO_NEW_DATA, TypedAnswer::Bool(false)},
    {"IsQueued", BUFFER_INFO_IS_QUEUED, TypedAnswer::Bool(false)},
    {"IsAcquiring", BUFFER_INFO_IS_ACQUIRING, TypedAnswer::Bool(false)},
    {"IsIncomplete", BUFFER_INFO_IS_INCOMPLETE, TypedAnswer::Bool(true)},
    {"TlType", BUFFER_INFO_TLTYPE, TypedAnswer::Text("GEV")},
    {"PayloadType", BUFFER_INFO_PAYLOADTYPE, TypedAnswer::Size(1)},
    {"PixelEndianness", BUFFER_INFO_PIXEL_ENDIANNESS, TypedAnswer::Int32(1)},
    {"ContainsChunkData", BUFFER_INFO_CONTAINS_CHUNKDATA, TypedAnswer::Bool(false)},
};

TEST_P(NewBufferInfo, Answers)
{
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected, Ask(info.command));
}

INSTANTIATE_TEST_SUITE_P(Commands, NewBufferInfo, EveryWayToAsk(newCases), NameOfInfo);

class BufferInfo : public BufferFixture
{
};

TEST_F(BufferInfo, IsNotAvailableBeforeTheFirstFrame)
{
    size_t gated = 0;
    for (int32_t command = BUFFER_INFO_BASE; command <= BUFFER_INFO_IS_COMPOSITE; ++command)
    {
        if (std::ranges::find(newCases, command, &InfoCase::command) != newCases.end())
        {
            continue;
        }
        ++gated;
        // Even with null arguments, which are checked later.
        EXPECT_EQ(FailureFor(command), NotAvailable(command));
    }
    EXPECT_EQ(gated, 21U);
}

TEST_F(BufferInfo, OfATimestampIsNotAvailableBeforeTheFirstFrame)
{
    EXPECT_EQ(FailureFor(BUFFER_INFO_TIMESTAMP),
              (Failure{"The information 3 is currently not available.", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(BufferInfo, IsNotAvailableForWhatTheFrameDoesNotTell)
{
    buffer.SetMetadata({.frameId = 1});
    buffer.SetResult(true, 10, true);
    for (const int32_t command : {BUFFER_INFO_TIMESTAMP, BUFFER_INFO_WIDTH, BUFFER_INFO_HEIGHT,
                                  BUFFER_INFO_XOFFSET, BUFFER_INFO_YOFFSET, BUFFER_INFO_PIXELFORMAT,
                                  BUFFER_INFO_DELIVERED_IMAGEHEIGHT, BUFFER_INFO_TIMESTAMP_NS})
    {
        EXPECT_EQ(FailureFor(command), NotAvailable(command));
    }
    EXPECT_EQ(AskFor<uint64_t>(Ask(BUFFER_INFO_FRAMEID)), 1U);
    EXPECT_EQ(AskFor<size_t>(Ask(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE)), 0U);
    EXPECT_EQ(AskFor<uint64_t>(Ask(BUFFER_INFO_CHUNKLAYOUTID)), 0U);
}

TEST_F(BufferInfo, IsNotImplementedForUnknownCommands)
{
    for (const bool isFilled : {false, true})
    {
        if (isFilled)
        {
            Fill();
        }
        EXPECT_EQ(FailureFor(100000), NotImplemented(100000));
        for (int32_t command = -1100; command < 1100; ++command)
        {
            const bool isKnown =
                std::ranges::find(filledCases, command, &InfoCase::command) != filledCases.end();
            EXPECT_EQ(FailureFor(command) == NotImplemented(command), !isKnown) << command;
        }
    }
}

TEST_F(BufferInfo, OfTheQueueFollowsTheState)
{
    struct Expectation
    {
        BufferState state;
        bool isQueued;
        bool isAcquiring;
    };
    for (const auto &expected :
         {Expectation{BufferState::Input, true, false}, Expectation{BufferState::Filling, true, true},
          Expectation{BufferState::Output, true, false}, Expectation{BufferState::Announced, false, false}})
    {
        buffer.SetState(expected.state);
        EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_IS_QUEUED)) != 0, expected.isQueued);
        EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_IS_ACQUIRING)) != 0, expected.isAcquiring);
    }
}

TEST_F(BufferInfo, TellsAMultiPartFrameByItsParts)
{
    buffer.SetParts({BufferPartInfo{}});
    EXPECT_EQ(AskFor<size_t>(Ask(BUFFER_INFO_PAYLOADTYPE)), 10U);
    buffer.SetParts({});
    EXPECT_EQ(AskFor<size_t>(Ask(BUFFER_INFO_PAYLOADTYPE)), 1U);
}

TEST_F(BufferInfo, ShowsAnIncompleteFrame)
{
    Fill();
    buffer.SetResult(false, 0, true);
    EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_IS_INCOMPLETE)), 1);
    EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_NEW_DATA)), 1);
    EXPECT_EQ(AskFor<size_t>(Ask(BUFFER_INFO_SIZE_FILLED)), 0U);
    // The description still belongs to the earlier frame.
    EXPECT_EQ(AskFor<uint64_t>(Ask(BUFFER_INFO_FRAMEID)), 7U);
}

TEST_F(BufferInfo, OfAFailedQueryChangesNothing)
{
    Fill();
    EXPECT_NE(FailureFor(BUFFER_INFO_WIDTH), Failure{});
    EXPECT_EQ(buffer.GetState(), BufferState::Output);
    EXPECT_TRUE(buffer.IsComplete());
    EXPECT_EQ(AskFor<size_t>(Ask(BUFFER_INFO_WIDTH)), 640U);
}

TEST_F(BufferInfo, TellsTheTransportLayerTypeOfTheMoment)
{
    library.tlType = "U3V";
    ExpectTypedAnswer(Arguments::Exact, TypedAnswer::Text("U3V"), Ask(BUFFER_INFO_TLTYPE));
}

class BufferMemory : public BufferFixture
{
};

TEST_F(BufferMemory, OfTheConsumerIsUsedAsItIs)
{
    EXPECT_EQ(buffer.GetBase(), bufferBase);
    EXPECT_EQ(buffer.GetSize(), memorySize);
    EXPECT_EQ(buffer.GetUserPointer(), userPointer);
    EXPECT_FALSE(buffer.OwnsMemory());
    EXPECT_EQ(buffer.GetState(), BufferState::Announced);
    EXPECT_FALSE(buffer.IsComplete());
    EXPECT_EQ(buffer.GetMetadata().frameId, 0U);
}

TEST_F(BufferMemory, OfItsOwnIsFilledWithZeros)
{
    const Buffer own(library, memorySize, userPointer);
    EXPECT_TRUE(own.OwnsMemory());
    ASSERT_NE(own.GetBase(), nullptr);
    EXPECT_EQ(own.GetSize(), memorySize);
    EXPECT_EQ(own.GetUserPointer(), userPointer);
    EXPECT_EQ(own.GetState(), BufferState::Announced);
    EXPECT_THAT(std::vector<uint8_t>(memorySize, 0),
                testing::ElementsAreArray(static_cast<const uint8_t *>(own.GetBase()), memorySize));
}

TEST_F(BufferMemory, OfItsOwnWithoutBytesHasNoBase)
{
    const Buffer empty(library, size_t{0}, userPointer);
    EXPECT_EQ(empty.GetBase(), nullptr);
    EXPECT_EQ(empty.GetSize(), 0U);
    EXPECT_FALSE(empty.OwnsMemory());
}

class BufferReuse : public BufferFixture
{
};

TEST_F(BufferReuse, EndsTheValidityOfTheLastFrameWhenQueued)
{
    Fill();
    buffer.SetState(BufferState::Announced);
    EXPECT_TRUE(buffer.IsComplete());
    EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_NEW_DATA)), 1);
    buffer.SetState(BufferState::Input);
    EXPECT_FALSE(buffer.IsComplete());
    EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_NEW_DATA)), 0);
    EXPECT_EQ(FailureFor(BUFFER_INFO_SIZE_FILLED), NotAvailable(BUFFER_INFO_SIZE_FILLED));
}

TEST_F(BufferReuse, KeepsAllElse)
{
    Fill();
    buffer.SetParts({BufferPartInfo{}, BufferPartInfo{}});
    buffer.SetState(BufferState::Input);
    EXPECT_EQ(buffer.DSGetNumBufferParts(), 2U);
    EXPECT_EQ(buffer.GetMetadata().frameId, 7U);
    EXPECT_EQ(AskFor<bool8_t>(Ask(BUFFER_INFO_CONTAINS_CHUNKDATA)), 1);
    // A frame without chunks leaves the chunks of the earlier one.
    buffer.SetMetadata({.frameId = 8});
    buffer.SetParts({});
    buffer.SetResult(true, 5, true);
    EXPECT_EQ(AskFor<size_t>(Ask(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE)), 99U);
    EXPECT_EQ(AskFor<uint64_t>(Ask(BUFFER_INFO_FRAMEID)), 8U);
    EXPECT_EQ(FailureFor(BUFFER_INFO_WIDTH), NotAvailable(BUFFER_INFO_WIDTH));
}

} // namespace
} // namespace GenTL::internal
