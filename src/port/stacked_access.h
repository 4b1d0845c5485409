#pragma once

#include "port/i_port.h"
#include "utils/checks.h"

namespace GenTL::internal
{

/// Splits a stacked request into single accesses of the port's own ReadPort, so that whatever a port
/// changes for a single access holds for a stacked one as well. *piNumEntries counts the entries done,
/// also when one fails.
/// @throws GenTLException null or zero arguments; whatever the port throws
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
        // A packed struct: its members are copied, never bound to a reference.
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
