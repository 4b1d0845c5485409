#pragma once

#include "simulator/error.h"

#include <exception>
#include <new>

namespace GenTL::simulator
{

/// What GCGetLastError returns: the last failure of each thread.
struct LastError
{
    GC_ERROR code = GC_ERR_SUCCESS;
    std::string text = "No error";

    static LastError &OfThisThread();
};

/// Stores the failure for GCGetLastError and returns its code.
GC_ERROR Fail(const char *function, GC_ERROR code, const char *text) noexcept;

/// Runs the body of an export and turns an exception into a code: nothing is thrown across the C interface.
template <typename Body>
GC_ERROR Call(const char *function, Body &&body) noexcept
{
    try
    {
        body();
        return GC_ERR_SUCCESS;
    }
    catch (const Error &error)
    {
        return Fail(function, error.Code(), error.what());
    }
    catch (const std::bad_alloc &)
    {
        return Fail(function, GC_ERR_OUT_OF_MEMORY, "Out of memory");
    }
    catch (const std::exception &error)
    {
        return Fail(function, GC_ERR_ERROR, error.what());
    }
    catch (...)
    {
        return Fail(function, GC_ERR_ERROR, "Unknown failure");
    }
}

} // namespace GenTL::simulator
