#pragma once

#include "vision_module/interface.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace tarn::vision
{

/// An error on its way to the C interface.
class Failure : public std::runtime_error
{
public:
    Failure(TARN_CVL_STATUS status, const std::string &text) : std::runtime_error(text), m_status(status) {}

    TARN_CVL_STATUS Status() const { return m_status; }

private:
    TARN_CVL_STATUS m_status;
};

/// Keeps the text as the calling thread's last error, cut to the room there is.
void SetLastError(std::string_view text) noexcept;

/// The calling thread's last error; empty when nothing failed yet. Ends in a zero byte.
std::string_view LastError() noexcept;

/// Within a handler: keeps the exception's text as the last error and gives its status.
int32_t KeepCurrentException() noexcept;

/// Runs the body of an exported function. No exception comes out.
template <typename Action>
int32_t Answer(Action action) noexcept
{
    try
    {
        action();
        return TARN_CVL_SUCCESS;
    }
    catch (...)
    {
        return KeepCurrentException();
    }
}

/// @throws Failure with TARN_CVL_NULL_POINTER; `what` as in "the image information"
void RequirePointer(const void *pointer, std::string_view what);

/// @throws Failure with TARN_CVL_MISMATCH for a record of another size
void RequireRecordSize(size_t size, size_t expected, std::string_view record);

} // namespace tarn::vision
