#include "datastream/device_clock.h"

#include "support/fake_gentl_proxy.h"
#include "support/handles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace GenTL::internal
{
namespace
{

using Time = std::optional<uint64_t>;

/// A frequency, and what becomes of two time stamps.
struct Stamps
{
    std::string name;
    uint64_t frequency; ///< 0: not known
    Time ticks;
    Time nanoseconds;
    Time completeTicks;
    Time completeNanoseconds;
    bool countsNanoseconds = false;

    friend std::ostream &operator<<(std::ostream &stream, const Stamps &stamps)
    {
        return stream << stamps.name;
    }
};

constexpr uint64_t most = std::numeric_limits<uint64_t>::max();

class DeviceClockStamps : public testing::TestWithParam<Stamps>
{
protected:
    DeviceClockStamps()
    {
        proxy->onDevGetInfo =
            [](DEV_HANDLE device, DEVICE_INFO_CMD command, INFO_DATATYPE *, void *buffer, size_t *size)
        {
            EXPECT_EQ(device, LowerHandle(0x10));
            EXPECT_EQ(command, DEVICE_INFO_TIMESTAMP_FREQUENCY);
            EXPECT_EQ(*size, sizeof(uint64_t));
            if (GetParam().frequency == 0)
            {
                LowerFailure(GC_ERR_NOT_IMPLEMENTED);
            }
            std::memcpy(buffer, &GetParam().frequency, *size);
            return GC_ERR_SUCCESS;
        };
        clock.AskFrequency();
    }

    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    DeviceClock clock{proxy, LowerHandle(0x10)};
};

TEST_P(DeviceClockStamps, AreCompletedFromEachOther)
{
    auto ticks = GetParam().ticks;
    auto nanoseconds = GetParam().nanoseconds;
    clock.Complete(ticks, nanoseconds);
    EXPECT_EQ(ticks, GetParam().completeTicks);
    EXPECT_EQ(nanoseconds, GetParam().completeNanoseconds);
}

TEST_P(DeviceClockStamps, TellWhetherTheClockCountsNanoseconds)
{
    auto ticks = GetParam().ticks;
    auto nanoseconds = GetParam().nanoseconds;
    clock.Complete(ticks, nanoseconds);
    EXPECT_EQ(clock.CountsNanoseconds(), GetParam().countsNanoseconds);
}

INSTANTIATE_TEST_SUITE_P(
    Clocks, DeviceClockStamps,
    testing::Values(Stamps{"Both", 8'000'000, 5, 6, 5, 6}, Stamps{"Neither", 8'000'000, {}, {}, {}, {}},
                    Stamps{"Ticks", 8'000'000, 3, {}, 3, 375},
                    Stamps{"Nanoseconds", 8'000'000, {}, 1000, 8, 1000},
                    Stamps{"Rounded", 3, 1, {}, 1, 333'333'333},
                    Stamps{"LargeProduct", 62'500'000, 1ULL << 59U, {}, 1ULL << 59U, 16ULL << 59U},
                    Stamps{"TooLarge", 1, most, {}, most, {}}, Stamps{"TicksAlone", 0, 3, {}, 3, {}},
                    Stamps{"NanosecondsAlone", 0, {}, 7, 7, 7, true}),
    [](const auto &row) { return row.param.name; });

} // namespace
} // namespace GenTL::internal
