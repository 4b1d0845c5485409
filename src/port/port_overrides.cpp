#include "port/port_overrides.h"

#include "utils/checks.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace GenTL::internal
{

namespace
{

/// A part of a request: from `Begin` up to, but not including, `End`.
struct Interval
{
    size_t Begin;
    size_t End;
};

/// Calls access(offset, size) for each part of a request that no interval covers.
template <typename Access>
void ForEachGap(std::vector<Interval> intervals, size_t size, Access access)
{
    std::ranges::sort(intervals, {}, &Interval::Begin);
    size_t end = 0;
    for (const auto &interval : intervals)
    {
        if (interval.Begin > end)
        {
            access(end, interval.Begin - end);
        }
        end = std::max(end, interval.End);
    }
    if (end < size)
    {
        access(end, size - end);
    }
}

/// Whether the register lies fully inside the request.
bool Covers(uint64_t address, size_t size, uint64_t registerAddress, uint64_t length)
{
    return registerAddress >= address && utils::RangeFits(registerAddress - address, length, size);
}

} // namespace

void PortOverrides::AddPortCallback(uint64_t address, PortCallback entry)
{
    const auto [known, isNew] = m_callbacks.try_emplace(address, entry);
    if (isNew)
    {
        return;
    }
    auto &stored = known->second;
    if (entry.Length != stored.Length)
    {
        throw GenTLException(
            fmt::format("Port callback register size mismatch detected on {} ({})", address, stored.Name),
            GC_ERR_ERROR);
    }
    if (entry.OnRead)
    {
        stored.OnRead = std::move(entry.OnRead);
    }
    if (entry.OnWrite)
    {
        stored.OnWrite = std::move(entry.OnWrite);
    }
}

void PortOverrides::Read(uint64_t address, void *buffer, size_t size, const ReadGap &readGap) const
{
    auto *const bytes = static_cast<uint8_t *>(buffer);
    std::vector<Interval> handled;
    for (const auto &[registerAddress, entry] : m_callbacks)
    {
        if (!entry.OnRead || !Covers(address, size, registerAddress, entry.Length))
        {
            continue;
        }
        const size_t offset = registerAddress - address;
        size_t length = entry.Length;
        if (entry.OnRead(bytes + offset, &length))
        {
            handled.push_back({offset, offset + length});
        }
    }
    ForEachGap(std::move(handled), size,
               [&](size_t offset, size_t length) { readGap(address + offset, bytes + offset, length); });
}

void PortOverrides::Write(uint64_t address, const void *buffer, size_t size, const WriteGap &writeGap) const
{
    const auto *const bytes = static_cast<const uint8_t *>(buffer);
    std::vector<Interval> handled;
    for (const auto &[registerAddress, entry] : m_callbacks)
    {
        if (!Covers(address, size, registerAddress, entry.Length))
        {
            continue;
        }
        const size_t offset = registerAddress - address;
        size_t length = entry.Length;
        if (!entry.OnWrite || !entry.OnWrite(bytes + offset, &length))
        {
            length = entry.Length;
            writeGap(registerAddress, bytes + offset, length);
        }
        handled.push_back({offset, offset + length});
    }
    ForEachGap(std::move(handled), size,
               [&](size_t offset, size_t length) { writeGap(address + offset, bytes + offset, length); });
}

} // namespace GenTL::internal
