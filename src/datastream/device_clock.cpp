#include "datastream/device_clock.h"

#include "utils/scaled.h"

#include <utility>

namespace GenTL::internal
{

DeviceClock::DeviceClock(std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE device)
    : m_proxy(std::move(proxy)), m_device(device)
{
}

void DeviceClock::AskFrequency()
{
    uint64_t frequency = 0;
    size_t size = sizeof frequency;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const auto code =
        m_proxy->TryDevGetInfo(m_device, DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &frequency, &size);
    m_frequency = code == GC_ERR_SUCCESS ? frequency : 0;
}

void DeviceClock::Complete(std::optional<uint64_t> &ticks, std::optional<uint64_t> &nanoseconds)
{
    const uint64_t frequency = m_frequency;
    if (ticks.has_value() == nanoseconds.has_value())
    {
        return;
    }
    if (frequency == 0)
    {
        m_countsNanoseconds = nanoseconds.has_value();
        ticks = ticks ? ticks : nanoseconds;
    }
    else if (ticks)
    {
        nanoseconds = utils::Scaled(*ticks, nanosecondsPerSecond, frequency);
    }
    else
    {
        ticks = utils::Scaled(*nanoseconds, frequency, nanosecondsPerSecond);
    }
}

} // namespace GenTL::internal
