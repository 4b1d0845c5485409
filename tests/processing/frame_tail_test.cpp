#include "processing/frame_tail.h"

#include "support/failure.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

namespace GenTL::internal
{
namespace
{

using TailBytes = std::vector<uint8_t>;

struct FoundTail
{
    uint64_t begin;
    uint64_t end;
    bool hasImageTrailer;

    friend bool operator==(const FoundTail &, const FoundTail &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const FoundTail &tail)
    {
        return stream << tail.begin << " to " << tail.end << (tail.hasImageTrailer ? " with trailer" : "");
    }
};

/// A buffer with an image of 6 bytes and a chunk of 4, each with its trailer, and two bytes that were not
/// sent.
class FrameTailTest : public testing::Test
{
protected:
    void SetTrailers(ChunkTrailers trailers)
    {
        const bool isBig = trailers == ChunkTrailers::BigEndian;
        bytes = {1, 2, 3, 4, 5, 6};
        Append({0xA0, 0xA1, 0xA2, 0xA3});
        Append(isBig ? TailBytes{0, 0, 0, 6} : TailBytes{6, 0, 0, 0});
        Append({'d', 'a', 't', 'a'});
        Append({0xB0, 0xB1, 0xB2, 0xB3});
        Append(isBig ? TailBytes{0, 0, 0, 4} : TailBytes{4, 0, 0, 0});
        Append({0xEE, 0xEE});
        input.data = bytes.data();
        input.size = bytes.size();
        input.sizeFilled = 26;
        input.trailers = trailers;
        input.chunks = ChunkList{.payloadSize = 26, .layoutId = 9, .entries = {{0xA, 0, 6}, {0xB, 14, 4}}};
    }

