#pragma once

#include <gentl/gentl.h>

#include <stdexcept>
#include <string>

namespace GenTL::internal::exceptions
{

/// An error with the message for the consumer's last error and the code that the export returns. Any other
/// std::exception becomes GC_ERR_ERROR.
class GenTLException : public std::runtime_error
{
public:
    GenTLException(const std::string &message, GC_ERROR code) : std::runtime_error(message), m_code(code) {}

    GC_ERROR Code() const noexcept { return m_code; }

private:
    GC_ERROR m_code;
};

/// Whether a code means that the value asked for does not exist. Such a code is an answer, not a failure.
constexpr bool IsMissingAnswer(GC_ERROR code)
{
    return code == GC_ERR_NOT_AVAILABLE || code == GC_ERR_NO_DATA || code == GC_ERR_NOT_IMPLEMENTED;
}

/// The code that an operation ends with: GC_ERR_SUCCESS, or that of its GenTLException. Other exceptions
/// pass.
template <typename Operation>
GC_ERROR ResultOf(Operation operation)
{
    try
    {
        operation();
        return GC_ERR_SUCCESS;
    }
    catch (const GenTLException &exception)
    {
        return exception.Code();
    }
}

} // namespace GenTL::internal::exceptions

namespace GenTL::internal
{
using exceptions::GenTLException;
using exceptions::IsMissingAnswer;
using exceptions::ResultOf;
} // namespace GenTL::internal
