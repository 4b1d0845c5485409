#include "genapi/register_cache.h"

#include "register_device.h"
#include "support/failure.h"

#include <gtest/gtest.h>

#include <string>

namespace GenTL::internal::genapi
{
namespace
{

TEST(RegisterCache, ReadsARegisterOnce)
{
    RegisterDevice device(Register("IntReg", "R", 0, 4) +
                          Register("MaskedIntReg", "Same", 0, 4, "<Bit>1</Bit>") +
                          Register("IntReg", "Shorter", 0, 2) + Register("IntReg", "Other", 4, 4));
    const auto readsOf = [&](const char *name)
    {
        const auto before = device.port.reads.size();
        device.features.ReadInteger(name);
        return device.port.reads.size() - before;
    };
    EXPECT_EQ(readsOf("R"), 1U);
    EXPECT_EQ(readsOf("R"), 0U);
    EXPECT_EQ(readsOf("Same"), 0U);
    EXPECT_EQ(readsOf("Shorter"), 1U);
    EXPECT_EQ(readsOf("Other"), 1U);
}

TEST(RegisterCache, IsDroppedByEveryWrite)
{
    RegisterDevice device(Register("IntReg", "R", 0, 4) + Register("IntReg", "Other", 4, 4));
    device.features.ReadInteger("R");
    device.port.Set(0, {7});
    EXPECT_EQ(device.features.ReadInteger("R"), 0);
    device.features.WriteInteger("Other", 1);
    EXPECT_EQ(device.features.ReadInteger("R"), 7);
    device.port.Set(0, {8});
    device.port.failingAddress = 4;
    EXPECT_EQ(FailureOf([&] { device.features.WriteInteger("Other", 2); }).code, GC_ERR_TIMEOUT);
    EXPECT_EQ(device.features.ReadInteger("R"), 8) << "a write that fails may have been executed";
}

TEST(RegisterCache, IsDroppedByInvalidate)
{
    RegisterDevice device(Register("IntReg", "R", 0, 4));
    device.features.ReadInteger("R");
    device.port.Set(0, {7});
    device.features.Invalidate();
    EXPECT_EQ(device.features.ReadInteger("R"), 7);
}

TEST(RegisterCache, KeepsNoVolatileRegister)
{
    for (const auto *const kind : {"<Cachable>NoCache</Cachable>", "<PollingTime>1000</PollingTime>",
                                   "<Cachable>WriteThrough</Cachable><PollingTime>10</PollingTime>"})
    {
        RegisterDevice device(Register("IntReg", "R", 0, 4, kind));
        device.features.ReadInteger("R");
        device.port.Set(0, {7});
        EXPECT_EQ(device.features.ReadInteger("R"), 7) << kind;
    }
    for (const auto *const kind : {"<Cachable>WriteThrough</Cachable>", "<Cachable>WriteAround</Cachable>"})
    {
        RegisterDevice device(Register("IntReg", "R", 0, 4, kind));
        device.features.ReadInteger("R");
        device.features.ReadInteger("R");
        EXPECT_EQ(device.port.reads.size(), 1U) << kind;
    }
}

TEST(RegisterCache, KeepsNoFailure)
{
    RegisterDevice device(Register("IntReg", "R", 0, 4));
    device.port.failingAddress = 0;
    EXPECT_EQ(FailureOf([&] { device.features.ReadInteger("R"); }).code, GC_ERR_TIMEOUT);
    device.port.failingAddress = UINT64_MAX;
    device.port.Set(0, {5});
    EXPECT_EQ(device.features.ReadInteger("R"), 5);
}

TEST(RegisterCache, KeepsNoneThatWasInvalidatedMeanwhile)
{
    /// A port that meets another thread's Invalidate while it reads.
    class InvalidatingPort final : public IRegisterPort
    {
    public:
        void Read(uint64_t, void *data, size_t) override
        {
            *static_cast<uint8_t *>(data) = value++;
            if (cache != nullptr)
            {
                cache->Invalidate();
            }
        }
        void Write(uint64_t, const void *, size_t) override {}

        RegisterCache *cache = nullptr;
        uint8_t value = 1;
    };
    InvalidatingPort port;
    RegisterCache cache(port);
    port.cache = &cache;
    uint8_t byte = 0;
    cache.Read(0, {&byte, 1});
    EXPECT_EQ(byte, 1);
    port.cache = nullptr;
    cache.Read(0, {&byte, 1});
    EXPECT_EQ(byte, 2);
    cache.Read(0, {&byte, 1});
    EXPECT_EQ(byte, 2);
}

} // namespace
} // namespace GenTL::internal::genapi