    void Append(const TailBytes &more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

    std::optional<FoundTail> Find(uint64_t imageBegin = 0, uint64_t imageEnd = 6) const
    {
        const auto tail = FindTail(input, imageBegin, imageEnd);
        return tail ? std::optional(FoundTail{tail->begin, tail->end, tail->hasImageTrailer}) : std::nullopt;
    }

    GC_ERROR CodeOfFind() const
    {
        return FailureOf([&] { FindTail(input, 0, 6); }).code;
    }

    using Entry = std::tuple<uint64_t, ptrdiff_t, size_t>; ///< id, offset, length

    /// Moves the tail behind an image of this many bytes.
    std::vector<Entry> Move(uint64_t target)
    {
        moved = MoveTail(input, FindTail(input, 0, 6).value(), output, target);
        std::vector<Entry> entries;
        for (const ChunkEntry entry : moved.entries)
        {
            entries.emplace_back(entry.ChunkID, entry.ChunkOffset, entry.ChunkLength);
        }
        return entries;
    }

    TailBytes OutputAt(size_t begin, size_t count) const
    {
        const auto first = output.begin() + static_cast<ptrdiff_t>(begin);
        return {first, first + static_cast<ptrdiff_t>(count)};
    }

    TailBytes bytes;
    TailBytes output = TailBytes(40, 0xCC);
    InputData input;
    ChunkList moved;
};

TEST_F(FrameTailTest, BeginsWithTheTrailerOfTheImage)
{
    for (const auto trailers : {ChunkTrailers::BigEndian, ChunkTrailers::LittleEndian})
    {
        SetTrailers(trailers);
        EXPECT_EQ(Find(), (FoundTail{6, 26, true}));
    }
}

TEST_F(FrameTailTest, IsMovedWithTheNewLengthInTheImagesTrailer)
{
    SetTrailers(ChunkTrailers::BigEndian);
    EXPECT_EQ(Move(12), (std::vector<Entry>{{0xA, 0, 12}, {0xB, 20, 4}}));
    EXPECT_EQ(OutputAt(11, 22), (TailBytes{0xCC, 0xA0, 0xA1, 0xA2, 0xA3, 0,    0, 0, 12, 'd', 'a',
                                           't',  'a',  0xB0, 0xB1, 0xB2, 0xB3, 0, 0, 0,  4,   0xCC}));
    EXPECT_EQ(moved.payloadSize, 32U);
    EXPECT_EQ(moved.layoutId, 9U);
}

TEST_F(FrameTailTest, KeepsTheByteOrderOfTheTrailers)
{
    SetTrailers(ChunkTrailers::LittleEndian);
    Move(12);
    EXPECT_EQ(OutputAt(12, 8), (TailBytes{0xA0, 0xA1, 0xA2, 0xA3, 12, 0, 0, 0}));
}

TEST_F(FrameTailTest, MayMoveTowardsTheFront)
{
    SetTrailers(ChunkTrailers::BigEndian);
    EXPECT_EQ(Move(4), (std::vector<Entry>{{0xA, 0, 4}, {0xB, 12, 4}}));
    EXPECT_EQ(moved.payloadSize, 24U);
}

TEST_F(FrameTailTest, GoesByTheListWithoutTrailers)
{
    SetTrailers(ChunkTrailers::BigEndian);
    input.trailers = ChunkTrailers::None;
    EXPECT_EQ(Find(), (FoundTail{6, 26, false}));
    EXPECT_EQ(Move(12), (std::vector<Entry>{{0xA, 0, 12}, {0xB, 20, 4}}));
    EXPECT_EQ(OutputAt(16, 4), (TailBytes{0, 0, 0, 6})) << "nobody reads it as a trailer";
}

TEST_F(FrameTailTest, GoesByTheListWhenTheTrailersLeadElsewhere)
{
    SetTrailers(ChunkTrailers::BigEndian);
    for (const auto length : std::array<uint8_t, 4>{0, 5, 7, 255})
    {
        bytes.at(13) = length;
        EXPECT_EQ(Find(), (FoundTail{6, 26, false})) << int{length};
    }
    bytes.at(13) = 6;
    bytes.at(22) = 0x80;
    EXPECT_EQ(Find(), (FoundTail{6, 26, false})) << "a length of 2 GB";
}

TEST_F(FrameTailTest, GoesByTheListWhenTheTrailersCutIntoTheImage)
{
    SetTrailers(ChunkTrailers::BigEndian);
    EXPECT_EQ(Find(0, 7), (FoundTail{6, 26, false}));
}

TEST_F(FrameTailTest, TakesWhatLiesBeforeTheFirstChunkForTheImage)
{
    SetTrailers(ChunkTrailers::BigEndian);
    input.trailers = ChunkTrailers::None;
    input.chunks->entries = {{0xC, 20, 2}, {0xB, 14, 4}};
    EXPECT_EQ(Find(), (FoundTail{14, 26, false}));
    EXPECT_EQ(Move(16), (std::vector<Entry>{{0xC, 22, 2}, {0xB, 16, 4}}));
}

TEST_F(FrameTailTest, IsAllBehindThePixelsWithoutAList)
{
    SetTrailers(ChunkTrailers::None);
    input.chunks->entries.clear();
    EXPECT_EQ(Find(0, 7), (FoundTail{7, 26, false}));
    EXPECT_EQ(Find(0, 99), (FoundTail{26, 26, false}));
}

TEST_F(FrameTailTest, FollowsAnImageThatBeginsLater)
{
    SetTrailers(ChunkTrailers::LittleEndian);
    bytes.at(10) = 4;
    input.chunks->entries = {{0xA, 2, 4}, {0xB, 14, 4}};
    EXPECT_EQ(Find(2, 6), (FoundTail{6, 26, true}));
    const auto tail = FindTail(input, 2, 6).value();
    const auto list = MoveTail(input, tail, output, 8);
    EXPECT_EQ(list.entries.at(0).ChunkOffset, 0);
    EXPECT_EQ(list.entries.at(1).ChunkOffset, 16);
}

TEST_F(FrameTailTest, DoesNotExistWithoutChunks)
{
    SetTrailers(ChunkTrailers::BigEndian);
    input.chunks.reset();
    EXPECT_EQ(Find(), std::nullopt);
}

TEST_F(FrameTailTest, RefusesChunksOutsideOfTheBytesDelivered)
{
    SetTrailers(ChunkTrailers::BigEndian);
    for (const auto &entry : {ChunkEntry{1, 23, 4}, ChunkEntry{1, -1, 1}, ChunkEntry{1, 0, SIZE_MAX}})
    {
        input.chunks->entries = {{0xA, 0, 6}, entry};
        EXPECT_EQ(CodeOfFind(), GC_ERR_PARSING_CHUNK_DATA);
    }
}

TEST_F(FrameTailTest, RefusesMoreBytesThanTheBufferHas)
{
    SetTrailers(ChunkTrailers::BigEndian);
    input.sizeFilled = 29;
    EXPECT_EQ(FailureOf([&] { FindTail(input, 0, 6); }),
              (Failure{"29 bytes cannot lie in a buffer of 28 bytes!", GC_ERR_ERROR}));
    input.sizeFilled.reset();
    EXPECT_EQ(DeliveredBytes(input), 28U);
}

TEST_F(FrameTailTest, KeepsAnUnknownPayloadSize)
{
    SetTrailers(ChunkTrailers::BigEndian);
    input.chunks->payloadSize = 0;
    Move(12);
    EXPECT_EQ(moved.payloadSize, 0U);
}

} // namespace
} // namespace GenTL::internal
