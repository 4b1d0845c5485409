#include "nodemap/register_map.h"

#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace GenTL::internal::nodemap
{
namespace
{

using testing::Each;
using testing::ElementsAre;

constexpr auto maximum = std::numeric_limits<uint64_t>::max();

class RegisterMapTest : public testing::Test
{
protected:
    void Add(RegisterAccess access, uint64_t size, RegisterCallback onRead = {},
             RegisterCallback onWrite = {})
    {
        map.AddRegister({access, map.Size(), size, std::move(onWrite), std::move(onRead), &context, 0},
                        nullptr, 0);
    }

    std::vector<uint8_t> Read(uint64_t address, size_t size)
    {
        std::vector<uint8_t> bytes(size);
        map.Read(address, bytes.data(), size);
        return bytes;
    }

    void Write(uint64_t address, std::vector<uint8_t> bytes)
    {
        map.Write(address, bytes.data(), bytes.size());
    }

    void WriteInternal(uint64_t address, std::vector<uint8_t> bytes)
    {
        map.WriteInternal(address, bytes.data(), bytes.size());
    }

    /// A callback that counts its calls and records its arguments.
    RegisterCallback Noting(int &calls)
    {
        return [this, &calls](std::span<uint8_t> data, void *given)
        {
            ++calls;
            seen.assign(data.begin(), data.end());
            EXPECT_EQ(given, &context);
        };
    }

    RegisterMap map{16};
    int context = 0;
    std::vector<uint8_t> seen;
};

TEST(RegisterAccess, IsDecidedOnTheNumber)
{
    EXPECT_FALSE(IsReadable(RegisterAccess::None) || IsWritable(RegisterAccess::None));
    EXPECT_TRUE(IsReadable(RegisterAccess::ReadOnly) && !IsWritable(RegisterAccess::ReadOnly));
    EXPECT_TRUE(!IsReadable(RegisterAccess::WriteOnly) && IsWritable(RegisterAccess::WriteOnly));
    EXPECT_TRUE(IsReadable(RegisterAccess::ReadWrite) && IsWritable(RegisterAccess::ReadWrite));
}

TEST_F(RegisterMapTest, IsEmptyAtFirst)
{
    EXPECT_EQ(map.Size(), 0U);
    uint8_t byte = 0;
    EXPECT_EQ(FailureOf([&] { map.Read(0, &byte, 1); }),
              (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { map.WriteInternal(0, &byte, 1); }),
              (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
}

TEST_F(RegisterMapTest, RefusesARegisterWithoutSizeBeforeAllElse)
{
    EXPECT_EQ(FailureOf(
                  [&] {
                      map.AddRegister({RegisterAccess::None, 7, 0, {}, {}, nullptr, 0}, "x", 1);
                  }),
              (Failure{"Cannot add a register with a size of 0!", GC_ERR_ERROR}));
    EXPECT_EQ(map.Size(), 0U);
}

TEST_F(RegisterMapTest, RefusesARegisterWithoutAccessBeforeTheRest)
{
    EXPECT_EQ(FailureOf(
                  [&] {
                      map.AddRegister({RegisterAccess::None, 7, 1, {}, {}, nullptr, 0}, "xy", 2);
                  }),
              (Failure{"Cannot add a register with access 'None'!", GC_ERR_ERROR}));
    EXPECT_EQ(map.Size(), 0U);
}

TEST_F(RegisterMapTest, RefusesAnInitialValueLongerThanTheRegister)
{
    EXPECT_EQ(
        FailureOf(
            [&] {
                map.AddRegister({RegisterAccess::ReadOnly, 7, 8, {}, {}, nullptr, 0}, "123456789", 9);
            }),
        (Failure{"Cannot initialize a register with a size of 8 with an value of size 9", GC_ERR_ERROR}));
    EXPECT_EQ(map.Size(), 0U);
}

TEST_F(RegisterMapTest, BeginsAtAddressZero)
{
    EXPECT_EQ(FailureOf(
                  [&] {
                      map.AddRegister({RegisterAccess::ReadOnly, 0xAB, 4, {}, {}, nullptr, 0}, nullptr, 0);
                  }),
              (Failure{"The first registers start address must be 0x0 instead of 0xAB!", GC_ERR_ERROR}));
    EXPECT_EQ(map.Size(), 0U);
}

TEST_F(RegisterMapTest, LeavesNoGapAndNamesBothAddressesInUpperCase)
{
    Add(RegisterAccess::ReadOnly, 0xAB);
    const auto addAt = [&](uint64_t address) {
        map.AddRegister({RegisterAccess::ReadOnly, address, 4, {}, {}, nullptr, 0}, nullptr, 0);
    };
    EXPECT_EQ(FailureOf([&] { addAt(0xAC); }),
              (Failure{"The registers start address 0xAC must be right after the last registers address "
                       "+ size (0xAB).",
                       GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { addAt(0xAA); }).code, GC_ERR_ERROR);
    EXPECT_EQ(FailureOf([&] { addAt(0); }).code, GC_ERR_ERROR);
    EXPECT_EQ(map.Size(), 0xABU);
    addAt(0xAB);
    EXPECT_EQ(map.Size(), 0xAFU);
}

TEST_F(RegisterMapTest, FillsAShortInitialValueWithZeros)
{
    map.AddRegister({RegisterAccess::ReadOnly, 0, 8, {}, {}, nullptr, 0}, "\1\2\3\4", 4);
    EXPECT_THAT(Read(0, 8), ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
}

TEST_F(RegisterMapTest, IgnoresTheStorageOffsetOfTheCaller)
{
    map.AddRegister({RegisterAccess::ReadWrite, 0, 2, {}, {}, nullptr, 1234}, "\1\2", 2);
    map.AddRegister({RegisterAccess::ReadWrite, 2, 2, {}, {}, nullptr, maximum}, "\3\4", 2);
    EXPECT_THAT(Read(0, 4), ElementsAre(1, 2, 3, 4));
}

TEST_F(RegisterMapTest, RunsReadCallbacksOnWholeRegisters)
{
    int calls = 0;
    Add(RegisterAccess::ReadOnly, 8, Noting(calls));
    WriteInternal(0, {10, 11, 12, 13, 14, 15, 16, 17});
    EXPECT_THAT(Read(2, 4), ElementsAre(12, 13, 14, 15));
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(seen, ElementsAre(10, 11, 12, 13, 14, 15, 16, 17));
}

TEST_F(RegisterMapTest, ShowsWhatTheReadCallbackHasWritten)
{
    Add(RegisterAccess::ReadOnly, 2, [](std::span<uint8_t> data, void *) { ++data[0]; });
    EXPECT_THAT(Read(0, 1), ElementsAre(1));
    EXPECT_THAT(Read(0, 1), ElementsAre(2));
}

TEST_F(RegisterMapTest, RunsOnlyCallbacksOfTouchedRegisters)
{
    std::array<int, 4> calls{};
    for (auto &count : calls)
    {
        Add(RegisterAccess::ReadWrite, 2, Noting(count), Noting(count));
    }
    WriteInternal(0, {0, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_THAT(calls, Each(0));
    EXPECT_THAT(Read(3, 2), ElementsAre(3, 4));
    EXPECT_THAT(calls, ElementsAre(0, 1, 1, 0));
    EXPECT_THAT(Read(2, 2), ElementsAre(2, 3));
    EXPECT_THAT(calls, ElementsAre(0, 2, 1, 0));
    Write(5, {9, 9, 9});
    EXPECT_THAT(calls, ElementsAre(0, 2, 2, 1));
    EXPECT_THAT(Read(0, 8), ElementsAre(0, 1, 2, 3, 4, 9, 9, 9));
}

TEST_F(RegisterMapTest, RunsReadCallbacksUpToAFailure)
{
    int calls = 0;
    Add(RegisterAccess::ReadOnly, 2, Noting(calls));
    Add(RegisterAccess::WriteOnly, 2, Noting(calls));
    EXPECT_EQ(FailureOf([&] { Read(1, 2); }), (Failure{"Register not readable", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(calls, 1);
}

TEST_F(RegisterMapTest, RunsWriteCallbacksUpToAFailure)
{
    int calls = 0;
    Add(RegisterAccess::ReadWrite, 2, {}, Noting(calls));
    Add(RegisterAccess::ReadOnly, 2, {}, Noting(calls));
    EXPECT_EQ(FailureOf(
                  [&] {
                      Write(0, {1, 2, 3, 4});
                  }),
              (Failure{"Register not writable", GC_ERR_ACCESS_DENIED}));
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(Read(0, 4), Each(0));
}

TEST_F(RegisterMapTest, RunsWriteCallbacksBeforeStoring)
{
    std::vector<std::vector<uint8_t>> writes;
    std::vector<uint8_t> stored;
    const auto onWrite = [&](std::span<uint8_t> data, void *)
    {
        writes.emplace_back(data.begin(), data.end());
        stored = Read(0, 4);
        data[3] = 99;
    };
    Add(RegisterAccess::ReadWrite, 2, {}, onWrite);
    Add(RegisterAccess::ReadWrite, 2, {}, onWrite);
    std::array<uint8_t, 4> bytes{1, 2, 3, 4};
    map.Write(0, bytes.data(), bytes.size());
    EXPECT_THAT(writes, ElementsAre(ElementsAre(1, 2, 3, 4), ElementsAre(1, 2, 3, 99)));
    EXPECT_THAT(stored, Each(0));
    EXPECT_THAT(Read(0, 4), ElementsAre(1, 2, 3, 99));
    EXPECT_THAT(bytes, ElementsAre(1, 2, 3, 4)) << "the caller's own bytes stay as they are";
}

TEST_F(RegisterMapTest, WritesInternallyPastAccessAndCallbacks)
{
    int calls = 0;
    Add(RegisterAccess::ReadOnly, 2, {}, Noting(calls));
    WriteInternal(0, {1, 2});
    EXPECT_EQ(calls, 0);
    EXPECT_THAT(Read(0, 2), ElementsAre(1, 2));
}

TEST_F(RegisterMapTest, ReadCallbacksOverrideInternalWrites)
{
    Add(RegisterAccess::ReadOnly, 2, [](std::span<uint8_t> data, void *) { data[1] = 7; });
    WriteInternal(0, {1, 2});
    EXPECT_THAT(Read(0, 2), ElementsAre(1, 7));
}

TEST_F(RegisterMapTest, EndsExactlyAtItsSize)
{
    Add(RegisterAccess::ReadWrite, 4);
    Add(RegisterAccess::ReadWrite, 4);
    EXPECT_NO_THROW(Read(4, 4));
    EXPECT_NO_THROW(Read(0, 8));
    EXPECT_NO_THROW(Write(7, {1}));
    EXPECT_EQ(FailureOf([&] { Read(4, 5); }), (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { Read(8, 1); }), (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { Write(7, {1, 2}); }), (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { WriteInternal(8, {1}); }),
              (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
}

TEST_F(RegisterMapTest, IsNotFooledByARangeThatWraps)
{
    Add(RegisterAccess::ReadWrite, 8);
    uint64_t value = 0;
    for (const uint64_t address : {maximum, maximum - 3, maximum - 7})
    {
        EXPECT_EQ(FailureOf([&] { map.Read(address, &value, sizeof value); }),
                  (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
        EXPECT_EQ(FailureOf([&] { map.Write(address, &value, sizeof value); }),
                  (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
    }
    EXPECT_EQ(FailureOf([&] { map.Read(4, &value, maximum - 1); }),
              (Failure{"Read out of bounds", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(FailureOf([&] { map.WriteInternal(4, &value, maximum - 1); }),
              (Failure{"Write out of bounds", GC_ERR_INVALID_ADDRESS}));
}

TEST_F(RegisterMapTest, StaysUnchangedWhenMemoryRunsOut)
{
    Add(RegisterAccess::ReadWrite, 4);
    EXPECT_THROW(Add(RegisterAccess::ReadWrite, maximum), std::exception);
    EXPECT_EQ(map.Size(), 4U);
    Add(RegisterAccess::ReadWrite, 4);
    EXPECT_THAT(Read(0, 8), Each(0));
}

TEST_F(RegisterMapTest, ChecksBufferThenSizeThenRange)
{
    uint8_t byte = 0;
    EXPECT_EQ(FailureOf([&] { map.Read(99, nullptr, 0); }),
              (Failure{"Invalid buffer pointer", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { map.Write(99, nullptr, 0); }),
              (Failure{"Invalid buffer pointer", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { map.WriteInternal(99, nullptr, 0); }),
              (Failure{"Invalid buffer pointer", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { map.Read(99, &byte, 0); }),
              (Failure{"Cannot read an empty buffer", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(FailureOf([&] { map.Write(99, &byte, 0); }),
              (Failure{"Cannot write an empty buffer", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(FailureOf([&] { map.WriteInternal(99, &byte, 0); }),
              (Failure{"Cannot write an empty buffer", GC_ERR_BUFFER_TOO_SMALL}));
}

TEST_F(RegisterMapTest, LetsACallbackUseItsOwnMap)
{
    Add(RegisterAccess::ReadWrite, 2);
    Add(
        RegisterAccess::ReadWrite, 2,
        [this](std::span<uint8_t> data, void *) { data[0] = static_cast<uint8_t>(Read(0, 1)[0] + 1); },
        [this](std::span<uint8_t> data, void *) {
            Write(0, {data[0], data[0]});
        });
    Write(2, {5, 5});
    EXPECT_THAT(Read(0, 4), ElementsAre(5, 5, 6, 5));
}

TEST_F(RegisterMapTest, PassesOnWhatACallbackThrowsAndUnlocks)
{
    const auto fail = [](std::span<uint8_t>, void *) { throw std::runtime_error("callback"); };
    Add(RegisterAccess::ReadWrite, 2, {}, fail);
    Add(RegisterAccess::ReadOnly, 2, fail);
    EXPECT_EQ(FailureOf([&] { Write(0, {1, 2}); }), PlainFailure("callback"));
    EXPECT_EQ(FailureOf([&] { Read(2, 2); }), PlainFailure("callback"));
    // Another thread gets the lock, and the bytes are unchanged.
    std::thread([this] { EXPECT_THAT(Read(0, 2), Each(0)); }).join();
}

TEST_F(RegisterMapTest, ServesManyThreadsOneAfterTheOther)
{
    // A torn write or read would show as unequal bytes. The counter is not atomic, so only the map's lock
    // protects it.
    int calls = 0;
    Add(RegisterAccess::ReadWrite, 64, [&calls](std::span<uint8_t>, void *) { ++calls; });
    Add(RegisterAccess::ReadOnly, 64);
    constexpr int rounds = 500;
    std::vector<std::jthread> threads;
    for (uint8_t id = 0; id < 4; ++id)
    {
        threads.emplace_back(
            [this, id]
            {
                for (int i = 0; i < rounds; ++i)
                {
                    Write(0, std::vector<uint8_t>(64, id));
                    WriteInternal(64, std::vector<uint8_t>(64, id));
                    const auto bytes = Read(0, 64);
                    EXPECT_THAT(bytes, Each(bytes[0]));
                    const auto others = Read(64, 64);
                    EXPECT_THAT(others, Each(others[0]));
                }
            });
    }
    threads.clear();
    EXPECT_EQ(calls, 4 * rounds);
}

} // namespace
} // namespace GenTL::internal::nodemap
