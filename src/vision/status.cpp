#include "vision/status.h"

#include "vision/exceptions.h"

#include <string>

namespace tarn::cvl
{

namespace
{

/// A second status for internal errors of the library, besides TARN_CVL_UNKNOWN.
constexpr int32_t otherInternal = 14;

std::string LastErrorText()
{
    size_t size = 0;
    std::string text;
    const auto read = [&]
    {
        text.resize(size);
        return dynamic::GetLastErrorMessage(text.data(), &size);
    };
    if (dynamic::GetLastErrorMessage_GetCount(&size) != TARN_CVL_SUCCESS || read() != TARN_CVL_SUCCESS)
    {
        throw Exception("Could not query the last error!", TARN_CVL_UNKNOWN);
    }
    return text.substr(0, text.find('\0'));
}

} // namespace

void ThrowStatus(int32_t status)
{
    const auto text = LastErrorText();
    switch (status)
    {
    case TARN_CVL_INVALID_CONFIGURATION:
    case TARN_CVL_INVALID_STATE:
        throw InvalidConfigurationException(text, status);
    case TARN_CVL_MISMATCH:
        throw MismatchException(text, status);
    case TARN_CVL_NOT_SUPPORTED:
        throw NotSupportedException(text, status);
    case TARN_CVL_NOT_POSSIBLE:
        throw NotPossibleException(text, status);
    case TARN_CVL_NULL_POINTER:
        throw NullPointerException(text, status);
    case TARN_CVL_INTERNAL:
    case TARN_CVL_UNKNOWN:
    case otherInternal:
        throw InternalErrorException(text, status);
    case TARN_CVL_OUT_OF_RANGE:
        throw OutOfRangeException(text, status);
    case TARN_CVL_MATH:
        throw MathErrorException(text, status);
    case TARN_CVL_TARGET_NOT_FOUND:
        throw TargetNotFoundException(text, status);
    case TARN_CVL_CORRUPTED:
        throw CorruptedException(text, status);
    case TARN_CVL_IO:
        throw IOException(text, status);
    default:
        throw Exception("Generic Error!", status);
    }
}

} // namespace tarn::cvl
