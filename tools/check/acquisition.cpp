#include "check/acquisition.h"

#include "utils/gentl_exception.h"

#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

namespace
{

/// A failure that is not the code of a step: a stream that does not open, a description that is of no use.
template <typename Operation>
auto OrNotReached(Operation operation)
{
    try
    {
        return operation();
    }
    catch (const std::runtime_error &failure)
    {
        throw NotReached(failure.what());
    }
}

} // namespace

Acquisition::Acquisition(Bench &bench, size_t buffers) : m_bench(bench), m_calls(ThrowingCalls(bench.calls))
{
    auto &session = bench.session;
    session.CloseDevice();
    auto *const device = session.Device();
    const auto &remote = session.RemoteFeatures();
    OrNotReached([&] { m_stream.emplace(*m_calls, device, remote, buffers); });
}

Acquisition::~Acquisition()
{
    m_stream.reset();
    m_bench.session.CloseDevice();
}

GC_ERROR Acquisition::Take(StreamStep step)
{
    return OrNotReached([&] { return internal::ResultOf([&] { m_stream->Take(step); }); });
}

std::optional<EVENT_NEW_BUFFER_DATA> Acquisition::NextFrame()
{
    constexpr uint64_t limitMs = 5000;
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    const auto code = m_bench.calls.EventGetData(m_stream->Event(), &data, &size, limitMs);
    return code == GC_ERR_SUCCESS ? std::optional(data) : std::nullopt;
}

} // namespace gentlctl
