#include "port/port_overrides.h"

#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Bytes = std::vector<uint8_t>;
using Part = std::pair<uint64_t, size_t>; ///< address, size

constexpr uint64_t highest = std::numeric_limits<uint64_t>::max();

/// Overrides in front of a device of which every byte is its address.
class PortOverridesTest : public testing::Test
{
protected:
    /// An override that gives one byte again and again, and claims to have given `claimed` bytes.
    static PortCallback Answer(uint8_t byte, uint64_t length, size_t claimed)
    {
        return {.Name = "Answer",
                .OnRead =
                    [byte, claimed](void *buffer, size_t *size)
                {
                    std::memset(buffer, byte, *size);
                    *size = claimed;
                    return true;
                },
                .OnWrite = {},
                .Length = length};
    }
    static PortCallback Answer(uint8_t byte, uint64_t length) { return Answer(byte, length, length); }

    /// An override that keeps what is written, and answers with `isHandled`.
    PortCallback Keeper(uint64_t length, bool isHandled)
    {
        return {.Name = "Keeper",
                .OnRead = {},
                .OnWrite =
                    [this, isHandled](const void *buffer, size_t *size)
                {
                    const auto *bytes = static_cast<const uint8_t *>(buffer);
                    kept.emplace_back(bytes, bytes + *size);
                    return isHandled;
                },
                .Length = length};
    }

    Bytes Read(uint64_t address, size_t size)
    {
        Bytes bytes(size, 0xEE);
        overrides.Read(address, bytes.data(), size,
                       [this](uint64_t from, void *buffer, size_t count)
                       {
                           gaps.emplace_back(from, count);
                           for (size_t i = 0; i < count; ++i)
                           {
                               static_cast<uint8_t *>(buffer)[i] = static_cast<uint8_t>(from + i);
                           }
                       });
        return bytes;
    }

    /// Writes bytes that are their own addresses.
    void Write(uint64_t address, size_t size)
    {
        Bytes bytes(size);
        std::iota(bytes.begin(), bytes.end(), static_cast<uint8_t>(address));
        overrides.Write(address, bytes.data(), size,
                        [this](uint64_t to, const void *buffer, size_t count)
                        {
                            gaps.emplace_back(to, count);
                            const std::span written(static_cast<const uint8_t *>(buffer), count);
                            EXPECT_TRUE(count == 0 || written.front() == static_cast<uint8_t>(to)) << to;
                        });
    }

    PortOverrides overrides;
    std::vector<Part> gaps; ///< what went on to the device, in order
    std::vector<Bytes> kept;
};

TEST_F(PortOverridesTest, PassOnARequestWithoutOverrides)
{
    EXPECT_THAT(Read(0x10, 3), ElementsAre(0x10, 0x11, 0x12));
    Write(0x20, 5);
    EXPECT_THAT(gaps, ElementsAre(Part(0x10, 3), Part(0x20, 5)));
}

TEST_F(PortOverridesTest, AnswerForARegisterWithoutTheDevice)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 4));
    EXPECT_THAT(Read(0x10, 4), ElementsAre(0xAA, 0xAA, 0xAA, 0xAA));
    EXPECT_THAT(gaps, IsEmpty());
}

TEST_F(PortOverridesTest, PassByARegisterThatARequestCoversInPart)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 4));
    auto keeper = Keeper(4, true);
    overrides.AddPortCallback(0x10, keeper);
    for (const auto &[address, size] : {Part(0x11, 2), Part(0x10, 3), Part(0x11, 3), Part(0x0F, 4),
                                        Part(0x11, 8), Part(0x0E, 2), Part(0x14, 4)})
    {
        gaps.clear();
        EXPECT_EQ(Read(address, size).front(), address);
        Write(address, size);
        EXPECT_THAT(gaps, ElementsAre(Part(address, size), Part(address, size)));
    }
    EXPECT_THAT(kept, IsEmpty());
}

TEST_F(PortOverridesTest, ReadGapsFromTheDeviceInAscendingOrder)
{
    overrides.AddPortCallback(0x16, Answer(0xBB, 2));
    overrides.AddPortCallback(0x11, Answer(0xAA, 2));
    overrides.AddPortCallback(0x18, Answer(0xCC, 1)); // right behind another one
    EXPECT_THAT(Read(0x10, 10), ElementsAre(0x10, 0xAA, 0xAA, 0x13, 0x14, 0x15, 0xBB, 0xBB, 0xCC, 0x19));
    EXPECT_THAT(gaps, ElementsAre(Part(0x10, 1), Part(0x13, 3), Part(0x19, 1)));
}

