#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/handles.h"
#include "test_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <tuple>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Access = std::tuple<uint64_t, const void *, size_t>;

struct StackedAccess : testing::Test
{
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    TestModule module{proxy, LowerHandle(0xABC)};
    std::array<char, 3> memory{};
    std::array<PORT_REGISTER_STACK_ENTRY, 3> entries{
        {{0x10, &memory[0], 4}, {0x20, &memory[1], 8}, {0x30, &memory[2], 16}}};
    size_t count = entries.size();
    std::vector<Access> accesses;

    /// Makes the access of this number, from 1 on, fail; 0 for none.
    void Serve(size_t failing)
    {
        proxy->onGCReadPort = [this, failing](PORT_HANDLE handle, uint64_t address, void *buffer,
                                              size_t *size) {
            return Note(handle, {address, buffer, *size}, size, failing);
        };
        proxy->onGCWritePort = [this, failing](PORT_HANDLE handle, uint64_t address, const void *buffer,
                                               size_t *size) {
            return Note(handle, {address, buffer, *size}, size, failing);
        };
    }

private:
    GC_ERROR Note(PORT_HANDLE handle, Access access, size_t *size, size_t failing)
    {
        EXPECT_EQ(handle, LowerHandle(0xABC));
        accesses.push_back(access);
        *size = 1;
        if (accesses.size() == failing)
        {
            LowerFailure(GC_ERR_INVALID_ADDRESS, "not there");
        }
        return GC_ERR_SUCCESS;
    }
};

TEST_F(StackedAccess, ReadsEntryByEntryInOrder)
{
    Serve(0);
    module.ReadPortStacked(entries.data(), &count);
    EXPECT_EQ(count, 3U);
    EXPECT_THAT(accesses, ElementsAre(Access{0x10, &memory[0], 4}, Access{0x20, &memory[1], 8},
                                      Access{0x30, &memory[2], 16}));
    EXPECT_THAT(proxy->Calls(), ElementsAre("GCReadPort", "GCReadPort", "GCReadPort"));
}

TEST_F(StackedAccess, WritesEntryByEntryInOrder)
{
    Serve(0);
    module.WritePortStacked(entries.data(), &count);
    EXPECT_EQ(count, 3U);
    EXPECT_THAT(accesses, ElementsAre(Access{0x10, &memory[0], 4}, Access{0x20, &memory[1], 8},
                                      Access{0x30, &memory[2], 16}));
    EXPECT_THAT(proxy->Calls(), ElementsAre("GCWritePort", "GCWritePort", "GCWritePort"));
}

TEST_F(StackedAccess, LeavesTheSizesOfTheEntriesAlone)
{
    Serve(0);
    module.ReadPortStacked(entries.data(), &count);
    module.WritePortStacked(entries.data(), &count);
    // A packed struct: its members are copied, never bound to a reference.
    std::vector<size_t> sizes;
    for (const auto &entry : entries)
    {
        const size_t entrySize = entry.Size;
        sizes.push_back(entrySize);
    }
    EXPECT_THAT(sizes, ElementsAre(4, 8, 16));
}

TEST_F(StackedAccess, CountsTheEntriesBeforeAFailedRead)
{
    Serve(2);
    EXPECT_EQ(FailureOf([&] { module.ReadPortStacked(entries.data(), &count); }),
              (Failure{"not there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(accesses.size(), 2U);
}

TEST_F(StackedAccess, CountsTheEntriesBeforeAFailedWrite)
{
    Serve(3);
    EXPECT_EQ(FailureOf([&] { module.WritePortStacked(entries.data(), &count); }),
              (Failure{"not there", GC_ERR_INVALID_ADDRESS}));
    EXPECT_EQ(count, 2U);
}

TEST_F(StackedAccess, CountsNoneWhenTheFirstFails)
{
    Serve(1);
    EXPECT_EQ(FailureOf([&] { module.ReadPortStacked(entries.data(), &count); }).code,
              GC_ERR_INVALID_ADDRESS);
    EXPECT_EQ(count, 0U);
}

TEST_F(StackedAccess, NamesTheNullArgument)
{
    EXPECT_EQ(FailureOf([&] { module.ReadPortStacked(nullptr, nullptr); }),
              (Failure{"pEntries must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { module.ReadPortStacked(entries.data(), nullptr); }),
              (Failure{"piNumEntries must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { module.WritePortStacked(nullptr, nullptr); }),
              (Failure{"pEntries must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { module.WritePortStacked(entries.data(), nullptr); }),
              (Failure{"piNumEntries must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(StackedAccess, RefusesARequestWithoutEntries)
{
    count = 0;
    const Failure expected{"*piNumEntries must not be 0", GC_ERR_INVALID_PARAMETER};
    EXPECT_EQ(FailureOf([&] { module.ReadPortStacked(entries.data(), &count); }), expected);
    EXPECT_EQ(FailureOf([&] { module.WritePortStacked(entries.data(), &count); }), expected);
    EXPECT_THAT(proxy->Calls(), IsEmpty());
}

TEST_F(StackedAccess, WorksOverAProducerWithoutStackedFunctions)
{
    const auto missing = [](const char *name) { LowerFailure(GC_ERR_NOT_IMPLEMENTED, name); };
    proxy->onGCReadPortStacked = [&](PORT_HANDLE, PORT_REGISTER_STACK_ENTRY *, size_t *)
    {
        missing("GCReadPortStacked");
        return GC_ERR_SUCCESS;
    };
    proxy->onGCGetNumPortURLs = [&](PORT_HANDLE, uint32_t *)
    {
        missing("GCGetNumPortURLs");
        return GC_ERR_SUCCESS;
    };
    EXPECT_NO_THROW(module.ReadPortStacked(entries.data(), &count));
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(FailureOf(
                  [&]
                  {
                      uint32_t urls = 0;
                      module.GetNumPortURLs(&urls);
                  })
                  .code,
              GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(StackedAccess, PassesThroughThePortsOwnSingleAccess)
{
    struct Overriding final : TestModule
    {
        using TestModule::TestModule;

        void ReadPort(uint64_t iAddress, void *, size_t *) override { reads.push_back(iAddress); }
        void WritePort(uint64_t iAddress, const void *, size_t *) override { writes.push_back(iAddress); }

        std::vector<uint64_t> reads;
        std::vector<uint64_t> writes;
    };
    Overriding overriding(proxy, LowerHandle(0xABC));
    overriding.ReadPortStacked(entries.data(), &count);
    count = 2;
    overriding.WritePortStacked(entries.data(), &count);
    EXPECT_THAT(overriding.reads, ElementsAre(0x10, 0x20, 0x30));
    EXPECT_THAT(overriding.writes, ElementsAre(0x10, 0x20));
    EXPECT_THAT(proxy->Calls(), IsEmpty());
}

} // namespace
} // namespace GenTL::internal
