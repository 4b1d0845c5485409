#include "remote/register_window.h"

#include "support/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint64_t base = 0x7151'0000'0000'0000;
constexpr uint64_t step = 0x100'0000'0000;

std::optional<uint64_t> FreeBaseBeside(const std::vector<AddressRange> &taken)
{
    return RegisterWindow::FreeBase(taken);
}

TEST(FreeWindow, IsTheFirstWhenNothingTouchesIt)
{
    EXPECT_EQ(FreeBaseBeside({}), base);
    EXPECT_EQ(FreeBaseBeside({{0, 0x1'0000'0000}, {base - 4, 4}, {base + 0x1'0000'0000, 4}}), base);
    EXPECT_EQ(FreeBaseBeside({{base, 0}}), base);
}

TEST(FreeWindow, IsTheNextWhenOneByteIsTaken)
{
    EXPECT_EQ(FreeBaseBeside({{base - 4, 5}}), base + step);
    EXPECT_EQ(FreeBaseBeside({{base + 0xFFFF'FFFF, 1}}), base + step);
    EXPECT_EQ(FreeBaseBeside({{base + 2 * step, 8}, {base + step + 7, 1}, {base + 100, 8}}), base + 3 * step);
    EXPECT_EQ(FreeBaseBeside({{base + step, 8}}), base);
}

TEST(FreeWindow, LiesBehindALongRange)
{
    EXPECT_EQ(FreeBaseBeside({{0, base + 5 * step + 1}}), base + 6 * step);
    EXPECT_EQ(FreeBaseBeside({{base, step}}), base + step);
}

TEST(FreeWindow, IsBelowTheSignBitOrNone)
{
    EXPECT_EQ(FreeBaseBeside({{0, 0x7FFF'FF00'0000'0000}}), 0x7FFF'FF00'0000'0000);
    EXPECT_EQ(FreeBaseBeside({{0, 0x7FFF'FF00'0000'0001}}), std::nullopt);
    EXPECT_EQ(FreeBaseBeside({{base, ~uint64_t{0}}}), std::nullopt);
}

struct Window : testing::Test
{
    Window() : window(base, "<document/>")
    {
        for (const std::string name : {"First", "Second"})
        {
            window.Add(
                {.name = name,
                 .read = [name](auto bytes) { std::ranges::fill(bytes, static_cast<uint8_t>(name[0])); },
                 .write = [this, name](auto bytes) { written.push_back(name + std::to_string(bytes[0])); }});
        }
        window.Add({.name = "Text", .length = 1024, .read = [](auto) {}, .write = {}});
    }

    std::string Read(uint64_t offset, size_t size)
    {
        std::vector<uint8_t> bytes(size);
        window.Read(base + offset, bytes);
        return {bytes.begin(), bytes.end()};
    }

    Failure ReadFailure(uint64_t offset, size_t size)
    {
        return FailureOf([&] { Read(offset, size); });
    }

    Failure WriteFailure(uint64_t offset, size_t size)
    {
        return FailureOf([&] { window.Write(base + offset, std::vector<uint8_t>(size, 7)); });
    }

    RegisterWindow window;
    std::vector<std::string> written;
};

TEST_F(Window, GivesAnyRangeOfTheDocument)
{
    EXPECT_EQ(Read(0, 11), "<document/>");
    EXPECT_EQ(Read(3, 4), "cume");
    EXPECT_EQ(WriteFailure(0, 4), (Failure{"The description is read-only", GC_ERR_ACCESS_DENIED}));
}

TEST_F(Window, HasItsRegistersBehindTheDocument)
{
    EXPECT_EQ(RegisterWindow::RegistersOffset(11), 0x10000U);
    EXPECT_EQ(RegisterWindow::RegistersOffset(0x10000), 0x10000U);
    EXPECT_EQ(RegisterWindow::RegistersOffset(0x10001), 0x20000U);
    EXPECT_EQ(Read(0x10000, 8), "FFFFFFFF");
    EXPECT_EQ(Read(0x10000, 16), "FFFFFFFFSSSSSSSS");
    EXPECT_EQ(Read(0x10010, 1024).size(), 1024U);
}

TEST_F(Window, WritesRegistersInTheirOrder)
{
    EXPECT_EQ(WriteFailure(0x10000, 16), Failure());
    EXPECT_THAT(written, ElementsAre("First7", "Second7"));
}

TEST_F(Window, RefusesWhatIsNoWholeRegister)
{
    const auto refused = [](size_t size, const std::string &address)
    {
        return Failure{"The " + std::to_string(size) + " bytes at 0x715100000" + address +
                           " are no whole registers",
                       GC_ERR_INVALID_ADDRESS};
    };
    EXPECT_EQ(ReadFailure(0x10000, 4), refused(4, "0010000"));
    EXPECT_EQ(ReadFailure(0x10004, 4), refused(4, "0010004"));
    EXPECT_EQ(ReadFailure(0x10000, 12), refused(12, "0010000"));
    EXPECT_EQ(ReadFailure(0x8, 4), refused(4, "0000008"));
    EXPECT_EQ(ReadFailure(0x10010, 1032), refused(1032, "0010010"));
    EXPECT_EQ(WriteFailure(0x10008, 4), refused(4, "0010008"));
    EXPECT_THAT(written, IsEmpty());
}

TEST_F(Window, WritesNothingWhenOneRegisterIsReadOnly)
{
    EXPECT_EQ(WriteFailure(0x10008, 8 + 1024), (Failure{"Text is read-only", GC_ERR_ACCESS_DENIED}));
    EXPECT_THAT(written, IsEmpty());
}

TEST_F(Window, IsTouchedByOneByte)
{
    EXPECT_TRUE(window.IsTouchedBy(base - 1, 2));
    EXPECT_FALSE(window.IsTouchedBy(base - 2, 2));
    EXPECT_TRUE(window.IsTouchedBy(base + 0xFFFF'FFFF, 1));
    EXPECT_FALSE(window.IsTouchedBy(base + 0x1'0000'0000, 8));
    EXPECT_FALSE(window.IsTouchedBy(0x100, 4));
}

} // namespace
} // namespace GenTL::internal
