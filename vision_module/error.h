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

/// Stores the calling thread's last error, cut to the size of the buffer.
void SetLastError(std::string_view text) noexcept;

/// The calling thread's last error, followed by a zero byte; empty before the first failure.
std::string_view LastError() noexcept;

/// Stores the text of the exception being handled as the last error and returns its status. Call it in a
/// handler.
int32_t KeepCurrentException() noexcept;

/// Runs the body of an exported function and turns exceptions into a status.
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

/// @throws Failure with TARN_CVL_NULL_POINTER; `what` names the target, as in "the image information"
void RequirePointer(const void *pointer, std::string_view what);

/// @throws Failure with TARN_CVL_MISMATCH when the sizes differ
void RequireRecordSize(size_t size, size_t expected, std::string_view record);

} // namespace tarn::vision
