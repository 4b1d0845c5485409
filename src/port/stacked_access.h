#pragma once

#include "port/i_port.h"
#include "utils/checks.h"

namespace GenTL::internal
{

/// Splits a stacked request into calls of the port's ReadPort, so that the port's overrides apply to each
/// entry. *piNumEntries counts the entries that succeeded, even when a later one fails.
/// @throws GenTLException for a null pointer or a count of 0; whatever the port throws
inline void ReadStacked(IPort &port, PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries);

/// The same for WritePort.
inline void WriteStacked(IPort &port, PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries);

namespace detail
{
template <typename Access>
void ForEachStackEntry(PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries, Access access)
{
    utils::CheckNotNull({{"pEntries", pEntries}, {"piNumEntries", piNumEntries}});
    utils::CheckNotZero("*piNumEntries", *piNumEntries);
    const size_t count = *piNumEntries;
    *piNumEntries = 0;
    for (size_t i = 0; i < count; ++i)
    {
        // The struct is packed, so its members may be misaligned: they are copied and never bound to a
        // reference.
        const auto entry = pEntries[i];
        size_t size = entry.Size;
        access(entry.Address, entry.pBuffer, &size);
        ++*piNumEntries;
    }
}
} // namespace detail

inline void ReadStacked(IPort &port, PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    detail::ForEachStackEntry(pEntries, piNumEntries,
                              [&port](uint64_t address, void *buffer, size_t *size)
                              { port.ReadPort(address, buffer, size); });
}

inline void WriteStacked(IPort &port, PORT_REGISTER_STACK_ENTRY *pEntries, size_t *piNumEntries)
{
    detail::ForEachStackEntry(pEntries, piNumEntries,
                              [&port](uint64_t address, void *buffer, size_t *size)
                              { port.WritePort(address, buffer, size); });
}

} // namespace GenTL::internal
