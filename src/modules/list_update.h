#pragma once

#include "utils/gentl_exception.h"

#include <cstdint>

namespace GenTL::internal
{

/// Longest update of a list after an unknown id, in ms.
inline constexpr uint64_t listUpdateMs = 1000;

/// Calls a function that takes an id. If the id is unknown, updates the list once and calls again: some
/// producers know nothing in a new session until they are told to look.
/// @throws what the second call throws; a failure of the update is not reported, since the id stays unknown
template <typename Call, typename Update>
void CallWithKnownId(Call call, Update update)
{
    try
    {
        return call();
    }
    catch (const GenTLException &exception)
    {
        if (exception.Code() != GC_ERR_INVALID_ID && exception.Code() != GC_ERR_INVALID_PARAMETER)
        {
            throw;
        }
    }
    try
    {
        update();
    }
    catch (const GenTLException &) // NOLINT(bugprone-empty-catch)
    {
    }
    call();
}

} // namespace GenTL::internal
