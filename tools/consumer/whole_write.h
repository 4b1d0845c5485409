#pragma once

#include "port/i_port.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <cstdint>
#include <span>

namespace gentlctl
{

/// Writes registers of a port, which must take all bytes.
/// @throws GenTLException GC_ERR_IO for fewer bytes; whatever the port fails with
inline void WriteAllRegisters(GenTL::internal::IPort &port, uint64_t address, std::span<const uint8_t> bytes)
{
    size_t taken = bytes.size();
    port.WriteRegisters(address, bytes.data(), &taken);
    if (taken < bytes.size())
    {
        throw GenTL::internal::GenTLException(
            fmt::format("only {} of {} bytes were taken", taken, bytes.size()), GenTL::GC_ERR_IO);
    }
}

} // namespace gentlctl