TEST_F(PortOverridesTest, ReadNoByteTwiceWhereRegistersOverlap)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 6));
    overrides.AddPortCallback(0x12, Answer(0xAA, 2));
    EXPECT_THAT(Read(0x10, 8), ElementsAre(0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0x16, 0x17));
    EXPECT_THAT(gaps, ElementsAre(Part(0x16, 2)));
}

TEST_F(PortOverridesTest, ReadFromTheDeviceWhatAnOverrideLeaves)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 4, 1));
    EXPECT_THAT(Read(0x10, 6), ElementsAre(0xAA, 0x11, 0x12, 0x13, 0x14, 0x15));
    EXPECT_THAT(gaps, ElementsAre(Part(0x11, 5)));
}

TEST_F(PortOverridesTest, TakeAnOverridesWordForMoreThanItsLength)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 1, 3));
    EXPECT_THAT(Read(0x10, 4), ElementsAre(0xAA, 0xEE, 0xEE, 0x13));
    EXPECT_THAT(gaps, ElementsAre(Part(0x13, 1)));
}

TEST_F(PortOverridesTest, ReadTheDeviceForAnUnhandledOverride)
{
    overrides.AddPortCallback(
        0x11,
        {.Name = "Unwilling", .OnRead = [](void *, size_t *) { return false; }, .OnWrite = {}, .Length = 2});
    EXPECT_THAT(Read(0x10, 4), ElementsAre(0x10, 0x11, 0x12, 0x13));
    EXPECT_THAT(gaps, ElementsAre(Part(0x10, 4)));
}

TEST_F(PortOverridesTest, ReadTheDeviceWhereOnlyWritesAreOverridden)
{
    overrides.AddPortCallback(0x11, Keeper(2, true));
    EXPECT_THAT(Read(0x10, 4), ElementsAre(0x10, 0x11, 0x12, 0x13));
    EXPECT_THAT(gaps, ElementsAre(Part(0x10, 4)));
}

TEST_F(PortOverridesTest, KeepWhatAnOverrideTakesFromTheDevice)
{
    overrides.AddPortCallback(0x12, Keeper(2, true));
    Write(0x10, 6);
    EXPECT_THAT(kept, ElementsAre(Bytes{0x12, 0x13}));
    EXPECT_THAT(gaps, ElementsAre(Part(0x10, 2), Part(0x14, 2)));
}

TEST_F(PortOverridesTest, WriteARegisterOnItsOwnThatNoOverrideTakes)
{
    overrides.AddPortCallback(0x12, Keeper(2, false));
    Write(0x10, 6);
    EXPECT_THAT(kept, ElementsAre(Bytes{0x12, 0x13}));
    EXPECT_THAT(gaps, ElementsAre(Part(0x12, 2), Part(0x10, 2), Part(0x14, 2)));
}

TEST_F(PortOverridesTest, WriteARegisterWithReadOverrideOnItsOwn)
{
    overrides.AddPortCallback(0x12, Answer(0xAA, 2));
    Write(0x10, 6);
    EXPECT_THAT(gaps, ElementsAre(Part(0x12, 2), Part(0x10, 2), Part(0x14, 2)));
}

TEST_F(PortOverridesTest, WriteTheRegistersFirstAndTheGapsBehindThem)
{
    for (const uint64_t address : {0x11U, 0x15U, 0x19U})
    {
        overrides.AddPortCallback(address, Answer(0xAA, 2));
    }
    Write(0x10, 12);
    ASSERT_EQ(gaps.size(), 7U);
    EXPECT_THAT(std::vector(gaps.begin(), gaps.begin() + 3),
                UnorderedElementsAre(Part(0x11, 2), Part(0x15, 2), Part(0x19, 2)));
    EXPECT_THAT(std::vector(gaps.begin() + 3, gaps.end()),
                ElementsAre(Part(0x10, 1), Part(0x13, 2), Part(0x17, 2), Part(0x1B, 1)));
}

TEST_F(PortOverridesTest, WriteTheRestOfARefusedAndShortenedOverride)
{
    overrides.AddPortCallback(0x10, {.Name = "Odd",
                                     .OnRead = {},
                                     .OnWrite =
                                         [](const void *, size_t *size)
                                     {
                                         *size = 1;
                                         return false;
                                     },
                                     .Length = 4});
    Write(0x10, 4);
    EXPECT_THAT(gaps, ElementsAre(Part(0x10, 4)));
}

