#pragma once

#include "port/i_port.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>

namespace GenTL::internal
{

/// Reads registers of the device, and accepts no fewer bytes than asked for.
/// @throws GenTLException GC_ERR_IO for fewer bytes; whatever the port fails with
inline void ReadAllRegisters(IPort &port, uint64_t address, void *data, size_t size)
{
    size_t read = size;
    port.ReadRegisters(address, data, &read);
    if (read < size)
    {
        throw GenTLException(fmt::format("only {} of {} bytes came", read, size), GC_ERR_IO);
    }
}

} // namespace GenTL::internal
