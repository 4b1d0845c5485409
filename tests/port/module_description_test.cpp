#include "port/module_description.h"

#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/handles.h"
#include "test_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;

struct ModuleDescription : testing::Test
{
    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    TestModule module{proxy, LowerHandle(0xABC)};
    uint64_t announcedSize = 6;
    std::vector<URL_INFO_CMD> queries;

    void SetUp() override
    {
        proxy->onGCGetPortURLInfo = [this](PORT_HANDLE handle, uint32_t index, URL_INFO_CMD command,
                                           INFO_DATATYPE *type, void *buffer, size_t *size)
        {
            EXPECT_EQ(handle, LowerHandle(0xABC));
            EXPECT_EQ(index, 0U);
            EXPECT_EQ(*type, INFO_DATATYPE_UINT64);
            EXPECT_EQ(*size, 8U);
            queries.push_back(command);
            const uint64_t value = command == URL_INFO_FILE_SIZE ? announcedSize : 0xF000;
            std::memcpy(buffer, &value, sizeof value);
            return GC_ERR_SUCCESS;
        };
    }

    /// Makes a read give this text, and report this size.
    void ServeRead(std::string text, size_t reportedSize)
    {
        proxy->onGCReadPort =
            [this, text, reportedSize](PORT_HANDLE handle, uint64_t address, void *buffer, size_t *size)
        {
            EXPECT_EQ(handle, LowerHandle(0xABC));
            EXPECT_EQ(address, 0xF000U);
            EXPECT_EQ(*size, announcedSize);
            std::memcpy(buffer, text.data(), text.size());
            *size = reportedSize;
            return GC_ERR_SUCCESS;
        };
    }

    std::string Read()
    {
        const auto bytes = ReadDescription(module);
        return {bytes.begin(), bytes.end()};
    }
};

TEST_F(ModuleDescription, IsReadFromTheRangeOfTheFirstUrl)
{
    ServeRead("<xml/>", 6);
    EXPECT_EQ(Read(), "<xml/>");
    EXPECT_THAT(queries, ElementsAre(URL_INFO_FILE_REGISTER_ADDRESS, URL_INFO_FILE_SIZE));
    EXPECT_THAT(proxy->Calls(), ElementsAre("GCGetPortURLInfo", "GCGetPortURLInfo", "GCReadPort"));
}

TEST_F(ModuleDescription, HasAsManyBytesAsTheReadReported)
{
    ServeRead("<xml/>", 4);
    EXPECT_EQ(Read(), "<xml");
}

TEST_F(ModuleDescription, HasZeroesWhereTheReadWroteNothing)
{
    announcedSize = 8;
    ServeRead("<xml/>", 8);
    EXPECT_EQ(Read(), std::string("<xml/>\0\0", 8));
}

TEST_F(ModuleDescription, IsNeverLongerThanAnnounced)
{
    ServeRead("<xml/>", 600);
    EXPECT_EQ(Read(), "<xml/>");
}

TEST_F(ModuleDescription, FailsOverAProducerWithoutUrlInfos)
{
    proxy->onGCGetPortURLInfo = [](PORT_HANDLE, uint32_t, URL_INFO_CMD, INFO_DATATYPE *, void *,
                                   size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_NOT_IMPLEMENTED, "no such function"); };
    EXPECT_EQ(FailureOf([&] { Read(); }), (Failure{"no such function", GC_ERR_NOT_IMPLEMENTED}));
}

TEST_F(ModuleDescription, FailsWithTheRead)
{
    proxy->onGCReadPort = [](PORT_HANDLE, uint64_t, void *, size_t *) -> GC_ERROR
    { LowerFailure(GC_ERR_IO, "no answer"); };
    EXPECT_EQ(FailureOf([&] { Read(); }), (Failure{"no answer", GC_ERR_IO}));
}

} // namespace
} // namespace GenTL::internal