TEST_F(PortOverridesTest, WriteToTheDeviceWhatAnOverrideLeaves)
{
    overrides.AddPortCallback(0x10, {.Name = "Half",
                                     .OnRead = {},
                                     .OnWrite =
                                         [](const void *, size_t *size)
                                     {
                                         *size = 4;
                                         return true;
                                     },
                                     .Length = 8});
    Write(0x10, 8);
    EXPECT_THAT(gaps, ElementsAre(Part(0x14, 4)));
}

TEST_F(PortOverridesTest, RefuseTwoLengthsOfOneRegister)
{
    auto first = Answer(0xAA, 4);
    first.Name = "First";
    overrides.AddPortCallback(1000, first);
    EXPECT_EQ(FailureOf([&] { overrides.AddPortCallback(1000, Answer(0xBB, 8)); }),
              (Failure{"Port callback register size mismatch detected on 1000 (First)", GC_ERR_ERROR}));
    EXPECT_EQ(Read(1000, 4), Bytes(4, 0xAA));
    EXPECT_NO_THROW(overrides.AddPortCallback(1001, Answer(0xBB, 8)));
}

TEST_F(PortOverridesTest, NameTheHighestAddressInDecimal)
{
    overrides.AddPortCallback(highest, Answer(0xAA, highest));
    EXPECT_EQ(FailureOf([&] { overrides.AddPortCallback(highest, Answer(0xBB, 0)); }),
              (Failure{"Port callback register size mismatch detected on 18446744073709551615 (Answer)",
                       GC_ERR_ERROR}));
}

TEST_F(PortOverridesTest, LetALaterRegistrationWin)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 2));
    overrides.AddPortCallback(0x10, Answer(0xBB, 2));
    EXPECT_THAT(Read(0x10, 2), ElementsAre(0xBB, 0xBB));
}

TEST_F(PortOverridesTest, KeepThePartThatALaterRegistrationLacks)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, 2));
    overrides.AddPortCallback(0x10, Keeper(2, true));
    EXPECT_THAT(Read(0x10, 2), ElementsAre(0xAA, 0xAA));
    overrides.AddPortCallback(0x10, Answer(0xBB, 2));
    Write(0x10, 2);
    EXPECT_THAT(kept, ElementsAre(Bytes{0x10, 0x11}));
    EXPECT_THAT(gaps, IsEmpty());
}

TEST_F(PortOverridesTest, PassOnAFailureAndLeaveTheRestAlone)
{
    overrides.AddPortCallback(
        0x11, {.Name = "Broken",
               .OnRead = [](void *, size_t *) -> bool { throw GenTLException("broken", GC_ERR_IO); },
               .OnWrite = [](const void *, size_t *) -> bool { throw GenTLException("broken", GC_ERR_IO); },
               .Length = 2});
    EXPECT_EQ(FailureOf([&] { Read(0x10, 4); }), (Failure{"broken", GC_ERR_IO}));
    EXPECT_EQ(FailureOf([&] { Write(0x10, 4); }), (Failure{"broken", GC_ERR_IO}));
    EXPECT_THAT(gaps, IsEmpty());
}

TEST_F(PortOverridesTest, ReachTheLastRegisterOfTheAddressSpace)
{
    overrides.AddPortCallback(highest - 3, Answer(0xAA, 4));
    EXPECT_THAT(Read(highest - 3, 4), ElementsAre(0xAA, 0xAA, 0xAA, 0xAA));
    EXPECT_THAT(Read(highest - 5, 6), ElementsAre(0xFA, 0xFB, 0xAA, 0xAA, 0xAA, 0xAA));
    EXPECT_THAT(Read(highest - 2, 3), ElementsAre(0xFD, 0xFE, 0xFF));
    EXPECT_THAT(gaps, ElementsAre(Part(highest - 5, 2), Part(highest - 2, 3)));
}

TEST_F(PortOverridesTest, SkipARegisterLongerThanTheAddressSpace)
{
    overrides.AddPortCallback(0x10, Answer(0xAA, highest));
    overrides.AddPortCallback(highest - 1, Answer(0xBB, 4));
    overrides.AddPortCallback(0x20, Answer(0xCC, highest - 0x20));
    EXPECT_THAT(Read(0x10, 2), ElementsAre(0x10, 0x11));
    EXPECT_THAT(Read(0x0F, 3), ElementsAre(0x0F, 0x10, 0x11));
    EXPECT_THAT(Read(highest - 1, 2), ElementsAre(0xFE, 0xFF));
    EXPECT_THAT(Read(0x20, 1), ElementsAre(0x20));
    Write(0x10, 2);
    Write(highest - 1, 2);
    EXPECT_EQ(gaps.size(), 6U);
}

} // namespace
} // namespace GenTL::internal
